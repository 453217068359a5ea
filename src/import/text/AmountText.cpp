#include "import/text/AmountText.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "foundation/Unicode.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr double kNothing = 1e-8;

double Settled(double amount) {
    return std::fabs(amount) < kNothing ? 0.0 : amount;
}

// An amount reduced to sign, digits and marks.
struct Cleaned {
    static constexpr size_t kMost = 64;
    char text[kMost];  // digits, '.' and ','
    size_t size = 0;
    bool negative = false;
    bool isOdd = false;         // something beside it belongs to no amount
    std::string_view currency;  // as written

    std::string_view View() const { return {text, size}; }
};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Bytes above ASCII are letters here.
bool IsLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}

// ISO 4217, those in use.
constexpr std::string_view kCurrencies =
    "AED AFN ALL AMD ANG AOA ARS AUD AWG AZN BAM BBD BDT BGN BHD BIF BMD BND BOB BRL BSD BTN "
    "BWP BYN BZD CAD CDF CHF CLP CNY COP CRC CUP CVE CZK DEM DJF DKK DOP DZD EGP ERN ETB EUR "
    "FIM FJD FKP FRF GBP GEL GHS GIP GMD GNF GTQ GYD HKD HNL HRK HTG HUF IDR ILS INR IQD IRR "
    "ISK ITL JMD JOD JPY KES KGS KHR KMF KPW KRW KWD KYD KZT LAK LBP LKR LRD LSL LYD MAD MDL "
    "MGA MKD MMK MNT MOP MRU MUR MVR MWK MXN MYR MZN NAD NGN NIO NLG NOK NPR NZD OMR PAB PEN "
    "PGK PHP PKR PLN PYG QAR RON RSD RUB RWF SAR SBD SCR SDG SEK SGD SHP SLE SOS SRD SSP STN "
    "SVC SYP SZL THB TJS TMT TND TOP TRY TTD TWD TZS UAH UGX USD UYU UZS VES VND VUV WST XAF "
    "XCD XOF XPF YER ZAR ZMW ZWL ";

// Other words that stand for money, in lower case.
constexpr std::string_view kMoneyWords[] = {
    "kr", "z\xC5\x82", "zl", "k\xC4\x8D", "kc", "ft",   "fr",    "sfr", "rs",  "rm",  "r",
    "us", "au",        "ca", "nz",        "hk", "euro", "euros", "lei", "dkr", "nkr", "skr"};

struct Sign {
    std::string_view bytes;
    std::string_view currency;  // its code, or itself
};
constexpr Sign kMoneySigns[] = {
    {"$", "$"},
    {"\xE2\x82\xAC", "EUR"},
    {"\xC2\xA3", "GBP"},
    {"\xC2\xA5", "JPY"},
    {"\xE2\x82\xB9", "INR"},
    {"\xE2\x82\xBD", "RUB"},
    {"\xE2\x82\xA9", "KRW"},
    {"\xE2\x82\xAA", "ILS"},
    {"\xE2\x82\xAB", "VND"},
    {"\xE2\x82\xB1", "PHP"},
    {"\xE2\x82\xB4", "UAH"},
    {"\xE2\x82\xBA", "TRY"},
};

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

const Sign* MoneySignAt(std::string_view text) {
    for (const Sign& sign : kMoneySigns) {
        if (text.substr(0, sign.bytes.size()) == sign.bytes) return &sign;
    }
    return nullptr;
}

std::string InCapitals(std::string_view word) {
    std::string capitals(word);
    for (char& c : capitals) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    }
    return capitals;
}

bool IsCurrencyCode(std::string_view word) {
    if (word.size() != 3) return false;
    const size_t at = kCurrencies.find(InCapitals(word));
    return at != std::string_view::npos && at % 4 == 0;
}

bool IsCurrencyWord(std::string_view word) {
    return IsCurrencyCode(word) ||
           std::any_of(std::begin(kMoneyWords), std::end(kMoneyWords),
                       [word](std::string_view known) { return EqualsIgnoringCase(word, known); });
}

// Reads what stands in an amount from left to right.
class CAmountScan {
public:
    explicit CAmountScan(std::string_view text) : m_text(text) {}

