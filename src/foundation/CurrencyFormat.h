#pragma once

#include <string>
#include <string_view>

namespace quillon {

// The one form in which amounts are shown: "-1,234.50", two decimals and a comma
// between thousands, whatever the locale. The double stands for the shortest
// decimal number that reads back as it, and that number is rounded half away
// from zero: 1.005 gives "1.01". There is no "-0.00". Not finite gives "0.00".
std::string FormatCurrency(double amount);
// The same without the thousands separators, for files that other programs read.
std::string FormatPlainAmount(double amount);

// Reads an amount as people type it: blanks around it, a sign and a "$" in
// either order, at most 15 digits before the point and 10 after it, commas only
// where thousands are ("1,234,567.89", and then everywhere). False leaves
// `amount` untouched: empty, letters, exponents, misplaced commas ("1,23,4",
// "12,50"), a point without digits on both sides except ".50".
[[nodiscard]] bool ParseAmount(std::string_view text, double& amount);

}  // namespace quillon
