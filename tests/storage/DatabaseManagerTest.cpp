#include "storage/database/DatabaseManager.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "StoreFixture.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

TEST(Database, NewFolderHoldsTheDocumentedFiles) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    EXPECT_FALSE(CDatabaseManager::FolderHoldsDatabase(files, "db"));
    ASSERT_TRUE(database.Open("db"));
    EXPECT_EQ(database.Folder(), std::string("db") + PathSeparator());
    ASSERT_TRUE(database.Close());
    EXPECT_TRUE(CDatabaseManager::FolderHoldsDatabase(files, "db"));
    const auto found = files.Snapshot();
    std::vector<std::string> names;
    for (const auto& [path, bytes] : found) names.push_back(path);
    EXPECT_EQ(names,
              (std::vector<std::string>{"db/Checksums.dat", "db/Database.lock",
                                        "db/DatabaseSchema.dat", "db/DatabaseSchema_blobdata.dat",
                                        "db/DatabaseSchema_blobdict.dat", "db/Journal.dat"}));
    EXPECT_EQ(found.at("db/DatabaseSchema.dat"),
              Join(Signature("Database"), Le32(1), Le32(0), Le32(1)));
    EXPECT_FALSE(database.Close());
    EXPECT_FALSE(database.Flush());
    EXPECT_FALSE(database.BeginBatch());
    EXPECT_EQ(database.CreateTable("Late"), nullptr);
    EXPECT_EQ(database.AddBlob(Text("late")), -1);
    EXPECT_EQ(CodeOf(database), 13);
    EXPECT_EQ(CDatabaseManager::SharedDataName(INT64_MIN),
              "ZEP_No_SQL_Database_-9223372036854775808_Data");
}

TEST(Database, SaysWhyItDoesNotOpen) {
    const struct {
        const char* name;
        const char* file;
        std::function<void(CMemoryFileSystem&)> damage;
        DatabaseProblem problem;
    } rows[] = {
        {"schema of a newer version", "db/DatabaseSchema.dat",
         [](auto& f) { f.Bytes("db/DatabaseSchema.dat")[50] = 2; }, DatabaseProblem::NewerVersion},
        {"definition of a newer version", "db/Table_1.dat",
         [](auto& f) { f.Bytes("db/Table_1.dat")[50] = 2; }, DatabaseProblem::NewerVersion},
        {"dictionary of a newer version", "db/Table_1_dict.dat",
         [](auto& f) { f.Bytes("db/Table_1_dict.dat")[50] = 2; }, DatabaseProblem::NewerVersion},
        {"data of a newer version", "db/Table_1_data.dat",
         [](auto& f) { f.Bytes("db/Table_1_data.dat")[50] = 3; }, DatabaseProblem::NewerVersion},
        {"not a schema", "db/DatabaseSchema.dat",
         [](auto& f) { f.Bytes("db/DatabaseSchema.dat") = Text("notes"); },
         DatabaseProblem::NotADatabase},
        {"schema missing", "db/DatabaseSchema.dat",
         [](auto& f) { (void)f.Remove("db/DatabaseSchema.dat"); }, DatabaseProblem::DamagedFile},
        {"table of another name", "db/Table_1.dat",
         [](auto& f) { f.Bytes("db/Table_1.dat")[62] = 'l'; }, DatabaseProblem::DamagedFile},
        {"table of another number", "db/Table_1.dat",
         [](auto& f) { f.Bytes("db/Table_1.dat")[54] = 9; }, DatabaseProblem::DamagedFile},
        {"texts missing", "db/Table_1_textdata.dat",
         [](auto& f) { (void)f.Remove("db/Table_1_textdata.dat"); }, DatabaseProblem::DamagedFile},
        {"dictionary cut", "db/Table_1_dict.dat",
         [](auto& f) { f.Bytes("db/Table_1_dict.dat").resize(20); }, DatabaseProblem::DamagedFile},
        {"BLOBs missing", "db/DatabaseSchema_blobdict.dat",
         [](auto& f) { (void)f.Remove("db/DatabaseSchema_blobdict.dat"); },
         DatabaseProblem::DamagedFile},
        {"journal of a newer version", "db/Journal.dat",
         [](auto& f) {
             f.Bytes("db/Journal.dat") = FromHex(
                 "4A 6F 75 72 6E 61 6C 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                 "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00"
                 "00 00 01 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 AB 07 1F F6 08 DF 89 43");
         },
         DatabaseProblem::NewerVersion},
    };
    CMemoryFileSystem intact;
    {
        CDatabaseManager database(intact);
        ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
        ASSERT_EQ(AddLedgerRow(database, {"kept", 1, 1, "memo"}), 0);
    }
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem files;
        files.Restore(intact.Snapshot());
        row.damage(files);
        const auto damaged = files.Snapshot();
        CDatabaseManager database(files);
        EXPECT_FALSE(database.Open(kFolder));
        EXPECT_FALSE(database.IsOpen());
        EXPECT_EQ(database.Problem(), row.problem);
        EXPECT_EQ(database.ProblemDetail(), row.file);
        // The refusal leaves every file but the journal as it was.
        auto after = files.Snapshot();
        after["db/Journal.dat"] = damaged.at("db/Journal.dat");
        EXPECT_EQ(after, damaged);
    }
    CDatabaseManager database(intact);
    EXPECT_FALSE(database.Open(""));
    EXPECT_EQ(database.Problem(), DatabaseProblem::NoPath);
    intact.FailNth(Call::MakeFolder, 1, FileError::NoPermission);
    EXPECT_FALSE(database.Open("elsewhere"));
    EXPECT_EQ(database.Problem(), DatabaseProblem::NoPermission);
}

