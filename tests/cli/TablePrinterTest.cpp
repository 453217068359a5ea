#include "cli/terminal/TablePrinter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quillon {
namespace {

TEST(TablePrinter, WidthIsWhatATerminalShows) {
    const struct {
        const char* text;
        size_t width;
    } rows[] = {{"", 0},     {"abc", 3},        {"é", 1}, {"e\u0301", 1},
                {"日本", 4}, {"\u200Bzero", 4}, {"👛", 2}, {"\xFF", 1}};
    for (const auto& row : rows) EXPECT_EQ(DisplayWidth(row.text), row.width) << row.text;
}

std::string Printed(const CTablePrinter& table, size_t columns) {
    std::ostringstream out;
    table.Print(out, columns);
    return out.str();
}

TEST(TablePrinter, AlignsCutsAndCleans) {
    CTablePrinter table;
    table.AddColumn("Payee", CTablePrinter::Align::Left, CTablePrinter::Fit::Yield);
    table.AddColumn("Unused");
    table.AddColumn("Amount", CTablePrinter::Align::Right);
    table.AddRow({"Café Mühlbach und Söhne", "", "-1,234.50"});
    // A bank's text must not steer the terminal.
    table.AddRow({"a\x1B[31m\tb", "", "7.00"});
    EXPECT_EQ(Printed(table, 0),
              "Payee                       Amount\n"
              "-----------------------  ---------\n"
              "Café Mühlbach und Söhne  -1,234.50\n"
              "a [31m b                      7.00\n");
    EXPECT_EQ(Printed(table, 24),
              "Payee             Amount\n"
              "-------------  ---------\n"
              "Café Mühlbac…  -1,234.50\n"
              "a [31m b            7.00\n");
}

TEST(TablePrinter, NarrowTerminalsLoseWholeColumnsFirst) {
    CTablePrinter table;
    table.AddColumn("Type", CTablePrinter::Align::Left, CTablePrinter::Fit::Drop);
    table.AddColumn("Payee", CTablePrinter::Align::Left, CTablePrinter::Fit::Yield);
    table.AddColumn("Memo", CTablePrinter::Align::Left, CTablePrinter::Fit::Drop);
    table.AddRow({"Payment", "Harborview Medical Group", "Payroll for March"});
    const struct {
        size_t columns;
        const char* lastLine;
    } rows[] = {
        {52, "Payment  Harborview Medical Group  Payroll for March"},
        {44, "Payment  Harborview Medi…  Payroll for March"},
        {30, "Payment  Harborview Medical G…"},
        {24, "Harborview Medical Group"},
        {16, "Harborview Medi…"},
        {3, "Harborv…"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.columns);
        const std::string text = Printed(table, row.columns);
        EXPECT_EQ(text.substr(text.rfind('\n', text.size() - 2) + 1),
                  std::string(row.lastLine) + "\n");
    }
}

}  // namespace
}  // namespace quillon
