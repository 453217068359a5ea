#include <algorithm>
#include <cmath>
#include <new>

#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"

namespace quillon {

CLedgerImport::~CLedgerImport() {
    Abandon();
}

void CLedgerImport::Abandon() {
    if (m_inBatch) m_ledger.Database().RollbackBatch();
    Leave();
}

void CLedgerImport::Leave() {
    m_inBatch = false;
    m_effects = 0.0;
    m_check = 0;
    m_pending = 0;
    m_pendingMatches = 0;
    m_section.reset();
}

LedgerStatus CLedgerImport::Begin() {
    const LedgerStatus status = OpenBatch();
    m_failed = status != LedgerStatus::Ok;
    return status;
}

LedgerStatus CLedgerImport::OpenBatch() {
    m_section.emplace(m_ledger.Database());
    // Others may have changed it since the last batch.
    LedgerStatus status = m_ledger.ReadAccount(m_accountId, m_account);
    if (status == LedgerStatus::Ok && !m_account.active) status = LedgerStatus::AccountClosed;
    if (status == LedgerStatus::Ok) {
        m_inBatch = m_ledger.Database().BeginBatch();
        if (!m_inBatch) status = LedgerStatus::StoreFailed;
    }
    if (status != LedgerStatus::Ok) Leave();
    return status;
}

LedgerStatus CLedgerImport::Enter(CTransactionEntry& transaction) try {
    if (m_failed || !m_inBatch) return LedgerStatus::StoreFailed;
    const LedgerStatus status = CLedger::CheckMagnitude(transaction.amount);
    if (status != LedgerStatus::Ok) return status;
    transaction.amount = RoundToCents(transaction.amount);
    transaction.accountId = m_accountId;
    if (!m_ledger.Database().Add(transaction)) {
        m_failed = true;
        Abandon();
        return LedgerStatus::StoreFailed;
    }
    m_effects +=
        BalanceEffect(transaction.transactionType, transaction.amount, m_account.accountType);
    m_check = std::max(m_check, transaction.check);
    ++m_pending;
    return EndRow();
} catch (const std::bad_alloc&) {
    m_failed = true;
    Abandon();
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedgerImport::Match(StatementMatch& match) try {
    if (m_failed || !m_inBatch) return LedgerStatus::StoreFailed;
    CTransactionEntry entry;
    const CLookup read = m_ledger.Database().Read(match.transactionId, entry);
    const double effect = BalanceEffect(entry.transactionType, entry.amount, m_account.accountType);
    const bool isSame = read && entry.accountId == m_accountId && entry.fitId == 0 &&
                        std::fabs(effect - match.signedAmount) < kHalfCent;
    if (!read.HasFailed() && !isSame) {
        match.fitId = read ? entry.fitId : 0;
        return LedgerStatus::NoSuchTransaction;
    }
    const int32_t check = entry.check != 0 ? entry.check : match.check;
    const bool changes = match.fitId != 0 || check != entry.check;
    if (read.HasFailed() || (changes && !m_ledger.Database().UpdateTransactionStatement(
                                            entry.id, match.fitId, check))) {
        m_failed = true;
        Abandon();
        return LedgerStatus::StoreFailed;
    }
    m_check = std::max(m_check, check);
    ++m_pendingMatches;
    return EndRow();
} catch (const std::bad_alloc&) {
    m_failed = true;
    Abandon();
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedgerImport::EndRow() {
    if (m_pending + m_pendingMatches < m_recordsPerCommit) return LedgerStatus::Ok;
    const LedgerStatus next = CommitBatch() ? OpenBatch() : LedgerStatus::StoreFailed;
    m_failed = next != LedgerStatus::Ok;
    return next;
}

bool CLedgerImport::CommitBatch() {
    if (m_pending + m_pendingMatches > 0) {
        // As it is now: the same thread may have entered something else meanwhile.
        CLedger::Effects effects;
        CLedger::Touched* touched = nullptr;
        LedgerStatus status = m_ledger.Touch(m_accountId, effects, touched);
        if (status == LedgerStatus::Ok) {
            touched->effect = m_effects;
            touched->check = m_check;
            status = m_ledger.ApplyEffects(effects);
        }
        if (status != LedgerStatus::Ok) {
            Abandon();
            return false;
        }
        m_account.currentBalance = SettledSum(touched->account.currentBalance + m_effects);
        m_account.latestCheckNumber = std::max(touched->account.latestCheckNumber, m_check);
    }
    const bool committed = m_ledger.Database().CommitBatch();
    if (committed) {
        m_committed += m_pending;
        m_committedMatches += m_pendingMatches;
    }
    Leave();
    return committed;
}

bool CLedgerImport::Finish() try {
    if (m_failed || !m_inBatch) return false;
    m_failed = !CommitBatch();
    return !m_failed;
} catch (const std::bad_alloc&) {
    m_failed = true;
    Abandon();
    return false;
}

}  // namespace quillon
