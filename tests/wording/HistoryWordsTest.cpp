#include "wording/HistoryWords.h"

#include <gtest/gtest.h>

#include "finance/schema/FinanceSchema.h"

namespace quillon {
namespace {

HistoryAction Action(ActionKind kind, const char* label, std::vector<ActionTable> tables) {
    HistoryAction action;
    action.kind = kind;
    action.label = label;
    action.subject = 7;
    action.tables = std::move(tables);
    return action;
}

TEST(HistoryWords, SayWhatWasDone) {
    const ActionTable entered{kTransactionTable, 38, 0, 0};
    const ActionTable account{kAccountTable, 0, 1, 0};
    const struct {
        HistoryAction action;
        const char* label;
    } cases[] = {
        {Action(ActionKind::Change, "Enter transaction", {entered}), "Enter transaction"},
        {Action(ActionKind::Import, "visa.qfx", {account, entered}),
         "Import visa.qfx, 38 transactions"},
        {Action(ActionKind::Import, "visa.qfx", {{kTransactionTable, 1, 2, 0}}),
         "Import visa.qfx, 1 transaction, 2 matched"},
        {Action(ActionKind::ImportUndone, "visa.qfx", {{kTransactionTable, 0, 0, 38}, account}),
         "Take back import 7 (visa.qfx), 38 transactions"},
        // What follows from the transactions is not what it was about.
        {Action(ActionKind::Change, "", {account, {kTransactionTable, 0, 0, 1}}),
         "Delete 1 transaction"},
        {Action(ActionKind::Change, "", {{kRenamingRulesTable, 0, 2, 0}}),
         "Change 2 renaming rules"},
        {Action(ActionKind::Change, "", {{"Unknown", 1, 0, 0}}), "Change"},
    };
    for (const auto& each : cases) EXPECT_EQ(ActionLabel(each.action), each.label);
}

TEST(HistoryWords, SayWhyNot) {
    HistoryOutcome outcome;
    outcome.status = HistoryStatus::RowDiffers;
    outcome.table = kTransactionTable;
    outcome.row = 12;
    EXPECT_EQ(HistoryMessage(outcome, HistoryQuestion::Undo, Medium::Window),
              "It cannot be undone: transaction 12 is no longer what this action left. Nothing "
              "was changed; change it by hand.");
    outcome.status = HistoryStatus::Nothing;
    EXPECT_EQ(HistoryMessage(outcome, HistoryQuestion::Redo, Medium::Terminal),
              "There is nothing to do again.");
    outcome.status = HistoryStatus::NoSuchAction;
    EXPECT_EQ(HistoryMessage(outcome, HistoryQuestion::Look, Medium::Terminal),
              "The history holds no such action; 'history list' shows what was done.");
}

}  // namespace
}  // namespace quillon
