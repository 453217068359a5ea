// Tables, their definition, the schema file and rows.

#include "storage/tables/TableManager.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "StoreFixture.h"
#include "foundation/TextHash.h"
#include "foundation/platform/Clock.h"
#include "storage/database/SchemaFile.h"

namespace quillon {
namespace {

Bytes Field(std::string_view text, size_t size) {
    Bytes bytes = Text(text);
    bytes.resize(size);
    return bytes;
}

struct CLedgerDisk {
    CMemoryFileSystem files;
    CDatabaseManager database{files};
    CLedgerDisk() {
        EXPECT_TRUE(database.Open(kFolder));
        EXPECT_TRUE(MakeLedgerTable(database));
    }
    CTableManager& Table() { return *database.FindTable("Ledger"); }
    const Bytes& At(const std::string& name) { return files.Bytes(kFolder + name); }
    std::string Value(int64_t row, const char* column) {
        CTableRowUpdateInfoValue value;
        const CTableColumn* found = Table().FindColumn(column);
        return found && Table().ReadValue(row, *found, value) ? ValueText(value) : "unreadable";
    }
    void Reopen() {
        EXPECT_TRUE(database.Close());
        EXPECT_TRUE(database.Open(kFolder));
    }
};

TEST(TableDefinition, ByteForByte) {
    TableDefinition definition;
    definition.number = 3;
    definition.name = "Payee";
    definition.columns = {{"Name", "Table_3_index_1.dat", ColumnType::Text, true, true},
                          {"When", "", ColumnType::DateTime, false, false}};
    const Bytes bytes = Join(
        Signature("TableDefinition"), FromHex("01 00 00 00  03 00 00 00  02 00 00 00"),
        Field("Payee", 120), Field("Name", 120), Field("Table_3_index_1.dat", 120),
        FromHex("00 00 00 00 01 01"), Field("When", 120), Zeros(120), FromHex("05 00 00 00 00 00"));
    ASSERT_EQ(bytes.size(), 182U + 2 * 246);
    EXPECT_EQ(definition.Encode(), bytes);

    const struct {
        const char* name;
        Bytes bytes;
        bool accepted;
    } rows[] = {
        {"intact", bytes, true},
        {"version 0", WithByte(bytes, 50, 0), true},
        {"version 2", WithByte(bytes, 50, 2), false},
        {"signature goes on", WithByte(bytes, 15, 'X'), false},
        {"cut header", Prefix(bytes, 181), false},
        {"cut column", Prefix(bytes, 182 + 491), false},
        {"bytes behind", Join(bytes, {1}), true},
        {"more columns than there are", WithByte(bytes, 58, 3), false},
        {"negative count", WithByte(bytes, 61, 0x80), false},
        {"unknown type", WithByte(bytes, 182 + 240, 6), true},
        {"negative type", WithByte(bytes, 182 + 243, 0x80), true},
        {"column without name", WithByte(bytes, 182, 0), false},
        {"table name without its zero", Join(Prefix(bytes, 62), Bytes(120, 'N'), Slice(bytes, 182)),
         false},
        {"column name without its zero",
         Join(Prefix(bytes, 182), Bytes(120, 'N'), Slice(bytes, 302)), false},
        {"index name without its zero",
         Join(Prefix(bytes, 302), Bytes(120, 'N'), Slice(bytes, 422)), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TableDefinition decoded;
        decoded.number = 77;
        ASSERT_EQ(TableDefinition::Decode(row.bytes, decoded), row.accepted);
        EXPECT_EQ(decoded.number, row.accepted ? 3 : 77);
        if (!row.accepted) continue;
        EXPECT_EQ(decoded.name, "Payee");
        ASSERT_EQ(decoded.columns.size(), 2U);
        EXPECT_EQ(decoded.columns[0].indexFile, "Table_3_index_1.dat");
        EXPECT_TRUE(decoded.columns[0].indexed && decoded.columns[0].indexAttribute);
        EXPECT_EQ(decoded.columns[1].type, ColumnType::DateTime);
        EXPECT_FALSE(decoded.columns[1].indexed || decoded.columns[1].indexAttribute);
    }
}

// Gives columns of the ledger table the type 9, or their own back.
void SetTypes(CLedgerDisk& disk, const std::vector<size_t>& columns, bool known) {
    constexpr uint8_t kTypes[] = {0, 1, 2, 3, 4, 5, 0};
    EXPECT_TRUE(disk.database.Close());
    for (const size_t column : columns) {
        disk.files.Bytes(kFolder + std::string("Table_1.dat")).at(182 + 246 * column + 240) =
            known ? kTypes[column] : 9;
    }
    ASSERT_TRUE(disk.database.Open(kFolder));
}

bool ChangeAccount(CDatabaseManager& database) {
    return database.BeginRowUpdate("Ledger", 0) && database.SetInt64("Account", 77) &&
           database.CommitRow() == 0;
}

// What a newer version wrote is neither read nor harmed.
TEST(Table, ValuesOfUnknownTypesAreSkippedAndKept) {
    constexpr size_t kAccount = 3;
    const struct {
        const char* name;
        std::vector<size_t> skipped;
        bool readsAccount;
    } rows[] = {
        {"text in front", {0}, true},          {"number in the middle", {4}, true},
        {"the last one, no index", {6}, true}, {"neighbours", {4, 5}, true},
        {"first and last", {0, 6}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CLedgerDisk disk;
        ASSERT_EQ(AddLedgerRow(disk.database, {"a", 1, 1.5, "memo"}), 0);
        ASSERT_EQ(AddLedgerRow(disk.database, {"b", 2, -2, ""}), 1);
        TableContent content = ContentOf(disk.Table());
        std::vector<std::string> files;
        ASSERT_TRUE(disk.database.ListFiles(files));

        SetTypes(disk, row.skipped, false);
        EXPECT_EQ(CodeOf(disk.database), 0);
        TableContent expected = content;
        for (const int64_t id : {0, 1}) {
            for (size_t i = 0; i < expected[id].size(); ++i) {
                const bool between = i > row.skipped.front() && i < row.skipped.back();
                const bool skipped = i == row.skipped.front() || i == row.skipped.back();
                if (between || skipped) expected[id][i] = "unreadable";
            }
        }
        expected[-1] = ContentOf(disk.Table())[-1];  // the columns with their types
        EXPECT_EQ(ContentOf(disk.Table()), expected);
        EXPECT_EQ(ChangeAccount(disk.database), row.readsAccount);
        EXPECT_TRUE(disk.database.BeginRow("Ledger"));
        EXPECT_EQ(disk.database.CommitRow(), -1);
        EXPECT_FALSE(disk.database.DeleteRow("Ledger", 1));
        EXPECT_FALSE(disk.database.AddColumn("Ledger", "New", ColumnType::Int32, false, false));
        std::vector<std::string> kept;
        ASSERT_TRUE(disk.database.ListFiles(kept));
        EXPECT_EQ(kept, files) << "a backup holds them all";

        SetTypes(disk, row.skipped, true);
        if (row.readsAccount) content[0][kAccount] = "77";
        EXPECT_EQ(ContentOf(disk.Table()), content);
        EXPECT_EQ(CodeOf(disk.database), 0);
    }
}

// Nothing was written for the column yet, so rows without it are all there can be.
TEST(Table, RowsAreBuiltWithoutValuesOfUnknownTypes) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && database.CreateTable("Notes") &&
                database.AddColumn("Notes", "When", ColumnType::Int64, true, false) &&
                database.AddColumn("Notes", "New", ColumnType::Double, false, false) &&
                database.AddColumn("Notes", "Text", ColumnType::Text, false, false));
    ASSERT_TRUE(database.Close());
    files.Bytes(kFolder + std::string("Table_1.dat")).at(182 + 246 + 240) = 9;
    for (int64_t id = 0; id < 3; ++id) {
        ASSERT_TRUE(database.Open(kFolder) && database.BeginRow("Notes"));
        EXPECT_TRUE(database.SetInt64("When", id) && database.SetText("Text", "note"));
        EXPECT_EQ(database.CommitRow(), id);
    }
    EXPECT_TRUE(database.DeleteRow("Notes", 1));
    ASSERT_TRUE(database.BeginRow("Notes"));
    EXPECT_FALSE(database.SetDouble("New", 1));
    database.AbandonRow();
    EXPECT_EQ(ContentOf(*database.FindTable("Notes")),
              (TableContent{{-1, {"When 3 indexed", "New 9", "Text 0"}},
                            {0, {"0", "unreadable", "\"note\""}},
                            {2, {"2", "unreadable", "\"note\""}}}));
    EXPECT_EQ(CodeOf(database), 0);
}

TEST(SchemaFile, ByteForByte) {
    DatabaseSchema schema;
    schema.nextTableNumber = 9;
    schema.tables = {{1, "Account", "Table_1.dat"}, {8, "Payee", "Table_8.dat"}};
    const Bytes bytes = Join(Signature("Database"), FromHex("01 00 00 00 02 00 00 00 09 00 00 00"),
                             Le32(1), Field("Account", 120), Field("Table_1.dat", 120), Le32(8),
                             Field("Payee", 120), Field("Table_8.dat", 120));
    ASSERT_EQ(bytes.size(), 62U + 2 * 244);
    EXPECT_EQ(schema.Encode(), bytes);
    using Result = DatabaseSchema::DecodeResult;
    const struct {
        const char* name;
        Bytes bytes;
        Result result;
    } rows[] = {
        {"intact", bytes, Result::Ok},
        {"version 0", WithByte(bytes, 50, 0), Result::Ok},
        {"version 2", WithByte(bytes, 50, 2), Result::NewerVersion},
        {"other signature", WithByte(bytes, 8, 'X'), Result::NotASchema},
        {"cut header", Prefix(bytes, 61), Result::NotASchema},
        {"cut record", Prefix(bytes, bytes.size() - 1), Result::Damaged},
        {"negative count", WithByte(bytes, 57, 0x80), Result::Damaged},
        {"negative next number", WithByte(bytes, 61, 0x80), Result::Damaged},
        {"number not given out yet", WithByte(bytes, 62, 9), Result::Damaged},
        {"one number twice", WithByte(bytes, 62, 8), Result::Damaged},
        {"no name", WithByte(bytes, 66, 0), Result::Damaged},
        {"name without its zero", Join(Prefix(bytes, 66), Bytes(120, 'N'), Slice(bytes, 186)),
         Result::Damaged},
        {"file name without its zero", Join(Prefix(bytes, 186), Bytes(120, 'N'), Slice(bytes, 306)),
         Result::Damaged},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DatabaseSchema decoded;
        EXPECT_EQ(DatabaseSchema::Decode(row.bytes, decoded), row.result);
        EXPECT_EQ(decoded.tables.size(), row.result == Result::Ok ? 2U : 0U);
    }
}

TEST(LockFile, ByteForByte) {
    DatabaseIdentity identity;
    identity.id = 0x0123456789ABCDEF;
    // The last field is CRC-64 over the 62 bytes before, computed apart from this program.
    const Bytes bytes =
        Join(Signature("DatabaseLock"), FromHex("01 00 00 00 EF CD AB 89 67 45 23 01"),
             FromHex("EB 7D FC A2 6D 25 C3 42"));
    EXPECT_EQ(identity.Encode(), bytes);
    DatabaseIdentity decoded;
    ASSERT_TRUE(DatabaseIdentity::Decode(bytes, decoded));
    EXPECT_EQ(decoded.id, identity.id);
    for (size_t at = 0; at < bytes.size(); ++at) {
        EXPECT_FALSE(DatabaseIdentity::Decode(WithByte(bytes, at, bytes[at] ^ 4), decoded)) << at;
        EXPECT_FALSE(DatabaseIdentity::Decode(Prefix(bytes, at), decoded)) << at;
    }
}

// The files of one table with one row, written by hand.
TEST(Table, FilesByteForByte) {
    CLedgerDisk disk;
    ASSERT_TRUE(disk.database.BeginRow("Ledger"));
    ASSERT_TRUE(SetLedgerRow(disk.database, {"Bo", 3, -0.5, "x"}));
    ASSERT_EQ(disk.database.CommitRow(), 0);
    ASSERT_TRUE(disk.database.Close());

    EXPECT_EQ(disk.At("Table_1_data.dat"),
              Join(Signature("Data"), Le32(2),
                   FromHex("00 00 00 00 00 00 00 00"      // Name: text 0
                           "01"                           // Open
                           "03 00 00 00"                  // Check
                           "15 5E D0 B2 00 00 00 00"      // Account: 3,000,000,021
                           "00 00 00 00 00 00 E0 BF"      // Amount: -0.5
                           "03 80 20 9B CB 82 D8 01"      // Date
                           "01 00 00 00 00 00 00 00")));  // Memo: text 1
    EXPECT_EQ(disk.At("Table_1_dict.dat"), Join(Signature("Dictionary"), Le32(1), Le64(1), Le64(0),
                                                Le64(62), Le64(0), Le64(45), Le32(0)));
    EXPECT_EQ(disk.At("Table_1_index_5.dat"),
              Join(Signature("Index"), Le32(1), Le64(1), Le64(1), FromHex("01 00"), Le64(0),
                   FromHex("00 00 00 00 00 00 E0 BF"), Le32(0)));
    EXPECT_EQ(disk.At("Table_1_index_2.dat"),
              Join(Signature("Index"), Le32(1), Le64(1), Le64(1), FromHex("00 00"), Le64(0),
                   FromHex("01 00 00 00 00 00 00 00"), Le32(0)));
    // CRC-64 of "Bo", computed apart from this program.
    EXPECT_EQ(disk.At("Table_1_index_1.dat"),
              Join(Signature("Index"), Le32(1), Le64(1), Le64(1), FromHex("01 00"), Le64(0),
                   FromHex("4C 09 FD D3 27 16 0D BF"), Le32(0)));
    EXPECT_EQ(disk.At("DatabaseSchema.dat"),
              Join(Signature("Database"), Le32(1), Le32(1), Le32(2), Le32(1), Field("Ledger", 120),
                   Field("Table_1.dat", 120)));
    TableDefinition definition;
    ASSERT_TRUE(TableDefinition::Decode(disk.At("Table_1.dat"), definition));
    EXPECT_EQ(definition.columns[4].indexFile, "Table_1_index_5.dat");
    EXPECT_FALSE(definition.columns[6].indexed);
    EXPECT_FALSE(disk.files.Exists("db/Table_1_data_del.dat"));
    EXPECT_EQ(disk.At("Journal.dat").size(), 78U) << "empty, the header alone";
}

TEST(Table, ColumnsThatAreNotSetGetTheirDefaults) {
    CLedgerDisk disk;
    const int64_t before = NowFileTime();
    ASSERT_TRUE(disk.database.BeginRow("Ledger"));
    ASSERT_EQ(disk.database.CommitRow(), 0);
    std::vector<uint8_t> record;
    ASSERT_TRUE(disk.Table().ReadRecord(0, record));
    EXPECT_EQ(Slice(record, 0, 8), Bytes(8, 0xFF)) << "-1: no text";
    EXPECT_EQ(Slice(record, 8, 1 + 4 + 8 + 8), Zeros(21));
    EXPECT_EQ(Slice(record, 37), Bytes(8, 0xFF));
    const int64_t date = std::stoll(disk.Value(0, "Date"));
    EXPECT_GE(date, before);
    EXPECT_LE(date, NowFileTime());
    EXPECT_EQ(disk.Value(0, "Name"), "none");
    EXPECT_EQ(CodeOf(disk.database), 0);
}

TEST(Table, SettersRefuseWhatDoesNotFit) {
    CLedgerDisk disk;
    EXPECT_FALSE(disk.database.SetText("Name", "no row begun"));
    EXPECT_EQ(disk.database.CommitRow(), -1);
    EXPECT_FALSE(disk.database.BeginRow("Ledgers"));
    EXPECT_FALSE(disk.database.BeginRowUpdate("Ledger", 0));
    for (const char* column : {"Check", "name", "", "NO_SQL_COLUMN_ITEM_ID"}) {
        SCOPED_TRACE(column);
        ASSERT_TRUE(disk.database.BeginRow("Ledger"));
        EXPECT_FALSE(disk.database.SetDouble(column, 1));
        EXPECT_EQ(disk.database.CommitRow(), -1) << "a setter that failed spoils the row";
    }
    EXPECT_EQ(disk.Table().RowCount(), 0);
    EXPECT_EQ(CodeOf(disk.database), 0);
}

// A name that its field in the file would cut is another one when the database opens again.
TEST(Table, NamesMustFitTheirFields) {
    CLedgerDisk disk;
    const struct {
        std::string name;
        bool fits;
    } rows[] = {{"", false},
                {std::string(120, 'n'), false},
                {std::string("Led\0ger", 7), false},
                {std::string(1, '\0'), false},
                {std::string(119, 'n'), true},
                {"Geschäft", true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(disk.database.CreateTable(row.name) != nullptr, row.fits);
        EXPECT_EQ(disk.database.AddColumn("Ledger", row.name, ColumnType::Int64, true, true),
                  row.fits);
    }
    disk.Reopen();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(disk.database.FindTable(row.name) != nullptr, row.fits);
        EXPECT_EQ(disk.database.HasColumn("Ledger", row.name), row.fits);
    }
}

TEST(Table, UpdateAndDeleteFreeTheTexts) {
    CLedgerDisk disk;
    ASSERT_EQ(AddLedgerRow(disk.database, {"first", 1, 1, WordyText(1)}), 0);
    ASSERT_EQ(AddLedgerRow(disk.database, {"second", 2, 2, "note"}), 1);
    const auto freeTexts = [&] { return disk.Table().Texts().Data().FreeList().Count(); };
    const auto liveTexts = [&] { return disk.Table().Texts().Dictionary().LiveCount(); };
    EXPECT_EQ(liveTexts(), 4);
    EXPECT_EQ(freeTexts(), 0);

    // Another length: the old block is free, the text keeps its id.
    ASSERT_TRUE(ChangeLedgerRow(disk.database, 0, {"first, renamed", 1, 1, WordyText(1)}));
    EXPECT_EQ(liveTexts(), 4);
    EXPECT_EQ(freeTexts(), 1);
    EXPECT_EQ(disk.Value(0, "Name"), "\"first, renamed\"");
    // The free block is used again.
    ASSERT_TRUE(ChangeLedgerRow(disk.database, 1, {"fifth", 2, 2, "note"}));
    EXPECT_EQ(freeTexts(), 1);
    // Emptied: no text is left.
    ASSERT_TRUE(ChangeLedgerRow(disk.database, 1, {"fifth", 2, 2, ""}));
    EXPECT_EQ(liveTexts(), 3);
    EXPECT_EQ(disk.Value(1, "Memo"), "none");
    ASSERT_TRUE(disk.database.DeleteRow("Ledger", 0));
    EXPECT_EQ(liveTexts(), 1);
    EXPECT_FALSE(disk.database.DeleteRow("Ledger", 0));
    EXPECT_EQ(disk.Value(0, "Name"), "unreadable");
    EXPECT_EQ(CodeOf(disk.database), 0);

    // A new row takes the old one's place in the file and a new id.
    const size_t size = disk.At("Table_1_data.dat").size();
    ASSERT_EQ(AddLedgerRow(disk.database, {"third", 3, 3, ""}), 2);
    EXPECT_EQ(disk.At("Table_1_data.dat").size(), size);
    disk.Reopen();
    EXPECT_EQ(disk.Value(2, "Name"), "\"third\"");
    EXPECT_EQ(disk.Table().RowCount(), 2);
    EXPECT_EQ(CodeOf(disk.database), 0);
}

TEST(Table, AddingAndRemovingColumnsKeepsRows) {
    CLedgerDisk disk;
    for (int i = 0; i < 30; ++i) {
        ASSERT_EQ(
            AddLedgerRow(disk.database, {"Name " + std::to_string(i), i, i * 0.25, WordyText(i)}),
            i);
    }
    for (const int64_t row : {0, 7, 29}) ASSERT_TRUE(disk.database.DeleteRow("Ledger", row));
    TableContent expected = ContentOf(disk.Table());
    const auto edit = [&](const std::function<void(std::vector<std::string>&)>& change) {
        for (auto& [row, values] : expected) change(values);
    };
    const auto check = [&](const char* what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(ContentOf(disk.Table()), expected);
        EXPECT_EQ(CodeOf(disk.database), 0);
        disk.Reopen();
        EXPECT_EQ(ContentOf(disk.Table()), expected);
        EXPECT_EQ(CodeOf(disk.database), 0);
        EXPECT_TRUE(disk.Table().RebuiltIndexes().empty());
    };
    const auto addColumn = [&](const char* name, ColumnType type, bool indexed,
                               const char* initial) {
        ASSERT_TRUE(disk.database.AddColumn("Ledger", name, type, indexed, false));
        edit([&](auto& values) { values.emplace_back(initial); });
        expected[-1].back() = ColumnText(*disk.Table().FindColumn(name));
    };
    const auto removeColumn = [&](const char* name, std::ptrdiff_t at) {
        ASSERT_TRUE(disk.database.RemoveColumn("Ledger", name));
        edit([&](auto& values) { values.erase(values.begin() + at); });
    };
    addColumn("Count", ColumnType::Int32, true, "0");
    check("indexed number added");
    EXPECT_TRUE(disk.files.Exists("db/Table_1_index_8.dat"));
    const size_t texts = disk.At("Table_1_textdata.dat").size();
    removeColumn("Name", 0);
    check("indexed text removed");
    EXPECT_FALSE(disk.files.Exists("db/Table_1_index_1.dat"));
    EXPECT_LT(disk.At("Table_1_textdata.dat").size(), texts);
    EXPECT_EQ(disk.Table().Texts().Dictionary().LiveCount(), 27) << "the memos alone";

    // Ids are counted anew from the definition while files keep their numbers: seven
    // columns now, but index 8 is in use.
    addColumn("Flag", ColumnType::Boolean, true, "0");
    EXPECT_TRUE(disk.files.Exists("db/Table_1_index_9.dat"));
    check("boolean added");
    addColumn("Note", ColumnType::Text, true, "none");
    check("text added");
    EXPECT_FALSE(disk.database.AddColumn("Ledger", "Note", ColumnType::Text, false, false));
    EXPECT_FALSE(disk.database.AddColumn("Ledger", "", ColumnType::Text, false, false));
    EXPECT_FALSE(disk.database.RemoveColumn("Ledger", "Name"));
    check("refused changes change nothing");
    for (const char* column : {"Open", "Check", "Account", "Amount", "Date", "Memo", "Count"}) {
        removeColumn(column, 0);
    }
    check("nearly all removed");
    ASSERT_EQ(expected[-1], (std::vector<std::string>{"Flag 1 indexed", "Note 0 indexed"}));
}

TEST(Table, WithoutColumnsItHasNoFiles) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder));
    ASSERT_TRUE(database.CreateTable("Empty"));
    EXPECT_FALSE(files.Exists("db/Table_1.dat"));
    EXPECT_EQ(CodeOf(database), 13);
    ASSERT_TRUE(database.BeginRow("Empty"));
    EXPECT_EQ(database.CommitRow(), -1);
    ASSERT_TRUE(database.Close());
    ASSERT_TRUE(database.Open(kFolder));
    EXPECT_EQ(CodeOf(database), 13);

    // The last column takes rows and files with it, and the table can be used again.
    ASSERT_TRUE(database.AddColumn("Empty", "Text", ColumnType::Text, true, true));
    ASSERT_TRUE(database.BeginRow("Empty") && database.SetText("Text", "gone soon"));
    ASSERT_EQ(database.CommitRow(), 0);
    ASSERT_TRUE(database.RemoveColumn("Empty", "Text"));
    for (const auto& [path, bytes] : files.Snapshot()) {
        EXPECT_EQ(path.find("Table_"), std::string::npos) << path;
    }
    ASSERT_TRUE(database.Close());
    ASSERT_TRUE(database.Open(kFolder));
    EXPECT_EQ(CodeOf(database), 13);
    ASSERT_TRUE(database.AddColumn("Empty", "Number", ColumnType::Int32, true, true));
    ASSERT_TRUE(database.BeginRow("Empty") && database.SetInt32("Number", 5));
    EXPECT_EQ(database.CommitRow(), 0);
    EXPECT_EQ(CodeOf(database), 0);
}

