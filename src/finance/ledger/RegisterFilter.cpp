#include "finance/ledger/RegisterFilter.h"

#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/Unicode.h"

namespace quillon {

bool RegisterFilter::Shows(const RegisterLine& line, const CNameTables& names) const {
    const CTransactionEntry& row = line.row;
    const std::string& payeeName = names.Payee(row.payeeId);
    const std::string& categoryName = names.Category(row.categoryId);
    if (payee && !MatchesWildcard(*payee, payeeName)) return false;
    if (category && !MatchesWildcard(*category, categoryName)) return false;
    if (!contains) return true;
    return ContainsIgnoringCase(payeeName, *contains) ||
           ContainsIgnoringCase(categoryName, *contains) ||
           ContainsIgnoringCase(row.memo.ToUtf8(), *contains) ||
           ContainsIgnoringCase(NumberText(row), *contains) ||
           ContainsIgnoringCase(FormatCurrency(line.effect), *contains);
}

bool RegisterFilter::Read(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                          std::vector<RegisterLine>& lines) const {
    if (!HasDates()) return ReadRegister(database, account, lines);
    return ReadRegister(database, account, from.value_or(kMinimumFileTime),
                        to.value_or(kMaximumFileTime), lines);
}

bool HasWildcard(std::string_view pattern) {
    return pattern.find_first_of("*?") != std::string_view::npos;
}

std::string NumberText(const CTransactionEntry& row) {
    return row.check != 0 ? std::to_string(row.check) : row.electronicPayment.ToUtf8();
}

}  // namespace quillon
