// A whole small database with changed files: opened, checked, read, added to, closed and
// opened again. Input: one byte for what is done after reading, then changes to the files
// of SmallDatabase.h, each: file, kind of change, offset (2) and what the kind takes.

#include <algorithm>
#include <tuple>

#include "Fuzz.h"
#include "SmallDatabase.h"
#include "storage/database/DatabaseManager.h"
#include "support/MemoryFileSystem.h"
#include "support/SampleStore.h"

namespace quillon::fuzz {
namespace {

constexpr int64_t kBlobIds = 4;

void Change(CInput& input, std::map<std::string, Bytes>& files) {
    auto place = files.begin();
    std::advance(place, input.Byte() % files.size());
    Bytes& file = place->second;
    const uint8_t kind = input.Byte() % 8;
    const size_t offset = input.Word() % (file.size() + 1);
    const auto at = file.begin() + static_cast<std::ptrdiff_t>(offset);
    switch (kind) {
        case 0:
        case 1:
        case 2: {  // other bytes
            const auto bytes = input.Take(kind == 0 ? 1 : input.Byte() % 32U);
            const size_t count = std::min(bytes.size(), file.size() - offset);
            std::ranges::copy(bytes.first(count), at);
            return;
        }
        case 3: {  // another number in a field
            const Bytes number = Le64(input.Number());
            const size_t count = std::min<size_t>(8, file.size() - offset);
            std::copy_n(number.begin(), count, at);
            return;
        }
        case 4: {  // more bytes
            const auto bytes = input.Take(input.Byte());
            file.insert(at, bytes.begin(), bytes.end());
            return;
        }
        case 5: {  // fewer
            const auto count =
                static_cast<std::ptrdiff_t>(std::min<size_t>(input.Byte(), file.size() - offset));
            file.erase(at, at + count);
            return;
        }
        case 6:
            file.resize(offset);
            return;
        default:
            files.erase(place);
            return;
    }
}

// The table, its code, what and where.
using Verdicts = std::vector<std::tuple<std::string, IntegrityCode, IntegrityDetail>>;

Verdicts Verdict(CDatabaseManager& database) {
    std::vector<TableIntegrity> tables;
    Verdicts verdict;
    verdict.emplace_back("", database.Verify(tables), IntegrityDetail());
    for (const TableIntegrity& table : tables) {
        verdict.emplace_back(table.table, table.code, table.detail);
    }
    return verdict;
}

void AddRow(CDatabaseManager& database) {
    for (const auto& table : database.Tables()) {
        if (table->Columns().empty()) continue;
        const std::string name = table->Name().ToUtf8();
        const DatabaseContent before = ContentOf(database, kBlobIds);
        FUZZ_CHECK(database.BeginRow(name), "a table that is there takes rows");
        for (const CTableColumn& column : table->Columns()) {
            if (column.type == ColumnType::Text) {
                FUZZ_CHECK(database.SetText(column.name.View(), "added"), "a text is set");
            } else if (column.type == ColumnType::Double) {
                FUZZ_CHECK(database.SetDouble(column.name.View(), 1.25), "a number is set");
            }
        }
        const int64_t rowId = database.CommitRow();
        if (rowId < 0) {
            FUZZ_CHECK(ContentOf(database, kBlobIds) == before, "a row that fails changes nothing");
            continue;
        }
        for (const CTableColumn& column : table->Columns()) {
            CTableRowUpdateInfoValue value;
            FUZZ_CHECK(table->ReadValue(rowId, column, value), "a new row is read");
            if (column.type == ColumnType::Text) {
                FUZZ_CHECK(value.isSet && value.text == CKeelString("added"), "with its texts");
            } else if (column.type == ColumnType::Double) {
                FUZZ_CHECK(value.number == 1.25, "with its numbers");
            }
        }
    }
}

void Work(CDatabaseManager& database, uint8_t plan) {
    if ((plan & 1) != 0) AddRow(database);
    if ((plan & 2) != 0) {
        const DatabaseContent before = ContentOf(database, kBlobIds);
        (void)database.RemoveDeleted();
        FUZZ_CHECK(ContentOf(database, kBlobIds) == before, "compacting keeps what can be read");
    }
    if ((plan & 4) != 0) {
        const DatabaseContent before = ContentOf(database, kBlobIds);
        (void)database.RebuildIndexes();
        FUZZ_CHECK(ContentOf(database, kBlobIds) == before, "rebuilding indexes changes no row");
    }
    if ((plan & 8) != 0) {
        CBracketScope batch(database);
        (void)database.DeleteRow("Ledger", 2);
        (void)database.AddBlob(Text("another"));
        if ((plan & 16) != 0) (void)batch.Commit();
    }
}

void Check(CInput input) {
    const uint8_t plan = input.Byte();
    std::map<std::string, Bytes> damaged = SmallDatabaseFiles();
    for (int i = 0; i < 6 && !input.IsEmpty() && !damaged.empty(); ++i) Change(input, damaged);
    CMemoryFileSystem files;
    std::map<std::string, Bytes> disk;
    for (const auto& [name, bytes] : damaged) disk["db/" + name] = bytes;
    files.Restore(disk);
    files.SetLargestFile(int64_t{8} << 20);

    CDatabaseManager database(files);
    if (!database.Open("db")) {
        const DatabaseProblem problem = database.Problem();
        FUZZ_CHECK(problem != DatabaseProblem::None, "there is a reason");
        for (const auto& [path, bytes] : disk) {
            const std::string name = FileNameOf(path);
            if (name == "Database.lock" || name == kJournalName) continue;
            // But for the form: a data file of version 1 is converted first.
            if (name.ends_with("data.dat") && bytes.size() > 50 && bytes[50] == 1) continue;
            FUZZ_CHECK(files.Bytes(path) == bytes, "what does not open stays as it is");
        }
        if (problem != DatabaseProblem::DamagedJournal) {
            FUZZ_CHECK(!database.Open("db") && database.Problem() == problem, "and stays so");
        }
        return;
    }
    const DatabaseContent first = ContentOf(database, kBlobIds);
    const Verdicts verdict = Verdict(database);
    FUZZ_CHECK(database.Close(), "what opened closes");
    FUZZ_CHECK(database.Open("db"), "and opens again");
    FUZZ_CHECK(ContentOf(database, kBlobIds) == first, "with the same rows");
    FUZZ_CHECK(Verdict(database) == verdict, "in the same order");

    if (plan == 0) return;
    Work(database, plan);
    const DatabaseContent last = ContentOf(database, kBlobIds);
    const Verdicts lastVerdict = Verdict(database);
    const auto isSound = [](const Verdicts& given) {
        return std::get<IntegrityCode>(given.front()) == IntegrityCode::Ok;
    };
    if (isSound(verdict)) FUZZ_CHECK(isSound(lastVerdict), "work keeps a sound one so");
    FUZZ_CHECK(database.Close(), "it closes after work");
    FUZZ_CHECK(database.Open("db"), "and opens after it");
    FUZZ_CHECK(ContentOf(database, kBlobIds) == last, "what was committed is there");
    FUZZ_CHECK(Verdict(database) == lastVerdict, "and in the same order");
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
