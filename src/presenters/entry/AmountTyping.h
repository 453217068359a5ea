#pragma once

#include <string_view>

#include "wording/EntryWords.h"

namespace quillon {

// The amount that was typed: a number ("1,234.50", "$12"), or a calculation with + - * / and
// parentheses. It is calculated exactly and rounded to whole cents at the end, halves away from
// zero; a number alone must have whole cents. `amount` is set on None only, and never negative.
EntryProblem ReadTypedAmount(std::string_view text, double& amount);

}  // namespace quillon
