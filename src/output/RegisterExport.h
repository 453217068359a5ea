#pragma once

#include <string>
#include <vector>

#include "finance/ledger/AccountRegister.h"
#include "finance/names/NameTables.h"

namespace quillon {

// A register as text for other programs.

// RFC 4180 with a heading, UTF-8. Amounts carry the sign of their effect and have no
// thousands separators; the last columns are the running balance, the statement
// identifier and the memo.
std::string RegisterCsv(const std::vector<RegisterLine>& lines, const CNameTables& names);

// QIF that the importers here read back as the same register, under the plain rules as
// under an inferred dialect: dates as month/day'year with two digits. Years outside 1951
// to 2050 have no such form; a register that reaches beyond writes all years with four
// digits, which only the inferred dialect reads. The format holds no statement
// identifiers, and the plain rules leave memos out.
std::string RegisterQif(const std::vector<RegisterLine>& lines, const CNameTables& names,
                        AccountType type);

}  // namespace quillon
