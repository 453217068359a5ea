#include "storage/journal/Checksums.h"

#include <gtest/gtest.h>

#include <functional>

#include "StoreFixture.h"
#include "foundation/TextHash.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;
using Kind = PageDamage::Kind;

const std::string kSums = std::string(kFolder) + "Checksums.dat";

// CRC-32C bit by bit, the straightforward way.
int64_t SlowCrc32c(const Bytes& bytes) {
    uint32_t state = ~uint32_t{0};
    for (const uint8_t byte : bytes) {
        state ^= byte;
        for (int bit = 0; bit < 8; ++bit) state = (state >> 1) ^ ((state & 1) ? 0x82F63B78 : 0);
    }
    return static_cast<int64_t>(~state);
}

Bytes Sum(const Bytes& bytes) {
    return LittleEndian(static_cast<uint64_t>(SlowCrc32c(bytes)), 4);
}

// Every damage in one line each.
std::string DamageOf(CDatabaseManager& database) {
    std::vector<PageDamage> damage;
    if (!database.VerifyPages(damage)) return "cannot tell";
    std::string text;
    for (const PageDamage& page : damage) {
        text += page.file + " " + std::to_string(static_cast<int>(page.kind)) + " page " +
                std::to_string(page.page) + "\n";
    }
    return text;
}

std::string Line(const char* file, Kind kind, int64_t page = 0) {
    return std::string(file) + " " + std::to_string(static_cast<int>(kind)) + " page " +
           std::to_string(page) + "\n";
}

// A table and a BLOB of several pages.
bool MakeDatabase(CDatabaseManager& database) {
    bool done = database.Open(kFolder) && MakeLedgerTable(database) &&
                database.AddBlob(Bytes(3 * 4096, 'b')) == 0;
    for (int i = 0; i < 8; ++i) {
        done = done && AddLedgerRow(database, {"row", i, i * 0.5, WordyText(i)}) == i;
    }
    return done;
}

// The disk of such a database, closed.
std::map<std::string, Bytes> ClosedDisk() {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    EXPECT_TRUE(MakeDatabase(database) && database.Close());
    return files.Snapshot();
}

TEST(Checksums, TheFileByteForByte) {
    EXPECT_EQ(Crc32c(Text("123456789")), 0xE3069283U);
    CJournalDisk disk;
    Bytes page(4096, 'p');
    ASSERT_TRUE(WriteWholeFile(disk.journal, "db/Table_1_data.dat", Join(page, Text("end"))));
    ASSERT_TRUE(WriteWholeFile(disk.journal, "db/Table_1.dat", {}));
    ASSERT_TRUE(WriteWholeFile(disk.journal, "db/notes.txt", Text("nobody's")));
    ASSERT_TRUE(disk.journal.Checkpoint());
    const Bytes contents =
        Join(Signature("Checksums"), Le32(1), Le64(7), Le32(4096), Le32(2),
             Join(Le16(11), Le64(0), Text("Table_1.dat")),
             Join(Le16(16), Le64(4099), Text("Table_1_data.dat"), Sum(page), Sum(Text("end"))));
    // '.' sorts before '_'.
    EXPECT_EQ(disk.At("Checksums.dat"), Join(contents, Sum(contents)));
}

TEST(Checksums, RefusesFilesThatAreNotWhole) {
    SumsByName sums;
    sums["Table_1.dat"] = {4097, {1, 2}, {FileSums::Seen::No, FileSums::Seen::No}};
    const Bytes good = ChecksumFile::Encode(7, sums);
    const auto sealed = [](Bytes contents) {
        const Bytes sum = Sum(contents);
        return Join(contents, sum);
    };
    const Bytes contents = Prefix(good, good.size() - 4);
    using Result = ChecksumFile::DecodeResult;
    struct Row {
        const char* name;
        Bytes bytes;
        Result result;
    };
    const std::vector<Row> rows = {
        {"as written", good, Result::Ok},
        {"nothing", {}, Result::Damaged},
        {"cut", Prefix(good, good.size() - 1), Result::Damaged},
        {"longer", Join(good, {0}), Result::Damaged},
        {"a changed checksum", WithByte(good, good.size() - 6, 9), Result::Damaged},
        {"a newer version", sealed(WithByte(contents, 50, 2)), Result::NewerVersion},
        {"another page size", sealed(WithByte(contents, 63, 0)), Result::Damaged},
        {"more files than there are", sealed(WithByte(contents, 66, 2)), Result::Damaged},
        {"fewer files", sealed(WithByte(contents, 66, 0)), Result::Damaged},
        {"a negative count", sealed(WithByte(contents, 69, 0xFF)), Result::Damaged},
        {"a size of all memory", sealed(WithByte(contents, 78, 0x7F)), Result::Damaged},
        {"a negative size", sealed(WithByte(contents, 79, 0xFF)), Result::Damaged},
        {"a name longer than the rest", sealed(WithByte(contents, 71, 1)), Result::Damaged},
        {"a name of no file of ours", sealed(WithByte(contents, 80, 'X')), Result::Damaged},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        uint64_t id = 0;
        SumsByName found;
        EXPECT_EQ(ChecksumFile::Decode(row.bytes, id, found), row.result);
        EXPECT_EQ(found.size(), row.result == Result::Ok ? 1U : 0U);
    }
}

