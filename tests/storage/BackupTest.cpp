#include <gtest/gtest.h>

#include <set>

#include "storage/BackupFixture.h"
#include "storage/Crypto.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

TEST(Crypto, DigestsAreTheKnownOnes) {
    EXPECT_EQ(Md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Md5Hex("password"), kHash);
    EXPECT_EQ(Md5Hex(std::string(1'000, 'a')), "cabe45dcc9ae5b66ba86600cca6b8ba8");
}

TEST(Backup, WritesTheOuterLayout) {
    CMemoryFileSystem disk;
    PutFiles(disk, "ledger", SmallDatabase());
    BackupReport report;
    const std::vector<std::string> names = {"DatabaseSchema.dat", "Table_1.dat", "Table_1_data.dat",
                                            "Table_1_dict.dat"};
    ASSERT_EQ(WriteBackupOfFiles(disk, "ledger", names, "b.dat", kHash, report, QuickOptions()),
              BackupCode::Done);
    const Bytes container = disk.Bytes("b.dat");
    EXPECT_EQ(report.files, 4);
    EXPECT_EQ(report.sourceBytes, 306 + 7 + 40);
    EXPECT_EQ(report.bytes, static_cast<int64_t>(container.size()));
    EXPECT_TRUE(report.isProtected);

    EXPECT_EQ(Prefix(container, 54), Join(Signature("BackupData"), {1, 0, 0, 0}));
    EXPECT_EQ(Slice(container, 62, 12), Join(Le64(28 + 4 * 140), Le32(4)));
    const auto chunks = ChunksOf(container);
    ASSERT_EQ(chunks.size(), 3U);  // none for the empty file
    EXPECT_EQ(chunks[0].offset, 74U + 28U + 4U * 140U);
    EXPECT_TRUE(chunks[0].compressed);
    EXPECT_LT(chunks[0].size, 32U + 306U);
    EXPECT_FALSE(chunks[1].compressed);
    EXPECT_EQ(chunks[1].size, 32U + 7U);
    EXPECT_FALSE(chunks[2].compressed);
    EXPECT_EQ(chunks[2].size, 32U + 40U);
    EXPECT_EQ(chunks[2].offset + chunks[2].size, container.size());
    EXPECT_EQ(ToString(container).find("columns"), std::string::npos);
    EXPECT_EQ(ToString(container).find("Table"), std::string::npos);
}

TEST(Backup, NeverUsesANonceOrASaltTwice) {
    std::set<Bytes> nonces;
    std::set<Bytes> salts;
    for (int i = 0; i < 3; ++i) {
        const Bytes container = ContainerOf(SmallDatabase());
        salts.insert(Slice(container, 54, 8));
        nonces.insert(Slice(container, 74, 12));
        for (const ChunkPlace& chunk : ChunksOf(container)) {
            nonces.insert(Slice(container, chunk.offset, 12));
        }
    }
    EXPECT_EQ(salts.size(), 3U);
    EXPECT_EQ(nonces.size(), 12U);
}

TEST(Backup, RefusesWhatItCannotBackUp) {
    const struct {
        const char* name;
        std::vector<std::string> names;
        std::string path;
        BackupCode code;
    } rows[] = {
        {"no path", {"Table_1.dat"}, "", BackupCode::NoPath},
        {"no files", {}, "b.dat", BackupCode::NoFiles},
        {"a file is missing", {"Table_1.dat", "Table_9.dat"}, "b.dat", BackupCode::Other},
        {"no database's file", {"Table_1.dat", "notes.txt"}, "b.dat", BackupCode::Other},
        {"one file twice", {"Table_1.dat", "Table_1.dat"}, "b.dat", BackupCode::Other},
        {"over the database", {"Table_1.dat"}, "ledger/Table_1.dat", BackupCode::WriteFailed},
        {"over the lock", {"Table_1.dat"}, "ledger/Database.lock", BackupCode::WriteFailed},
        {"no such folder", {"Table_1.dat"}, "nowhere/b.dat", BackupCode::WriteFailed},
        {"a folder of that name", {"Table_1.dat"}, "ledger", BackupCode::WriteFailed},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem disk;
        PutFiles(disk, "ledger", SmallDatabase());
        const auto before = disk.Snapshot();
        BackupReport report;
        EXPECT_EQ(
            WriteBackupOfFiles(disk, "ledger", row.names, row.path, kHash, report, QuickOptions()),
            row.code);
        EXPECT_EQ(disk.Snapshot(), before);
        EXPECT_EQ(report.bytes, 0);
    }
}

// Each change and each sync fails once, in turn: the earlier backup stays usable, and
// nothing is left beside it.
TEST(Backup, AFailedOneLeavesTheEarlierOne) {
    FileMap later = SmallDatabase();
    later["Table_2.dat"] = Noise(100);
    for (int64_t failAt = 1; failAt < 1'000; ++failAt) {
        SCOPED_TRACE(failAt);
        CMemoryFileSystem disk;
        PutFiles(disk, "ledger", SmallDatabase());
        ASSERT_EQ(BackUp(disk, "ledger", "b.dat"), BackupCode::Done);
        PutFiles(disk, "ledger", later);
        disk.FailNth(Call::AnyChangeOrSync, failAt, FileError::NoSpace);
        const BackupCode code = BackUp(disk, "ledger", "b.dat");
        const bool failed = disk.HasFailed();
        disk.StopFailing();
        EXPECT_EQ(code, failed ? BackupCode::WriteFailed : BackupCode::Done);
        EXPECT_FALSE(disk.Exists("b.dat.new"));
        ASSERT_EQ(Restore(disk, "b.dat", "restored"), RestoreCode::Done);
        const FileMap restored = FilesIn(disk, "restored");
        EXPECT_TRUE(restored == later || (failed && restored == SmallDatabase()));
        if (!failed) return;
    }
    FAIL() << "never ran to the end";
}

TEST(Backup, ComesBackAsItWas) {
    const struct {
        const char* name;
        std::string hash;
        FileMap contents;
    } rows[] = {
        {"small", kHash, SmallDatabase()},
        {"without a password", "", SmallDatabase()},
        {"schema alone, empty", kHash, {{"DatabaseSchema.dat", {}}}},
        {"one byte files", kHash, {{"DatabaseSchema.dat", {0}}, {"Table_1.dat", {255}}}},
        {"a byte short of two chunks",
         kHash,
         {{"DatabaseSchema.dat", Join(Noise(10'000), Zeros(40'949'999))}}},
        {"exactly two chunks", kHash, {{"DatabaseSchema.dat", Zeros(40'960'000)}}},
        {"a byte above one, incompressible",
         kHash,
         {{"DatabaseSchema.dat", Noise(20'480'001)}, {"Table_1.dat", Text("after it")}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem disk;
        disk.Bytes("b.dat") = ContainerOf(row.contents, row.hash);
        RestoreReport report;
        ASSERT_EQ(RestoreBackup(disk, "b.dat", "ledger/", row.hash, false, report, QuickOptions()),
                  RestoreCode::Done);
        EXPECT_TRUE(FilesIn(disk, "ledger") == row.contents);
        EXPECT_EQ(report.files, static_cast<int64_t>(row.contents.size()));
        EXPECT_FALSE(disk.FolderExists("ledger.restoring"));
        EXPECT_FALSE(disk.FolderExists("ledger.old"));
    }
}

TEST(Backup, LargeFilesAreCutIntoChunks) {
    const Bytes container =
        ContainerOf({{"DatabaseSchema.dat", Join(Noise(20'480'000), Zeros(20'480'000), Noise(5))}});
    const auto chunks = ChunksOf(container);
    ASSERT_EQ(chunks.size(), 3U);
    EXPECT_EQ(chunks[0].size, 32U + 20'480'000U);
    EXPECT_FALSE(chunks[0].compressed);
    EXPECT_LT(chunks[1].size, 1'000'000U);
    EXPECT_TRUE(chunks[1].compressed);
    EXPECT_EQ(chunks[2].size, 32U + 5U);
    EXPECT_FALSE(chunks[2].compressed);
}

TEST(Backup, OpensWithItsPasswordOnly) {
    CMemoryFileSystem disk;
    disk.Bytes("protected.dat") = ContainerOf(SmallDatabase());
    disk.Bytes("open.dat") = ContainerOf(SmallDatabase(), "");
    for (const std::string wrong : {"", "5f4dcc3b5aa765d61d8327deb882cf98", "password"}) {
        EXPECT_EQ(Restore(disk, "protected.dat", "ledger", false, wrong),
                  RestoreCode::WrongPassword);
    }
    EXPECT_EQ(Restore(disk, "open.dat", "ledger"), RestoreCode::WrongPassword);
    EXPECT_FALSE(disk.FolderExists("ledger"));
}

// The real cost, on the machine's own files, in a folder with an accent.
TEST(Backup, WorksOnTheMachinesDisk) {
    const CTemporaryFolder folder("J\xC3\xBCrgen");
    CFileSystem& disk = PlatformFileSystem();
    const std::string ledger = folder.File("ledger");
    PutFiles(disk, ledger, SmallDatabase());
    BackupReport report;
    RestoreReport restored;
    const std::string path = folder.File("b\xC3\xA9.dat");
    ASSERT_EQ(WriteBackupOfFiles(disk, ledger, {"DatabaseSchema.dat", "Table_1_data.dat"}, path, "",
                                 report),
              BackupCode::Done);
    EXPECT_FALSE(report.isProtected);
    ASSERT_EQ(RestoreBackup(disk, path, ledger, "", false, restored), RestoreCode::TargetNotEmpty);
    {
        const auto opened = disk.Lock(WithTrailingSeparator(ledger) + "Database.lock");
        EXPECT_EQ(RestoreBackup(disk, path, ledger, "", true, restored), RestoreCode::InUse);
    }
    EXPECT_EQ(FilesIn(disk, ledger), SmallDatabase());
    ASSERT_EQ(RestoreBackup(disk, path, ledger, "", true, restored), RestoreCode::Done);
    FileMap expected = SmallDatabase();
    expected.erase("Table_1.dat");
    expected.erase("Table_1_dict.dat");
    EXPECT_EQ(FilesIn(disk, ledger), expected);
    std::vector<std::string> left;
    ASSERT_TRUE(disk.List(folder.Path(), left));
    EXPECT_EQ(std::set<std::string>(left.begin(), left.end()),
              (std::set<std::string>{"ledger", "b\xC3\xA9.dat"}));
}

}  // namespace
}  // namespace quillon
