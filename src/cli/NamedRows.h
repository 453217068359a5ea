#pragma once

#include <string>
#include <vector>

#include "cli/CommandContext.h"
#include "cli/terminal/TablePrinter.h"

namespace quillon {

// What the commands of categories, payees and rules have in common: the result of each is
// the rows concerned, an array in JSON.

// "Added 'Food'." and the like for people.
void PrintRows(CCommandContext& context, const Json& rows, const std::string& line);

// A table of the JSON rows' members.
struct RowColumn {
    const char* heading;
    const char* key;
    CTablePrinter::Align align = CTablePrinter::Align::Left;
};
void PrintRowTable(CCommandContext& context, const Json& rows,
                   const std::vector<RowColumn>& columns, const std::string& one,
                   const std::string& many);

}  // namespace quillon
