#pragma once

#include <cstddef>
#include <string_view>

#include "import/text/AmountText.h"

namespace quillon {

// The parts of an amount as banks write it; what AmountText and its inference share.
// Nothing fails and nothing allocates.

// An amount reduced to sign, digits and marks.
struct CleanedAmount {
    static constexpr size_t kMost = 64;
    char text[kMost];  // digits, '.' and ','
    size_t size = 0;
    bool negative = false;
    bool isOdd = false;         // something beside it belongs to no amount
    std::string_view currency;  // as written

    std::string_view View() const { return {text, size}; }
};

// `text` read from left to right; its first 256 bytes, since what is longer is no amount.
CleanedAmount CleanAmount(std::string_view text);

// What the digits and marks of an amount tell of the decimal mark.
AmountEvidence EvidenceOfNumber(std::string_view number);
// One mark with three digits behind it: it could be decimal or group thousands.
bool CouldBeEither(std::string_view number);

}  // namespace quillon
