#include "finance/AccountRegister.h"

#include <new>
#include <utility>

#include "finance/Balance.h"

namespace quillon {

bool ReadRegister(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                  std::vector<RegisterLine>& lines) try {
    lines.clear();
    COwnedList<CTransactionEntry> rows;
    if (!database.ListTransactionsByAccount(account.id, rows)) return false;
    lines.reserve(rows.Size());
    double balance = 0.0;
    for (CTransactionEntry& row : rows) {
        const double effect = BalanceEffect(row.transactionType, row.amount, account.accountType);
        balance = SettledSum(balance + effect);
        lines.push_back({std::move(row), effect == 0.0 ? 0.0 : effect, balance});
    }
    return true;
} catch (const std::bad_alloc&) {
    lines.clear();
    return false;
}

}  // namespace quillon
