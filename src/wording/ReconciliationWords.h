#pragma once

#include <string>

#include "finance/reconciliation/ReconciliationHints.h"

namespace quillon {

// Which mistake would explain the difference, with amount and date of the line concerned.
// The register that the hint refers to must still be there.
std::string HintText(const ReconciliationHint& hint);

}  // namespace quillon
