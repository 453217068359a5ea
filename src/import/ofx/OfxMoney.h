#pragma once

#include <string>
#include <string_view>

#include "import/ofx/OfxStatements.h"
#include "import/plan/ImportNotes.h"

namespace quillon {

// Currency and direction of a statement line's amount, by the inferred dialect. Texts let
// std::bad_alloc pass; nothing else fails.

// The line's type in capitals, what is no type cut.
std::string TypeOf(const OfxLine& line);
// What the amount as written is multiplied by to be in the statement's currency.
double RateOf(const OfxLine& line, std::string_view statementCurrency);
// Notes what became of an amount that is not entered as it is written, or that the rest of
// the line contradicts. `written` is in the statement's currency, `entered` in cents.
void NoteMoney(const OfxLine& line, const ImportSource& source, double written, double entered,
               CImportNotes& notes);

}  // namespace quillon
