#pragma once

#include <string>

#include "finance/ledger/Ledger.h"
#include "wording/Words.h"

namespace quillon {

// Why the ledger refused an operation, and what to do. Empty for Ok; of StoreFailed the
// database tells more: StoreMessage.
std::string LedgerMessage(LedgerStatus status, Medium medium);

// The same for the row of a name, where the names are known and can be said. `status` is
// one that CLedger's operations on categories and payees come to; others as above.
struct NameTrouble {
    bool isPayee = false;     // else a category
    std::string name = {};    // of the row that was to be changed or made
    std::string target = {};  // what was to take over its rows, empty for nothing
    int64_t uses = 0;         // of StillUsed: how many rows are filed under it
};
std::string NameMessage(LedgerStatus status, const NameTrouble& trouble, Medium medium);

}  // namespace quillon
