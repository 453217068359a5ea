#include <gtest/gtest.h>

#include <set>

#include "storage/BackupFixture.h"
#include "storage/backup/Crypto.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

TEST(Crypto, DigestsAreTheKnownOnes) {
    EXPECT_EQ(Md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Md5Hex("password"), kHash);
    EXPECT_EQ(Md5Hex(std::string(1'000, 'a')), "cabe45dcc9ae5b66ba86600cca6b8ba8");
}

TEST(Backup, WritesTheOuterFormat) {
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
        BackupReason reason = BackupReason::None;
    } rows[] = {
        {"no path", {"Table_1.dat"}, "", BackupCode::NoPath},
        {"no files", {}, "b.dat", BackupCode::NoFiles},
        {"a file is missing",
         {"Table_1.dat", "Table_9.dat"},
         "b.dat",
         BackupCode::Other,
         BackupReason::FileUnreadable},
        {"no database's file",
         {"Table_1.dat", "notes.txt"},
         "b.dat",
         BackupCode::Other,
         BackupReason::ForeignFile},
        {"one file twice",
         {"Table_1.dat", "Table_1.dat"},
         "b.dat",
         BackupCode::Other,
         BackupReason::ForeignFile},
        {"over the database",
         {"Table_1.dat"},
         "ledger/Table_1.dat",
         BackupCode::WriteFailed,
         BackupReason::ContainerName},
        {"over the lock",
         {"Table_1.dat"},
         "ledger/Database.lock",
         BackupCode::WriteFailed,
         BackupReason::ContainerName},
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
        EXPECT_EQ(report.detail.reason, row.reason);
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
        disk.Bytes("b.dat.new") = Text("the user's own");
        disk.FailNth(Call::AnyChangeOrSync, failAt, FileError::NoSpace);
        const BackupCode code = BackUp(disk, "ledger", "b.dat");
        const bool failed = disk.HasFailed();
        disk.StopFailing();
        EXPECT_EQ(code, failed ? BackupCode::WriteFailed : BackupCode::Done);
        EXPECT_FALSE(disk.Exists("b.dat.1.new"));
        EXPECT_EQ(disk.Bytes("b.dat.new"), Text("the user's own"));
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

// Made by another implementation of the format (Python's cryptography package), at the
// full cost of the key: "AIAIAIAIAIAIA" compressed, "plain" as it is, and an empty file.
constexpr std::string_view kForeignContainer =
    "4261636b757044617461000000000000000000000000000000000000000000000000000000000000"
    "00000000000000000000010000001122334455667788c001000000000000030000006e6f6e63652d"
    "6f662d64697256d9bc705dbac67259c6c09a3d08b9273e3f23dfe1d2ecea34b951e8e22a3c2815ff"
    "aa48d08e6acf2a11bc709ab2599f2491de85d3cca6ad85bfe10ed7628f2e4b845e4e68dae0545c70"
    "1d3f6b601b2fb5dfcf76e72180e6b609efd3b701fee117f3c7753b1b4771aa7bfe845a0b9377714b"
    "c6a4dc4f50867250efd795bdd46211552748750cb8e73db8cf9e87b0d3f1bca9aee9f2e1d31e7a4b"
    "144ced6befe2aa353d6000b1eaa5c6b3905b6d6628d60b5d1a1cd961d9d19eed59ac637e827adcfe"
    "9a6cd13be51aa4c531d219118dfc1beb4544a71ade741dfd2640847a8f4e197179d31c496abf516f"
    "413d5a1d8b6e20009f1418796efe63e7e1cf779d7949594986506b23179f5ccbd246727fac94ece6"
    "5a771fe3d8c598adb12a9dcf838681fe141814df551cc83270eba6d807fccd3e25f08234b12f874e"
    "c9d0e7daee58debb4ced4bbfe78b76b5c974dbb0693eeb7b676a5a9e0a3d2c89925917b706f8b145"
    "e356f3e7a115469cb3409cd6215c650ffef11abce422ea8379d8033dac471d716db76dddeb5c3510"
    "53f48c5b6d65d61d799f7464781b8164ebb64b8c02eedc52e91e1a7dfe4c182d964bf27f090b16d1"
    "1fbc6e6f6e63652d6368756e6b302018a262bb243c6251837e3221314c430c000080f2e05099ce4e"
    "586f29b13d866e6f6e63652d6368756e6b315e226bff2a0a01b3dce28dde7a49186205000000f9c4"
    "4278b8";

TEST(Backup, ReadsAContainerThatAnotherWriterMade) {
    CMemoryFileSystem disk;
    disk.Bytes("b.dat") = FromHex(kForeignContainer);
    RestoreReport report;
    ASSERT_EQ(RestoreBackup(disk, "b.dat", "ledger", kHash, false, report), RestoreCode::Done);
    EXPECT_EQ(FilesIn(disk, "ledger"), (FileMap{{"DatabaseSchema.dat", Text("AIAIAIAIAIAIA")},
                                                {"Table_1.dat", Text("plain")},
                                                {"Table_2.dat", {}}}));
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
