#pragma once

#include <string>

#include "import/csv/CsvRoles.h"

namespace quillon {

// Sets whether amounts that are written positive go out, and the direction of the balances:
// by what was asked for, else by what the balances prove, else, in a card's file, by words
// and the account's type. Notes it where anything but the plain reading was chosen, and
// where nothing tells. std::bad_alloc passes through.
void DecideSigns(const CCsvSample& sample, const CCsvRoles& roles, const CsvRequest& request,
                 bool isCreditAccount, CsvShape& shape, CImportNotes& notes);

// In capitals, by the shape's column or else as it stands with the amount; empty: neither.
std::string CurrencyOfRow(const CsvRow& row, const CsvShape& shape);

}  // namespace quillon
