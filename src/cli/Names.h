#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// Rows by the names that people type. A name is found when its bytes are equal; failing
// that, when it is the only one equal ignoring case. The functions throw CFailure: there
// is none (with the names that come near), or a read failed.
CAccountEntry RequireAccount(CQuillonDatabaseInterface& database, const std::string& name);
CCategoryEntry RequireCategory(CQuillonDatabaseInterface& database, const std::string& name);
CPayeeEntry RequirePayee(CQuillonDatabaseInterface& database, const std::string& name);

// "did you mean 'Checking'?": up to three of `names` that come near, or empty.
std::string Suggestion(const std::string& wanted, const std::vector<std::string>& names);

bool HasWildcard(const std::string& pattern);

// Names of payees, categories and accounts by row identifier; unknown ones are empty.
class CNameTables {
public:
    explicit CNameTables(CQuillonDatabaseInterface& database);

    const std::string& Payee(int64_t id) const { return Look(m_payees, id); }
    const std::string& Category(int64_t id) const { return Look(m_categories, id); }
    const std::string& Account(int64_t id) const { return Look(m_accounts, id); }

private:
    using Names = std::unordered_map<int64_t, std::string>;
    static const std::string& Look(const Names& names, int64_t id);

    Names m_payees;
    Names m_categories;
    Names m_accounts;
};

}  // namespace quillon
