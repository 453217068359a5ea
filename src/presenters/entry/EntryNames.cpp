// What the row editor knows of the ledger: names, when they were used, newest transactions.

#include <new>

#include "presenters/entry/EntryForm.h"

namespace quillon {

bool CEntryForm::ReadAccount(int64_t accountId) {
    CAccountEntry account;
    if (!m_workspace.Database().Read(accountId, account)) return false;
    const bool isOther = account.id != m_account.id;
    m_account = account;
    if (!isOther) return true;
    m_payees.Clear();
    m_categories.Clear();
    return ReadNames() && ReadUses();
}

bool CEntryForm::ReadNames() {
    m_payees.ClearNames();
    m_categories.ClearNames();
    COwnedList<CPayeeEntry> payees;
    COwnedList<CCategoryEntry> categories;
    CQuillonDatabaseInterface& database = m_workspace.Database();
    if (!database.List(payees) || !database.List(categories)) return false;
    for (const CPayeeEntry& row : payees) m_payees.Add(row.id, row.name.ToUtf8());
    for (const CCategoryEntry& row : categories) m_categories.Add(row.id, row.name.ToUtf8());
    return true;
}

bool CEntryForm::ReadUses() {
    TransactionUses uses;
    if (!m_workspace.Database().ReadTransactionUses(m_account.id, uses)) return false;
    for (size_t i = 0; i < uses.dates.size(); ++i) {
        m_payees.NoteUse(uses.payees[i], uses.dates[i]);
        m_categories.NoteUse(uses.categories[i], uses.dates[i]);
    }
    return true;
}

void CEntryForm::LedgerChanged(const ChangeNotice& notice) try {
    if (m_account.id == kNoRow) return;
    if (notice.everything || notice.categoryTable || notice.payeeTable) (void)ReadNames();
    if (notice.everything) (void)ReadUses();
    for (const RowNotice& row : notice.rows) {
        CTransactionEntry read;
        const bool isHere = row.change != RowChange::Removed && row.account == m_account.id;
        if (!isHere || !m_workspace.Database().Read(row.row, read)) continue;
        m_payees.NoteUse(read.payeeId, read.serviceDate);
        m_categories.NoteUse(read.categoryId, read.serviceDate);
    }
    CAccountEntry account;
    if (notice.Touches(m_account.id) && m_workspace.Database().Read(m_account.id, account)) {
        m_account = account;
    }
} catch (const std::bad_alloc&) {
    // Completion offers nothing until the next change.
    m_payees.Clear();
    m_categories.Clear();
}

}  // namespace quillon
