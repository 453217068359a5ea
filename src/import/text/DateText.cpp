#include "import/text/DateText.h"

#include <algorithm>
#include <utility>

#include "foundation/CalendarDate.h"
#include "import/text/MonthNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

bool IsDateSeparator(char character) {
    return character == '/' || character == '-' || character == '.' || character == '\'';
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsBlank(char character) {
    return character == ' ' || character == '\t';
}

// Bytes above ASCII are letters here.
bool IsLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           static_cast<unsigned char>(character) >= 0x80;
}

size_t DigitsAtStart(std::string_view text) {
    size_t count = 0;
    while (count < text.size() && IsDigit(text[count])) ++count;
    return count;
}

int32_t NumberOf(std::string_view digits) {
    int32_t value = 0;
    for (const char digit : digits) value = value * 10 + (digit - '0');
    return value;
}

constexpr bool IsLikelyYear(int32_t year) {
    return year >= 1900 && year <= 2100;
}

// YYYYMMDD, or where that cannot be, with the year at the end.
bool SplitEightDigits(std::string_view text, DateParts& parts) {
    const int32_t month = NumberOf(text.substr(4, 2));
    const int32_t lastYear = NumberOf(text.substr(4, 4));
    const bool yearFirst = IsLikelyYear(NumberOf(text.substr(0, 4))) && month >= 1 && month <= 12;
    parts = DateParts();
    if (!yearFirst && IsLikelyYear(lastYear)) {
        parts = {{NumberOf(text.substr(0, 2)), NumberOf(text.substr(2, 2)), lastYear}, {2, 2, 4}};
    } else {
        parts = {{NumberOf(text.substr(0, 4)), month, NumberOf(text.substr(6, 2))}, {4, 2, 2}};
    }
    return true;
}

bool SplitNumbers(std::string_view text, DateParts& parts) {
    DateParts split;
    size_t part = 0;
    for (const char character : text) {
        if (IsBlank(character)) continue;
        if (IsDateSeparator(character)) {
            if (split.digits[part] == 0 || ++part > 2) return false;
        } else if (IsDigit(character)) {
            if (++split.digits[part] > 4) return false;
            split.numbers[part] = split.numbers[part] * 10 + (character - '0');
        } else {
            return false;
        }
    }
    if (part != 2 || split.digits[2] == 0) return false;
    parts = split;
    return true;
}

// What stands around the words and numbers of a date in twelve languages.
bool IsFiller(std::string_view word) {
    constexpr std::string_view kFillers[] = {"de", "of", "del", "den", "der", "le", "the",
                                             "at", "um", "kl",  "om",  "a",   "d",  "st",
                                             "nd", "rd", "th",  "er",  "?"};
    for (const std::string_view filler : kFillers) {
        if (word == filler) return true;
    }
    return false;
}

// The words and numbers of a date that names its month.
class CNamedDate {
public:
    bool Split(std::string_view text, DateParts& parts) {
        for (size_t at = 0; at < text.size();) {
            const std::string_view rest = text.substr(at);
            size_t length = DigitsAtStart(rest);
            if (length > 0) {
                if (!TakeNumber(rest.substr(0, length))) return false;
            } else {
                while (length < rest.size() && IsLetter(rest[length])) ++length;
                if (length > 0) {
                    if (!TakeWord(rest.substr(0, length))) return false;
                } else if (!IsBlank(rest[0]) && rest[0] != ',' && !IsDateSeparator(rest[0])) {
                    return false;
                }
            }
            at += length > 0 ? length : 1;
        }
        return Finish(parts);
    }

private:
    bool TakeNumber(std::string_view digits) {
        if (m_count == 2 || digits.size() > 4) return false;
        m_digits[m_count] = static_cast<int32_t>(digits.size());
        m_numbers[m_count++] = NumberOf(digits);
        return true;
    }

    bool TakeWord(std::string_view word) {
        const bool isFirst = m_words++ == 0 && m_count == 0;
        const int month = MonthFromName(word);
        if (month == 0) return isFirst || IsFiller(PlainLetters(word));
        // A month in front of another was a day of the week ("mar 1 juillet").
        if (m_month != 0 && !m_monthIsFirstWord) return false;
        m_monthIsFirstWord = isFirst;
        m_month = month;
        m_numbersInFront = m_count;
        return true;
    }

