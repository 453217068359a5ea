#pragma once

#include <string>

#include "import/plan/ImportPlan.h"

namespace quillon {

// The words of a plan's rows, as programs read them: "held", "enter".
const char* NameOf(PlanOutcome outcome);
const char* NameOf(PlanAction action);

// What becomes of the row, for people: "match 12", "known already", "enter, may be 12". Numbers
// are the identifiers of transactions.
std::string PlanActionText(const ImportPlanRow& row);

}  // namespace quillon
