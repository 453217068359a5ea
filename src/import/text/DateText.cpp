#include "import/text/DateText.h"

#include <string>
#include <utility>

#include "foundation/CalendarDate.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

std::optional<int64_t> FromCivil(int64_t year, int64_t month, int64_t day) {
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return {};
    const int64_t fileTime =
        FileTimeFromDate(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day));
    if (fileTime < 0) return {};
    return fileTime;
}

}  // namespace

DateEvidence EvidenceOf(const DateParts& parts) {
    if (parts.namesMonth) return DateEvidence::Named;
    if (parts.YearFirst()) return DateEvidence::YearFirst;
    const bool firstIsNoMonth = parts.numbers[0] > 12;
    const bool secondIsNoMonth = parts.numbers[1] > 12;
    if (firstIsNoMonth && secondIsNoMonth) return DateEvidence::Impossible;
    if (firstIsNoMonth) {
        return parts.numbers[0] > 31 ? DateEvidence::YearFirst : DateEvidence::DayFirst;
    }
    return secondIsNoMonth ? DateEvidence::MonthFirst : DateEvidence::None;
}

std::optional<int64_t> ReadDate(const DateParts& parts, DateOrder order) {
    const int32_t* const n = parts.numbers;
    const int32_t lastYear = WithCentury(n[2], parts.digits[2]);
    if (parts.YearFirst() || parts.namesMonth || order == DateOrder::YearMonthDay) {
        return FromCivil(WithCentury(n[0], parts.digits[0]), n[1], n[2]);
    }
    if (order == DateOrder::DayMonthYear) return FromCivil(lastYear, n[1], n[0]);
    return FromCivil(lastYear, n[0], n[1]);
}

std::optional<int64_t> ReadPlainDate(std::string_view text, DateOrder order) {
    std::string date;
    date.reserve(text.size());
    for (const char character : text) {
        if (character == ' ') continue;
        date += character == '/' || character == '\'' ? '-' : character;
    }
    int64_t numbers[3] = {0, 0, 0};
    std::string_view rest = date;
    bool whole = true;
    for (size_t i = 0; i < 3 && whole; ++i) {
        if (i > 0) {
            whole = !rest.empty() && rest.front() == '-';
            if (whole) rest.remove_prefix(1);
        }
        whole = whole && ScanLong(rest, numbers[i], &rest);
    }
    if (whole) {
        if (order == DateOrder::YearMonthDay) {
            const int64_t year = numbers[0];
            numbers[0] = numbers[1];
            numbers[1] = numbers[2];
            numbers[2] = year;
        } else if (order == DateOrder::DayMonthYear) {
            std::swap(numbers[0], numbers[1]);
        }
        if (numbers[2] < -9999 || numbers[2] > 9999) return {};
        numbers[2] += numbers[2] <= 50 ? 2000 : 1900;
        date = std::to_string(numbers[0]) + "-" + std::to_string(numbers[1]) + "-" +
               std::to_string(numbers[2]);
    }
    int64_t fileTime = 0;
    if (!ParseCalendarDate(date, fileTime)) return {};
    return fileTime;
}

std::optional<int64_t> ReadStatementDate(std::string_view text) {
    if (DigitsAtStart(text) < 8) return {};
    return FromCivil(NumberOf(text.substr(0, 4)), NumberOf(text.substr(4, 2)),
                     NumberOf(text.substr(6, 2)));
}

}  // namespace quillon