// --- locking

TEST(Database, OneOpenerAtATime) {
    CTemporaryFolder folder;
    const std::string path = folder.File("J\xC3\xBCrgen's ledger");
    CDatabaseManager first;
    ASSERT_TRUE(first.Open(path));
    ASSERT_TRUE(MakeLedgerTable(first));
    CDatabaseManager second;
    EXPECT_FALSE(second.Open(path));
    EXPECT_EQ(second.Problem(), DatabaseProblem::InUse);
    EXPECT_EQ(AddLedgerRow(first, {"still at work", 1, 1, ""}), 0);
    ASSERT_TRUE(first.Close());
    ASSERT_TRUE(second.Open(path));
    EXPECT_EQ(second.FindTable("Ledger")->RowCount(), 1);
    EXPECT_FALSE(first.Open(path));
    ASSERT_TRUE(second.Close());
    EXPECT_TRUE(PlatformFileSystem().Exists(path + "/Database.lock")) << "never deleted";
}

TEST(Database, AnotherFoldersJournalIsSetAside) {
    CMemoryFileSystem files;
    DatabaseContent content;
    {
        CDatabaseManager database(files);
        ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
        ASSERT_EQ(AddLedgerRow(database, {"ours", 1, 1, ""}), 0);
        content = ContentOf(database);
        CDatabaseManager other(files);
        ASSERT_TRUE(other.Open("other") && MakeLedgerTable(other));
        ASSERT_EQ(AddLedgerRow(other, {"theirs", 1, 1, ""}), 0);
        const Bytes theirs = files.Bytes("other/Journal.dat");
        ASSERT_TRUE(database.Close());
        files.Bytes("db/Journal.dat") = theirs;
    }
    CDatabaseManager database(files);
    EXPECT_FALSE(database.Open(kFolder));
    EXPECT_EQ(database.Problem(), DatabaseProblem::DamagedJournal);
    EXPECT_EQ(database.ProblemDetail(), "db/Journal.damaged.1");
    EXPECT_TRUE(files.Exists("db/Journal.damaged.1"));
    ASSERT_TRUE(database.Open(kFolder)) << "the next start goes on with what is there";
    EXPECT_EQ(ContentOf(database), content);
    EXPECT_EQ(CodeOf(database), 0);
}

// A journal that is gone may have held commits, so it is not passed over; a new database, one
// out of a backup and one whose journal was set aside miss none.
TEST(Database, AMissingJournalIsSaidOnce) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database) && database.Close());
    ASSERT_TRUE(files.Remove("db/Journal.dat"));
    EXPECT_FALSE(database.Open(kFolder));
    EXPECT_EQ(database.Problem(), DatabaseProblem::DamagedJournal);
    EXPECT_EQ(database.ProblemDetail(), "db/Journal.dat");
    EXPECT_TRUE(database.Open(kFolder) && database.Close());

    ASSERT_TRUE(files.Remove("db/Journal.dat") && files.Remove("db/Database.lock"));
    EXPECT_TRUE(database.Open(kFolder) && database.Close());

    files.Bytes("db/Journal.dat")[5] ^= 1;
    EXPECT_FALSE(database.Open(kFolder));
    EXPECT_EQ(database.ProblemDetail(), "db/Journal.damaged.1");
    EXPECT_TRUE(database.Open(kFolder));
}

