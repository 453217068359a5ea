#include "import/text/AmountText.h"

#include <cmath>

#include "import/text/AmountScan.h"
#include "import/text/CurrencyNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr double kNothing = 1e-8;

double Settled(double amount) {
    return std::fabs(amount) < kNothing ? 0.0 : amount;
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
    const CleanedAmount cleaned = CleanAmount(amount);
    return cleaned.isOdd ? AmountEvidence::None : EvidenceOfNumber(cleaned.View());
}

AmountReading ReadAmount(std::string_view text, const AmountMarks& marks, double& amount) {
    amount = 0.0;
    const CleanedAmount cleaned = CleanAmount(text);
    const std::string_view number = cleaned.View();
    DecimalMark mark = marks.decimal;
    AmountReading reading = AmountReading::Clean;
    const AmountEvidence evidence = marks.own ? EvidenceOfNumber(number) : AmountEvidence::None;
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
    char digits[CleanedAmount::kMost];
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

std::optional<ImportNoteCode> NoteOf(AmountReading reading) {
    switch (reading) {
        case AmountReading::Clean:
            return {};
        case AmountReading::OtherMark:
            return ImportNoteCode::AmountOfOtherMark;
        case AmountReading::Thousands:
            return ImportNoteCode::AmountOfThousands;
        case AmountReading::Partly:
            return ImportNoteCode::AmountPartlyRead;
        case AmountReading::Failed:
            break;
    }
    return ImportNoteCode::AmountUnreadable;
}

std::string CurrencyOf(std::string_view text) {
    return CurrencyName(CleanAmount(text).currency);
}

}  // namespace quillon
