// Accounts: opening and changing them, and whether their balances are right.

#include <cmath>
#include <new>
#include <utility>

#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"

namespace quillon {

namespace {

// The type of an opening balance below zero.
TransactionType OutgoingType(AccountType account) {
    return IsDebtAccount(account) ? TypeForSignedAmount(-1.0, account)
                                  : TransactionType::Withdrawal;
}

}  // namespace

LedgerStatus CLedger::CheckAccountName(const CKeelString& name, int64_t ownId) {
    if (name.IsEmpty()) return LedgerStatus::NameMissing;
    CAccountEntry holder;
    const CLookup held = m_database.FindAccountByName(name.ToUtf8(), holder);
    if (held.HasFailed()) return LedgerStatus::StoreFailed;
    return held && holder.id != ownId ? LedgerStatus::NameTaken : LedgerStatus::Ok;
}

LedgerStatus CLedger::OpenAccount(CAccountEntry& account, double openingBalance, int64_t date) try {
    const double magnitude = std::fabs(openingBalance);
    const CFinanceSection section(m_database);
    LedgerStatus status = CheckAmount(magnitude);
    if (status == LedgerStatus::Ok) status = CheckAccountName(account.name, kNoRow);
    if (status != LedgerStatus::Ok) return status;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    CAccountEntry opened(account);
    opened.currentBalance = RoundToCents(openingBalance);
    if (!m_database.Add(opened)) return LedgerStatus::StoreFailed;
    if (magnitude != 0.0) {
        CTransactionEntry opening;
        opening.accountId = opened.id;
        opening.serviceDate = date;
        opening.transactionType = openingBalance < 0 ? OutgoingType(opened.accountType)
                                                     : TypeForSignedAmount(1.0, opened.accountType);
        opening.categoryId = m_database.FindOrAddCategory(kAdjustmentCategory);
        opening.amount = RoundToCents(magnitude);
        opening.memo = "Opening balance";
        if (opening.categoryId == kNoRow || !m_database.Add(opening)) {
            return LedgerStatus::StoreFailed;
        }
    }
    if (!batch.Commit()) return LedgerStatus::StoreFailed;
    account = std::move(opened);
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::ChangeAccount(const CAccountEntry& account) try {
    const CFinanceSection section(m_database);
    CAccountEntry old;
    LedgerStatus status = ReadAccount(account.id, old);
    if (status == LedgerStatus::Ok) status = CheckAccountName(account.name, account.id);
    if (status != LedgerStatus::Ok) return status;
    CAccountEntry changed(account);
    changed.currentBalance = old.currentBalance;
    if (changed.accountType != old.accountType) {
        EffectSums sums;
        sums[changed.id].type = changed.accountType;
        if (!SumEffects(sums)) return LedgerStatus::StoreFailed;
        changed.currentBalance = sums[changed.id].money.Value();
    }
    return m_database.Update(changed) ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::SetAccountOpen(int64_t accountId, bool open) {
    const CFinanceSection section(m_database);
    CAccountEntry account;
    const LedgerStatus status = ReadAccount(accountId, account);
    if (status != LedgerStatus::Ok) return status;
    if (account.active == open) return LedgerStatus::AccountSo;
    return m_database.SetAccountActive(accountId, open) ? LedgerStatus::Ok
                                                        : LedgerStatus::StoreFailed;
}

bool CLedger::SumEffects(EffectSums& sums) {
    return m_database.WalkTransactionAmounts(
        [&](int64_t accountId, TransactionType type, double amount) {
            const auto sum = sums.find(accountId);
            if (sum == sums.end()) return;
            sum->second.money.Add(BalanceEffect(type, amount, sum->second.type));
        });
}

bool CLedger::VerifyBalances(std::vector<BalanceMismatch>& mismatches) try {
    mismatches.clear();
    const CFinanceSection section(m_database);
    COwnedList<CAccountEntry> accounts;
    if (!m_database.List(accounts)) return false;
    EffectSums sums;
    for (const CAccountEntry& account : accounts) sums[account.id].type = account.accountType;
    if (!SumEffects(sums)) return false;
    for (const CAccountEntry& account : accounts) {
        const double computed = sums[account.id].money.Value();
        if (std::fabs(account.currentBalance - computed) < kHalfCent) continue;
        mismatches.push_back({account.id, account.name, account.currentBalance, computed});
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CLedger::RepairBalances(std::vector<BalanceMismatch>& repaired) try {
    CFinanceBatch batch(m_database);
    if (!batch.Begun() || !VerifyBalances(repaired)) return false;
    for (const BalanceMismatch& mismatch : repaired) {
        if (!m_database.UpdateAccountBalance(mismatch.accountId, mismatch.computed)) return false;
    }
    return batch.Commit();
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace quillon