TEST(Checksums, WrittenOnlyWhenSomethingChanged) {
    CMemoryFileSystem files;
    files.Restore(ClosedDisk());
    CDatabaseManager database(files);
    const int64_t before = files.Count(Call::Rename);
    ASSERT_TRUE(database.Open(kFolder) && database.Flush() && database.Close());
    EXPECT_EQ(files.Count(Call::Rename), before);
    ASSERT_TRUE(database.Open(kFolder) && AddLedgerRow(database, {"x", 1, 1, "m"}) >= 0 &&
                database.Flush());
    EXPECT_EQ(files.Count(Call::Rename), before + 1);
}

TEST(Checksums, TellWhatTheFormatsCannot) {
    struct Row {
        const char* name;
        std::function<void(CMemoryFileSystem&)> damage;
        std::string found;
    };
    const std::vector<Row> rows = {
        {"a BLOB's byte",
         [](CMemoryFileSystem& f) { f.Bytes("db/DatabaseSchema_blobdata.dat")[9000] ^= 1; },
         Line("DatabaseSchema_blobdata.dat", Kind::Changed, 2)},
        {"a field that nobody reads",
         [](CMemoryFileSystem& f) { f.Bytes("db/Table_1_dict.dat")[62 + 8] ^= 1; },
         Line("Table_1_dict.dat", Kind::Changed)},
        {"a byte more", [](CMemoryFileSystem& f) { f.Bytes("db/Table_1_data.dat").push_back(0); },
         Line("Table_1_data.dat", Kind::OtherSize)},
        {"a file of nobody", [](CMemoryFileSystem& f) { f.Bytes("db/Table_9.dat") = Text("x"); },
         Line("Table_9.dat", Kind::Unlisted)},
        {"the checksums themselves", [](CMemoryFileSystem& f) { f.Bytes(kSums)[100] ^= 1; },
         Line("Checksums.dat", Kind::BadSums)},
        {"no checksums", [](CMemoryFileSystem& f) { (void)f.Remove(kSums); }, ""},
        {"another database's",
         [](CMemoryFileSystem& f) { f.Bytes(kSums) = ChecksumFile::Encode(99, {}); }, ""},
    };
    const auto closed = ClosedDisk();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem files;
        files.Restore(closed);
        row.damage(files);
        CDatabaseManager database(files);
        ASSERT_TRUE(database.Open(kFolder));
        EXPECT_EQ(CodeOf(database), 0);
        EXPECT_EQ(DamageOf(database), row.found);
        // Neither writing beside it nor opening again takes it away; accepting it does.
        ASSERT_GE(database.AddBlob(Text("more")), 0);
        ASSERT_TRUE(database.Close() && database.Open(kFolder));
        EXPECT_EQ(DamageOf(database).empty(), row.found.empty());
        ASSERT_TRUE(database.AcceptPages());
        EXPECT_EQ(DamageOf(database), "");
        ASSERT_TRUE(database.Close() && database.Open(kFolder));
        EXPECT_EQ(DamageOf(database), "");
    }
}