// The journal knows the name that an emptied lock file has lost, and keeps its commits.
TEST(Database, AnEmptiedLockFileLosesNothing) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
    ASSERT_EQ(AddLedgerRow(database, {"kept", 1, 1, ""}), 0);
    auto killed = files.Snapshot();
    const Bytes name = killed["db/Database.lock"];
    killed["db/Database.lock"].clear();
    CMemoryFileSystem left;
    left.Restore(killed);
    CDatabaseManager after(left);
    ASSERT_TRUE(after.Open(kFolder));
    EXPECT_EQ(ContentOf(after), ContentOf(database));
    EXPECT_EQ(left.Bytes("db/Database.lock"), name);
}

// Two files contradict each other: the one that changed is named.
TEST(Database, TheFileThatChangedIsNamed) {
    struct Row {
        const char* file;
        size_t offset;
    };
    for (const Row& row : {Row{"DatabaseSchema.dat", 66}, Row{"Table_1.dat", 62},
                           Row{"DatabaseSchema_blobdata.dat", 0}}) {
        SCOPED_TRACE(row.file);
        CMemoryFileSystem files;
        CDatabaseManager database(files);
        ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database) && database.Close());
        files.Bytes(std::string("db/") + row.file)[row.offset] ^= 1;
        EXPECT_FALSE(database.Open(kFolder));
        EXPECT_EQ(database.Problem(), DatabaseProblem::DamagedFile);
        EXPECT_EQ(database.ProblemDetail(), std::string("db/") + row.file);
    }
}

// --- brackets

TEST(Database, RollbackRestoresMemoryAndFiles) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
    for (int i = 0; i < 6; ++i) {
        ASSERT_EQ(AddLedgerRow(database, {"n" + std::to_string(i), i, i * 0.5, WordyText(i)}), i);
    }
    ASSERT_TRUE(database.DeleteRow("Ledger", 2));
    ASSERT_EQ(database.AddBlob(Text("blob")), 0);
    ASSERT_TRUE(database.Flush());
    const DatabaseContent content = ContentOf(database);
    const auto snapshot = files.Snapshot();
    const auto addRow = [&] { EXPECT_EQ(AddLedgerRow(database, {"in", 9, 9, WordyText(9)}), 6); };
    const struct {
        const char* name;
        std::function<void()> change;
    } rows[] = {
        {"nothing", [] {}},
        {"row added", addRow},
        {"row changed",
         [&] {
             EXPECT_TRUE(ChangeLedgerRow(database, 3, {"changed", 8, 8, "shorter"}));
         }},
        {"rows deleted, one added into their place",
         [&] {
             EXPECT_TRUE(database.DeleteRow("Ledger", 0) && database.DeleteRow("Ledger", 5));
             addRow();
         }},
        {"BLOBs",
         [&] {
             EXPECT_EQ(database.AddBlob(Text("more")), 1);
             EXPECT_TRUE(database.ReplaceBlob(0, Text("other")) && database.DeleteBlob(1));
         }},
        {"next id raised", [&] { EXPECT_TRUE(database.FindTable("Ledger")->SkipRowIdsBelow(50)); }},
        {"table made",
         [&] {
             EXPECT_TRUE(database.CreateTable("New"));
             EXPECT_TRUE(database.AddColumn("New", "Text", ColumnType::Text, true, true));
             EXPECT_TRUE(database.BeginRow("New") && database.SetText("Text", "x"));
             EXPECT_EQ(database.CommitRow(), 0);
         }},
        {"table removed", [&] { EXPECT_TRUE(database.RemoveTable("Ledger")); }},
        {"table removed and made anew",
         [&] { EXPECT_TRUE(database.RemoveTable("Ledger") && MakeLedgerTable(database)); }},
        {"column added",
         [&] {
             addRow();
             EXPECT_TRUE(database.AddColumn("Ledger", "More", ColumnType::Text, true, true));
             EXPECT_TRUE(database.BeginRowUpdate("Ledger", 1) && database.SetText("More", "x"));
             EXPECT_EQ(database.CommitRow(), 1);
         }},
        {"columns removed",
         [&] {
             EXPECT_TRUE(database.RemoveColumn("Ledger", "Name"));
             EXPECT_TRUE(database.RemoveColumn("Ledger", "Amount"));
         }},
        {"every column removed",
         [&] {
             for (const char* column :
                  {"Name", "Open", "Check", "Account", "Amount", "Date", "Memo"}) {
                 EXPECT_TRUE(database.RemoveColumn("Ledger", column));
             }
         }},
    };
    for (const bool nested : {false, true}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            const auto before = files.Snapshot();
            ASSERT_TRUE(database.BeginBatch());
            if (nested) {
                ASSERT_TRUE(database.BeginBatch());
            }
            row.change();
            EXPECT_FALSE(database.Flush() || database.RemoveDeleted()) << "not inside a bracket";
            EXPECT_TRUE(files.Snapshot() == before) << "nothing on the disk before the commit";
            if (nested) {
                database.RollbackBatch();
                EXPECT_FALSE(database.CommitBatch());
            } else {
                database.RollbackBatch();
            }
            EXPECT_FALSE(database.InBatch());
            EXPECT_EQ(ContentOf(database), content);
            EXPECT_EQ(CodeOf(database), 0);
            // What comes next gets the ids it would have got, and is kept.
            ASSERT_TRUE(database.BeginBatch());
            addRow();
            EXPECT_EQ(database.AddBlob(Text("next")), 1);
            EXPECT_TRUE(database.CreateTable("Next"));
            EXPECT_EQ(database.FindTable("Next")->Number(), 2);
            database.RollbackBatch();
            ASSERT_TRUE(database.Flush());
            int code = -1;
            EXPECT_EQ(ContentAfterCrash(files.Snapshot(), code), content);
            EXPECT_EQ(code, 0);
            ASSERT_TRUE(database.Close());
            files.Restore(snapshot);
            ASSERT_TRUE(database.Open(kFolder));
        }
    }
}

