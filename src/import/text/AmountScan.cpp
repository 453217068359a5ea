#include "import/text/AmountScan.h"

#include "import/text/CurrencyNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr std::string_view kMinusSigns[] = {
    "\xE2\x88\x92",  // minus
    "\xE2\x80\x93",  // dash
};
constexpr std::string_view kGroupSigns[] = {
    " ",
    "\t",
    "'",
    "\xC2\xA0",      // no-break space
    "\xE2\x80\xAF",  // narrow no-break space
    "\xE2\x80\x89",  // thin space
    "\xE2\x80\x99",  // apostrophe
};

size_t GroupSignAt(std::string_view text) {
    for (const std::string_view sign : kGroupSigns) {
        if (text.substr(0, sign.size()) == sign) return sign.size();
    }
    return 0;
}

size_t MinusSignAt(std::string_view text) {
    for (const std::string_view sign : kMinusSigns) {
        if (text.substr(0, sign.size()) == sign) return sign.size();
    }
    return 0;
}

// Reads what stands in an amount from left to right.
class CAmountScan {
public:
    explicit CAmountScan(std::string_view text) : m_text(text) {}

    CleanedAmount Run() {
        while (m_at < m_text.size() && !m_stopped) Step();
        if (m_parentheses != 0) m_out.isOdd = true;
        if (m_isCredit && m_out.negative) m_out.isOdd = true;
        if (m_isDebit) {
            if (m_isCredit) m_out.isOdd = true;
            m_out.negative = true;
        }
        return m_out;
    }

private:
    std::string_view Rest() const { return m_text.substr(m_at); }
    bool HasNumber() const { return m_out.size > 0; }

    void Step() {
        const char c = m_text[m_at];
        if (IsDigit(c) || ((c == '.' || c == ',') && IsDigitAt(m_at + 1))) {
            TakeNumber();
        } else if (const size_t blank = GroupSignAt(Rest()); blank > 0) {
            m_at += blank;
        } else if (const MoneySign* const sign = MoneySignAt(Rest())) {
            TakeCurrency(sign->bytes.size());
        } else if (const size_t minus = MinusSignAt(Rest()); minus > 0) {
            TakeSign('-');
            m_at += minus;
        } else if (IsLetter(c)) {
            TakeWord();
        } else {
            TakeSign(c);
            ++m_at;
        }
    }

    bool IsDigitAt(size_t at) const { return at < m_text.size() && IsDigit(m_text[at]); }

    void TakeSign(char c) {
        if (c == '-') {
            // "100,-" has no cents.
            const bool isCents = HasNumber() && !IsDigit(m_out.text[m_out.size - 1]);
            m_out.negative = m_out.negative || !isCents;
        } else if (c == '(' && !HasNumber()) {
            m_out.negative = true;
            ++m_parentheses;
        } else if (c == ')' && m_parentheses > 0 && HasNumber()) {
            --m_parentheses;
        } else if (c != '+' && !(c == '.' && !HasNumber() && !m_out.currency.empty())) {
            m_out.isOdd = true;
        }
    }

    // Digits, marks, and signs that group three digits each. A second number is no part of
    // the amount, and neither is the sign in front of it.
    void TakeNumber() {
        if (HasNumber()) {
            m_out.isOdd = true;
            m_out.negative = m_wasNegative;
            m_stopped = true;
            return;
        }
        m_wasNegative = m_out.negative;
        while (m_at < m_text.size()) {
            const char c = m_text[m_at];
            if (IsDigit(c) || c == '.' || c == ',') {
                if (m_out.size == CleanedAmount::kMost) {
                    m_out.isOdd = m_stopped = true;
                    return;
                }
                m_out.text[m_out.size++] = c;
                ++m_at;
                continue;
            }
            const size_t length = GroupSignAt(Rest());
            if (length == 0 || !IsGroupAt(m_at + length)) return;
            m_at += length;
        }
    }

    // Three digits, and no fourth.
    bool IsGroupAt(size_t at) const {
        return IsDigitAt(at) && IsDigitAt(at + 1) && IsDigitAt(at + 2) && !IsDigitAt(at + 3);
    }

    void TakeCurrency(size_t length) {
        m_out.currency = m_text.substr(m_at, length);
        m_at += length;
    }