// Nothing that happens to an open database is damage, at once, after a kill and after
// closing; and a page that was damaged before stays known when it is written to, rewritten
// whole and compacted.
TEST(Checksums, FollowWhateverIsDone) {
    const struct {
        const char* name;
        std::function<bool(CDatabaseManager&)> act;
    } rows[] = {
        {"a row beside it",
         [](CDatabaseManager& d) {
             return AddLedgerRow(d, {"x", 1, 1, "m"}) >= 0;
         }},
        {"two checkpoints",
         [](CDatabaseManager& d) {
             return AddLedgerRow(d, {"x", 1, 1, "m"}) >= 0 && d.Flush() &&
                    AddLedgerRow(d, {"y", 2, 2, WordyText(5)}) >= 0 && d.Flush();
         }},
        {"a BLOB that grows",
         [](CDatabaseManager& d) {
             return d.ReplaceBlob(0, Bytes(9 * 4096 + 5, 'c')) && d.DeleteBlob(0);
         }},
        {"rows written anew",
         [](CDatabaseManager& d) {
             return d.AddColumn("Ledger", "More", ColumnType::Int64, true, true);
         }},
        {"compaction",
         [](CDatabaseManager& d) {
             return d.DeleteRow("Ledger", 2) && d.DeleteBlob(0) && d.RemoveDeleted() &&
                    AddLedgerRow(d, {"y", 2, 2, "n"}) >= 0;
         }},
        {"indexes anew", [](CDatabaseManager& d) { return d.RebuildIndexes(); }},
        {"a batch that is taken back",
         [](CDatabaseManager& d) {
             const CBracketScope batch(d);
             return batch.Begun() && AddLedgerRow(d, {"z", 3, 3, WordyText(3)}) >= 0;
         }},
    };
    const auto sound = ClosedDisk();
    auto damaged = sound;
    damaged["db/Table_1_data.dat"][54 + 30] ^= 8;  // inside the first row's date
    for (const bool isSound : {true, false}) {
        const std::string known = isSound ? "" : Line("Table_1_data.dat", Kind::Changed);
        for (const auto& row : rows) {
            SCOPED_TRACE(known + row.name);
            CMemoryFileSystem files;
            files.Restore(isSound ? sound : damaged);
            CDatabaseManager database(files);
            ASSERT_TRUE(database.Open(kFolder) && row.act(database));
            EXPECT_EQ(DamageOf(database), known);
            CMemoryFileSystem killed;
            killed.Restore(files.Snapshot());
            CDatabaseManager after(killed);
            ASSERT_TRUE(after.Open(kFolder));
            EXPECT_EQ(DamageOf(after), known);
            ASSERT_TRUE(database.Close() && database.Open(kFolder));
            EXPECT_EQ(DamageOf(database), known);
        }
    }
}

// A killed program's journal carries the checksums of what it wrote: a page that changed
// since then is told from one that was being written.
TEST(Checksums, DamageBesideTheJournalsWritesIsTold) {
    CMemoryFileSystem files;
    files.Restore(ClosedDisk());
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && AddLedgerRow(database, {"x", 1, 1, "m"}) >= 0);
    CMemoryFileSystem killed;
    killed.Restore(files.Snapshot());
    killed.Bytes("db/Table_1_data.dat")[54 + 30] ^= 8;
    CDatabaseManager after(killed);
    ASSERT_TRUE(after.Open(kFolder));
    EXPECT_EQ(DamageOf(after), Line("Table_1_data.dat", Kind::Changed));
}

// No room for the new checksums: the old ones go, and a later checkpoint makes them.
TEST(Checksums, FullDisk) {
    CMemoryFileSystem files;
    files.Restore(ClosedDisk());
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && AddLedgerRow(database, {"x", 1, 1, "m"}) >= 0);
    files.FailNth(Call::Create, 1, FileError::NoSpace);
    ASSERT_TRUE(database.Flush());
    EXPECT_TRUE(files.HasFailed());
    EXPECT_FALSE(files.Exists(kSums));
    EXPECT_EQ(DamageOf(database), "");
    ASSERT_TRUE(AddLedgerRow(database, {"y", 2, 2, "n"}) >= 0 && database.Flush());
    EXPECT_TRUE(files.Exists(kSums));
    // Not even that: the journal stays.
    ASSERT_GE(AddLedgerRow(database, {"z", 3, 3, "o"}), 0);
    files.FailNth(Call::Create, 1, FileError::NoSpace);
    files.FailNth(Call::Remove, 1, FileError::NoPermission);
    EXPECT_FALSE(database.Flush());
    files.StopFailing();
    EXPECT_TRUE(database.Flush());
    EXPECT_EQ(DamageOf(database), "");
}

}  // namespace
}  // namespace quillon
