// What the row editor knows of the ledger: names, when they were used, newest transactions.

#include <algorithm>
#include <new>

#include "presenters/entry/EntryForm.h"
#include "query/NoSQLDatabaseInterface.h"

namespace quillon {

namespace {

// Of one payee, or of all with kNoRow. The rows stay in the query's results.
bool ReadDatesOf(CQuillonDatabaseInterface& database, int64_t accountId, int64_t payeeId,
                 CNoSQLDatabaseInterface& query, std::vector<int64_t>& dates) {
    const CFinanceSection section(database);
    if (!query.SetTable(kTransactionTable) ||
        !query.AddInt64("AccountID", WhereOperator::Equal, accountId)) {
        return false;
    }
    const bool ofPayee =
        payeeId == kNoRow || (query.AddConnector(WhereConnector::And) &&
                              query.AddInt64("PayeeID", WhereOperator::Equal, payeeId));
    return ofPayee && query.Execute() && query.Results().ReadDateTimes("ServiceDate", dates);
}

}  // namespace

bool CEntryForm::ReadAccount(int64_t accountId) {
    CAccountEntry account;
    if (!m_workspace.Database().ReadAccount(accountId, account)) return false;
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
    if (!database.ListPayees(payees) || !database.ListCategories(categories)) return false;
    for (const CPayeeEntry& row : payees) m_payees.Add(row.id, row.name.ToUtf8());
    for (const CCategoryEntry& row : categories) m_categories.Add(row.id, row.name.ToUtf8());
    return true;
}

bool CEntryForm::ReadUses() {
    CQuillonDatabaseInterface& database = m_workspace.Database();
    const CFinanceSection section(database);
    CNoSQLDatabaseInterface query(database.Database());
    std::vector<int64_t> dates;
    std::vector<int64_t> payees;
    std::vector<int64_t> categories;
    if (!ReadDatesOf(database, m_account.id, kNoRow, query, dates) ||
        !query.Results().ReadInt64s("PayeeID", payees) ||
        !query.Results().ReadInt64s("CategoryID", categories)) {
        return false;
    }
    for (size_t i = 0; i < dates.size(); ++i) {
        m_payees.NoteUse(payees[i], dates[i]);
        m_categories.NoteUse(categories[i], dates[i]);
    }
    return true;
}

bool CEntryForm::ReadNewest(int64_t payeeId, CTransactionEntry& newest) const {
    CQuillonDatabaseInterface& database = m_workspace.Database();
    const CFinanceSection section(database);
    CNoSQLDatabaseInterface query(database.Database());
    std::vector<int64_t> dates;
    if (!ReadDatesOf(database, m_account.id, payeeId, query, dates) || dates.empty()) return false;
    size_t last = 0;
    for (size_t i = 1; i < dates.size(); ++i) {
        if (dates[i] >= dates[last]) last = i;
    }
    return bool(database.ReadTransaction(query.Results().RowIds()[last], newest));
}

void CEntryForm::LedgerChanged(const ChangeNotice& notice) try {
    if (m_account.id == kNoRow) return;
    if (notice.everything || notice.categoryTable || notice.payeeTable) (void)ReadNames();
    if (notice.everything) (void)ReadUses();
    for (const RowNotice& row : notice.rows) {
        CTransactionEntry read;
        const bool isHere = row.change != RowChange::Removed && row.account == m_account.id;
        if (!isHere || !m_workspace.Database().ReadTransaction(row.row, read)) continue;
        m_payees.NoteUse(read.payeeId, read.serviceDate);
        m_categories.NoteUse(read.categoryId, read.serviceDate);
    }
    CAccountEntry account;
    if (notice.Touches(m_account.id) && m_workspace.Database().ReadAccount(m_account.id, account)) {
        m_account = account;
    }
} catch (const std::bad_alloc&) {
    // Completion offers nothing until the next change.
    m_payees.Clear();
    m_categories.Clear();
}

}  // namespace quillon