    bool Finish(DateParts& parts) const {
        if (m_month == 0 || m_count != 2 || m_numbersInFront == 2) return false;
        const bool yearFirst =
            m_numbersInFront == 1 && (m_digits[0] == 4 || (m_digits[1] < 4 && m_numbers[0] > 31));
        const size_t year = yearFirst ? 0 : 1;
        const size_t day = 1 - year;
        if (m_digits[day] > 2 || m_digits[year] == 3) return false;
        parts = {{m_numbers[year], m_month, m_numbers[day]}, {m_digits[year], 2, m_digits[day]}};
        parts.namesMonth = true;
        parts.written = yearFirst               ? DateOrder::YearMonthDay
                        : m_numbersInFront == 1 ? DateOrder::DayMonthYear
                                                : DateOrder::MonthDayYear;
        return true;
    }

    int32_t m_numbers[2] = {0, 0};
    int32_t m_digits[2] = {0, 0};
    size_t m_count = 0;
    size_t m_words = 0;
    size_t m_numbersInFront = 0;  // of the month
    int32_t m_month = 0;
    bool m_monthIsFirstWord = false;
};

// The text in front of a time of the day: "07/01/2026 12:30", "2026-07-01T12:30:00Z",
// "01.07.2026, 12.30 Uhr". All of it where there is none.
std::string_view WithoutTime(std::string_view text) {
    size_t mark = text.find(':');
    if (mark == std::string_view::npos) {
        const size_t last = text.find_last_of(" \t");
        if (last == std::string_view::npos) return text;
        mark = last + 1 + DigitsAtStart(text.substr(last + 1));
        if (mark >= text.size() || (text[mark] != '.' && text[mark] != 'h')) return text;
    }
    size_t start = mark;
    while (start > 0 && mark - start < 2 && IsDigit(text[start - 1])) --start;
    const std::string_view hour = text.substr(start, mark - start);
    const std::string_view minutes = text.substr(mark + 1);
    if (hour.empty() || NumberOf(hour) > 24 || DigitsAtStart(minutes) != 2 ||
        NumberOf(minutes.substr(0, 2)) > 59) {
        return text;
    }
    std::string_view date = text.substr(0, start);
    if (date.empty() || IsDigit(date.back())) return text;
    while (!date.empty() && (IsBlank(date.back()) || date.back() == ',' || date.back() == '-')) {
        date.remove_suffix(1);
    }
    if (date.size() > 1 && date.back() == 'T' && IsDigit(date[date.size() - 2])) {
        date.remove_suffix(1);
    }
    return date;
}

// "Wed, 01/07/2026"
std::string_view WithoutFirstWord(std::string_view text) {
    size_t length = 0;
    while (length < text.size() && IsLetter(text[length])) ++length;
    if (length == 0 || length == text.size()) return text;
    while (length < text.size() &&
           (IsBlank(text[length]) || text[length] == ',' || text[length] == '.')) {
        ++length;
    }
    return text.substr(length);
}

// Without blanks at both ends. `buffer` has room for as many bytes.
std::string_view WithPlainBlanks(std::string_view text, char* buffer) {
    constexpr std::string_view kBlanks[] = {"\xC2\xA0", "\xE2\x80\xAF", "\xE2\x80\x89"};
    if (text.find_first_of("\xC2\xE2") == std::string_view::npos) return TrimBlanks(text);
    size_t size = 0;
    for (size_t at = 0; at < text.size();) {
        size_t length = 0;
        for (const std::string_view blank : kBlanks) {
            if (text.substr(at, blank.size()) == blank) length = blank.size();
        }
        buffer[size++] = length > 0 ? ' ' : text[at];
        at += std::max<size_t>(length, 1);
    }
    return TrimBlanks({buffer, size});
}

