#include "finance/ledger/AccountRegister.h"

#include <new>
#include <utility>

#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

RegisterLine LineAfter(double balance, CTransactionEntry row, AccountType account) {
    const double effect = BalanceEffect(row.transactionType, row.amount, account);
    return {std::move(row), effect == 0.0 ? 0.0 : effect, SettledSum(balance + effect)};
}

void AppendLines(COwnedList<CTransactionEntry>& rows, double balance, AccountType account,
                 std::vector<RegisterLine>& lines) {
    lines.reserve(rows.Size());
    for (CTransactionEntry& row : rows) {
        lines.push_back(LineAfter(balance, std::move(row), account));
        balance = lines.back().balance;
    }
}

}  // namespace

bool ReadRegister(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                  std::vector<RegisterLine>& lines) try {
    lines.clear();
    COwnedList<CTransactionEntry> rows;
    if (!database.ListTransactionsByAccount(account.id, rows)) return false;
    AppendLines(rows, 0.0, account.accountType, lines);
    return true;
} catch (const std::bad_alloc&) {
    lines.clear();
    return false;
}

bool ReadRegister(CQuillonDatabaseInterface& database, const CAccountEntry& account, int64_t from,
                  int64_t to, std::vector<RegisterLine>& lines) try {
    lines.clear();
    COwnedList<CTransactionEntry> rows;
    double balance = 0.0;
    if (!database.ReadBalanceBefore(account, from, kNoRow, balance) ||
        !database.ListTransactions(account.id, from, to, rows)) {
        return false;
    }
    AppendLines(rows, balance, account.accountType, lines);
    return true;
} catch (const std::bad_alloc&) {
    lines.clear();
    return false;
}

bool ReadRegisterLine(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                      const CTransactionEntry& row, RegisterLine& line) try {
    double balance = 0.0;
    if (!database.ReadBalanceBefore(account, row.serviceDate, row.id, balance)) return false;
    line = LineAfter(balance, row, account.accountType);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace quillon
