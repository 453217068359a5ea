#include <gtest/gtest.h>

#include <algorithm>

#include "storage/BackupFixture.h"
#include "support/ForwardingFiles.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

// A disk with the container and a ledger that must stay as it is.
void ExpectRefused(const Bytes& container, std::initializer_list<RestoreCode> codes) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = container;
    PutFiles(disk, "ledger", {{"DatabaseSchema.dat", Text("mine")}});
    const auto before = disk.Snapshot();
    const RestoreCode code = Restore(disk, "b.dat", "ledger", true);
    EXPECT_TRUE(std::find(codes.begin(), codes.end(), code) != codes.end())
        << static_cast<int32_t>(code);
    EXPECT_TRUE(disk.Snapshot() == before);
    EXPECT_EQ(disk.Count(Call::AnyChange), 3);  // the ones that made the ledger
}

TEST(Restore, RefusesEveryFlippedBit) {
    const Bytes good =
        ContainerOf({{"DatabaseSchema.dat", Bytes(60, 'S')}, {"Table_1.dat", Text("columns")}});
    ASSERT_FALSE(good.empty());
    for (size_t at = 0; at < good.size(); ++at) {
        SCOPED_TRACE(at);
        const int flipped = good[at] ^ (1 << (at % 8));
        ExpectRefused(WithByte(good, at, flipped),
                      {RestoreCode::NotABackup, RestoreCode::NewerVersion,
                       RestoreCode::WrongPassword, RestoreCode::Damaged, RestoreCode::Truncated});
        if (HasFailure()) return;
    }
}

