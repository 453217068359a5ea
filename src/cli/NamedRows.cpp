#include "cli/NamedRows.h"

#include "cli/terminal/Values.h"

namespace quillon {

namespace {

std::string CellOf(const Json& value) {
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    return value.is_string() ? value.get<std::string>() : value.dump();
}

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

}  // namespace quillon
