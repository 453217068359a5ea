#pragma once

#include <span>
#include <string>
#include <string_view>

#include "import/plan/ImportValue.h"

namespace quillon {

// How the values of notes and refusals are shown; for the other files of this folder.

// `sentence` with values in place of what stands in braces: "{0}" is the first, "{0q}" the
// same in quotation marks. Amounts are shown as everywhere, "{0r}" without separators and
// "{0d}" with all their decimals. A value that is missing is nothing.
std::string Filled(std::string_view sentence, std::span<const ImportValue> values);

}  // namespace quillon
