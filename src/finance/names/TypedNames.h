#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// Rows by the names that people type. A name is found when its bytes are equal; failing
// that, when it is the only one equal ignoring case. `near` (may be null) gets, where there
// is none, the names that come near: see NearNames. `all` tells how many rows there are.
struct NameSearch {
    std::vector<std::string> near;
    int64_t all = 0;
};
CLookup FindTypedName(CQuillonDatabaseInterface& database, std::string_view name,
                      CAccountEntry& account, NameSearch* search = nullptr);
CLookup FindTypedName(CQuillonDatabaseInterface& database, std::string_view name,
                      CCategoryEntry& category, NameSearch* search = nullptr);
CLookup FindTypedName(CQuillonDatabaseInterface& database, std::string_view name,
                      CPayeeEntry& payee, NameSearch* search = nullptr);

// Up to three of `names` that may have been meant, the nearest first: few letters differ, or
// a part is the same.
std::vector<std::string> NearNames(std::string_view wanted, const std::vector<std::string>& names);

}  // namespace quillon
