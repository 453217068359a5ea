#pragma once

#include <string>
#include <vector>

#include "finance/names/TypedNames.h"
#include "wording/Words.h"

namespace quillon {

enum class NamedKind { Account, Category, Payee };

// "did you mean 'Checking' or 'Savings'?"; empty for no names.
std::string DidYouMean(const std::vector<std::string>& names);

// That no row has the name that was typed, what comes near, and where all are shown.
std::string NoSuchNameMessage(NamedKind kind, const std::string& name, const NameSearch& search,
                              Medium medium);

}  // namespace quillon