TEST(Table, RemoveDeletedShrinksEveryFileAndKeepsIds) {
    CLedgerDisk disk;
    {
        CBracketScope batch(disk.database);
        for (int i = 0; i < 300; ++i) {
            ASSERT_EQ(
                AddLedgerRow(disk.database, {"N" + std::to_string(i), i, i * 1.5, WordyText(i)}),
                i);
            ASSERT_EQ(disk.database.AddBlob(Text(WordyText(i))), i);
        }
        for (int i = 0; i < 300; ++i) {
            if (i % 10 == 0) continue;
            ASSERT_TRUE(disk.database.DeleteRow("Ledger", i));
            ASSERT_TRUE(disk.database.DeleteBlob(i));
        }
        ASSERT_TRUE(batch.Commit());
    }
    ASSERT_TRUE(disk.database.Flush());
    const auto before = disk.files.Snapshot();
    const DatabaseContent content = ContentOf(disk.database, 300);
    ASSERT_TRUE(disk.database.RemoveDeleted());
    EXPECT_EQ(ContentOf(disk.database, 300), content);
    ASSERT_TRUE(disk.database.Flush());
    for (const char* name :
         {"Table_1_dict.dat", "Table_1_textdict.dat", "Table_1_textdata.dat", "Table_1_index_1.dat",
          "Table_1_index_5.dat", "DatabaseSchema_blobdict.dat", "DatabaseSchema_blobdata.dat"}) {
        EXPECT_LT(disk.At(name).size() * 4, before.at(std::string("db/") + name).size()) << name;
    }
    EXPECT_EQ(disk.At("Table_1_index_5.dat").size(), 72U + 30 * 20);
    EXPECT_EQ(CodeOf(disk.database), 0);
    disk.Reopen();
    EXPECT_EQ(ContentOf(disk.database, 300), content);
    EXPECT_EQ(CodeOf(disk.database), 0);
    EXPECT_EQ(AddLedgerRow(disk.database, {"next", 1, 1, ""}), 300);
    EXPECT_EQ(disk.database.AddBlob(Text("next")), 300);
    // Nothing to do: no file is written.
    ASSERT_TRUE(disk.database.Flush());
    const auto settled = disk.files.Snapshot();
    ASSERT_TRUE(disk.database.RemoveDeleted());
    EXPECT_EQ(disk.files.Snapshot(), settled);
}

