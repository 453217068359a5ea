#include "storage/backup/BackupContainer.h"

#include <gtest/gtest.h>

#include "storage/backup/BackupCode.h"
#include "support/Bytes.h"

namespace quillon {
namespace {

TEST(BackupHeader, WritesTheseBytes) {
    BackupHeader header;
    header.identifier = 0xF807'0605'0403'0201;
    header.directorySize = 448;
    header.fileCount = 3;
    const auto bytes = header.Encode();
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()),
              Join(Signature("BackupData"), {1, 0, 0, 0}, FromHex("01020304050607f8"),
                   FromHex("c001000000000000"), {3, 0, 0, 0}));
    EXPECT_EQ(BackupHeader::DirectorySizeFor(3), 448);
}

TEST(BackupHeader, DecodeRefusesDamage) {
    const Bytes good = Join(Signature("BackupData"), Le32(1), Le64(-2), Le64(308), Le32(2));
    const struct {
        const char* name;
        Bytes bytes;
        int64_t fileSize;
        RestoreCode code;
    } rows[] = {
        {"intact", good, 382, RestoreCode::Done},
        {"empty file", {}, 0, RestoreCode::NotABackup},
        {"signature alone", Prefix(good, 11), 11, RestoreCode::Truncated},
        {"signature cut", Prefix(good, 10), 10, RestoreCode::NotABackup},
        {"one byte short", Prefix(good, 73), 73, RestoreCode::Truncated},
        {"foreign signature", WithByte(good, 0, 'X'), 382, RestoreCode::NotABackup},
        {"longer signature", WithByte(good, 10, 'X'), 382, RestoreCode::NotABackup},
        {"bytes behind the signature", WithByte(good, 49, 1), 382, RestoreCode::NotABackup},
        {"version zero", WithByte(good, 50, 0), 382, RestoreCode::Damaged},
        {"negative version", WithByte(good, 53, 0x80), 382, RestoreCode::Damaged},
        {"newer version", WithByte(good, 50, 2), 382, RestoreCode::NewerVersion},
        {"no files", WithByte(good, 70, 0), 382, RestoreCode::Damaged},
        {"negative count", WithByte(good, 73, 0x80), 382, RestoreCode::Damaged},
        {"count and size disagree", WithByte(good, 70, 3), 382, RestoreCode::Damaged},
        {"huge size alone", WithByte(good, 69, 0x7F), 382, RestoreCode::Damaged},
        {"negative size", WithByte(good, 69, 0xFF), 382, RestoreCode::Damaged},
        {"directory past the end", good, 381, RestoreCode::Truncated},
        {"as many files as the number holds",
         Join(Prefix(good, 62), Le64(28 + 140 * int64_t{0x7FFF'FFFF}), Le32(0x7FFF'FFFF)), 382,
         RestoreCode::Truncated},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BackupHeader header{.version = 77};
        EXPECT_EQ(BackupHeader::Decode(row.bytes, row.fileSize, header), row.code);
        EXPECT_EQ(header.version, row.code == RestoreCode::Done ? 1 : 77);
    }
}

Bytes EntryBytes(const Bytes& name, int64_t storedSize, int64_t chunks) {
    Bytes bytes = name;
    bytes.resize(120);
    return Join(bytes, Le64(0x0102), Le64(storedSize), Le32(chunks));
}

TEST(BackupEntry, WritesTheseBytes) {
    BackupEntry entry{"Table_7_data.dat", 0x0102, 0x0304, 5};
    Bytes bytes(140, 0xEE);
    entry.Encode(bytes);
    EXPECT_EQ(bytes, EntryBytes(Text("Table_7_data.dat"), 0x0304, 5));
}

TEST(BackupEntry, DecodeRefusesNamesAndSizesThatNoDatabaseHas) {
    constexpr int64_t kLargest = 20'480'032;
    const Bytes table = Text("Table_7.dat");
    const struct {
        const char* name;
        Bytes bytes;
        bool accepted;
    } rows[] = {
        {"intact", EntryBytes(table, 40, 1), true},
        {"empty file", EntryBytes(table, 0, 0), true},
        {"largest chunks", EntryBytes(table, 2 * kLargest, 2), true},
        {"above the largest", EntryBytes(table, 2 * kLargest + 1, 2), false},
        {"smallest chunk", EntryBytes(table, 33, 1), true},
        {"below the smallest", EntryBytes(table, 32, 1), false},
        {"bytes without a chunk", EntryBytes(table, 1, 0), false},
        {"negative size", EntryBytes(table, -1, 0), false},
        {"negative chunks", EntryBytes(table, 40, -1), false},
        {"most chunks in a small file", EntryBytes(table, 40, 0x7FFF'FFFF), false},
        {"no name", EntryBytes({}, 40, 1), false},
        {"name without an end", EntryBytes(Bytes(120, 'a'), 40, 1), false},
        {"bytes behind the name", EntryBytes(Join(TextZ("Table_7.dat"), {'x'}), 40, 1), false},
        {"foreign name", EntryBytes(Text("../Table_7.dat"), 40, 1), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BackupEntry entry;
        EXPECT_EQ(BackupEntry::Decode(row.bytes, entry), row.accepted);
        EXPECT_EQ(entry.name, row.accepted ? "Table_7.dat" : "");
    }
}

TEST(BackupChunkHeader, BytesBothWays) {
    const Bytes nonce = FromHex("000102030405060708090a0b");
    const Bytes tag = FromHex("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
    const struct {
        const char* name;
        const char* field;
        uint32_t length;  // 0: refused
        bool compressed;
    } rows[] = {
        {"one byte as it is", "01000000", 1, false},
        {"compressed", "34120080", 0x1234, true},
        {"a full chunk", "00803801", 20'480'000, false},
        {"above a full chunk", "01803801", 0, false},
        {"nothing", "00000000", 0, false},
        {"nothing, compressed", "00000080", 0, false},
        {"unknown flag", "01000010", 0, false},
        {"all flags", "010000f0", 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes bytes = Join(nonce, tag, FromHex(row.field));
        BackupChunkHeader header;
        ASSERT_EQ(BackupChunkHeader::Decode(bytes, header), row.length != 0);
        EXPECT_EQ(header.length, row.length);
        EXPECT_EQ(header.compressed, row.compressed);
        if (row.length == 0) continue;
        const auto again = header.Encode();
        EXPECT_EQ(Bytes(again.begin(), again.end()), bytes);
    }
}

TEST(BackupNames, OnlyADatabasesOwnPass) {
    const struct {
        std::string_view name;
        bool isFile;
        bool belongs;
    } rows[] = {
        {"DatabaseSchema.dat", true, true},
        {"DatabaseSchema_blobdict.dat", true, true},
        {"DatabaseSchema_blobdata_del.dat", true, true},
        {"Table_0.dat", true, true},
        {"Table_12_data_del.dat", true, true},
        {"Table_12_index_3.dat", true, true},
        {"Table_12_index_3.dat.new", false, true},
        {"Database.lock", false, true},
        {"Journal.dat", false, true},
        {"Table_12_data.dat_tmp", false, true},
        {"Journal.damaged.1", false, true},
        {"Restore.mark", false, true},
        {"", false, false},
        {".", false, false},
        {"..", false, false},
        {".dat", false, false},
        {"Table_.dat", false, false},
        {"Table_x.dat", false, false},
        {"Table_1x.dat", false, false},
        {"Table_1", false, false},
        {"Table_1.dat.exe", false, false},
        {"table_1.dat", false, false},
        {"Table_1_Data.dat", false, false},
        {"Table_1_/../../x.dat", false, false},
        {"Table_1_\\x.dat", false, false},
        {"Table_1_a:b.dat", false, false},
        {"Table_1_a b.dat", false, false},
        {"Table_1_a\n.dat", false, false},
        {std::string_view("Table_1_a\0.dat", 14), false, false},
        {"Table_1_\xC3\xA9.dat", false, false},
        {"/DatabaseSchema.dat", false, false},
        {"DatabaseSchema.dat/", false, false},
        {"QuillonDatabase_1.dat", false, false},
        {"notes.txt", false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(IsDatabaseFileName(row.name), row.isFile);
        EXPECT_EQ(BelongsToDatabaseFolder(row.name), row.belongs);
    }
    const std::string fits = "Table_1_" + std::string(107, 'a') + ".dat";
    EXPECT_TRUE(IsDatabaseFileName(fits));
    EXPECT_FALSE(IsDatabaseFileName("Table_1_a" + fits.substr(8)));
}

TEST(BackupMessages, LetterForLetter) {
    const struct {
        int32_t code;
        const char* message;
    } rows[] = {
        {0, "The backup of the database to 'a/b.dat' completed successfully."},
        {1, "No output file was given for the backup."},
        {2, "There are no files in the database."},
        {3, "The database integrity check failed. No backup was produced."},
        {4, "An error occurred writing to the backup file."},
        {5, "An error occurred processing the backup data."},
        {6, "An error occurred performing the backup. "},
        {-7, "An error occurred performing the backup. "},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(BackupMessage(static_cast<BackupCode>(row.code), "a/b.dat"), row.message);
    }
}

}  // namespace
}  // namespace quillon
