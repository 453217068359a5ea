// Taking a date apart into its three numbers.

#include <algorithm>

#include "import/text/DateText.h"
#include "import/text/MonthNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

bool IsDateSeparator(char character) {
    return character == '/' || character == '-' || character == '.' || character == '\'';
}

bool IsBlank(char character) {
    return character == ' ' || character == '\t';
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

}  // namespace quillon
