#include "import/DateText.h"

#include <utility>

#include "foundation/CalendarDate.h"
#include "import/TextScan.h"

namespace quillon {

namespace {

bool IsDateSeparator(char character) {
    return character == '/' || character == '-' || character == '.' || character == '\'';
}

bool SplitCompactDate(std::string_view text, DateParts& parts) {
    if (text.size() != 8 || !IsDigits(text)) return false;
    const auto number = [&](size_t at, size_t count) {
        int32_t value = 0;
        for (const char digit : text.substr(at, count)) value = value * 10 + (digit - '0');
        return value;
    };
    parts = {{number(0, 4), number(4, 2), number(6, 2)}, {4, 2, 2}};
    return true;
}

int32_t WithCentury(int32_t year, int32_t digits) {
    if (digits > 2) return year;
    return year <= 50 ? year + 2000 : year + 1900;
}

std::optional<int64_t> FromCivil(int64_t year, int64_t month, int64_t day) {
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return {};
    const int64_t fileTime =
        FileTimeFromDate(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day));
    if (fileTime < 0) return {};
    return fileTime;
}

}  // namespace

bool SplitDate(std::string_view text, DateParts& parts) {
    DateParts split;
    size_t part = 0;
    for (const char character : text) {
        if (character == ' ' || character == '\t') continue;
        if (IsDateSeparator(character)) {
            if (split.digits[part] == 0 || ++part > 2) return false;
        } else if (character >= '0' && character <= '9') {
            if (++split.digits[part] > 4) return SplitCompactDate(TrimBlanks(text), parts);
            split.numbers[part] = split.numbers[part] * 10 + (character - '0');
        } else {
            return false;
        }
    }
    if (part != 2 || split.digits[2] == 0) return false;
    parts = split;
    return true;
}

DateEvidence EvidenceOf(const DateParts& parts) {
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
    if (parts.YearFirst() || order == DateOrder::YearMonthDay) {
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
    DateParts parts;
    if (text.size() < 8 || !SplitCompactDate(text.substr(0, 8), parts)) return {};
    return FromCivil(parts.numbers[0], parts.numbers[1], parts.numbers[2]);
}

void CDateInference::Add(std::string_view text, int64_t line) {
    DateParts parts;
    if (!SplitDate(text, parts)) return;
    ++m_dates;
    switch (EvidenceOf(parts)) {
        case DateEvidence::MonthFirst:
            m_monthFirst.Take(text, line);
            break;
        case DateEvidence::DayFirst:
            m_dayFirst.Take(text, line);
            break;
        case DateEvidence::YearFirst:
            m_yearFirst.Take(text, line);
            break;
        case DateEvidence::None:
            m_undecided.Take(text, line);
            break;
        case DateEvidence::Impossible:
            break;
    }
    const int32_t yearDigits = parts.digits[parts.YearFirst() ? 0 : 2];
    (yearDigits > 2 ? m_longYear : m_shortYear).Take(text, line);
}

void CDateInference::Decide(std::optional<DateOrder> asked, Dialect& dialect,
                            CImportNotes& notes) const {
    using Kind = CImportNotes::Kind;
    if (asked) {
        dialect.dateOrder = *asked;
    } else if (m_dates > 0) {
        DecideOrder(dialect, notes);
    }
    if (m_longYear.count == 0) {
        dialect.years = YearRule::TwoDigits;
        return;
    }
    dialect.years = YearRule::AsWritten;
    std::string text = "Years are as written: " + m_longYear.text + ".";
    if (m_shortYear.count > 0) {
        text += " Shorter ones, such as " + m_shortYear.text + " in line " +
                std::to_string(m_shortYear.line) + ", are 2000 to 2050 or 1951 to 1999.";
    }
    notes.Add(Kind::Dialect, m_longYear.line, std::move(text));
}

void CDateInference::DecideOrder(Dialect& dialect, CImportNotes& notes) const {
    using Kind = CImportNotes::Kind;
    if (m_monthFirst.count > 0 && m_dayFirst.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, 0,
                  "Dates contradict each other: line " + std::to_string(m_dayFirst.line) + " (" +
                      m_dayFirst.text + ") has the day first, line " +
                      std::to_string(m_monthFirst.line) + " (" + m_monthFirst.text +
                      ") the month. They are read month first; those that are no date then "
                      "are listed.");
    } else if (m_dayFirst.count > 0) {
        dialect.dateOrder = DateOrder::DayMonthYear;
        notes.Add(Kind::Dialect, m_dayFirst.line,
                  "Dates have the day first: " + m_dayFirst.text + ".");
    } else if (m_monthFirst.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, m_monthFirst.line,
                  "Dates have the month first: " + m_monthFirst.text + ".");
    } else if (m_yearFirst.count > 0 && m_undecided.count == 0) {
        dialect.dateOrder = DateOrder::YearMonthDay;
        notes.Add(Kind::Dialect, m_yearFirst.line,
                  "Dates have the year first: " + m_yearFirst.text + ".");
    } else {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, 0,
                  "No date tells the day from the month (" + m_undecided.text + " in line " +
                      std::to_string(m_undecided.line) +
                      " could be either); they are read month first.");
    }
}

}  // namespace quillon
