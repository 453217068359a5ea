#pragma once

#include <cstdint>
#include <functional>

#include "finance/ledger/Ledger.h"

namespace quillon {

// Fills a new, empty ledger with the household of DemoHousehold.h and what belongs to it:
// categories, renaming rules, recurring transactions, a budget, stocks and a watch list.
// `progress` hears of the transactions done and all there are. `transactions`: how many the
// ledger has then. Whole batches stay when it fails.
[[nodiscard]] LedgerStatus FillDemoLedger(
    CLedger& ledger, int64_t& transactions,
    const std::function<void(int64_t done, int64_t total)>& progress);

}  // namespace quillon
