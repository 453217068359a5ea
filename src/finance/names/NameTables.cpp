#include "finance/names/NameTables.h"

#include "foundation/OutOfMemory.h"

namespace quillon {

bool CNameTables::Load(CQuillonDatabaseInterface& database) {
    m_payees.clear();
    m_categories.clear();
    m_accounts.clear();
    const bool loaded = FalseWhenOutOfMemory([&] {
        const CFinanceSection section(database);
        COwnedList<CPayeeEntry> payees;
        COwnedList<CCategoryEntry> categories;
        COwnedList<CAccountEntry> accounts;
        if (!database.List(payees) || !database.List(categories) || !database.List(accounts)) {
            return false;
        }
        for (const CPayeeEntry& row : payees) m_payees[row.id] = row.name.ToUtf8();
        for (const CCategoryEntry& row : categories) m_categories[row.id] = row.name.ToUtf8();
        for (const CAccountEntry& row : accounts) m_accounts[row.id] = row.name.ToUtf8();
        return true;
    });
    if (!loaded) *this = CNameTables();
    return loaded;
}

const std::string& CNameTables::Look(const Names& names, int64_t id) {
    static const std::string kNone;
    const auto found = names.find(id);
    return found == names.end() ? kNone : found->second;
}

}  // namespace quillon
