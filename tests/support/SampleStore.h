#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "storage/database/DatabaseManager.h"
#include "support/Reopening.h"

// A small record store to try things on, and what one holds, for the programs that link the
// storage floor.

namespace quillon {

// Where a test's steps leave the store open and settled; a store that does not open again
// fails the steps that follow.
inline void BetweenSteps(CDatabaseManager& database) {
    if (!ReopensBetweenSteps() || !database.IsOpen() || database.InBatch()) return;
    const std::string folder = database.Folder();
    if (database.Close()) (void)database.Open(folder);
}

// A value as text; doubles and times bit for bit.
inline std::string ValueText(const CTableRowUpdateInfoValue& value) {
    if (!value.isSet) return "none";
    if (value.type == ColumnType::Text) return '"' + value.text.ToUtf8() + '"';
    return std::to_string(value.Key());
}

// A column with its type and how it is indexed.
inline std::string ColumnText(const CTableColumn& column) {
    return column.name.ToUtf8() + " " + std::to_string(static_cast<int>(column.type)) +
           (column.indexed ? " indexed" : "") + (column.indexAttribute ? " by range" : "");
}

// Everything that a database holds, as it reads. Row -1 of a table lists its columns.
using TableContent = std::map<int64_t, std::vector<std::string>>;
using DatabaseContent = std::map<std::string, TableContent>;

// Columns whose values are not looked at.
using LeftOut = std::set<std::string, std::less<>>;

inline TableContent ContentOf(const CTableManager& table, const LeftOut& leftOut = {}) {
    TableContent content;
    for (const CTableColumn& column : table.Columns()) {
        content[-1].push_back(ColumnText(column));
    }
    std::vector<uint8_t> record;
    table.WalkRows([&](int64_t rowId) {
        std::vector<std::string>& values = content[rowId];
        const bool readable = table.ReadRecord(rowId, record);
        for (const CTableColumn& column : table.Columns()) {
            if (leftOut.contains(column.name.View())) continue;
            CTableRowUpdateInfoValue value;
            const bool read = readable && table.ValueFromRecord(record, column, value);
            values.push_back(read ? ValueText(value) : "unreadable");
        }
        return true;
    });
    return content;
}

inline DatabaseContent ContentOf(CDatabaseManager& database, int64_t blobIds = 8,
                                 const LeftOut& leftOut = {}) {
    BetweenSteps(database);
    DatabaseContent content;
    for (const auto& table : database.Tables()) {
        content[table->Name().ToUtf8()] = ContentOf(*table, leftOut);
    }
    std::vector<uint8_t> bytes;
    for (int64_t id = 0; id < blobIds; ++id) {
        if (database.ReadBlob(id, bytes)) {
            content["(blobs)"][id] = {std::string(bytes.begin(), bytes.end())};
        }
    }
    return content;
}

// Columns as "Name/0/i+": the number of the type, i when it is indexed, + for the attribute.
inline bool AddColumns(CDatabaseManager& database, const char* table, const std::string& columns) {
    std::istringstream words(columns);
    for (std::string word; words >> word;) {
        const size_t slash = word.find('/');
        const auto type = static_cast<ColumnType>(word.at(slash + 1) - '0');
        const bool isIndexed = word.find("/i") != std::string::npos;
        if (!database.AddColumn(table, word.substr(0, slash), type, isIndexed,
                                word.ends_with('+'))) {
            return false;
        }
    }
    return true;
}

// "Ledger": every type. A memo that is not indexed can be damaged unnoticed.
inline bool MakeLedgerTable(CDatabaseManager& database, bool memoIndexed = false) {
    CBracketScope batch(database);
    return database.CreateTable("Ledger") &&
           AddColumns(database, "Ledger",
                      "Name/0/i+ Open/1/i Check/2/i+ Account/3/i Amount/4/i+ Date/5/i+ Memo/0" +
                          std::string(memoIndexed ? "/i" : "")) &&
           batch.Commit();
}

struct LedgerRow {
    std::string name;
    int32_t check = 0;
    double amount = 0.0;
    std::string memo = {};
};

// In a bracket of one row.
inline bool SetLedgerRow(CDatabaseManager& database, const LedgerRow& row) {
    return database.SetText("Name", row.name) && database.SetBoolean("Open", row.check % 2 == 1) &&
           database.SetInt32("Check", row.check) &&
           database.SetInt64("Account", row.check * int64_t{1'000'000'007}) &&
           database.SetDouble("Amount", row.amount) &&
           database.SetDateTime("Date", 133'000'000'000'000'000 + row.check) &&
           database.SetText("Memo", row.memo);
}

// The new row's identifier; -1 on failure.
inline int64_t AddLedgerRow(CDatabaseManager& database, const LedgerRow& row) {
    BetweenSteps(database);
    return database.BeginRow("Ledger") && SetLedgerRow(database, row) ? database.CommitRow() : -1;
}

inline bool ChangeLedgerRow(CDatabaseManager& database, int64_t rowId, const LedgerRow& row) {
    BetweenSteps(database);
    return database.BeginRowUpdate("Ledger", rowId) && SetLedgerRow(database, row) &&
           database.CommitRow() == rowId;
}

// A text that compresses.
inline std::string WordyText(int number) {
    const std::string text =
        "Groceries, household and the weekly market, receipt " + std::to_string(number);
    return text + "; " + text + "; " + text;
}

}  // namespace quillon
