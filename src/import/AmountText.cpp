#include "import/AmountText.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "import/TextScan.h"

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
    bool cutShort = false;  // something foreign followed

    std::string_view View() const { return {text, size}; }
};

// Characters of more than one byte that belong to amounts: dropped, but for the minus.
struct LongSign {
    std::string_view bytes;
    bool minus;
};
constexpr LongSign kLongSigns[] = {
    {"\xC2\xA0", false},      // no-break space
    {"\xE2\x80\xAF", false},  // narrow no-break space
    {"\xE2\x80\x99", false},  // apostrophe
    {"\xE2\x82\xAC", false},  // euro
    {"\xC2\xA3", false},      // pound
    {"\xC2\xA5", false},      // yen
    {"\xE2\x88\x92", true},   // minus
};

size_t LongSignAt(std::string_view text, bool& minus) {
    for (const LongSign& sign : kLongSigns) {
        if (text.substr(0, sign.bytes.size()) != sign.bytes) continue;
        minus = sign.minus;
        return sign.bytes.size();
    }
    return 0;
}

bool IsLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

Cleaned Clean(std::string_view text) {
    Cleaned cleaned;
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        bool minus = false;
        if ((c >= '0' && c <= '9') || c == '.' || c == ',') {
            if (cleaned.size == Cleaned::kMost) {
                cleaned.cutShort = true;
                break;
            }
            cleaned.text[cleaned.size++] = c;
        } else if (c == '-' || c == '(') {
            if (cleaned.size > 0 && at + 1 < text.size() && text[at + 1] >= '0' &&
                text[at + 1] <= '9') {
                cleaned.cutShort = true;
                break;
            }
            cleaned.negative = true;
        } else if (const size_t length = LongSignAt(text.substr(at), minus); length > 0) {
            cleaned.negative = cleaned.negative || minus;
            at += length;
            continue;
        } else if (IsLetter(c)) {
            // A currency code in front or behind; "1e5" or "12abc34" is not one.
            if (cleaned.size > 0) {
                const std::string_view rest = text.substr(at);
                cleaned.cutShort =
                    std::any_of(rest.begin(), rest.end(), [](char x) { return !IsLetter(x); });
                break;
            }
        } else if (c != '+' && c != ')' && c != ' ' && c != '\t' && c != '\'' && c != '$') {
            cleaned.cutShort = true;
            break;
        }
        ++at;
    }
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

double ReadPlainAmount(std::string_view text) {
    double amount = 0.0;
    if (text.find_first_of(",$") == std::string_view::npos) {
        return ScanDouble(text, amount) ? Settled(amount) : 0.0;
    }
    std::string kept;
    kept.reserve(text.size());
    for (const char character : text) {
        if (character != ',' && character != '$') kept += character;
    }
    return ScanDouble(kept, amount) ? Settled(amount) : 0.0;
}

AmountEvidence EvidenceOf(std::string_view amount) {
    const Cleaned cleaned = Clean(amount);
    return cleaned.cutShort ? AmountEvidence::None : Judge(cleaned.View());
}

AmountReading ReadAmount(std::string_view text, DecimalMark decimal, bool ownMarks,
                         double& amount) {
    amount = 0.0;
    const Cleaned cleaned = Clean(text);
    const std::string_view number = cleaned.View();
    DecimalMark mark = decimal;
    if (ownMarks) {
        const AmountEvidence evidence = Judge(number);
        if (evidence == AmountEvidence::Point || evidence == AmountEvidence::GroupedPoint) {
            mark = DecimalMark::Point;
        } else if (evidence != AmountEvidence::None) {
            mark = DecimalMark::Comma;
        }
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
    if (cleaned.cutShort || !rest.empty()) return AmountReading::Partly;
    return mark == decimal ? AmountReading::Clean : AmountReading::OtherMark;
}

void CAmountInference::Add(std::string_view text, int64_t line) {
    Proof* proof = nullptr;
    switch (EvidenceOf(text)) {
        case AmountEvidence::None:
            return;
        case AmountEvidence::Point:
            proof = &m_point;
            break;
        case AmountEvidence::Comma:
            proof = &m_comma;
            break;
        case AmountEvidence::GroupedPoint:
            proof = &m_groupedPoint;
            break;
        case AmountEvidence::GroupedComma:
            proof = &m_groupedComma;
            break;
    }
    if (++proof->count > 1) return;
    proof->line = line;
    proof->text = std::string(TrimBlanks(text).substr(0, 40));
}

void CAmountInference::Decide(std::optional<DecimalMark> asked, Dialect& dialect,
                              CImportNotes& notes) const {
    using Kind = CImportNotes::Kind;
    if (asked) {
        dialect.decimal = *asked;
        return;
    }
    dialect.decimal = DecimalMark::Point;
    const Proof& comma = m_groupedComma.count > 0 ? m_groupedComma : m_comma;
    if (comma.count == 0) return;
    if (m_groupedPoint.count > 0) {
        notes.Add(Kind::Dialect, 0,
                  "Amounts contradict each other: line " + std::to_string(comma.line) + " (" +
                      comma.text + ") has a decimal comma, line " +
                      std::to_string(m_groupedPoint.line) + " (" + m_groupedPoint.text +
                      ") a decimal point. Commas are taken for thousands marks; the amounts "
                      "that do not look so are listed.");
        return;
    }
    dialect.decimal = DecimalMark::Comma;
    std::string text = "Amounts have a decimal comma: " + comma.text + ".";
    if (m_point.count > 0) {
        text += " Some have a point, such as " + m_point.text + " in line " +
                std::to_string(m_point.line) + ": it cannot group thousands there.";
    }
    notes.Add(Kind::Dialect, comma.line, std::move(text));
}

}  // namespace quillon
