#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "presenters/workspace/Workspace.h"

namespace quillon {

// What the renaming rules would make of the past: one entry a payee whose name they change and
// that has transactions.
struct RuleOutlook {
    std::vector<PayeeRenaming> renamings;  // by name, ignoring case
    int64_t transactions = 0;
};
// `wants`: which transactions count. False: a read failed. std::bad_alloc passes through.
[[nodiscard]] bool LookAhead(CQuillonDatabaseInterface& database,
                             const CWorkspace::WantTransaction& wants, RuleOutlook& outlook);

}  // namespace quillon
