#pragma once

#include "cli/Session.h"
#include "presenters/rules/RuleOutlook.h"

namespace quillon {

// Renames the payees of those past transactions by the rules, or only looks, and says which.
// Throws CFailure.
void RenameByRules(CCommandContext& context, CSession& session,
                   const CWorkspace::WantTransaction& wants, bool onlyLook);

}  // namespace quillon
