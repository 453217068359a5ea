#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "import/plan/ImportNoteCode.h"
#include "import/text/Dialect.h"

namespace quillon {

// Amounts as bank files write them: doubles in units of the account's currency, negative
// goes out. What cannot be read is 0, and the answer says so; std::bad_alloc passes through.

// The plain rule: "," and "$" go, and a number is read from the start of the rest. 0 when
// there is none, when it is not finite, and when its magnitude is below 1e-8. `isRead` (may
// be null) tells whether there was a number.
double ReadPlainAmount(std::string_view text, bool* isRead = nullptr);

// What an amount tells about the decimal mark of its file by itself.
enum class AmountEvidence {
    None,          // 12, or 1.234 and 1,234, which could be either
    Point,         // 12.50
    Comma,         // 12,50
    GroupedPoint,  // 1,234.50: the comma groups thousands
    GroupedComma,  // 1.234,50
};
AmountEvidence EvidenceOf(std::string_view amount);

// How the amounts of a file are written.
struct AmountMarks {
    DecimalMark decimal = DecimalMark::Point;
    // An amount that by itself shows the other mark is read with that one.
    bool own = false;
    // Both marks are decimal marks in the file. What could be either (1,234 and 1.234)
    // groups thousands: money has two decimals.
    bool mixed = false;
};

enum class AmountReading {
    Clean,
    OtherMark,  // read with the mark that the file otherwise does not use
    Thousands,  // its mark could be either, and was taken for a thousands mark
    Partly,     // something beside it belongs to no amount, or contradicts its sign
    Failed,     // nothing to read; the amount is 0
};

// Reads an amount. Grouping by blanks and apostrophes, parentheses and a minus sign at
// the end are understood, and what stands beside the number where it is a currency (EUR,
// kr) or says which way the money goes (DR, D and DB out; CR and C in).
AmountReading ReadAmount(std::string_view text, const AmountMarks& marks, double& amount);
// What is noted of an amount read so; nothing for a clean one.
std::optional<ImportNoteCode> NoteOf(AmountReading reading);

// The currency that stands with an amount, in capitals: "EUR" also for its sign; empty
// for none. "$" and "kr", which are several countries', are themselves.
std::string CurrencyOf(std::string_view text);

}  // namespace quillon
