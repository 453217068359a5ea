#include <gtest/gtest.h>

#include <algorithm>

#include "storage/BackupFixture.h"
#include "support/EachFailure.h"
#include "support/ForwardingFiles.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

// A disk with the container and a ledger that must stay as it is.
void ExpectRefused(const Bytes& container, RestoreCode code,
                   BackupReason reason = BackupReason::None) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = container;
    PutFiles(disk, "ledger", {{"DatabaseSchema.dat", Text("mine")}});
    const auto before = disk.Snapshot();
    RestoreReport report;
    EXPECT_EQ(RestoreBackup(disk, "b.dat", "ledger", kHash, true, report, QuickOptions()), code);
    EXPECT_EQ(report.detail.reason, reason);
    EXPECT_TRUE(disk.Snapshot() == before);
    EXPECT_EQ(disk.Count(Call::AnyChange), 3);  // the ones that made the ledger
}

// The pieces are genuine; only their places are not. Files of one chunk are tried by
// quillon-faults.
TEST(Restore, RefusesMovedChunksOfAFile) {
    const FileMap contents = {{"DatabaseSchema.dat", Zeros(40'960'000)}};
    const Bytes good = ContainerOf(contents);
    const Bytes sibling = ContainerOf(contents);
    const auto places = ChunksOf(good);
    ASSERT_EQ(places.size(), 2U);
    ASSERT_EQ(places[0].size, places[1].size);
    const Bytes start = Prefix(good, places[0].offset);
    const Bytes first = Slice(good, places[0].offset, places[0].size);
    const Bytes second = Slice(good, places[1].offset);
    ASSERT_EQ(Join(start, first, second), good);
    const Bytes other = Slice(sibling, places[0].offset, places[0].size);
    for (const Bytes& moved : {Join(second, first), Join(first, first), Join(other, second)}) {
        ExpectRefused(Join(start, moved), RestoreCode::Damaged);
    }
    ExpectRefused(Join(start, first), RestoreCode::Truncated);
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
        BackupReason reason = BackupReason::None;
    } rows[] = {
        {"a sound one", ForgedContainer(schema, {}), RestoreCode::Done},
        {"a byte behind its end", ForgedContainer(schema, Zeros(1)), RestoreCode::Damaged,
         BackupReason::BytesBehindEnd},
        {"no schema", ForgedContainer(Entry("Table_1.dat"), {}), RestoreCode::Damaged,
         BackupReason::NoSchema},
        {"one name twice", ForgedContainer(Join(schema, schema), {}), RestoreCode::Damaged,
         BackupReason::EntryTwice},
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
            ExpectRefused(row.container, row.code, row.reason);
            continue;
        }
        CMemoryFileSystem disk;
        disk.Bytes("b.dat") = row.container;
        EXPECT_EQ(Restore(disk, "b.dat", "ledger"), RestoreCode::Done);
    }
    for (const char* name : {"", "..", "../Table_1.dat", "..\\Table_1.dat", "/etc/passwd",
                             "Table_1\x1b.dat", "Database.lock", "Journal.dat", "Restore.mark"}) {
        SCOPED_TRACE(name);
        ExpectRefused(ForgedContainer(Join(schema, Entry(name)), {}), RestoreCode::Damaged,
                      BackupReason::ForeignEntry);
    }
}

TEST(Restore, ReplacesOnlyWhatItMay) {
    constexpr bool kTold = true;
    using enum RestoreCode;
    const struct {
        const char* name;
        FileMap there;
        bool overwrite;
        RestoreCode code;
        std::string folder = "ledger";
    } rows[] = {
        {"no folder yet", {}, false, Done},
        {"folders above are missing", {}, false, Done, "a/b/ledger"},
        {"only the lock", {{"ledger/Database.lock", {}}}, false, Done},
        {"a database", {{"ledger/Table_1.dat", {1}}}, false, TargetNotEmpty},
        {"one, told", {{"ledger/Table_1.dat", {1}}, {"ledger/Journal.dat", {2}}}, kTold, Done},
        {"a note in it", {{"ledger/Table_1.dat", {1}}, {"ledger/notes", {2}}}, kTold, ForeignFiles},
        {"a folder in it", {{"ledger/Table_1.dat/x", {1}}}, kTold, ForeignFiles},
        {"somebody's documents", {{"ledger/notes.txt", {1}}}, false, TargetNotEmpty},
        {"a file", {{"ledger", {1}}}, kTold, InTheWay},
        {"folder beside", {{"ledger.old/x", {1}}, {"ledger/Table_1.dat", {2}}}, kTold, InTheWay},
        {"database beside", {{"ledger.old/DatabaseSchema.dat", {1}}}, kTold, InTheWay},
        {"named like ours", {{"ledger.restoring/DatabaseSchema.dat", {1}}}, kTold, InTheWay},
        {"no target", {}, kTold, NoTarget, ""},
        {"here", {}, kTold, NoTarget, "."},
        {"above", {}, kTold, NoTarget, "ledger/.."},
        {"the root", {}, kTold, NoTarget, "/"},
    };
    const Bytes container = ContainerOf(SmallDatabase());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem disk;
        disk.Bytes("b.dat") = container;
        for (const auto& [path, bytes] : row.there) disk.Bytes(path) = bytes;
        const auto before = disk.Snapshot();
        EXPECT_EQ(Restore(disk, "b.dat", row.folder, row.overwrite), row.code);
        if (row.code == Done) {
            EXPECT_EQ(FilesIn(disk, row.folder), SmallDatabase());
        } else {
            EXPECT_EQ(disk.Snapshot(), before);
        }
    }
    CMemoryFileSystem empty;
    EXPECT_EQ(Restore(empty, "b.dat", "ledger"), NoSuchFile);
    EXPECT_FALSE(empty.FolderExists("ledger"));
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

// Whatever the disk answers about a file's size, and then does not.
TEST(Restore, ASizeThatFailsOnceStopsNothingHalfway) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = ContainerOf(SmallDatabase());
    PutFiles(disk, "ledger", {{"DatabaseSchema.dat", Text("mine")}});
    const FileMap mine = FilesIn(disk, "ledger");
    CEachFailure failure(disk, {.kind = Call::Size, .error = FileError::Other});
    while (failure.Next()) {
        failure.Arm();
        RestoreReport report;
        const RestoreCode code =
            RestoreBackup(disk, "b.dat", "ledger", kHash, true, report, QuickOptions());
        failure.Disarm();
        ASSERT_TRUE(RecoverInterruptedRestore(disk, "ledger"));
        ASSERT_EQ(FilesIn(disk, "ledger"), code == RestoreCode::Done ? SmallDatabase() : mine)
            << failure.Nth();
    }
    ASSERT_FALSE(failure.IsEndless());
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

// --- recovery

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
    PutFiles(disk, "ledger", {{"DatabaseSchema.dat", Text("old")}});
    CStrictDisk strict(disk);
    ASSERT_EQ(Restore(strict, "b.dat", "ledger", true), RestoreCode::Done);
    EXPECT_EQ(strict.FolderRenames(), 2);
    EXPECT_EQ(FilesIn(disk, "ledger"), SmallDatabase());
    EXPECT_FALSE(disk.FolderExists("ledger.restoring") || disk.FolderExists("ledger.old"));
}

}  // namespace
}  // namespace quillon
