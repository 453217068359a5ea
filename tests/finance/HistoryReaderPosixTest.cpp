// tests/formats/read_database.py, written from docs/file-formats.md alone, and the program must
// see the same history in the same file.

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "finance/ledger/Ledger.h"
#include "foundation/CalendarDate.h"
#include "support/IndependentReaderPosix.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using nlohmann::json;

json JsonOf(ColumnType type, const HistoryValue& value) {
    return type == ColumnType::Text ? json(std::string(value.text)) : json(value.bits);
}

json JsonOf(const HistoryTable& table, const HistoryChange& change) {
    static constexpr const char* kActions[] = {"", "added", "changed", "deleted"};
    json values = json::object();
    for (size_t i = 0; i < table.columns.size(); ++i) {
        if (!change.isSet[i]) continue;
        json& pair = values[table.columns[i].name] = json::array();
        const ColumnType type = table.columns[i].type;
        if (change.action != RowAction::Added) pair.push_back(JsonOf(type, change.before[i]));
        if (change.action != RowAction::Deleted) pair.push_back(JsonOf(type, change.after[i]));
    }
    return {{"action", kActions[static_cast<int>(change.action)]},
            {"table", table.name},
            {"row", change.row},
            {"values", values}};
}

// An import of two commits, edits, deletes, and something undone.
void DoThings(CQuillonDatabaseInterface& database) {
    CLedger ledger(database);
    CAccountEntry account;
    account.name = "Girokonto Jürgen";
    ASSERT_EQ(ledger.OpenAccount(account, -0.1, FileTimeFromDate(2024, 1, 31)), LedgerStatus::Ok);
    {
        const CHistory::CLongAction action(database.History(), ActionKind::Import, "Bücher.qif",
                                           account.id);
        CLedgerImport import(ledger, account.id, 2);
        ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
        for (int i = 0; i < 3; ++i) {
            CTransactionEntry row;
            row.amount = 0.1 * i;
            row.memo = i == 1 ? "Bäcker" : "";
            row.fitId = INT64_MIN + i;
            ASSERT_EQ(import.Enter(row), LedgerStatus::Ok);
        }
        ASSERT_TRUE(import.Finish());
    }
    CTransactionEntry row;
    ASSERT_TRUE(database.Read(3, row));
    row.memo = "";
    row.check = -1;
    ASSERT_EQ(ledger.ChangeTransaction(row), LedgerStatus::Ok);
    ASSERT_EQ(ledger.RemoveTransaction(2), LedgerStatus::Ok);
    ASSERT_EQ(ledger.RemoveTransaction(3), LedgerStatus::Ok);
    ASSERT_EQ(database.History().Undo().status, HistoryStatus::Ok);
}

TEST(HistoryReader, AgreesOnEverything) {
    if (!HasPython()) GTEST_SKIP() << "no python3";
    CTemporaryFolder folder;
    const std::string path = folder.File("ledger");
    CQuillonDatabaseInterface database;
    ASSERT_TRUE(database.Open(path).opened);
    DoThings(database);
    ASSERT_FALSE(HasFatalFailure());
    json changes = json::array();
    std::vector<HistoryAction> actions;
    ASSERT_TRUE(database.History().List(actions));
    for (const HistoryAction& action : actions) {
        ASSERT_EQ(database.History().Read(action.number,
                                          [&](const HistoryPart& part, const auto& change) {
                                              changes.push_back(
                                                  JsonOf(part.tables[change.table], change));
                                              return true;
                                          }),
                  HistoryStatus::Ok);
    }
    ASSERT_TRUE(database.Close());

    const json apart = ReadApart(path);
    ASSERT_TRUE(apart.contains("history"));
    const json& parts = apart.at("history").at("parts");
    EXPECT_EQ(apart.at("history").at("next"), 6);
    ASSERT_EQ(parts.size(), 6U);
    json seen = json::array();
    for (const json& part : parts) {
        const auto action = std::find_if(actions.begin(), actions.end(), [&](const auto& each) {
            return each.number == part.at("number");
        });
        ASSERT_NE(action, actions.end());
        EXPECT_EQ(part.at("label"), action->label);
        EXPECT_EQ(part.at("kind"), static_cast<int>(action->kind));
        EXPECT_EQ(part.at("subject"), action->subject);
        EXPECT_EQ(part.at("done"), action->state == ActionState::Done);
        for (const json& change : part.at("changes")) seen.push_back(change);
    }
    EXPECT_EQ(seen, changes);
}

}  // namespace
}  // namespace quillon
