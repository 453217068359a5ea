#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// A rule for payees that are one to people and several to a bank: their names differ only in
// numbers, dates, or the place behind them.
struct RuleSuggestion {
    std::string search;  // what the names have in common, as they have it
    std::string replacement;
    std::vector<std::string> payees;  // those that the rule would bring together, by name
};

// For the names of payees. Names that say too little in front of what differs, one word of fewer
// than three letters for one, are left alone, and so is a group whose rule would change a name
// outside it. By what they search for. std::bad_alloc.
std::vector<RuleSuggestion> SuggestRules(std::span<const std::string> names);

// For the payees of the ledger that its rules leave as they are. False: a read failed.
[[nodiscard]] bool SuggestRules(CQuillonDatabaseInterface& database,
                                std::vector<RuleSuggestion>& suggestions);

}  // namespace quillon
