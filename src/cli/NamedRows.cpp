#include "cli/NamedRows.h"

#include "cli/DatabaseMessages.h"
#include "cli/terminal/Values.h"

namespace quillon {

namespace {

std::string CellOf(const Json& value) {
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    return value.is_string() ? value.get<std::string>() : value.dump();
}

struct PayeeUses {
    COwnedList<CTransactionEntry> transactions;
    COwnedList<CMemorizedTransactionEntry> memorized;

    PayeeUses(CQuillonDatabaseInterface& database, int64_t payeeId) {
        RequireStored(database.ListTransactionsByPayee(payeeId, transactions) &&
                          database.ListMemorizedTransactionsByPayee(payeeId, memorized),
                      database);
    }
};

}  // namespace

void PrintRows(CCommandContext& context, const Json& rows, const std::string& line) {
    if (context.WantsJson()) {
        context.Print(rows);
    } else {
        context.Say(Printable(line));
    }
}

void PrintRowTable(CCommandContext& context, const Json& rows,
                   const std::vector<RowColumn>& columns, const std::string& one,
                   const std::string& many) {
    if (context.WantsJson()) {
        context.Print(rows);
        return;
    }
    if (rows.empty()) {
        context.Say("There are no " + many + ".");
        return;
    }
    CTablePrinter table;
    for (const RowColumn& column : columns) table.AddColumn(column.heading, column.align);
    for (const Json& row : rows) {
        std::vector<std::string> cells;
        cells.reserve(columns.size());
        for (const RowColumn& column : columns) cells.push_back(CellOf(row.at(column.key)));
        table.AddRow(std::move(cells));
    }
    table.Print(context.Host().out, 0);
    context.Say("");
    context.Say(Counted(static_cast<int64_t>(rows.size()), one, many));
}

int64_t CountCategoryUses(CQuillonDatabaseInterface& database, int64_t categoryId) {
    COwnedList<CTransactionEntry> transactions;
    COwnedList<CMemorizedTransactionEntry> memorized;
    COwnedList<CBudgetItem> budget;
    RequireStored(database.ListTransactionsByCategory(categoryId, transactions) &&
                      database.ListMemorizedTransactions(memorized) &&
                      database.ListBudgetItemsByCategory(categoryId, budget),
                  database);
    int64_t uses = int64_t{transactions.Count()} + budget.Count();
    for (const CMemorizedTransactionEntry& row : memorized) uses += row.categoryId == categoryId;
    return uses;
}

int64_t CountPayeeUses(CQuillonDatabaseInterface& database, int64_t payeeId) {
    const PayeeUses uses(database, payeeId);
    return int64_t{uses.transactions.Count()} + uses.memorized.Count();
}

void MovePayeeUses(CQuillonDatabaseInterface& database, int64_t from, int64_t to) {
    PayeeUses uses(database, from);
    for (const CTransactionEntry& row : uses.transactions) {
        RequireStored(database.UpdateTransactionPayee(row.id, to), database);
    }
    for (CMemorizedTransactionEntry& row : uses.memorized) {
        row.payeeId = to;
        RequireStored(database.UpdateMemorizedTransaction(row), database);
    }
}

}  // namespace quillon
