#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "import/Dialect.h"

namespace quillon {

// Amounts as bank files write them.

// The plain rule: "," and "$" go, and a number is read from the start of the rest. 0 when
// there is none, when it is not finite, and when its magnitude is below 1e-8.
double ReadPlainAmount(std::string_view text);

// What an amount tells about the decimal mark of its file by itself.
enum class AmountEvidence {
    None,          // 12, or 1.234 and 1,234, which could be either
    Point,         // 12.50
    Comma,         // 12,50
    GroupedPoint,  // 1,234.50: the comma groups thousands
    GroupedComma,  // 1.234,50
};
AmountEvidence EvidenceOf(std::string_view amount);

enum class AmountReading {
    Clean,
    OtherMark,  // read with the mark that the file otherwise does not use
    Partly,     // read up to something that does not belong to a number
    Failed,     // nothing to read; the amount is 0
};

// Reads an amount with the file's decimal mark. Currency signs and codes, grouping by
// blanks and apostrophes, parentheses and a minus sign at the end are understood. An
// amount that its mark cannot group (3.34 where commas are decimals) is read with its own
// mark when `ownMarks` is set.
AmountReading ReadAmount(std::string_view text, DecimalMark decimal, bool ownMarks, double& amount);

// Infers the decimal mark of a file from all its amounts.
class CAmountInference {
public:
    void Add(std::string_view text, int64_t line);
    void Decide(std::optional<DecimalMark> asked, Dialect& dialect, CImportNotes& notes) const;

private:
    struct Proof {
        int64_t count = 0;
        int64_t line = 0;
        std::string text;
    };
    Proof m_point;
    Proof m_comma;
    Proof m_groupedPoint;
    Proof m_groupedComma;
};

}  // namespace quillon
