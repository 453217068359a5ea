#include "SmallDatabase.h"

#include "storage/database/DatabaseManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

void AddRow(CDatabaseManager& database, int number, const std::string& memo) {
    FUZZ_CHECK(database.BeginRow("Ledger"), "a row begins");
    database.SetText("Name", "Row " + std::to_string(number));
    database.SetBoolean("Open", number % 2 == 1);
    database.SetInt32("Check", number);
    database.SetInt64("Account", number * int64_t{1'000'000'007});
    database.SetDouble("Amount", -0.5 * number);
    database.SetDateTime("Date", 133'000'000'000'000'000 + number);
    database.SetText("Memo", memo);
    FUZZ_CHECK(database.CommitRow() >= 0, "a row is added");
}

std::map<std::string, Bytes> Make() {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    FUZZ_CHECK(database.Open("db"), "a database is made");
    FUZZ_CHECK(database.CreateTable("Ledger") &&
                   database.AddColumn("Ledger", "Name", ColumnType::Text, true, true) &&
                   database.AddColumn("Ledger", "Open", ColumnType::Boolean, true, false) &&
                   database.AddColumn("Ledger", "Check", ColumnType::Int32, false, false) &&
                   database.AddColumn("Ledger", "Account", ColumnType::Int64, false, false) &&
                   database.AddColumn("Ledger", "Amount", ColumnType::Double, true, true) &&
                   database.AddColumn("Ledger", "Date", ColumnType::DateTime, false, false) &&
                   database.AddColumn("Ledger", "Memo", ColumnType::Text, false, false) &&
                   database.CreateTable("Empty"),
               "with tables");
    const std::string wordy = "Groceries, household and the weekly market; groceries again";
    for (int number = 1; number <= 5; ++number) {
        AddRow(database, number, number % 2 == 0 ? wordy + wordy : "");
    }
    FUZZ_CHECK(database.DeleteRow("Ledger", 1), "a row is deleted");
    FUZZ_CHECK(database.AddBlob(Text("a picture")) == 0 && database.AddBlob({}) == 1, "BLOBs");
    FUZZ_CHECK(database.Close(), "it closes");
    std::map<std::string, Bytes> found;
    for (auto& [path, bytes] : files.Snapshot()) found[FileNameOf(path)] = std::move(bytes);
    // With it every change would be known; the layouts are to judge for themselves.
    found.erase("Checksums.dat");
    return found;
}

}  // namespace

const std::map<std::string, Bytes>& SmallDatabaseFiles() {
    static const std::map<std::string, Bytes> kFiles = Make();
    return kFiles;
}

}  // namespace quillon::fuzz
