// Databases on disks that fail at any change, and computers that lose their power.

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "PowerCutDisk.h"
#include "StoreFixture.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;
using Times = CMemoryFileSystem::Times;

// What is done to the prepared database. True when it was acknowledged.
struct Work {
    const char* name;
    std::function<bool(CDatabaseManager&)> act;
};

const std::vector<Work>& AllWork() {
    static const std::vector<Work> kWork = {
        {"add a row",
         [](CDatabaseManager& d) {
             return AddLedgerRow(d, {"new", 9, 9, WordyText(9)}) >= 0;
         }},
        {"change a row",
         [](CDatabaseManager& d) {
             return ChangeLedgerRow(d, 1, {"changed", 8, 8, "brief"});
         }},
        {"delete a row", [](CDatabaseManager& d) { return d.DeleteRow("Ledger", 3); }},
        {"batch",
         [](CDatabaseManager& d) {
             CBatchScope batch(d);
             return batch.Begun() && d.DeleteRow("Ledger", 1) &&
                    AddLedgerRow(d, {"one", 7, 7, "memo"}) >= 0 &&
                    ChangeLedgerRow(d, 4, {"two", 6, 6, WordyText(6)}) &&
                    d.AddBlob(Text("three")) >= 0 && d.DeleteBlob(0) && batch.Commit();
         }},
        {"BLOB", [](CDatabaseManager& d) { return d.ReplaceBlob(1, Text(WordyText(5))); }},
        {"flush", [](CDatabaseManager& d) { return d.Flush(); }},
        {"remove deleted", [](CDatabaseManager& d) { return d.RemoveDeleted(); }},
        {"rebuild indexes", [](CDatabaseManager& d) { return d.RebuildIndexes(); }},
        {"add a column",
         [](CDatabaseManager& d) {
             return d.AddColumn("Ledger", "More", ColumnType::Int64, true, true);
         }},
        {"remove a column", [](CDatabaseManager& d) { return d.RemoveColumn("Ledger", "Memo"); }},
        {"make a table",
         [](CDatabaseManager& d) {
             CBatchScope batch(d);
             return batch.Begun() && d.CreateTable("Second") &&
                    d.AddColumn("Second", "Text", ColumnType::Text, true, false) &&
                    d.BeginRow("Second") && d.SetText("Text", "x") && d.CommitRow() == 0 &&
                    batch.Commit();
         }},
        {"remove a table", [](CDatabaseManager& d) { return d.RemoveTable("Ledger"); }},
        {"close", [](CDatabaseManager& d) { return d.Close(); }},
    };
    return kWork;
}

// A database with free room, deleted entries, unflushed commits and something in the journal.
bool Prepare(CDatabaseManager& database) {
    bool done = database.Open(kFolder) && MakeLedgerTable(database);
    for (int i = 0; i < 6; ++i) {
        done = done &&
               AddLedgerRow(database, {"n" + std::to_string(i), i, i * 1.5, WordyText(i)}) == i;
    }
    done = done && database.AddBlob(Text(WordyText(1))) == 0 && database.AddBlob(Text("b")) == 1 &&
           database.AddBlob(Text("c")) == 2;
    done = done && database.DeleteRow("Ledger", 0) && database.Flush();
    return done && database.DeleteRow("Ledger", 2) &&
           ChangeLedgerRow(database, 5, {"five", 5, 5, "other"});
}

// Opened again, with commits that are not flushed.
bool Resume(CDatabaseManager& database) {
    return database.Open(kFolder) && AddLedgerRow(database, {"late", 2, 2, WordyText(2)}) == 6 &&
           database.DeleteRow("Ledger", 6) && database.DeleteBlob(2);
}

struct Prepared {
    std::map<std::string, Bytes> disk;
    DatabaseContent content;
};

Prepared PreparedDisk() {
    Prepared prepared;
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    EXPECT_TRUE(Prepare(database));
    prepared.disk = files.Snapshot();
    (void)database.Close();
    EXPECT_TRUE(Resume(database));
    prepared.content = ContentOf(database);
    return prepared;
}

DatabaseContent ContentAfter(const Prepared& before, const Work& work) {
    CMemoryFileSystem files;
    files.Restore(before.disk);
    CDatabaseManager database(files);
    EXPECT_TRUE(Resume(database) && work.act(database));
    if (!database.IsOpen()) {
        EXPECT_TRUE(database.Open(kFolder));
    }
    return ContentOf(database);
}

