// Every code of the integrity check, reached by damaging files.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

#include "StoreFixture.h"

namespace quillon {
namespace {

using Kind = IntegrityDetail::Kind;

// Byte places in the files of kLedger (below): rows of 45 bytes, dictionary entries of 36.
size_t RowByte(size_t row, size_t at) {
    return 54 + row * 45 + at;
}
size_t EntryByte(size_t entry, size_t at) {
    return 62 + entry * 36 + at;
}
size_t RecordByte(size_t record, size_t at) {
    return 72 + record * 20 + at;
}
constexpr size_t kMemo = 37;  // the memo's text id in a row; not indexed

void Put(Bytes& file, size_t at, const Bytes& bytes) {
    ASSERT_LE(at + bytes.size(), file.size());
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
}

// Four rows; row 1 is deleted, row 3 took its place. Texts 0 to 7: names and memos in turn, those
// of row 1 deleted.
std::map<std::string, Bytes> MakeSmallLedger(bool memoIndexed = false) {
    CMemoryFileSystem files;
    {
        CDatabaseManager database(files);
        EXPECT_TRUE(database.Open(kFolder) && MakeLedgerTable(database, memoIndexed));
        EXPECT_EQ(AddLedgerRow(database, {"Anna", 1, -1.5, WordyText(1)}), 0);
        EXPECT_EQ(AddLedgerRow(database, {"Bert", 2, 2.5, "short"}), 1);
        EXPECT_EQ(AddLedgerRow(database, {"Clara", 3, 0.0, WordyText(3)}), 2);
        EXPECT_TRUE(database.DeleteRow("Ledger", 1));
        EXPECT_EQ(AddLedgerRow(database, {"D\xC3\xB6rte", 4, 1e9, "memo of row three"}), 3);
        EXPECT_EQ(database.AddBlob(Text("a picture")), 0);
        EXPECT_EQ(database.AddBlob(Text("another one")), 1);
    }
    return files.Snapshot();
}

std::string Told(const IntegrityDetail& detail) {
    return "kind " + std::to_string(static_cast<int>(detail.kind)) + ", " + detail.file + ", " +
           detail.column + ", row " + std::to_string(detail.row) + ", number " +
           std::to_string(detail.number) + ", rows " + std::to_string(detail.rows);
}

TEST(Integrity, EachCodeIsReached) {
    const auto intact = MakeSmallLedger();
    const std::string db = kFolder;
    using Files = CMemoryFileSystem;
    const struct {
        const char* name;
        std::function<void(Files&)> damage;
        int code;
        IntegrityDetail detail;
    } rows[] = {
        {"intact", [](Files&) {}, 0, {}},
        {"text id below -1",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_data.dat"), RowByte(0, kMemo), Le64(-2)); },
         1,
         {.kind = Kind::BadText, .column = "Memo", .number = -2}},
        {"text id never given out",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_data.dat"), RowByte(0, kMemo), Le64(900)); },
         1,
         {.kind = Kind::BadText, .column = "Memo", .number = 900}},
        {"text id of a deleted text",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_data.dat"), RowByte(0, kMemo), Le64(3)); },
         2,
         {.kind = Kind::BadText, .column = "Memo", .number = 3}},
        {"text marked deleted",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_textdict.dat"), EntryByte(1, 32), Le32(1)); },
         2,
         {.kind = Kind::BadText, .column = "Memo", .number = 1}},
        {"text out of the file",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_textdict.dat"), EntryByte(1, 24), Le64(9999)); },
         3,
         {.kind = Kind::BadText, .file = "Table_1_textdata.dat", .column = "Memo", .number = 1}},
        {"text of an unknown kind",
         [&](Files& f) { f.Bytes(db + "Table_1_textdata.dat")[54] = 9; },
         3,
         {.kind = Kind::BadText, .file = "Table_1_textdata.dat", .column = "Name", .number = 0}},
        {"one text for two rows",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_data.dat"), RowByte(0, kMemo), Le64(5)); },
         4,
         {.kind = Kind::SharedText, .number = 5}},
        {"a text without a row",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_data.dat"), RowByte(0, kMemo), Le64(-1)); },
         4,
         {.kind = Kind::OrphanText, .number = 1}},
        {"neither true nor false",
         [&](Files& f) { f.Bytes(db + "Table_1_data.dat")[RowByte(0, 8)] = 2; },
         5,
         {.kind = Kind::NeitherBoolean, .column = "Open"}},
        {"a block on the free list that is in use",
         [&](Files& f) {
             f.Bytes(db + "Table_1_data_del.dat") =
                 Join(Signature("DeletedBlock"), Le32(1), Le32(1), Le64(10), Le64(8));
         },
         7,
         {.kind = Kind::FreeBlockInUse, .file = "Table_1_data.dat", .number = 64}},
        {"two texts in one block",
         [&](Files& f) {
             Bytes& dictionary = f.Bytes(db + "Table_1_textdict.dat");
             Put(dictionary, EntryByte(1, 16), Slice(dictionary, EntryByte(5, 16), 16));
         },
         7,
         {.kind = Kind::SharedBlock, .file = "Table_1_textdata.dat", .number = 192}},
        {"an index entry marked deleted",
         [&](Files& f) { f.Bytes(db + "Table_1_index_3.dat")[RecordByte(0, 16)] = 1; },
         8,
         {.kind = Kind::EntryCount,
          .file = "Table_1_index_3.dat",
          .column = "Check",
          .number = 2,
          .rows = 3}},
        {"a row marked deleted",
         [&](Files& f) { f.Bytes(db + "Table_1_dict.dat")[EntryByte(0, 32)] = 1; },
         8,
         {.kind = Kind::EntryCount,
          .file = "Table_1_index_1.dat",
          .column = "Name",
          .number = 3,
          .rows = 2}},
        {"an index entry of a deleted row",
         [&](Files& f) { f.Bytes(db + "Table_1_index_3.dat")[RecordByte(0, 0)] = 1; },
         9,
         {.kind = Kind::NoSuchRow, .file = "Table_1_index_3.dat", .row = 1}},
        {"an index entry of no row",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_index_3.dat"), RecordByte(0, 0), Le64(-1)); },
         9,
         {.kind = Kind::NoSuchRow, .file = "Table_1_index_3.dat", .row = -1}},
        {"a row out of the file",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_dict.dat"), EntryByte(0, 16), Le64(5000)); },
         10,
         {.kind = Kind::UnreadableRow, .file = "Table_1_index_1.dat"}},
        {"a row of another size",
         [&](Files& f) { Put(f.Bytes(db + "Table_1_dict.dat"), EntryByte(0, 24), Le64(44)); },
         10,
         {.kind = Kind::UnreadableRow, .file = "Table_1_index_1.dat"}},
        {"a key that no number of 32 bits has",
         [&](Files& f) { f.Bytes(db + "Table_1_index_3.dat")[RecordByte(0, 12)] = 1; },
         11,
         {.kind = Kind::ForeignKey, .file = "Table_1_index_3.dat", .number = 4294967297}},
        {"a key that no boolean has",
         [&](Files& f) { f.Bytes(db + "Table_1_index_2.dat")[RecordByte(0, 8)] = 7; },
         11,
         {.kind = Kind::ForeignKey, .file = "Table_1_index_2.dat", .number = 7}},
        {"an index made for another attribute",
         [&](Files& f) { f.Bytes(db + "Table_1_index_3.dat")[70] = 0; },
         11,
         {.kind = Kind::AttributeFlag, .file = "Table_1_index_3.dat"}},
        {"a number that is not the row's",
         [&](Files& f) { f.Bytes(db + "Table_1_index_3.dat")[RecordByte(0, 8)] = 77; },
         12,
         {.kind = Kind::OtherValue, .file = "Table_1_index_3.dat"}},
        {"a text that is not the index's",
         [&](Files& f) { f.Bytes(db + "Table_1_textdata.dat")[54 + 10] = 'E'; },
         12,
         {.kind = Kind::OtherValue, .file = "Table_1_index_1.dat"}},
        {"a BLOB out of the file",
         [&](Files& f) {
             Put(f.Bytes(db + "DatabaseSchema_blobdict.dat"), EntryByte(1, 16), Le64(777));
         },
         6,
         {.kind = Kind::OutsideFile, .file = "DatabaseSchema_blobdata.dat", .number = 1}},
        {"two BLOBs in one block",
         [&](Files& f) {
             Put(f.Bytes(db + "DatabaseSchema_blobdict.dat"), EntryByte(1, 16), Le64(0));
         },
         7,
         {.kind = Kind::SharedBlock, .file = "DatabaseSchema_blobdata.dat", .number = 54}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem files;
        files.Restore(intact);
        row.damage(files);
        CDatabaseManager database(files);
        ASSERT_TRUE(database.Open(kFolder));
        std::vector<TableIntegrity> tables;
        EXPECT_EQ(static_cast<int>(database.Verify(tables)), row.code);
        ASSERT_FALSE(tables.empty());
        EXPECT_EQ(static_cast<int>(tables.back().code), row.code);
        EXPECT_EQ(tables.back().detail, row.detail) << Told(tables.back().detail);
    }
}

// Codes 6 and 13 need tables without indexes and without columns.
TEST(Integrity, TablesWithoutIndexesOrColumns) {
    CMemoryFileSystem files;
    {
        CDatabaseManager database(files);
        ASSERT_TRUE(database.Open(kFolder) && database.CreateTable("Plain"));
        ASSERT_TRUE(database.AddColumn("Plain", "Number", ColumnType::Int64, false, false));
        ASSERT_TRUE(database.BeginRow("Plain") && database.SetInt64("Number", 5));
        ASSERT_EQ(database.CommitRow(), 0);
    }
    files.Bytes("db/Table_1_data.dat").pop_back();
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && database.CreateTable("Empty"));
    std::vector<TableIntegrity> tables;
    EXPECT_EQ(database.Verify(tables), IntegrityCode::UnreadableRecord);
    ASSERT_EQ(tables.size(), 2U);
    EXPECT_EQ(tables[0].code, IntegrityCode::UnreadableRecord);
    EXPECT_EQ(tables[0].detail,
              (IntegrityDetail{.kind = Kind::UnreadableRow, .file = "Table_1_data.dat"}));
    EXPECT_EQ(tables[1].code, IntegrityCode::General);
    EXPECT_EQ(tables[1].detail.kind, Kind::NoColumns);
}

TEST(Integrity, RebuildingRepairsIndexes) {
    const auto intact = MakeSmallLedger();
    CMemoryFileSystem files;
    files.Restore(intact);
    files.Bytes("db/Table_1_index_3.dat")[RecordByte(0, 8)] = 77;
    files.Bytes("db/Table_1_index_1.dat")[RecordByte(0, 16)] = 1;
    files.Bytes("db/Table_1_index_2.dat")[RecordByte(0, 0)] = 1;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder));
    EXPECT_NE(CodeOf(database), 0);
    ASSERT_TRUE(database.RebuildIndexes());
    EXPECT_EQ(CodeOf(database), 0);
    ASSERT_TRUE(database.Close() && database.Open(kFolder));
    EXPECT_EQ(CodeOf(database), 0);
}

TEST(Integrity, EachCodeHasItsSentence) {
    std::set<std::string> sentences;
    for (int code = 0; code <= 13; ++code) {
        sentences.insert(IntegrityMessage(static_cast<IntegrityCode>(code)));
    }
    EXPECT_EQ(sentences.size(), 14U);
    EXPECT_STREQ(IntegrityMessage(static_cast<IntegrityCode>(14)),
                 "The database integrity check encountered a general error.");
    EXPECT_STREQ(IntegrityMessage(IntegrityCode::DeletedEntriesRemain),
                 "The database integrity check found that deleted entries still exist after "
                 "processing.");
}

}  // namespace
}  // namespace quillon
