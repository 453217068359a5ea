#include "finance/Ledger.h"

#include <cmath>
#include <new>
#include <utility>

#include "finance/Balance.h"

namespace quillon {

namespace {

// The type of an opening balance below zero.
TransactionType OutgoingType(AccountType account) {
    if (account == AccountType::Credit) return TransactionType::Charge;
    if (account == AccountType::Loan) return TransactionType::Principal;
    return TransactionType::Withdrawal;
}

TransactionType IncomingType(AccountType account) {
    return IsDebtAccount(account) ? TransactionType::Payment : TransactionType::Deposit;
}

}  // namespace

LedgerStatus CLedger::CheckAmount(double amount) const {
    // Written so that a NaN fails too.
    return amount >= 0.0 && amount <= kLargestAmount ? LedgerStatus::Ok : LedgerStatus::BadAmount;
}

LedgerStatus CLedger::ReadAccount(int64_t accountId, CAccountEntry& account) {
    if (m_database.ReadAccount(accountId, account)) return LedgerStatus::Ok;
    return m_database.IsOpen() && m_database.FoundNone() ? LedgerStatus::NoSuchAccount
                                                         : LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::ReadTransaction(int64_t transactionId, CTransactionEntry& transaction) {
    if (m_database.ReadTransaction(transactionId, transaction)) return LedgerStatus::Ok;
    return m_database.FoundNone() ? LedgerStatus::NoSuchTransaction : LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::NoteEffect(const CTransactionEntry& transaction, double sign,
                                 Effects& effects) {
    CAccountEntry account;
    const LedgerStatus status = ReadAccount(transaction.accountId, account);
    if (status != LedgerStatus::Ok) return status;
    effects[account.id] +=
        sign * BalanceEffect(transaction.transactionType, transaction.amount, account.accountType);
    return LedgerStatus::Ok;
}

LedgerStatus CLedger::ApplyEffects(const Effects& effects) {
    for (const auto& [accountId, effect] : effects) {
        CAccountEntry account;
        const LedgerStatus status = ReadAccount(accountId, account);
        if (status != LedgerStatus::Ok) return status;
        const double balance = SettledSum(account.currentBalance + effect);
        if (balance != account.currentBalance &&
            !m_database.UpdateAccountBalance(accountId, balance)) {
            return LedgerStatus::StoreFailed;
        }
    }
    return LedgerStatus::Ok;
}

LedgerStatus CLedger::OpenAccount(CAccountEntry& account, double openingBalance, int64_t date) try {
    const double magnitude = std::fabs(openingBalance);
    if (CheckAmount(magnitude) != LedgerStatus::Ok) return LedgerStatus::BadAmount;
    if (account.name.IsEmpty()) return LedgerStatus::NameMissing;
    CAccountEntry holder;
    if (m_database.FindAccountByName(account.name.ToUtf8(), holder)) return LedgerStatus::NameTaken;
    if (!m_database.FoundNone()) return LedgerStatus::StoreFailed;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    CAccountEntry opened(account);
    opened.currentBalance = SettledSum(openingBalance);
    if (!m_database.AddAccount(opened)) return LedgerStatus::StoreFailed;
    if (magnitude != 0.0) {
        CTransactionEntry opening;
        opening.accountId = opened.id;
        opening.serviceDate = date;
        opening.transactionType = openingBalance < 0 ? OutgoingType(opened.accountType)
                                                     : IncomingType(opened.accountType);
        opening.categoryId = m_database.FindOrAddCategory(kAdjustmentCategory);
        opening.amount = magnitude;
        opening.memo = "Opening balance";
        if (opening.categoryId == kNoRow || !m_database.AddTransaction(opening)) {
            return LedgerStatus::StoreFailed;
        }
    }
    if (!batch.Commit()) return LedgerStatus::StoreFailed;
    account = std::move(opened);
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::EnterTransaction(CTransactionEntry& transaction) try {
    if (CheckAmount(transaction.amount) != LedgerStatus::Ok) return LedgerStatus::BadAmount;
    CAccountEntry account;
    LedgerStatus status = ReadAccount(transaction.accountId, account);
    if (status != LedgerStatus::Ok) return status;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    CTransactionEntry entered(transaction);
    if (!m_database.AddTransaction(entered)) return LedgerStatus::StoreFailed;
    Effects effects;
    effects[account.id] =
        BalanceEffect(entered.transactionType, entered.amount, account.accountType);
    status = ApplyEffects(effects);
    if (status != LedgerStatus::Ok) return status;
    if (entered.check > account.latestCheckNumber &&
        !m_database.UpdateAccountLatestCheckNumber(account.id, entered.check)) {
        return LedgerStatus::StoreFailed;
    }
    if (!batch.Commit()) return LedgerStatus::StoreFailed;
    transaction.id = entered.id;
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::ChangeRow(const CTransactionEntry& old, const CTransactionEntry& changed,
                                Effects& effects) {
    const LedgerStatus status = NoteEffect(changed, 1.0, effects);
    if (status != LedgerStatus::Ok) return status;
    // A row whose account is gone has no effect to take back.
    const LedgerStatus before = NoteEffect(old, -1.0, effects);
    if (before == LedgerStatus::StoreFailed) return before;
    return m_database.UpdateTransaction(changed) ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::ChangeTransaction(const CTransactionEntry& changed, TransferSides sides) try {
    if (CheckAmount(changed.amount) != LedgerStatus::Ok) return LedgerStatus::BadAmount;
    CTransactionEntry old;
    LedgerStatus status = ReadTransaction(changed.id, old);
    if (status != LedgerStatus::Ok) return status;
    CAccountEntry account;
    status = ReadAccount(changed.accountId, account);
    if (status != LedgerStatus::Ok) return status;
    CTransactionEntry other;
    bool both = false;
    if (sides == TransferSides::Both) status = FindOtherSide(old, other, both);
    if (status != LedgerStatus::Ok) return status;
    if (both && other.accountId == changed.accountId) return LedgerStatus::SameAccount;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    Effects effects;
    status = ChangeRow(old, changed, effects);
    if (status == LedgerStatus::Ok && both) {
        CTransactionEntry changedOther(other);
        changedOther.serviceDate = changed.serviceDate;
        changedOther.amount = changed.amount;
        changedOther.memo = changed.memo;
        status = ChangeRow(other, changedOther, effects);
    }
    if (status == LedgerStatus::Ok) status = ApplyEffects(effects);
    if (status == LedgerStatus::Ok && !batch.Commit()) status = LedgerStatus::StoreFailed;
    return status;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RemoveTransaction(int64_t transactionId, TransferSides sides) try {
    std::vector<CTransactionEntry> rows(1);
    LedgerStatus status = ReadTransaction(transactionId, rows[0]);
    CTransactionEntry other;
    bool both = false;
    if (status == LedgerStatus::Ok && sides == TransferSides::Both) {
        status = FindOtherSide(rows[0], other, both);
    }
    if (status != LedgerStatus::Ok) return status;
    if (both) rows.push_back(other);

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    Effects effects;
    for (const CTransactionEntry& row : rows) {
        if (NoteEffect(row, -1.0, effects) == LedgerStatus::StoreFailed ||
            !m_database.DeleteTransaction(row.id)) {
            return LedgerStatus::StoreFailed;
        }
    }
    status = ApplyEffects(effects);
    if (status != LedgerStatus::Ok) return status;
    return batch.Commit() ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

bool CLedger::VerifyBalances(std::vector<BalanceMismatch>& mismatches) try {
    mismatches.clear();
    COwnedList<CAccountEntry> accounts;
    if (!m_database.ListAccounts(accounts)) return false;
    struct Sum {
        AccountType type;
        CMoneySum money;
    };
    std::map<int64_t, Sum> sums;
    for (const CAccountEntry& account : accounts) sums[account.id].type = account.accountType;
    const bool walked = m_database.WalkTransactionAmounts(
        [&](int64_t accountId, TransactionType type, double amount) {
            const auto sum = sums.find(accountId);
            if (sum == sums.end()) return;
            sum->second.money.Add(BalanceEffect(type, amount, sum->second.type));
        });
    if (!walked) return false;
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
    if (!VerifyBalances(repaired)) return false;
    if (repaired.empty()) return true;
    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return false;
    for (const BalanceMismatch& mismatch : repaired) {
        if (!m_database.UpdateAccountBalance(mismatch.accountId, mismatch.computed)) return false;
    }
    return batch.Commit();
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace quillon