struct FailingRun {
    int64_t failAt;
    Times times;
    size_t written;  // bytes that a failing write leaves behind
};

// False when the run came to its end without a failure.
bool RunFailing(const Prepared& before, const Work& work, const DatabaseContent& after,
                const FailingRun& run) {
    CMemoryFileSystem files;
    files.Restore(before.disk);
    CDatabaseManager database(files);
    EXPECT_TRUE(Resume(database));
    files.FailNth(Call::AnyChangeOrSync, run.failAt, FileError::NoSpace, run.times, run.written);
    const bool acknowledged = work.act(database);
    const bool failed = files.HasFailed();
    files.StopFailing();
    EXPECT_TRUE(acknowledged || failed);

    // A program that is killed now finds the old contents or the new ones, whole.
    int code = -1;
    const DatabaseContent crashed = ContentAfterCrash(files.Snapshot(), code);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(crashed == after || (!acknowledged && crashed == before.content));

    // One that lives on sees what it was told, and keeps it.
    if (database.IsOpen()) {
        EXPECT_TRUE(ContentOf(database) == (acknowledged ? after : before.content));
        EXPECT_EQ(CodeOf(database), 0);
        (void)database.Close();
    }
    EXPECT_TRUE(database.Open(kFolder));
    const DatabaseContent reopened = ContentOf(database);
    EXPECT_TRUE(reopened == after || (!acknowledged && reopened == before.content));
    EXPECT_EQ(CodeOf(database), 0);
    return failed;
}

TEST(DatabaseCrash, InterruptedAtEveryChange) {
    const Prepared before = PreparedDisk();
    for (const Work& work : AllWork()) {
        const DatabaseContent after = ContentAfter(before, work);
        for (const Times times : {Times::Once, Times::ForEver}) {
            for (const size_t written : {size_t{0}, size_t{60}}) {
                int64_t failAt = 1;
                for (; failAt < 400; ++failAt) {
                    SCOPED_TRACE(Nth(work.name, failAt) +
                                 (times == Times::Once ? ", once" : ", for ever"));
                    if (!RunFailing(before, work, after, {failAt, times, written})) break;
                    ASSERT_FALSE(::testing::Test::HasFailure());
                }
                EXPECT_LT(failAt, 400);
                EXPECT_GT(failAt, 1);
            }
        }
    }
}

// Making a database is one commit as well.
TEST(DatabaseCrash, CreationInterruptedAtEveryChange) {
    for (int64_t failAt = 1; failAt < 200; ++failAt) {
        SCOPED_TRACE(failAt);
        CMemoryFileSystem files;
        CDatabaseManager database(files);
        files.FailNth(Call::AnyChangeOrSync, failAt, FileError::NoSpace, Times::ForEver);
        const bool opened = database.Open(kFolder);
        const bool failed = files.HasFailed();
        EXPECT_TRUE(opened || failed);
        if (!opened) {
            EXPECT_EQ(database.Problem(), DatabaseProblem::DiskFull);
        }
        files.StopFailing();
        int code = -1;
        EXPECT_EQ(ContentAfterCrash(files.Snapshot(), code), DatabaseContent{});
        EXPECT_EQ(code, 0);
        EXPECT_TRUE(opened || database.Open(kFolder)) << "the same program may try again";
        if (!failed) return;
    }
    FAIL() << "never ran to the end";
}

// Opening replays the journal; it may be interrupted as often as it likes.
TEST(DatabaseCrash, ReplayInterruptedAtEveryChange) {
    const Prepared before = PreparedDisk();
    // The journal of a killed program: the files behind it put back to an older state.
    std::map<std::string, Bytes> killed;
    DatabaseContent after;
    {
        CMemoryFileSystem files;
        files.Restore(before.disk);
        CDatabaseManager database(files);
        ASSERT_TRUE(Resume(database) && database.Flush());
        const auto flushed = files.Snapshot();
        ASSERT_TRUE(AllWork()[3].act(database) && AllWork()[8].act(database));
        after = ContentOf(database);
        killed = flushed;
        killed["db/Journal.dat"] = files.Bytes("db/Journal.dat");
    }
    CMemoryFileSystem files;
    files.Restore(killed);
    for (int64_t failAt = 1; failAt < 200; ++failAt) {
        SCOPED_TRACE(failAt);
        CMemoryFileSystem once;
        once.Restore(killed);
        for (CMemoryFileSystem* disk : {&once, &files}) {
            // `once` starts over every time, `files` goes on from where it was stopped.
            CDatabaseManager database(*disk);
            disk->FailNth(Call::AnyChangeOrSync, failAt, FileError::Other, Times::ForEver);
            (void)database.Open(kFolder);
            disk->StopFailing();
            int code = -1;
            EXPECT_TRUE(ContentAfterCrash(disk->Snapshot(), code) == after);
            EXPECT_EQ(code, 0);
        }
    }
}