// A definition that was tampered with must not make the engine write over other files.
TEST(Table, IndexNamesOutsideTheTableAreRefused) {
    CLedgerDisk disk;
    ASSERT_EQ(AddLedgerRow(disk.database, {"kept", 1, 1, ""}), 0);
    ASSERT_TRUE(disk.database.Close());
    const auto snapshot = disk.files.Snapshot();
    for (const char* name : {"../victim.dat", "Table_1_data.dat", "DatabaseSchema.dat",
                             "Table_2_index_1.dat", "Table_1_index_.dat", "Table_1_index_2.dat",
                             "Table_1_index_../x.dat", "Table_1_index_12345678901234567890.dat"}) {
        SCOPED_TRACE(name);
        disk.files.Restore(snapshot);
        disk.files.Bytes("victim.dat") = Text("precious");
        Bytes& definition = disk.files.Bytes("db/Table_1.dat");
        const Bytes field = Field(name, 120);
        std::copy(field.begin(), field.end(), definition.begin() + 182 + 120);
        CDatabaseManager database(disk.files);
        EXPECT_FALSE(database.Open(kFolder));
        EXPECT_EQ(database.Problem(), DatabaseProblem::DamagedFile);
        EXPECT_EQ(disk.files.Bytes("victim.dat"), Text("precious"));
        EXPECT_EQ(disk.At("Table_1_data.dat"), snapshot.at("db/Table_1_data.dat"));
    }
}

}  // namespace
}  // namespace quillon
