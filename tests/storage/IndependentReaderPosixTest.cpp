// tests/formats/read_database.py, written from docs/file-formats.md alone, and the engine must
// see the same in the same files.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>

#include "StoreFixture.h"
#include "support/IndependentReaderPosix.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using nlohmann::json;

json JsonOf(const CTableRowUpdateInfoValue& value) {
    switch (value.type) {
        case ColumnType::Text:
            return value.isSet ? json(value.text.ToUtf8()) : json();
        case ColumnType::Boolean:
            return value.boolean;
        case ColumnType::Int32:
            return value.int32;
        case ColumnType::Int64:
            return value.int64;
        case ColumnType::DateTime:
            return value.dateTime;
        case ColumnType::Double:
            break;
    }
    if (std::isnan(value.number)) return "nan";
    if (std::isinf(value.number)) return value.number > 0 ? "inf" : "-inf";
    return value.number;
}

json JsonOf(const CTableManager& table) {
    static constexpr const char* kTypes[] = {"text",  "boolean", "int32",
                                             "int64", "double",  "datetime"};
    json found = {{"number", table.Number()},
                  {"name", table.Name().ToUtf8()},
                  {"columns", json::array()},
                  {"rows", json::array()}};
    if (table.Columns().empty()) return found;
    for (const CTableColumn& column : table.Columns()) {
        found["columns"].push_back({{"name", column.name.ToUtf8()},
                                    {"type", kTypes[static_cast<int>(column.type)]},
                                    {"indexed", column.indexed},
                                    {"attribute", column.indexAttribute}});
    }
    table.WalkRows([&](int64_t row) {
        std::vector<uint8_t> record;
        json values = json::array();
        EXPECT_TRUE(table.ReadRecord(row, record));
        for (const CTableColumn& column : table.Columns()) {
            CTableRowUpdateInfoValue value;
            EXPECT_TRUE(table.ValueFromRecord(record, column, value));
            values.push_back(JsonOf(value));
        }
        found["rows"].push_back({{"id", row}, {"values", values}});
        return true;
    });
    found["nextRowId"] = table.Rows().NextId();
    found["freeRowBlocks"] = json::array();
    table.RowData().FreeList().Walk([&](const DeletedBlockEntry& block) {
        found["freeRowBlocks"].push_back({block.position, block.size});
    });
    return found;
}

json JsonOf(CDatabaseManager& database, int64_t blobs) {
    json found = {{"tables", json::array()}, {"blobs", json::array()}};
    for (const auto& table : database.Tables()) found["tables"].push_back(JsonOf(*table));
    for (int64_t id = 0; id < blobs; ++id) {
        Bytes bytes;
        if (!database.ReadBlob(id, bytes)) continue;
        std::string hex;
        for (const uint8_t byte : bytes) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", byte);
            hex += digits;
        }
        found["blobs"].push_back({{"id", id}, {"hex", hex}});
    }
    return found;
}

void FillLedger(CDatabaseManager& database) {
    ASSERT_TRUE(MakeLedgerTable(database, true) && database.CreateTable("Empty"));
    const double amounts[] = {0.0,
                              -0.0,
                              0.1,
                              -1234.56,
                              1e300,
                              5e-324,
                              1.0 / 3,
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              12.0,
                              -0.5,
                              1e15};
    std::string everyByte;
    for (int code = 1; code < 128; ++code) everyByte += static_cast<char>(code);
    const std::string texts[] = {"",
                                 "B\xC3\xA4"
                                 "ckerei \"M\xC3\xBCller\"\n\xE2\x82\xAC 5",
                                 everyByte, std::string(40, ' '),
                                 std::string(9'000, 'a') + std::string(9'000, 'b')};
    for (int i = 0; i < 60; ++i) {
        const LedgerRow row{i % 3 ? texts[i % 5] : WordyText(i), i * 97 - 2000, amounts[i % 12],
                            i % 4 ? WordyText(i) + texts[i % 4] : texts[4]};
        ASSERT_EQ(AddLedgerRow(database, row), i);
    }
    for (int64_t row = 3; row < 60; row += 7) ASSERT_TRUE(database.DeleteRow("Ledger", row));
    ASSERT_TRUE(ChangeLedgerRow(database, 5, {"changed", -7, 7.25, "m"}));
    ASSERT_EQ(database.AddBlob(FromHex("00 FF 80")), 0);
    ASSERT_EQ(database.AddBlob({}), 1);
    ASSERT_EQ(database.AddBlob(Text("gone")), 2);
    ASSERT_TRUE(database.DeleteBlob(2));
}

TEST(IndependentReader, AgreesOnEverything) {
    if (!HasPython()) GTEST_SKIP() << "no python3";
    CTemporaryFolder folder;
    const std::string path = folder.File("ledger");
    CDatabaseManager database;
    ASSERT_TRUE(database.Open(path));
    FillLedger(database);
    ASSERT_TRUE(database.Flush());
    EXPECT_EQ(ReadApart(path), JsonOf(database, 3)) << "flushed";
    ASSERT_TRUE(database.RemoveColumn("Ledger", "Check"));
    ASSERT_TRUE(database.AddColumn("Ledger", "Added", ColumnType::DateTime, true, false));
    ASSERT_TRUE(database.RemoveDeleted());
    ASSERT_TRUE(database.Close() && database.Open(path));
    EXPECT_EQ(ReadApart(path), JsonOf(database, 3)) << "columns changed and compacted";
}

// The journal of a killed program counts: the files behind it are set back.
TEST(IndependentReader, ReplaysTheJournal) {
    if (!HasPython()) GTEST_SKIP() << "no python3";
    CTemporaryFolder folder;
    const std::string path = folder.File("ledger");
    const std::string crashed = folder.File("crashed");
    CFileSystem& files = PlatformFileSystem();
    ASSERT_TRUE(files.MakeFolder(crashed));
    const auto copy = [&](bool journal) {
        std::vector<std::string> names;
        ASSERT_TRUE(files.List(path, names));
        for (const std::string& name : names) {
            if (journal != (name == "Journal.dat")) continue;
            std::vector<uint8_t> bytes;
            ASSERT_TRUE(ReadWholeFile(files, path + "/" + name, bytes));
            ASSERT_TRUE(WriteWholeFile(files, crashed + "/" + name, bytes));
        }
    };
    CDatabaseManager database;
    ASSERT_TRUE(database.Open(path));
    FillLedger(database);
    ASSERT_TRUE(database.Flush());
    copy(false);
    ASSERT_TRUE(database.AddColumn("Ledger", "More", ColumnType::Int32, true, true));
    ASSERT_TRUE(database.DeleteRow("Ledger", 0) && database.RemoveTable("Empty"));
    ASSERT_EQ(database.AddBlob(Text("late")), 3);
    copy(true);
    json expected = JsonOf(database, 4);
    // Free lists are no part of a commit.
    json found = ReadApart(crashed);
    ASSERT_FALSE(found.is_null());
    for (json* content : {&expected, &found}) {
        for (json& table : (*content)["tables"]) {
            table.erase("freeRowBlocks");
            table.erase("nextRowId");
        }
    }
    EXPECT_EQ(found, expected);
    CDatabaseManager replayed;
    ASSERT_TRUE(replayed.Open(crashed));
    EXPECT_EQ(ContentOf(replayed), ContentOf(database));
}

}  // namespace
}  // namespace quillon