    // A currency or which way the money goes. A letter that a number follows at once
    // ("1e5", "12x5") is neither.
    void TakeWord() {
        size_t length = 0;
        while (m_at + length < m_text.size() && IsLetter(m_text[m_at + length]) &&
               !MoneySignAt(m_text.substr(m_at + length)) &&
               MinusSignAt(m_text.substr(m_at + length)) == 0 &&
               GroupSignAt(m_text.substr(m_at + length)) == 0) {
            ++length;
        }
        const std::string_view word = m_text.substr(m_at, length);
        const auto is = [word](std::string_view name) {
            return EqualIgnoringAsciiCase(word, name);
        };
        const bool isBehind = HasNumber();
        if (is("DR") || is("DB") || (isBehind && (is("D") || is("DEBIT")))) {
            m_isDebit = true;
        } else if (is("CR") || (isBehind && (is("C") || is("CREDIT")))) {
            m_isCredit = true;
        } else if (IsCurrencyWord(word) || MoneySignAt(m_text.substr(m_at + length))) {
            TakeCurrency(length);
            // "Rs.500": the point belongs to the word.
            if (!IsCurrencyCode(word) && m_at < m_text.size() && m_text[m_at] == '.') ++m_at;
            return;
        } else {
            m_out.isOdd = true;
        }
        m_at += length;
        if (m_at < m_text.size() && m_text[m_at] == '.' && !IsDigitAt(m_at + 1)) ++m_at;
    }

    std::string_view m_text;
    size_t m_at = 0;
    CleanedAmount m_out;
    int m_parentheses = 0;  // open ones
    bool m_isDebit = false;
    bool m_isCredit = false;
    bool m_wasNegative = false;  // when the number began
    bool m_stopped = false;
};

struct Marks {
    size_t points = 0;
    size_t commas = 0;
    size_t last = std::string_view::npos;  // of the last mark
    bool groupsOfThree = true;             // between marks, the last one included
    size_t digitsBefore = 0;               // the first mark
};

Marks FindMarks(std::string_view number) {
    Marks marks;
    for (size_t i = 0; i < number.size(); ++i) {
        if (number[i] != '.' && number[i] != ',') continue;
        ++(number[i] == '.' ? marks.points : marks.commas);
        if (marks.last == std::string_view::npos) {
            marks.digitsBefore = i;
        } else if (i - marks.last != 4) {
            marks.groupsOfThree = false;
        }
        marks.last = i;
    }
    if (marks.last != std::string_view::npos && number.size() - marks.last != 4) {
        marks.groupsOfThree = false;
    }
    return marks;
}

// Could the marks, all of one kind, group thousands?
bool CouldGroup(std::string_view number, const Marks& marks) {
    return marks.groupsOfThree && marks.digitsBefore >= 1 && marks.digitsBefore <= 3 &&
           number.front() != '0';
}

}  // namespace

CleanedAmount CleanAmount(std::string_view text) {
    constexpr size_t kLongest = 256;  // bytes; what is longer is no amount
    CleanedAmount cleaned = CAmountScan(text.substr(0, kLongest)).Run();
    if (text.size() > kLongest) cleaned.isOdd = true;
    return cleaned;
}

AmountEvidence EvidenceOfNumber(std::string_view number) {
    const Marks marks = FindMarks(number);
    if (marks.points + marks.commas == 0) return AmountEvidence::None;
    if (marks.last + 1 == number.size()) return AmountEvidence::None;
    const bool lastIsPoint = number[marks.last] == '.';
    if (marks.points > 0 && marks.commas > 0) {
        if ((lastIsPoint ? marks.points : marks.commas) > 1) return AmountEvidence::None;
        return lastIsPoint ? AmountEvidence::GroupedPoint : AmountEvidence::GroupedComma;
    }
    if (marks.points + marks.commas > 1) {
        if (!CouldGroup(number, marks)) return AmountEvidence::None;
        return lastIsPoint ? AmountEvidence::GroupedComma : AmountEvidence::GroupedPoint;
    }
    if (CouldGroup(number, marks)) return AmountEvidence::None;
    return lastIsPoint ? AmountEvidence::Point : AmountEvidence::Comma;
}

bool CouldBeEither(std::string_view number) {
    const Marks marks = FindMarks(number);
    return marks.points + marks.commas == 1 && CouldGroup(number, marks);
}

}  // namespace quillon
