#include <new>

#include "finance/Balance.h"
#include "finance/Ledger.h"

namespace quillon {

CLedgerImport::~CLedgerImport() {
    Abandon();
}

void CLedgerImport::Abandon() {
    if (m_inBatch) m_ledger.Database().RollbackBatch();
    m_inBatch = false;
    m_effects = 0.0;
    m_pending = 0;
}

LedgerStatus CLedgerImport::Begin() {
    const LedgerStatus status = m_ledger.ReadAccount(m_accountId, m_account);
    if (status != LedgerStatus::Ok) return status;
    m_inBatch = m_ledger.Database().BeginBatch();
    m_failed = !m_inBatch;
    return m_inBatch ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
}

LedgerStatus CLedgerImport::Enter(CTransactionEntry& transaction) try {
    if (m_failed || !m_inBatch) return LedgerStatus::StoreFailed;
    if (m_ledger.CheckAmount(transaction.amount) != LedgerStatus::Ok) {
        return LedgerStatus::BadAmount;
    }
    transaction.accountId = m_accountId;
    if (!m_ledger.Database().AddTransaction(transaction)) {
        m_failed = true;
        Abandon();
        return LedgerStatus::StoreFailed;
    }
    m_effects +=
        BalanceEffect(transaction.transactionType, transaction.amount, m_account.accountType);
    if (++m_pending < m_recordsPerCommit) return LedgerStatus::Ok;
    if (CommitBatch() && m_ledger.Database().BeginBatch()) {
        m_inBatch = true;
        return LedgerStatus::Ok;
    }
    m_failed = true;
    return LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    m_failed = true;
    Abandon();
    return LedgerStatus::StoreFailed;
}

bool CLedgerImport::CommitBatch() {
    // The balance may have been changed by others since the last batch.
    bool stored = true;
    if (m_pending > 0) {
        stored = m_ledger.ApplyEffects({{m_accountId, m_effects}}) == LedgerStatus::Ok;
    }
    if (!stored) {
        Abandon();
        return false;
    }
    m_inBatch = false;
    if (!m_ledger.Database().CommitBatch()) {
        m_effects = 0.0;
        m_pending = 0;
        return false;
    }
    m_committed += m_pending;
    m_account.currentBalance = SettledSum(m_account.currentBalance + m_effects);
    m_effects = 0.0;
    m_pending = 0;
    return true;
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
