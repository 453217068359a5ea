#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// Names of payees, categories and accounts by row identifier, read at once: showing a
// register looks up two or three a line.
//
//   Unknown    Identifiers of no row, 0 among them, have the empty name.
//   Fresh      as of the last Load(); whoever changes names loads again.
//   Threads    None; the views are good until the next Load().
class CNameTables {
public:
    // False: a read failed, or there was no memory; the tables are empty then.
    [[nodiscard]] bool Load(CQuillonDatabaseInterface& database);

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
