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
// `from`: the first date of the transactions that count. False: a read failed. std::bad_alloc
// passes through.
[[nodiscard]] bool LookAhead(CQuillonDatabaseInterface& database, int64_t from,
                             RuleOutlook& outlook);

}  // namespace quillon
