#include "wording/HistoryWords.h"

#include <algorithm>
#include <iterator>

#include "finance/schema/FinanceSchema.h"

namespace quillon {

namespace {

struct TableWords {
    const char* table;
    const char* one;
    const char* many;
};

// Those that an action is about before those that only follow from it.
constexpr TableWords kTables[] = {
    {kTransactionTable, "transaction", "transactions"},
    {kMemorizedTransactionTable, "memorized transaction", "memorized transactions"},
    {kRenamingRulesTable, "renaming rule", "renaming rules"},
    {kBudgetItemTable, "budget item", "budget items"},
    {kCheckFormatTable, "check layout", "check layouts"},
    {kStockOpenPositionsTable, "open position", "open positions"},
    {kStockClosedPositionsTable, "closed position", "closed positions"},
    {kStockWatchListTable, "watched stock", "watched stocks"},
    {kStockSectorsTable, "sector", "sectors"},
    {kStockCoreAccountTable, "core account", "core accounts"},
    {kStockInvestmentAmountTable, "invested amount", "invested amounts"},
    {kAccountTable, "account", "accounts"},
    {kCategoryTable, "category", "categories"},
    {kPayeeTable, "payee", "payees"},
};

int64_t CountOf(const HistoryAction& action, const char* table, int64_t ActionTable::*count) {
    int64_t sum = 0;
    for (const ActionTable& each : action.tables) sum += each.table == table ? each.*count : 0;
    return sum;
}

// Of an action that nobody named.
std::string LabelByRows(const HistoryAction& action) {
    struct Verb {
        int64_t ActionTable::*count;
        const char* text;
    };
    constexpr Verb kVerbs[] = {{&ActionTable::added, "Add "},
                               {&ActionTable::deleted, "Delete "},
                               {&ActionTable::changed, "Change "}};
    for (const TableWords& words : kTables) {
        for (const Verb& verb : kVerbs) {
            const int64_t count = CountOf(action, words.table, verb.count);
            if (count > 0) return verb.text + Counted(count, words.one, words.many);
        }
    }
    return "Change";
}

std::string RowText(const HistoryOutcome& outcome) {
    const auto words =
        std::find_if(std::begin(kTables), std::end(kTables),
                     [&](const TableWords& each) { return outcome.table == each.table; });
    return std::string(words == std::end(kTables) ? "row" : words->one) + ' ' +
           std::to_string(outcome.row);
}

}  // namespace

std::string ActionLabel(const HistoryAction& action) {
    if (action.kind == ActionKind::Import) {
        const int64_t entered = CountOf(action, kTransactionTable, &ActionTable::added);
        const int64_t met = CountOf(action, kTransactionTable, &ActionTable::changed);
        return "Import " + action.label + ", " + Counted(entered, "transaction", "transactions") +
               (met > 0 ? ", " + std::to_string(met) + " matched" : "");
    }
    if (action.kind == ActionKind::ImportUndone) {
        const int64_t gone = CountOf(action, kTransactionTable, &ActionTable::deleted);
        return "Take back import " + std::to_string(action.subject) + " (" + action.label + "), " +
               Counted(gone, "transaction", "transactions");
    }
    return action.label.empty() ? LabelByRows(action) : action.label;
}

std::string HistoryMessage(const HistoryOutcome& outcome, HistoryQuestion question, Medium medium) {
    const std::string list = For(medium, "; 'history list' shows what was done.", ".");
    switch (outcome.status) {
        case HistoryStatus::Ok:
        case HistoryStatus::StoreFailed:
            return {};
        case HistoryStatus::Nothing:
            return question == HistoryQuestion::Redo ? "There is nothing to do again."
                                                     : "There is nothing to undo.";
        case HistoryStatus::NoSuchAction:
            return "The history holds no such action" + list;
        case HistoryStatus::NotDone:
            return std::string("It was undone already; ") +
                   For(medium, "'redo' brings it back.", "redo brings it back.");
        case HistoryStatus::RowDiffers:
            return std::string(question == HistoryQuestion::Redo ? "It cannot be done again: "
                                                                 : "It cannot be undone: ") +
                   RowText(outcome) +
                   " is no longer what this action left. Nothing was changed; change it by hand.";
        case HistoryStatus::Damaged:
            return std::string(
                       "The history is damaged there and cannot be read; the ledger "
                       "itself is not concerned") +
                   For(medium, ". Run 'verify'.", ".");
    }
    return {};
}

}  // namespace quillon
