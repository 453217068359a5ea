#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace quillon {

// A value of a note or a refusal: a number, an amount in units of the currency, or a text
// in UTF-8 as the file has it. The code that it belongs to says what it is.
using ImportValue = std::variant<int64_t, double, std::string>;

}  // namespace quillon
