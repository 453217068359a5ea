// Transactions, and the balances that follow them.

#include "finance/ledger/Ledger.h"

#include <algorithm>
#include <new>
#include <vector>

#include "finance/ledger/Balance.h"

namespace quillon {

LedgerStatus CLedger::CheckMagnitude(double amount) {
    // Written so that a NaN fails too.
    return amount >= 0.0 && amount <= kLargestAmount ? LedgerStatus::Ok : LedgerStatus::BadAmount;
}

LedgerStatus CLedger::CheckAmount(double amount) {
    const LedgerStatus status = CheckMagnitude(amount);
    if (status != LedgerStatus::Ok) return status;
    return HasWholeCents(amount) ? LedgerStatus::Ok : LedgerStatus::FractionOfCent;
}

LedgerStatus CLedger::ReadAccount(int64_t accountId, CAccountEntry& account) {
    if (!m_database.IsOpen()) return LedgerStatus::StoreFailed;
    const CLookup read = m_database.Read(accountId, account);
    if (read.HasFailed()) return LedgerStatus::StoreFailed;
    return read ? LedgerStatus::Ok : LedgerStatus::NoSuchAccount;
}

LedgerStatus CLedger::ReadTransaction(int64_t transactionId, CTransactionEntry& transaction) {
    const CLookup read = m_database.Read(transactionId, transaction);
    if (read.HasFailed()) return LedgerStatus::StoreFailed;
    return read ? LedgerStatus::Ok : LedgerStatus::NoSuchTransaction;
}

LedgerStatus CLedger::Touch(int64_t accountId, Effects& effects, Touched*& touched) {
    const auto [place, isNew] = effects.try_emplace(accountId);
    touched = &place->second;
    if (!isNew) return LedgerStatus::Ok;
    const LedgerStatus status = ReadAccount(accountId, touched->account);
    if (status != LedgerStatus::Ok) effects.erase(place);
    return status;
}

LedgerStatus CLedger::NoteGone(const CTransactionEntry& row, Effects& effects) {
    Touched* touched = nullptr;
    const LedgerStatus status = Touch(row.accountId, effects, touched);
    // A row whose account is gone has no effect to take back.
    if (status == LedgerStatus::NoSuchAccount) return LedgerStatus::Ok;
    if (status != LedgerStatus::Ok) return status;
    touched->effect -= BalanceEffect(row.transactionType, row.amount, touched->account.accountType);
    return LedgerStatus::Ok;
}

LedgerStatus CLedger::NoteEntered(const CTransactionEntry& row, Effects& effects) {
    Touched* touched = nullptr;
    const LedgerStatus status = Touch(row.accountId, effects, touched);
    if (status != LedgerStatus::Ok) return status;
    touched->effect += BalanceEffect(row.transactionType, row.amount, touched->account.accountType);
    touched->check = std::max(touched->check, row.check);
    return LedgerStatus::Ok;
}

LedgerStatus CLedger::ApplyEffects(const Effects& effects) {
    for (const auto& [accountId, touched] : effects) {
        const CAccountEntry& account = touched.account;
        const double balance = SettledSum(account.currentBalance + touched.effect);
        if (balance != account.currentBalance &&
            !m_database.UpdateAccountBalance(accountId, balance)) {
            return LedgerStatus::StoreFailed;
        }
        if (touched.check > account.latestCheckNumber &&
            !m_database.UpdateAccountLatestCheckNumber(accountId, touched.check)) {
            return LedgerStatus::StoreFailed;
        }
    }
    return LedgerStatus::Ok;
}

LedgerStatus CLedger::EnterTransaction(CTransactionEntry& transaction) try {
    const CFinanceSection section(m_database);
    CTransactionEntry entered(transaction);
    entered.amount = RoundToCents(entered.amount);
    Effects effects;
    LedgerStatus status = CheckAmount(transaction.amount);
    if (status == LedgerStatus::Ok) status = NoteEntered(entered, effects);
    if (status != LedgerStatus::Ok) return status;
    if (!effects.begin()->second.account.active) return LedgerStatus::AccountClosed;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    if (!m_database.Add(entered)) return LedgerStatus::StoreFailed;
    status = ApplyEffects(effects);
    if (status != LedgerStatus::Ok) return status;
    if (!batch.Commit()) return LedgerStatus::StoreFailed;
    transaction.id = entered.id;
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::ChangeRow(const CTransactionEntry& old, const CTransactionEntry& changed,
                                Effects& effects) {
    LedgerStatus status = NoteEntered(changed, effects);
    if (status == LedgerStatus::Ok) status = NoteGone(old, effects);
    if (status != LedgerStatus::Ok) return status;
    return m_database.Update(changed) ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::CheckChange(const CTransactionEntry& old, CTransactionEntry& changed,
                                  EffectOnMove effect, Effects& effects) {
    if (changed.amount != old.amount) {
        const LedgerStatus status = CheckAmount(changed.amount);
        if (status != LedgerStatus::Ok) return status;
        changed.amount = RoundToCents(changed.amount);
    }
    Touched* to = nullptr;
    LedgerStatus status = Touch(changed.accountId, effects, to);
    if (status != LedgerStatus::Ok) return status;
    if (changed.accountId == old.accountId) return LedgerStatus::Ok;
    if (!to->account.active) return LedgerStatus::AccountClosed;
    if (effect == EffectOnMove::AsGiven) return LedgerStatus::Ok;
    Touched* from = nullptr;
    status = Touch(old.accountId, effects, from);
    // Of an account that is gone nobody knows the kind.
    if (status == LedgerStatus::NoSuchAccount) return LedgerStatus::Ok;
    if (status != LedgerStatus::Ok) return status;
    changed.transactionType =
        TypeAfterMove(changed.transactionType, from->account.accountType, to->account.accountType);
    return LedgerStatus::Ok;
}

LedgerStatus CLedger::ChangeTransaction(const CTransactionEntry& wanted, TransferSides sides,
                                        EffectOnMove effect) try {
    const CFinanceSection section(m_database);
    CTransactionEntry old;
    LedgerStatus status = ReadTransaction(wanted.id, old);
    if (status != LedgerStatus::Ok) return status;
    CTransactionEntry changed(wanted);
    Effects effects;
    status = CheckChange(old, changed, effect, effects);
    if (status != LedgerStatus::Ok) return status;
    CTransactionEntry other;
    CTransactionEntry changedOther;
    CLookup both = CLookup::None();
    if (sides == TransferSides::Both) both = FindOtherSide(old, other);
    if (both.HasFailed()) return LedgerStatus::StoreFailed;
    if (both) {
        changedOther = other;
        status = Oppose(changed, changedOther, effects);
        if (status != LedgerStatus::Ok) return status;
    }

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    status = ChangeRow(old, changed, effects);
    if (status == LedgerStatus::Ok && both) status = ChangeRow(other, changedOther, effects);
    if (status == LedgerStatus::Ok) status = ApplyEffects(effects);
    if (status == LedgerStatus::Ok && !batch.Commit()) status = LedgerStatus::StoreFailed;
    return status;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RemoveTransaction(int64_t transactionId, TransferSides sides) try {
    const CFinanceSection section(m_database);
    std::vector<CTransactionEntry> rows(1);
    LedgerStatus status = ReadTransaction(transactionId, rows[0]);
    if (status != LedgerStatus::Ok) return status;
    if (sides == TransferSides::Both) {
        CTransactionEntry other;
        const CLookup both = FindOtherSide(rows[0], other);
        if (both.HasFailed()) return LedgerStatus::StoreFailed;
        if (both) rows.push_back(other);
    }
    return RemoveRows(rows);
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RemoveTransactions(std::span<const int64_t> transactionIds) try {
    const CFinanceSection section(m_database);
    std::vector<CTransactionEntry> rows(transactionIds.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        const LedgerStatus status = ReadTransaction(transactionIds[i], rows[i]);
        if (status != LedgerStatus::Ok) return status;
    }
    return RemoveRows(rows);
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RemoveRows(std::span<const CTransactionEntry> rows) {
    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    Effects effects;
    for (const CTransactionEntry& row : rows) {
        const LedgerStatus status = NoteGone(row, effects);
        if (status != LedgerStatus::Ok) return status;
        if (!m_database.Delete<CTransactionEntry>(row.id)) return LedgerStatus::StoreFailed;
    }
    const LedgerStatus status = ApplyEffects(effects);
    if (status != LedgerStatus::Ok) return status;
    return batch.Commit() ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
}

}  // namespace quillon