bool SplitDateAlone(std::string_view text, DateParts& parts) {
    return SplitNumbers(text, parts) || CNamedDate().Split(text, parts) ||
           SplitNumbers(WithoutFirstWord(text), parts);
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
    constexpr size_t kLongest = 64;  // bytes
    if (text.size() > kLongest) return false;
    // Blanks that do not break a line are blanks.
    char plain[kLongest];
    text = WithPlainBlanks(text, plain);
    if (text.empty()) return false;
    // Digits alone, with the time of the day in as many or none at all.
    const size_t digits = DigitsAtStart(text);
    if (digits == 8 && WithoutTime(text).size() == 8) return SplitEightDigits(text, parts);
    if (digits == 12 || digits == 14) return SplitEightDigits(text.substr(0, 8), parts);
    if (SplitDateAlone(text, parts)) return true;
    const std::string_view date = WithoutTime(text);
    return date.size() < text.size() && SplitDateAlone(date, parts);
}

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

// --- inference

namespace {

// Grows with the date; nothing else is asked of it.
int64_t DateKey(const DateParts& parts, size_t month, size_t day) {
    return WithCentury(parts.numbers[2], parts.digits[2]) * int64_t{10'000} +
           parts.numbers[month] * 100 + parts.numbers[day];
}

}  // namespace

void CDateInference::Movement::Follow(int64_t date) {
    if (last != 0) {
        rises += date > last;
        falls += date < last;
    }
    last = date;
}

void CDateInference::Movement::End() {
    breaks += std::min(rises, falls);
    last = rises = falls = 0;
}

void CDateInference::EndSequence() {
    m_asMonthFirst.End();
    m_asDayFirst.End();
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
        case DateEvidence::Named:
            if (m_named.count == 0) m_namedOrder = parts.written;
            m_named.Take(text, line);
            break;
        case DateEvidence::None:
            if (parts.numbers[0] != parts.numbers[1]) m_undecided.Take(text, line);
            m_asMonthFirst.Follow(DateKey(parts, 0, 1));
            m_asDayFirst.Follow(DateKey(parts, 1, 0));
            break;
        case DateEvidence::Impossible:
            break;
    }
    const int32_t yearDigits = parts.digits[parts.YearFirst() || parts.namesMonth ? 0 : 2];
    (yearDigits > 2 ? m_longYear : m_shortYear).Take(text, line);
}

void CDateInference::Decide(std::optional<DateOrder> asked, Dialect& dialect, CImportNotes& notes) {
    using Kind = CImportNotes::Kind;
    EndSequence();
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

void CDateInference::DecideOrder(Dialect& dialect, CImportNotes& notes) {
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
    } else if (m_undecided.count > 0 && DecideByMovement(dialect, notes)) {
        return;
    } else if (m_named.count > 0) {
        dialect.dateOrder = m_namedOrder;
        notes.Add(Kind::Dialect, m_named.line, "Dates name the month: " + m_named.text + ".");
    } else if (m_undecided.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, 0,
                  "No date tells the day from the month (" + m_undecided.text + " in line " +
                      std::to_string(m_undecided.line) +
                      " could be either); they are read month first.");
    } else if (m_yearFirst.count > 0) {
        dialect.dateOrder = DateOrder::YearMonthDay;
        notes.Add(Kind::Dialect, m_yearFirst.line,
                  "Dates have the year first: " + m_yearFirst.text + ".");
    }
}

// A file in order of time, read in the wrong order, jumps to and fro. Some disorder is
// borne: banks list a late booking under its own date.
bool CDateInference::DecideByMovement(Dialect& dialect, CImportNotes& notes) {
    constexpr int64_t kClearly = 5;
    const int64_t monthFirst = m_asMonthFirst.breaks;
    const int64_t dayFirst = m_asDayFirst.breaks;
    if (monthFirst > dayFirst * kClearly) {
        dialect.dateOrder = DateOrder::DayMonthYear;
    } else if (dayFirst > monthFirst * kClearly) {
        dialect.dateOrder = DateOrder::MonthDayYear;
    } else {
        return false;
    }
    const bool isDay = dialect.dateOrder == DateOrder::DayMonthYear;
    notes.Add(CImportNotes::Kind::Dialect, m_undecided.line,
              "Dates have the " + std::string(isDay ? "day" : "month") + " first, as in " +
                  m_undecided.text +
                  ": so read they follow each other in time, the other way they jump.");
    return true;
}

}  // namespace quillon
