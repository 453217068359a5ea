// Memorized transactions, the budget and check layouts.

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/planning/RecurringDate.h"

namespace quillon {

// --- memorized transactions

bool CQuillonDatabaseInterface::UpdateMemorizedServiceDate(
    const CMemorizedTransactionEntry& memorized) {
    return m_rows->Change(kMemorizedTransactionTable, memorized.id, [&] {
        return m_database.SetDateTime(
            "LastServiceDate", PackRecurringDate(memorized.lastServiceDate, memorized.originalDay));
    });
}

bool CQuillonDatabaseInterface::ListMemorizedTransactionsByAccount(
    int64_t accountId, COwnedList<CMemorizedTransactionEntry>& memorized) {
    return m_rows->ListByReference("AccountID", accountId, memorized);
}

bool CQuillonDatabaseInterface::ListMemorizedTransactionsByPayee(
    int64_t payeeId, COwnedList<CMemorizedTransactionEntry>& memorized) {
    return m_rows->ListByReference("PayeeID", payeeId, memorized);
}

// --- budget

bool CQuillonDatabaseInterface::ListBudgetItemsByCategory(int64_t categoryId,
                                                          COwnedList<CBudgetItem>& items) {
    return m_rows->ListByReference("CategoryID", categoryId, items);
}

// --- check layouts

CLookup CQuillonDatabaseInterface::FindCheckFormat(int64_t accountId,
                                                   CCheckPrintFormatEntry& format) {
    return m_rows->ReadFirst(format, [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId);
    });
}

}  // namespace quillon