TEST(Restore, RefusesEveryOtherLength) {
    const Bytes good =
        ContainerOf({{"DatabaseSchema.dat", Bytes(60, 'S')}, {"Table_1.dat", Text("columns")}});
    for (size_t size = 0; size < good.size(); ++size) {
        SCOPED_TRACE(size);
        ExpectRefused(Prefix(good, size),
                      {size < 11 ? RestoreCode::NotABackup : RestoreCode::Truncated});
        if (HasFailure()) return;
    }
    ExpectRefused(Join(good, {0}), {RestoreCode::Damaged});
    ExpectRefused(Join(good, good), {RestoreCode::Damaged});
    ExpectRefused(Noise(5'000), {RestoreCode::NotABackup});
}

// The pieces are genuine; only their places are not.
TEST(Restore, RefusesMovedPieces) {
    // Two chunks with equal contents in one file, two files of one size.
    const FileMap contents = {{"DatabaseSchema.dat", Zeros(40'960'000)},
                              {"Table_1.dat", Noise(50, 1)},
                              {"Table_2.dat", Noise(50, 2)}};
    const Bytes good = ContainerOf(contents);
    const Bytes sibling = ContainerOf(contents);
    const auto places = ChunksOf(good);
    ASSERT_EQ(places.size(), 4U);
    ASSERT_EQ(places[0].size, places[1].size);
    ASSERT_EQ(good.size(), sibling.size());
    const auto chunk = [&](const Bytes& container, size_t i) {
        return Slice(container, places[i].offset, places[i].size);
    };
    const Bytes start = Prefix(good, places[0].offset);
    const Bytes c0 = chunk(good, 0);
    const Bytes c1 = chunk(good, 1);
    const Bytes c2 = chunk(good, 2);
    const Bytes c3 = chunk(good, 3);
    ASSERT_EQ(Join(start, c0, c1, c2, c3), good);
    const struct {
        const char* name;
        Bytes container;
        RestoreCode code;
    } rows[] = {
        {"chunks of one file swapped", Join(start, c1, c0, c2, c3), RestoreCode::Damaged},
        {"chunk doubled over the next", Join(start, c0, c0, c2, c3), RestoreCode::Damaged},
        {"files swapped", Join(start, c0, c1, c3, c2), RestoreCode::Damaged},
        {"file doubled over the next", Join(start, c0, c1, c2, c2), RestoreCode::Damaged},
        {"chunk dropped", Join(start, c0, c2, c3), RestoreCode::Truncated},
        {"last file dropped", Join(start, c0, c1, c2), RestoreCode::Truncated},
        {"chunk added", Join(start, c0, c1, c2, c3, c3), RestoreCode::Damaged},
        {"a sibling's first chunk", Join(start, chunk(sibling, 0), c1, c2, c3),
         RestoreCode::Damaged},
        {"a sibling's last file", Join(start, c0, c1, c2, chunk(sibling, 3)), RestoreCode::Damaged},
        {"a sibling's chunks all", Join(start, Slice(sibling, start.size())), RestoreCode::Damaged},
        {"a sibling's header", Join(Prefix(sibling, 74), Slice(good, 74)),
         RestoreCode::WrongPassword},
        {"a sibling's directory",
         Join(Prefix(good, 74), Slice(sibling, 74, start.size() - 74), Slice(good, start.size())),
         RestoreCode::WrongPassword},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectRefused(row.container, {row.code});
    }
}

Bytes Entry(const std::string& name, int64_t storedSize = 0, int32_t chunks = 0) {
    Bytes bytes(BackupEntry::kDiskSize);
    BackupEntry{name, 0, storedSize, chunks}.Encode(bytes);
    return bytes;
}

// Sealed with the right password, so only the checks of the contents stand.
TEST(Restore, RefusesHostileDirectories) {
    const Bytes schema = Entry("DatabaseSchema.dat");
    const struct {
        const char* name;
        Bytes container;
        RestoreCode code;
    } rows[] = {
        {"a sound one", ForgedContainer(schema, {}), RestoreCode::Done},
        {"no schema", ForgedContainer(Entry("Table_1.dat"), {}), RestoreCode::Damaged},
        {"one name twice", ForgedContainer(Join(schema, schema), {}), RestoreCode::Damaged},
        {"no name", ForgedContainer(Join(schema, Entry("")), {}), RestoreCode::Damaged},
        {"folder above", ForgedContainer(Join(schema, Entry("..")), {}), RestoreCode::Damaged},
        {"way out", ForgedContainer(Join(schema, Entry("../Table_1.dat")), {}),
         RestoreCode::Damaged},
        {"way out on Windows", ForgedContainer(Join(schema, Entry("..\\Table_1.dat")), {}),
         RestoreCode::Damaged},
        {"absolute", ForgedContainer(Join(schema, Entry("/etc/passwd")), {}), RestoreCode::Damaged},
        {"control character", ForgedContainer(Join(schema, Entry("Table_1\x1b.dat")), {}),
         RestoreCode::Damaged},
        {"the lock", ForgedContainer(Join(schema, Entry("Database.lock")), {}),
         RestoreCode::Damaged},
        {"the journal", ForgedContainer(Join(schema, Entry("Journal.dat")), {}),
         RestoreCode::Damaged},
        {"the restore's mark", ForgedContainer(Join(schema, Entry("Restore.mark")), {}),
         RestoreCode::Damaged},
        {"more than the file holds", ForgedContainer(Join(schema, Entry("Table_1.dat", 40, 1)), {}),
         RestoreCode::Truncated},
        {"sizes that overflow",
         ForgedContainer(Join(Entry("DatabaseSchema.dat", int64_t{1} << 55, 0x7FFF'FFFF),
                              Entry("Table_1.dat", int64_t{1} << 55, 0x7FFF'FFFF)),
                         {}),
         RestoreCode::Truncated},
        {"chunk that is none", ForgedContainer(Entry("DatabaseSchema.dat", 40, 1), Zeros(40)),
         RestoreCode::Damaged},
        {"chunk longer than its file",
         ForgedContainer(Entry("DatabaseSchema.dat", 40, 1),
                         Join(Zeros(28), {9, 0, 0, 0}, Zeros(8))),
         RestoreCode::Damaged},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.code != RestoreCode::Done) {
            ExpectRefused(row.container, {row.code});
            continue;
        }
        CMemoryFileSystem disk;
        disk.Bytes("b.dat") = row.container;
        EXPECT_EQ(Restore(disk, "b.dat", "ledger"), RestoreCode::Done);
    }
}

TEST(Restore, ReplacesOnlyWhatItMay) {
    const struct {
        const char* name;
        FileMap there;
        std::string path;
        std::string folder;
        bool overwrite;
        RestoreCode code;
    } rows[] = {
        {"no folder yet", {}, "b.dat", "ledger", false, RestoreCode::Done},
        {"folders above are missing", {}, "b.dat", "a/b/ledger", false, RestoreCode::Done},
        {"only the lock",
         {{"ledger/Database.lock", {}}},
         "b.dat",
         "ledger",
         false,
         RestoreCode::Done},
        {"a database",
         {{"ledger/Table_1.dat", {1}}},
         "b.dat",
         "ledger",
         false,
         RestoreCode::TargetNotEmpty},
        {"a database, told",
         {{"ledger/Table_1.dat", {1}}, {"ledger/Journal.dat", {2}}},
         "b.dat",
         "ledger",
         true,
         RestoreCode::Done},
        {"a note beside it, told",
         {{"ledger/Table_1.dat", {1}}, {"ledger/notes.txt", {2}}},
         "b.dat",
         "ledger",
         true,
         RestoreCode::ForeignFiles},
        {"a folder in it, told",
         {{"ledger/Table_1.dat/x", {1}}},
         "b.dat",
         "ledger",
         true,
         RestoreCode::ForeignFiles},
        {"somebody's documents",
         {{"ledger/notes.txt", {1}}},
         "b.dat",
         "ledger",
         false,
         RestoreCode::TargetNotEmpty},
        {"a file", {{"ledger", {1}}}, "b.dat", "ledger", true, RestoreCode::InTheWay},
        {"own folder beside it",
         {{"ledger.old/notes.txt", {1}}, {"ledger/Table_1.dat", {2}}},
         "b.dat",
         "ledger",
         true,
         RestoreCode::InTheWay},
        {"own database beside it",
         {{"ledger.old/DatabaseSchema.dat", {1}}, {"ledger/Table_1.dat", {2}}},
         "b.dat",
         "ledger",
         true,
         RestoreCode::InTheWay},
        {"own database beside it, named like ours",
         {{"ledger.restoring/DatabaseSchema.dat", {1}}},
         "b.dat",
         "ledger",
         true,
         RestoreCode::InTheWay},
        {"no target", {}, "b.dat", "", true, RestoreCode::NoTarget},
        {"here", {}, "b.dat", ".", true, RestoreCode::NoTarget},
        {"above", {}, "b.dat", "ledger/..", true, RestoreCode::NoTarget},
        {"the root", {}, "b.dat", "/", true, RestoreCode::NoTarget},
        {"no container", {}, "c.dat", "ledger", false, RestoreCode::NoSuchFile},
    };
    const Bytes container = ContainerOf(SmallDatabase());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem disk;
        disk.Bytes("b.dat") = container;
        for (const auto& [path, bytes] : row.there) disk.Bytes(path) = bytes;
        auto before = disk.Snapshot();
        EXPECT_EQ(Restore(disk, row.path, row.folder, row.overwrite), row.code);
        if (row.code == RestoreCode::Done) {
            EXPECT_EQ(FilesIn(disk, row.folder), SmallDatabase());
        } else {
            EXPECT_EQ(disk.Snapshot(), before);
        }
    }
}

TEST(Restore, KeepsOffAnOpenDatabase) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = ContainerOf(SmallDatabase());
    PutFiles(disk, "ledger", {{"Table_1.dat", {1}}});
    {
        const auto lock = disk.Lock("ledger/Database.lock");
        const auto before = disk.Snapshot();
        EXPECT_EQ(Restore(disk, "b.dat", "ledger", true), RestoreCode::InUse);
        EXPECT_EQ(disk.Snapshot(), before);
    }
    EXPECT_EQ(Restore(disk, "b.dat", "ledger", true), RestoreCode::Done);
    EXPECT_NE(disk.Lock("ledger/Database.lock"), nullptr) << "the restore holds on to it";
}

TEST(Restore, TellsItsProgress) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = ContainerOf(SmallDatabase());
    std::vector<std::pair<int64_t, int64_t>> steps;
    BackupOptions options = QuickOptions();
    options.progress = [&](int64_t done, int64_t total) { steps.emplace_back(done, total); };
    RestoreReport report;
    ASSERT_EQ(RestoreBackup(disk, "b.dat", "ledger", kHash, false, report, options),
              RestoreCode::Done);
    EXPECT_EQ(report.bytes, 306 + 7 + 40);
    ASSERT_FALSE(steps.empty());
    EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
    EXPECT_EQ(steps.back().first, steps.back().second);
}

// --- stops

const FileMap kOld = {
    {"DatabaseSchema.dat", Text("old")}, {"Table_1.dat", Text("old too")}, {"Table_3.dat", {}}};

void ExpectOneWholeLedger(CMemoryFileSystem& disk, bool oldMay, bool newMay, bool noneMay) {
    const FileMap found = FilesIn(disk, "ledger");
    EXPECT_TRUE((oldMay && found == kOld) || (newMay && found == SmallDatabase()) ||
                (noneMay && !disk.FolderExists("ledger")));
    EXPECT_FALSE(disk.FolderExists("ledger.restoring"));
    EXPECT_FALSE(disk.FolderExists("ledger.old"));
    EXPECT_NE(
        disk.FolderExists("ledger") ? disk.Lock("ledger/Database.lock") : disk.Lock("free.lock"),
        nullptr);
}

// From the nth change on nothing works any more, as after a kill. What was begun is then
// recovered by somebody else, who is stopped in the same way once, and tries again.
TEST(Restore, StoppedAnywhereLeavesOneWholeLedger) {
    const Bytes container = ContainerOf(SmallDatabase());
    for (const bool replaces : {true, false}) {
        bool finished = false;
        for (int64_t stopAt = 1; !finished; ++stopAt) {
            ASSERT_LT(stopAt, 1'000);
            for (int64_t stopRecoveryAt = 1;; ++stopRecoveryAt) {
                SCOPED_TRACE(testing::Message()
                             << replaces << " " << stopAt << " " << stopRecoveryAt);
                CMemoryFileSystem disk;
                disk.Bytes("b.dat") = container;
                if (replaces) PutFiles(disk, "ledger", kOld);
                disk.FailNth(Call::AnyChangeOrSync, stopAt, FileError::Other,
                             CMemoryFileSystem::Times::ForEver);
                const RestoreCode code = Restore(disk, "b.dat", "ledger", true);
                finished = !disk.HasFailed();
                disk.StopFailing();

                disk.FailNth(Call::AnyChangeOrSync, stopRecoveryAt, FileError::Other,
                             CMemoryFileSystem::Times::ForEver);
                (void)RecoverInterruptedRestore(disk, "ledger/");
                const bool recovered = !disk.HasFailed();
                disk.StopFailing();
                EXPECT_TRUE(RecoverInterruptedRestore(disk, "ledger"));
                const int64_t changes = disk.Count(Call::AnyChange);
                EXPECT_TRUE(RecoverInterruptedRestore(disk, "ledger"));
                EXPECT_EQ(disk.Count(Call::AnyChange), changes) << "not all was done at once";

                const bool done = code == RestoreCode::Done;
                ExpectOneWholeLedger(disk, replaces && !done, true, !replaces && !done);
                if (HasFailure()) return;
                if (recovered) break;
            }
        }
    }
}

// One call fails and the disk works on: a restore that says it failed has taken
// everything back at once.
TEST(Restore, AFailedOneTakesEverythingBack) {
    const Bytes container = ContainerOf(SmallDatabase());
    for (const bool replaces : {true, false}) {
        bool finished = false;
        for (int64_t failAt = 1; !finished; ++failAt) {
            SCOPED_TRACE(testing::Message() << replaces << " " << failAt);
            ASSERT_LT(failAt, 1'000);
            CMemoryFileSystem disk;
            disk.Bytes("b.dat") = container;
            if (replaces) PutFiles(disk, "ledger", kOld);
            disk.FailNth(Call::AnyChangeOrSync, failAt, FileError::NoSpace);
            const RestoreCode code = Restore(disk, "b.dat", "ledger", true);
            finished = !disk.HasFailed();
            disk.StopFailing();
            const bool done = code == RestoreCode::Done;
            if (!done) {
                EXPECT_EQ(code, RestoreCode::WriteFailed);
            } else {
                (void)RecoverInterruptedRestore(disk, "ledger");
            }
            ExpectOneWholeLedger(disk, replaces && !done, done, !replaces && !done);
            if (HasFailure()) return;
        }
    }
}

TEST(Restore, RecoveryLeavesAloneWhatIsNotItsOwn) {
    const Bytes incoming = Text("incoming");
    const Bytes complete = Text("complete");
    const Bytes outgoing = Text("outgoing");
    const struct {
        const char* name;
        FileMap there;
        FileMap after;  // of "ledger"; empty: nothing changes at all
    } rows[] = {
        {"own folders of those names",
         {{"ledger/Table_1.dat", {1}},
          {"ledger.old/Table_1.dat", {2}},
          {"ledger.restoring/Table_1.dat", {3}}},
         {}},
        {"no ledger, own copy beside it", {{"ledger.old/Table_1.dat", {2}}}, {}},
        {"a copy of a restored folder beside it",
         {{"ledger/Table_1.dat", {1}},
          {"ledger/Restore.mark", complete},
          {"ledger.old/Table_1.dat", {2}},
          {"ledger.old/Restore.mark", complete}},
         {{"Table_1.dat", {1}}}},
        {"another ledger was put there after the stop",
         {{"ledger/Table_1.dat", {1}},
          {"ledger.old/Table_1.dat", {2}},
          {"ledger.old/Restore.mark", outgoing},
          {"ledger.restoring/Table_1.dat", {3}},
          {"ledger.restoring/Restore.mark", complete}},
         {}},
        {"an empty folder was put there after the stop",
         {{"ledger/Database.lock", {}},
          {"ledger.old/Table_1.dat", {2}},
          {"ledger.old/Restore.mark", outgoing},
          {"ledger.restoring/Restore.mark", incoming}},
         {{"Table_1.dat", {2}}}},
        {"a note was put into the old folder",
         {{"ledger/Table_1.dat", {1}},
          {"ledger/Restore.mark", complete},
          {"ledger.old/notes.txt", {2}},
          {"ledger.old/Restore.mark", outgoing}},
         {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem disk;
        for (const auto& [path, bytes] : row.there) disk.Bytes(path) = bytes;
        (void)RecoverInterruptedRestore(disk, "ledger");
        if (!row.after.empty()) {
            EXPECT_EQ(FilesIn(disk, "ledger"), row.after);
            continue;
        }
        auto after = disk.Snapshot();
        std::erase_if(after, [](const auto& file) { return file.first.ends_with(".lock"); });
        EXPECT_EQ(after, row.there);
    }
}

TEST(Restore, RecoveryWaitsForARestoreThatIsGoingOn) {
    for (const char* folder : {"ledger.restoring", "ledger.old"}) {
        SCOPED_TRACE(folder);
        CMemoryFileSystem disk;
        const std::string place = std::string(folder) + "/";
        disk.Bytes(place + "Restore.mark") = Text(place == "ledger.old/" ? "outgoing" : "incoming");
        disk.Bytes(place + "Table_1.dat") = {1};
        const auto lock = disk.Lock(place + "Database.lock");
        const auto before = disk.Snapshot();
        EXPECT_FALSE(RecoverInterruptedRestore(disk, "ledger"));
        EXPECT_EQ(disk.LastError(), FileError::Locked);
        EXPECT_EQ(disk.Snapshot(), before);
    }
}

// Windows renames no folder in which a file is open.
class CStrictDisk final : public CForwardingFiles {
public:
    explicit CStrictDisk(CMemoryFileSystem& base) : CForwardingFiles(base) {}
    bool Rename(const std::string& from, const std::string& to) override {
        if (FolderExists(from)) {
            // Were its lock free, nobody would have a file in there open.
            const std::string lock = from + "/Database.lock";
            if (Exists(lock) && !Lock(lock)) return false;
            ++m_folderRenames;
        }
        return CForwardingFiles::Rename(from, to);
    }
    int FolderRenames() const { return m_folderRenames; }

private:
    int m_folderRenames = 0;
};

TEST(Restore, WorksWhereOpenFilesHoldTheirFolder) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = ContainerOf(SmallDatabase());
    PutFiles(disk, "ledger", kOld);
    CStrictDisk strict(disk);
    ASSERT_EQ(Restore(strict, "b.dat", "ledger", true), RestoreCode::Done);
    EXPECT_EQ(strict.FolderRenames(), 2);
    ExpectOneWholeLedger(disk, false, true, false);
}

}  // namespace
}  // namespace quillon
