#include "cli/commands/ImportPlanView.h"

#include <algorithm>
#include <string>

#include "cli/terminal/TablePrinter.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "wording/ImportPlanWords.h"

namespace quillon {

namespace {

constexpr size_t kMostRows = 200;  // nobody reads more of them in a terminal

CTablePrinter PlanTable() {
    using Align = CTablePrinter::Align;
    using Fit = CTablePrinter::Fit;
    CTablePrinter table;
    table.AddColumn("Line", Align::Right);
    table.AddColumn("Date");
    table.AddColumn("Amount", Align::Right);
    table.AddColumn("Payee", Align::Left, Fit::Yield);
    table.AddColumn("Category", Align::Left, Fit::Yield);
    table.AddColumn("Would");
    table.AddColumn("Memo", Align::Left, Fit::Drop);
    return table;
}

}  // namespace

void PrintPlan(CCommandContext& context, const CImportPlan& plan) {
    const size_t count = plan.RowCount();
    if (count == 0) return;
    CTablePrinter table = PlanTable();
    for (size_t index = 0; index < std::min(count, kMostRows); ++index) {
        const ImportPlanRow row = plan.Row(index);
        table.AddRow({std::to_string(row.line), FormatIsoDate(row.date), FormatCurrency(row.amount),
                      std::string(row.payee), std::string(row.category), PlanActionText(row),
                      std::string(row.memo)});
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
    if (count > kMostRows) {
        context.Say("and " + std::to_string(count - kMostRows) + " more; --json lists all.");
    }
    context.Say("");
}

Json PlanRowsJson(const CImportPlan& plan) {
    Json rows = Json::array();
    plan.ForEachRow([&rows](const ImportPlanRow& row) {
        rows.push_back({{"line", row.line},
                        {"date", row.dateRead ? Json(FormatIsoDate(row.date)) : Json()},
                        {"amount", row.amount},
                        {"payeeInFile", std::string(row.payeeInFile)},
                        {"payee", std::string(row.payee)},
                        {"category", std::string(row.category)},
                        {"check", row.check},
                        {"memo", std::string(row.memo)},
                        {"fitId", std::to_string(row.fitId)},
                        {"outcome", NameOf(row.outcome)},
                        {"action", NameOf(row.action)},
                        {"match", row.match}});
    });
    return rows;
}

}  // namespace quillon