// A schema that cannot be read back must not be taken for an empty one.
TEST(Database, RollbackThatCannotReadTheSchemaWritesNothingMore) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
    ASSERT_EQ(AddLedgerRow(database, {"kept", 1, 1, ""}), 0);
    const DatabaseContent content = ContentOf(database);
    ASSERT_TRUE(database.BeginBatch());
    ASSERT_TRUE(database.CreateTable("New"));
    files.FailNth(Call::Read, 1, FileError::Other, CMemoryFileSystem::Times::ForEver);
    database.RollbackBatch();
    files.StopFailing();
    EXPECT_EQ(database.CreateTable("Another"), nullptr);
    EXPECT_EQ(database.AddBlob(Text("x")), -1);
    EXPECT_FALSE(database.Flush());
    EXPECT_FALSE(database.RemoveDeleted());
    EXPECT_FALSE(database.Close());
    ASSERT_TRUE(database.Open(kFolder));
    EXPECT_EQ(ContentOf(database), content);
    EXPECT_EQ(CodeOf(database), 0);
}

TEST(Database, FullDiskFailsTheCommitAndGoesOn) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
    ASSERT_EQ(AddLedgerRow(database, {"kept", 1, 1, "memo"}), 0);
    const DatabaseContent content = ContentOf(database);
    files.FailNth(Call::AnyChange, 1, FileError::NoSpace, CMemoryFileSystem::Times::ForEver);
    EXPECT_EQ(AddLedgerRow(database, {"lost", 2, 2, ""}), -1);
    EXPECT_EQ(database.Problem(), DatabaseProblem::DiskFull);
    EXPECT_FALSE(ChangeLedgerRow(database, 0, {"lost", 2, 2, ""}));
    EXPECT_FALSE(database.DeleteRow("Ledger", 0));
    EXPECT_EQ(database.CreateTable("Lost"), nullptr);
    EXPECT_FALSE(database.AddColumn("Ledger", "Lost", ColumnType::Int32, true, false));
    EXPECT_EQ(ContentOf(database), content);
    EXPECT_EQ(CodeOf(database), 0);
    int code = -1;
    EXPECT_EQ(ContentAfterCrash(files.Snapshot(), code), content);
    EXPECT_EQ(code, 0);
    files.StopFailing();
    EXPECT_EQ(AddLedgerRow(database, {"room again", 3, 3, ""}), 1);
    EXPECT_TRUE(database.CreateTable("Second"));
    EXPECT_TRUE(database.AddColumn("Second", "Text", ColumnType::Text, true, true));
    EXPECT_EQ(CodeOf(database), 0);
    ASSERT_TRUE(database.Close());
    ASSERT_TRUE(database.Open(kFolder));
    EXPECT_EQ(database.FindTable("Ledger")->RowCount(), 2);
}

