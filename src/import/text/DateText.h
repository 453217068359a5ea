#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "import/text/Dialect.h"

namespace quillon {

// Dates as bank files write them. A date is midnight UTC, in ticks of 100 ns since 1601.
// Nothing here fails but by saying that it is no date.

// The three numbers of a date in the order written: 1/15'05, 15.01.2005, 2005-01-15,
// 1/ 1/10, 20050115. Of one that names its month they are year, month and day.
struct DateParts {
    int32_t numbers[3] = {0, 0, 0};
    int32_t digits[3] = {0, 0, 0};
    bool namesMonth = false;
    DateOrder written = DateOrder::MonthDayYear;  // of one that names its month

    bool YearFirst() const { return digits[0] == 4 && !namesMonth; }
};

// Blanks are dropped; between the numbers stands one of / - . ' each, or none in eight
// digits. A month may be named (01-Jul-2026, Jul 1, 2026, 1er juillet 2026), a day of the
// week may stand in front, and a time of the day behind it all is passed over. False:
// anything else.
[[nodiscard]] bool SplitDate(std::string_view text, DateParts& parts);

// What a date tells about the order in its file by itself.
enum class DateEvidence { None, MonthFirst, DayFirst, YearFirst, Named, Impossible };
DateEvidence EvidenceOf(const DateParts& parts);

// A year of one or two digits gets 2000 added up to 50 and 1900 above.
constexpr int32_t WithCentury(int32_t year, int32_t digits) {
    if (digits > 2) return year;
    return year <= 50 ? year + 2000 : year + 1900;
}
// The number that some digits, nine at most, are.
constexpr int32_t NumberOf(std::string_view digits) {
    int32_t value = 0;
    for (const char digit : digits) value = value * 10 + (digit - '0');
    return value;
}

// Midnight UTC; nothing when there is no such day. Years get their century. A date that begins
// with four digits or names its month is read so whatever the order.
std::optional<int64_t> ReadDate(const DateParts& parts, DateOrder order);

// The plain rule for "D" lines: separators become "-", blanks go, and a year gets its
// century even when it has four digits (1/15/2015 is in 3915). Nothing when the date
// parser refuses the result.
std::optional<int64_t> ReadPlainDate(std::string_view text, DateOrder order);

// The plain rule of statements: the first eight characters are YYYYMMDD. Nothing when
// there are fewer or they are no date.
std::optional<int64_t> ReadStatementDate(std::string_view text);

}  // namespace quillon
