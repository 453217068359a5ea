#include "SmallDatabase.h"

#include "finance/ledger/Ledger.h"

#include "storage/database/DatabaseManager.h"
#include "support/MemoryFileSystem.h"
#include "support/SampleStore.h"

namespace quillon::fuzz {
namespace {

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
        FUZZ_CHECK(AddLedgerRow(database, {"Row " + std::to_string(number), number, -0.5 * number,
                                           number % 2 == 0 ? wordy + wordy : ""}) >= 0,
                   "a row is added");
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

const DiskImage& SmallLedgerDisk() {
    static const DiskImage disk = [] {
        CMemoryFileSystem files;
        CQuillonDatabaseInterface database(files);
        CLedger ledger(database);
        FUZZ_CHECK(database.Open("db").opened, "a ledger is made");
        CAccountEntry account;
        account.name = "A";
        FUZZ_CHECK(ledger.OpenAccount(account, 5.0, 0) == LedgerStatus::Ok, "with an account");
        CTransactionEntry row;
        row.accountId = account.id;
        row.amount = 1.25;
        row.memo = "m";
        FUZZ_CHECK(ledger.EnterTransaction(row) == LedgerStatus::Ok, "and an entry");
        FUZZ_CHECK(ledger.RemoveTransaction(1) == LedgerStatus::Ok, "less another");
        FUZZ_CHECK(database.Close(), "it is closed");
        return files.Everything();
    }();
    return disk;
}

}  // namespace quillon::fuzz