// What others keep in the folder is theirs, whatever its name ends in.
TEST(Database, TidiesUpNothingButItsOwn) {
    const Bytes oldData = Join(Signature("Data"), Le32(1), Text("8 bytes!"), Text("blocks"));
    const struct {
        const char* name;
        Bytes bytes;
        bool isOwn;
    } rows[] = {
        {"Table_1_data.dat_tmp", oldData, true},
        {"Table_1_textdata.dat_tmp", {}, true},
        {"DatabaseSchema_blobdata.dat_tmp", oldData, true},
        {"Checksums.dat.new", Text("half"), true},
        {"Letters.dat_tmp", Text("a draft"), false},
        {"Table_1_dict.dat_tmp", Text("never made"), false},
        {"Table_2_data.dat_tmp", Text("no such table"), false},
        {"Table_2_data.dat", oldData, false},
        {"metadata.dat", oldData, false},
        {"Checksums.new", Text("?"), false},
    };
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database) && database.Close());
    for (const auto& row : rows) files.Bytes(kFolder + std::string(row.name)) = row.bytes;
    ASSERT_TRUE(database.Open(kFolder) && database.Close());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_NE(files.Exists(kFolder + std::string(row.name)), row.isOwn);
        if (!row.isOwn) {
            EXPECT_EQ(files.Bytes(kFolder + std::string(row.name)), row.bytes);
        }
    }
}

// --- timers

