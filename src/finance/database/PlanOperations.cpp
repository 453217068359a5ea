// Memorized transactions, the budget and check layouts.

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/planning/RecurringDate.h"

namespace quillon {

// --- memorized transactions

bool CQuillonDatabaseInterface::AddMemorizedTransaction(CMemorizedTransactionEntry& memorized) {
    return m_rows->Add(memorized);
}

bool CQuillonDatabaseInterface::UpdateMemorizedTransaction(
    const CMemorizedTransactionEntry& memorized) {
    return m_rows->Update(memorized);
}

bool CQuillonDatabaseInterface::UpdateMemorizedServiceDate(
    const CMemorizedTransactionEntry& memorized) {
    return m_rows->Change(kMemorizedTransactionTable, memorized.id, [&] {
        return m_database.SetDateTime(
            "LastServiceDate", PackRecurringDate(memorized.lastServiceDate, memorized.originalDay));
    });
}

bool CQuillonDatabaseInterface::DeleteMemorizedTransaction(int64_t memorizedId) {
    return m_rows->Delete(kMemorizedTransactionTable, memorizedId);
}

bool CQuillonDatabaseInterface::ListMemorizedTransactions(
    COwnedList<CMemorizedTransactionEntry>& memorized) {
    return m_rows->List(memorized);
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

bool CQuillonDatabaseInterface::AddBudgetItem(CBudgetItem& item) {
    return m_rows->Add(item);
}

bool CQuillonDatabaseInterface::UpdateBudgetItem(const CBudgetItem& item) {
    return m_rows->Update(item);
}

bool CQuillonDatabaseInterface::DeleteBudgetItem(int64_t itemId) {
    return m_rows->Delete(kBudgetItemTable, itemId);
}

bool CQuillonDatabaseInterface::ListBudgetItems(COwnedList<CBudgetItem>& items) {
    return m_rows->List(items);
}

bool CQuillonDatabaseInterface::ListBudgetItemsByCategory(int64_t categoryId,
                                                          COwnedList<CBudgetItem>& items) {
    return m_rows->ListByReference("CategoryID", categoryId, items);
}

// --- check layouts

bool CQuillonDatabaseInterface::AddCheckFormat(CCheckPrintFormatEntry& format) {
    return m_rows->Add(format);
}

bool CQuillonDatabaseInterface::UpdateCheckFormat(const CCheckPrintFormatEntry& format) {
    return m_rows->Update(format);
}

bool CQuillonDatabaseInterface::DeleteCheckFormat(int64_t formatId) {
    return m_rows->Delete(kCheckFormatTable, formatId);
}

CLookup CQuillonDatabaseInterface::ReadCheckFormat(int64_t accountId,
                                                   CCheckPrintFormatEntry& format) {
    return m_rows->ReadFirst(format, [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId);
    });
}

}  // namespace quillon
