#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "storage/DatabaseManager.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

inline constexpr const char* kFolder = "db/";

// A journal on a disk in memory, in charge of kFolder, or of nothing.
struct CJournalDisk {
    CMemoryFileSystem files;
    CJournal journal{files};

    explicit CJournalDisk(bool attach = true) {
        EXPECT_TRUE(files.MakeFolder(kFolder));
        if (attach) {
            EXPECT_EQ(journal.Attach(kFolder, 7), CJournal::AttachResult::Ok);
        }
    }
    const Bytes& At(const std::string& name) { return files.Bytes(kFolder + name); }
};

// A value as text; doubles and times bit for bit.
inline std::string ValueText(const CTableRowUpdateInfoValue& value) {
    if (!value.isSet) return "none";
    if (value.type == ColumnType::Text) return '"' + value.text.ToUtf8() + '"';
    return std::to_string(value.Key());
}

// Everything that a database holds, as it reads. Row -1 of a table lists its columns.
using TableContent = std::map<int64_t, std::vector<std::string>>;
using DatabaseContent = std::map<std::string, TableContent>;

inline TableContent ContentOf(const CTableManager& table) {
    TableContent content;
    for (const CTableColumn& column : table.Columns()) {
        content[-1].push_back(column.name.ToUtf8());
    }
    std::vector<uint8_t> record;
    table.WalkRows([&](int64_t rowId) {
        std::vector<std::string>& values = content[rowId];
        const bool readable = table.ReadRecord(rowId, record);
        for (const CTableColumn& column : table.Columns()) {
            CTableRowUpdateInfoValue value;
            const bool read = readable && table.ValueFromRecord(record, column, value);
            values.push_back(read ? ValueText(value) : "unreadable");
        }
        return true;
    });
    return content;
}

inline DatabaseContent ContentOf(CDatabaseManager& database, int64_t blobIds = 8) {
    DatabaseContent content;
    for (const auto& table : database.Tables()) content[table->Name().ToUtf8()] = ContentOf(*table);
    Bytes bytes;
    for (int64_t id = 0; id < blobIds; ++id) {
        if (database.ReadBlob(id, bytes)) content["(blobs)"][id] = {ToString(bytes)};
    }
    return content;
}

inline int CodeOf(CDatabaseManager& database) {
    std::vector<TableIntegrity> tables;
    const IntegrityCode code = database.Verify(tables);
    return static_cast<int>(code);
}

// The database with what keeps it open gone, as a kill leaves it.
inline DatabaseContent ContentAfterCrash(const std::map<std::string, Bytes>& disk, int& code) {
    CMemoryFileSystem files;
    files.Restore(disk);
    CDatabaseManager database(files);
    if (!database.Open(kFolder)) {
        code = 100 + static_cast<int>(database.Problem());
        return {};
    }
    code = CodeOf(database);
    return ContentOf(database);
}

// "Ledger": every type. A memo that is not indexed can be damaged unnoticed.
inline bool MakeLedgerTable(CDatabaseManager& database, bool memoIndexed = false) {
    CBatchScope batch(database);
    return database.CreateTable("Ledger") &&
           database.AddColumn("Ledger", "Name", ColumnType::Text, true, true) &&
           database.AddColumn("Ledger", "Open", ColumnType::Boolean, true, false) &&
           database.AddColumn("Ledger", "Check", ColumnType::Int32, true, true) &&
           database.AddColumn("Ledger", "Account", ColumnType::Int64, true, false) &&
           database.AddColumn("Ledger", "Amount", ColumnType::Double, true, true) &&
           database.AddColumn("Ledger", "Date", ColumnType::DateTime, true, true) &&
           database.AddColumn("Ledger", "Memo", ColumnType::Text, memoIndexed, false) &&
           batch.Commit();
}

struct LedgerRow {
    std::string name;
    int32_t check = 0;
    double amount = 0.0;
    std::string memo = {};
};

inline void SetLedgerRow(CDatabaseManager& database, const LedgerRow& row) {
    EXPECT_TRUE(database.SetText("Name", row.name));
    EXPECT_TRUE(database.SetBoolean("Open", row.check % 2 == 1));
    EXPECT_TRUE(database.SetInt32("Check", row.check));
    EXPECT_TRUE(database.SetInt64("Account", row.check * int64_t{1'000'000'007}));
    EXPECT_TRUE(database.SetDouble("Amount", row.amount));
    EXPECT_TRUE(database.SetDateTime("Date", 133'000'000'000'000'000 + row.check));
    EXPECT_TRUE(database.SetText("Memo", row.memo));
}

inline int64_t AddLedgerRow(CDatabaseManager& database, const LedgerRow& row) {
    if (!database.BeginRow("Ledger")) return -1;
    SetLedgerRow(database, row);
    return database.CommitRow();
}

inline bool ChangeLedgerRow(CDatabaseManager& database, int64_t rowId, const LedgerRow& row) {
    if (!database.BeginRowUpdate("Ledger", rowId)) return false;
    SetLedgerRow(database, row);
    return database.CommitRow() == rowId;
}

// A text that compresses, and one (for the same number) that does not.
inline std::string WordyText(int number) {
    std::string text =
        "Groceries, household and the weekly market, receipt " + std::to_string(number);
    return text + "; " + text + "; " + text;
}

// Gives the test's name for a failing step of a loop.
inline std::string Nth(const char* what, int64_t n) {
    return std::string(what) + " " + std::to_string(n);
}

}  // namespace quillon
