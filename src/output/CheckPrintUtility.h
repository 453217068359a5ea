#pragma once

#include <string>
#include <string_view>

namespace quillon {

// The written amount of a check.
class CCheckPrintUtility {
public:
    // "1,234.05" gives "One Thousand Two Hundred Thirty Four and 05/100".
    //
    // `amount` is an amount as FormatCurrency writes it: the commas part the groups of
    // thousands, so "1234.05" is a single group too long for words and gives "". Empty as
    // well: amounts below 1.00 ("0.99") and negative ones. Groups left of the millions
    // have no words and are left out. Digits behind the point are a number of cents:
    // "100.5" gives "One Hundred and 05/100".
    static std::string AmountInWords(std::string_view amount);
};

}  // namespace quillon