// Power cuts lose what was not synced, in any mixture.
TEST(DatabaseCrash, PowerCutAtEveryChange) {
    // Its outcome on Windows is not understood yet; the engine above the disk is the same.
    if (PathSeparator() != '/') GTEST_SKIP() << "the disk model is proved on POSIX only";
    for (const Work& work : AllWork()) {
        Prepared before;
        DatabaseContent after;
        {
            CPowerCutDisk disk;
            CDatabaseManager database(disk);
            ASSERT_TRUE(Prepare(database));
            before.content = ContentOf(database);
            ASSERT_TRUE(work.act(database));
            if (!database.IsOpen()) {
                ASSERT_TRUE(database.Open(kFolder));
            }
            after = ContentOf(database);
        }
        bool cut = true;
        for (int64_t cutAt = 1; cut && cutAt < 400; ++cutAt) {
            for (uint32_t seed = 0; seed < 4; ++seed) {
                SCOPED_TRACE(Nth(work.name, cutAt) + Nth(", seed", seed));
                std::mt19937 random(seed * 1000 + static_cast<uint32_t>(cutAt));
                CPowerCutDisk disk;
                CDatabaseManager database(disk);
                ASSERT_TRUE(Prepare(database));
                disk.CutBefore(cutAt);
                const bool acknowledged = work.act(database);
                cut = disk.IsCut();
                int code = -1;
                const DatabaseContent found = ContentAfterCrash(disk.AfterPowerCut(random), code);
                ASSERT_EQ(code, 0);
                ASSERT_TRUE(found == after || (!acknowledged && found == before.content));
            }
        }
        EXPECT_FALSE(cut);
    }
}

TEST(DatabaseCrash, PowerCutsInALongLife) {
    // Its outcome on Windows is not understood yet; the engine above the disk is the same.
    if (PathSeparator() != '/') GTEST_SKIP() << "the disk model is proved on POSIX only";
    for (uint32_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        CPowerCutDisk disk;
        CDatabaseManager database(disk);
        ASSERT_TRUE(Prepare(database));
        DatabaseContent acknowledged = ContentOf(database);
        DatabaseContent attempted = acknowledged;
        disk.CutBefore(1 + static_cast<int64_t>(random() % 400));
        for (int step = 0; step < 60 && !disk.IsCut(); ++step) {
            const auto number = static_cast<int>(random() % 50);
            bool done = true;
            switch (random() % 6) {
                case 0:
                    done = database.Flush();
                    break;
                case 1:
                    done = database.RemoveDeleted();
                    break;
                case 2: {
                    // What the commit would make of it shows inside the bracket.
                    if (!database.BeginBatch()) break;
                    (void)AddLedgerRow(database, {"batch", number, 1, WordyText(number)});
                    (void)AddLedgerRow(database, {"batch", number, 2, ""});
                    (void)database.DeleteRow("Ledger", number % 8);
                    attempted = ContentOf(database);
                    done = database.CommitBatch();
                    break;
                }
                default:
                    if (!database.BeginBatch()) break;
                    (void)AddLedgerRow(database, {WordyText(number), number, 0.5, "m"});
                    attempted = ContentOf(database);
                    done = database.CommitBatch();
                    break;
            }
            if (done && !disk.IsCut()) acknowledged = attempted;
            if (done && disk.IsCut()) break;  // stands, or its clean-up was cut
        }
        int code = -1;
        const DatabaseContent found = ContentAfterCrash(disk.AfterPowerCut(random), code);
        EXPECT_EQ(code, 0);
        EXPECT_TRUE(found == acknowledged || found == attempted);
    }
}

}  // namespace
}  // namespace quillon
