#pragma once

#include "cli/CommandContext.h"
#include "cli/terminal/Json.h"
#include "import/plan/ImportPlan.h"

namespace quillon {

// What a dry run would do with each record, as a table; of many records the first.
void PrintPlan(CCommandContext& context, const CImportPlan& plan);
// The same of all records.
Json PlanRowsJson(const CImportPlan& plan);

}  // namespace quillon
