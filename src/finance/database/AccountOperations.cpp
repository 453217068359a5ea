#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

bool CQuillonDatabaseInterface::UpdateAccountBalance(int64_t accountId, double balance) {
    return m_rows->Change(kAccountTable, accountId, [&] {
        return m_database.SetDouble("CurrentBalance", fields::Finite(balance));
    });
}

bool CQuillonDatabaseInterface::UpdateAccountLatestCheckNumber(int64_t accountId,
                                                               int32_t checkNumber) {
    return m_rows->Change(kAccountTable, accountId,
                          [&] { return m_database.SetInt32("LatestCheckNumber", checkNumber); });
}

bool CQuillonDatabaseInterface::SetAccountActive(int64_t accountId, bool active) {
    return m_rows->Change(kAccountTable, accountId,
                          [&] { return m_database.SetBoolean("Active", active); });
}

bool CQuillonDatabaseInterface::ListAccountsByType(AccountType type,
                                                   COwnedList<CAccountEntry>& accounts) {
    return m_rows->List(accounts, [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt32("AccountType", WhereOperator::Equal, static_cast<int32_t>(type));
    });
}

CLookup CQuillonDatabaseInterface::FindAccountByName(std::string_view name,
                                                     CAccountEntry& account) {
    return m_rows->ReadByText(account, "Name", name);
}

}  // namespace quillon
