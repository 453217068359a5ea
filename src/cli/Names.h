#pragma once

#include <string>
#include <vector>

#include "finance/names/TypedNames.h"

namespace quillon {

// Rows by the names that people type: see FindTypedName. The functions throw CFailure: there
// is none (with the names that come near), or a read failed.
CAccountEntry RequireAccount(CQuillonDatabaseInterface& database, const std::string& name);
CCategoryEntry RequireCategory(CQuillonDatabaseInterface& database, const std::string& name);
CPayeeEntry RequirePayee(CQuillonDatabaseInterface& database, const std::string& name);

}  // namespace quillon