    Cleaned Run() {
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
        } else if (const Sign* const sign = MoneySignAt(Rest())) {
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
                if (m_out.size == Cleaned::kMost) {
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
        const auto is = [word](std::string_view name) { return EqualsAsciiCase(word, name); };
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
    Cleaned m_out;
    int m_parentheses = 0;  // open ones
    bool m_isDebit = false;
    bool m_isCredit = false;
    bool m_wasNegative = false;  // when the number began
    bool m_stopped = false;
};

Cleaned Clean(std::string_view text) {
    constexpr size_t kLongest = 256;  // bytes; what is longer is no amount
    Cleaned cleaned = CAmountScan(text.substr(0, kLongest)).Run();
    if (text.size() > kLongest) cleaned.isOdd = true;
    return cleaned;
}

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

AmountEvidence Judge(std::string_view number) {
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

}  // namespace

double ReadPlainAmount(std::string_view text, bool* isRead) {
    std::string kept;
    if (text.find_first_of(",$") != std::string_view::npos) {
        kept.reserve(text.size());
        for (const char character : text) {
            if (character != ',' && character != '$') kept += character;
        }
        text = kept;
    }
    double amount = 0.0;
    const bool isNumber = ScanDouble(text, amount);
    if (isRead) *isRead = isNumber;
    return isNumber ? Settled(amount) : 0.0;
}

AmountEvidence EvidenceOf(std::string_view amount) {
    const Cleaned cleaned = Clean(amount);
    return cleaned.isOdd ? AmountEvidence::None : Judge(cleaned.View());
}

namespace {

// One mark with three digits behind it.
bool CouldBeEither(std::string_view number) {
    const Marks marks = FindMarks(number);
    return marks.points + marks.commas == 1 && CouldGroup(number, marks);
}

}  // namespace

AmountReading ReadAmount(std::string_view text, const AmountMarks& marks, double& amount) {
    amount = 0.0;
    const Cleaned cleaned = Clean(text);
    const std::string_view number = cleaned.View();
    DecimalMark mark = marks.decimal;
    AmountReading reading = AmountReading::Clean;
    const AmountEvidence evidence = marks.own ? Judge(number) : AmountEvidence::None;
    if (evidence != AmountEvidence::None) {
        const bool isPoint =
            evidence == AmountEvidence::Point || evidence == AmountEvidence::GroupedPoint;
        mark = isPoint ? DecimalMark::Point : DecimalMark::Comma;
        if (mark != marks.decimal) reading = AmountReading::OtherMark;
    } else if (marks.mixed && CouldBeEither(number)) {
        mark = Contains(number, ",") ? DecimalMark::Point : DecimalMark::Comma;
        reading = AmountReading::Thousands;
    }
    const char decimalMark = mark == DecimalMark::Point ? '.' : ',';
    char digits[Cleaned::kMost];
    size_t size = 0;
    for (const char c : number) {
        if (c == decimalMark) {
            digits[size++] = '.';
        } else if (c != '.' && c != ',') {
            digits[size++] = c;
        }
    }
    std::string_view rest;
    double value = 0.0;
    if (!ScanDouble({digits, size}, value, &rest)) return AmountReading::Failed;
    amount = Settled(cleaned.negative ? -value : value);
    return cleaned.isOdd || !rest.empty() ? AmountReading::Partly : reading;
}

std::string AmountNote(std::string_view text, AmountReading reading) {
    const std::string note = "The amount " + InQuotes(text);
    switch (reading) {
        case AmountReading::Clean:
            return {};
        case AmountReading::OtherMark:
            return note + " has the other decimal mark: it was read by its own.";
        case AmountReading::Thousands:
            return note + " was read with its mark as a thousands mark; it could be a decimal one.";
        case AmountReading::Partly:
            return note + " is not a clean number: what stands beside it was left out.";
        case AmountReading::Failed:
            break;
    }
    return note + " cannot be read: entered as 0.";
}

std::string CurrencyOf(std::string_view text) {
    const Cleaned cleaned = Clean(text);
    for (const Sign& sign : kMoneySigns) {
        if (cleaned.currency == sign.bytes) return std::string(sign.currency);
    }
    return InCapitals(cleaned.currency);
}

void CAmountInference::Proof::Take(std::string_view amount, int64_t at) {
    if (++count > 1) return;
    line = at;
    text = std::string(TrimBlanks(amount).substr(0, 40));
}

void CAmountInference::Add(std::string_view text, int64_t line, bool isCounted) {
    const Cleaned cleaned = Clean(text);
    if (cleaned.isOdd) return;
    switch (Judge(cleaned.View())) {
        case AmountEvidence::None:
            if (isCounted && CouldBeEither(cleaned.View())) m_either.Take(text, line);
            return;
        case AmountEvidence::Point:
            return m_point.Take(text, line);
        case AmountEvidence::Comma:
            return m_comma.Take(text, line);
        case AmountEvidence::GroupedPoint:
            return m_groupedPoint.Take(text, line);
        case AmountEvidence::GroupedComma:
            return m_groupedComma.Take(text, line);
    }
}

AmountMarks CAmountInference::Decide(std::optional<DecimalMark> asked, Dialect& dialect,
                                     CImportNotes& notes) const {
    using Kind = CImportNotes::Kind;
    AmountMarks marks;
    marks.decimal = dialect.decimal = asked.value_or(DecimalMark::Point);
    marks.own = marks.decimal == DecimalMark::Comma;
    if (asked) return marks;
    const Proof& comma = Commas();
    if (comma.count == 0) return marks;
    const Proof& point = Points();
    constexpr int64_t kClearly = 2;
    const int64_t points = m_point.count + m_groupedPoint.count;
    const int64_t commas = m_comma.count + m_groupedComma.count;
    const bool mostlyPoints = m_groupedPoint.count > 0 || points > commas * kClearly;
    marks.own = true;
    marks.mixed = points > 0;
    marks.decimal = dialect.decimal = mostlyPoints ? DecimalMark::Point : DecimalMark::Comma;
    const auto shown = [](const Proof& proof) {
        return proof.text + " in line " + std::to_string(proof.line);
    };
    if (marks.mixed && m_either.count > 0) {
        notes.Add(Kind::Dialect, 0,
                  std::to_string(m_either.count) + (m_either.count == 1 ? " amount" : " amounts") +
                      " could have a decimal mark or a thousands mark, the first is " +
                      shown(m_either) + ": taken for thousands.");
    }
    if (mostlyPoints) {
        notes.Add(Kind::Dialect, 0,
                  "Amounts have a decimal point (" + shown(point) + "); some have a comma (" +
                      shown(comma) + ") and were read by it.");
    } else {
        std::string text = "Amounts have a decimal comma: " + comma.text + ".";
        if (marks.mixed) text += " Some have a point (" + shown(point) + ") and were read by it.";
        notes.Add(Kind::Dialect, comma.line, std::move(text));
    }
    return marks;
}

}  // namespace quillon