TEST(Database, TimersArmFirstAndActLater) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
    ASSERT_EQ(AddLedgerRow(database, {"a", 1, 1, "memo"}), 0);
    ASSERT_TRUE(database.DeleteRow("Ledger", 0));
    const auto hasFreeList = [&] { return files.Exists("db/Table_1_data_del.dat"); };
    const auto entries = [&] { return database.FindTable("Ledger")->Rows().EntryCount(); };
    int64_t now = 5'000;
    database.RunTimers(now);
    database.RunTimers(now += 29'999);
    database.RunTimers(now += 1);
    EXPECT_FALSE(hasFreeList()) << "the first expiry only arms";
    database.RunTimers(now += 29'999);
    EXPECT_FALSE(hasFreeList());
    ASSERT_TRUE(database.BeginBatch());
    database.RunTimers(now += 1);
    EXPECT_FALSE(hasFreeList()) << "a bracket is not disturbed";
    ASSERT_TRUE(database.CommitBatch());
    database.RunTimers(now);
    EXPECT_TRUE(hasFreeList()) << "the second one flushes";

    EXPECT_EQ(entries(), 1);
    database.RunTimers(now = 5'000 + 1'200'000);
    EXPECT_EQ(entries(), 1);
    database.RunTimers(now = 5'000 + 2'400'000 - 1);
    EXPECT_EQ(entries(), 1);
    database.RunTimers(now += 1);
    EXPECT_EQ(entries(), 0) << "deleted entries are gone after two of the long periods";
    // Closing stops them: they start over.
    ASSERT_TRUE(database.Close());
    database.RunTimers(now += 60'000);
    ASSERT_TRUE(database.Open(kFolder));
    const int64_t syncs = files.Count(Call::AnySync);
    database.RunTimers(now += 60'000);
    database.RunTimers(now += 30'000);
    EXPECT_EQ(files.Count(Call::AnySync), syncs);
}

// --- random work against an oracle

struct COracle {
    std::map<int64_t, LedgerRow> rows;
    std::map<int64_t, std::string> blobs;
    int64_t nextRow = 0;
    int64_t nextBlob = 0;
};

void ExpectSame(CDatabaseManager& database, const COracle& oracle) {
    const CTableManager* table = database.FindTable("Ledger");
    ASSERT_NE(table, nullptr);
    ASSERT_EQ(table->RowCount(), static_cast<int64_t>(oracle.rows.size()));
    const auto value = [&](int64_t row, const char* column) {
        CTableRowUpdateInfoValue found;
        EXPECT_TRUE(table->ReadValue(row, *table->FindColumn(column), found));
        return found;
    };
    for (const auto& [id, row] : oracle.rows) {
        ASSERT_TRUE(table->RowExists(id));
        ASSERT_EQ(value(id, "Name").text.ToUtf8(), row.name);
        ASSERT_EQ(value(id, "Check").int32, row.check);
        ASSERT_EQ(value(id, "Amount").number, row.amount);
        ASSERT_EQ(value(id, "Memo").text.ToUtf8(), row.memo);
    }
    Bytes bytes;
    for (int64_t id = 0; id < oracle.nextBlob; ++id) {
        const auto found = oracle.blobs.find(id);
        ASSERT_EQ(database.ReadBlob(id, bytes), found != oracle.blobs.end());
        if (found != oracle.blobs.end()) {
            ASSERT_EQ(ToString(bytes), found->second);
        }
    }
    ASSERT_EQ(CodeOf(database), 0);
}

TEST(Database, RandomWorkAgainstAnOracle) {
    for (uint32_t seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        auto files = std::make_unique<CMemoryFileSystem>();
        auto database = std::make_unique<CDatabaseManager>(*files);
        ASSERT_TRUE(database->Open(kFolder) && MakeLedgerTable(*database));
        COracle oracle;
        const auto randomRow = [&] {
            const auto number = static_cast<int>(random() % 40);
            const std::string names[] = {"", "Bakery", std::string(33, 'x'), WordyText(number)};
            return LedgerRow{names[random() % 4], number - 20, (number - 20) * 0.125,
                             random() % 2 ? WordyText(number) : names[random() % 3]};
        };
        const auto change = [&](COracle& state) {
            const int64_t row = static_cast<int64_t>(random()) % (state.nextRow + 1);
            const int64_t blob = static_cast<int64_t>(random()) % (state.nextBlob + 1);
            const LedgerRow fresh = randomRow();
            switch (random() % 9) {
                case 0:
                case 1:
                case 2:
                    ASSERT_EQ(AddLedgerRow(*database, fresh), state.nextRow);
                    state.rows[state.nextRow++] = fresh;
                    break;
                case 3:
                case 4: {
                    const auto found = state.rows.find(row);
                    if (found == state.rows.end()) {
                        ASSERT_FALSE(database->BeginRowUpdate("Ledger", row));
                        break;
                    }
                    ASSERT_TRUE(ChangeLedgerRow(*database, row, fresh));
                    found->second = fresh;
                    break;
                }
                case 5:
                    ASSERT_EQ(database->DeleteRow("Ledger", row), state.rows.erase(row) == 1);
                    break;
                case 6:
                    ASSERT_EQ(database->AddBlob(Text(fresh.memo)), state.nextBlob);
                    state.blobs[state.nextBlob++] = fresh.memo;
                    break;
                case 7:
                    if (!state.blobs.contains(blob)) break;
                    ASSERT_TRUE(database->ReplaceBlob(blob, Text(fresh.name)));
                    state.blobs[blob] = fresh.name;
                    break;
                default:
                    if (!state.blobs.contains(blob)) break;
                    ASSERT_TRUE(database->DeleteBlob(blob));
                    state.blobs.erase(blob);
                    break;
            }
        };
        for (int round = 0; round < 120 && !::testing::Test::HasFailure(); ++round) {
            if (random() % 3 == 0) {
                COracle inside = oracle;
                ASSERT_TRUE(database->BeginBatch());
                for (auto steps = random() % 12; steps > 0; --steps) change(inside);
                if (random() % 3 == 0) {
                    database->RollbackBatch();
                } else {
                    ASSERT_TRUE(database->CommitBatch());
                    oracle = std::move(inside);
                }
            } else {
                change(oracle);
            }
            switch (random() % 14) {
                case 0:
                    ASSERT_TRUE(database->Flush());
                    break;
                case 1:
                    ASSERT_TRUE(database->RemoveDeleted());
                    break;
                case 2:
                    ASSERT_TRUE(database->Close());
                    ASSERT_TRUE(database->Open(kFolder));
                    break;
                case 3: {  // a kill
                    auto next = std::make_unique<CMemoryFileSystem>();
                    next->Restore(files->Snapshot());
                    database = std::make_unique<CDatabaseManager>(*next);
                    files = std::move(next);
                    ASSERT_TRUE(database->Open(kFolder));
                    break;
                }
                case 4:
                    ASSERT_TRUE(
                        database->AddColumn("Ledger", "Extra", ColumnType::Text, true, true));
                    ASSERT_TRUE(database->RemoveColumn("Ledger", "Extra"));
                    break;
                case 5:
                    ASSERT_TRUE(database->RebuildIndexes());
                    break;
                default:
                    break;
            }
            if (round % 4 == 0) ExpectSame(*database, oracle);
        }
        ExpectSame(*database, oracle);
    }
}

}  // namespace
}  // namespace quillon
