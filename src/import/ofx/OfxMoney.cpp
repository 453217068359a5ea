#include "import/ofx/OfxMoney.h"

#include <algorithm>
#include <optional>

#include "finance/ledger/Balance.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;

// Which way the money goes by the type alone: -1 out, 1 in, 0 either.
int DirectionOf(std::string_view type) {
    for (const std::string_view out : {"DEBIT", "DIRECTDEBIT", "CHECK", "CASH", "SRVCHG", "FEE"}) {
        if (type == out) return -1;
    }
    for (const std::string_view in : {"CREDIT", "DEP", "DIRECTDEP"}) {
        if (type == in) return 1;
    }
    return 0;
}

// A rate of exchange groups no thousands. Nothing when it is none, or not above 0.
std::optional<double> ReadRate(std::string_view text) {
    std::string plain(TrimBlanks(text).substr(0, 40));
    std::replace(plain.begin(), plain.end(), ',', '.');
    double rate = 0.0;
    std::string_view rest;
    if (!ScanDouble(plain, rate, &rest) || !rest.empty() || rate <= 0.0) return {};
    return rate;
}

// What the currency of a line means for its amount.
enum class Foreign {
    No,         // it is the statement's own
    Convert,    // at the rate that stands with it
    Converted,  // by the bank already
    NoRate,     // nothing to convert it with
};

Foreign ForeignOf(const OfxLine& line, std::string_view statementCurrency) {
    if (line.currency.empty() && line.rate.empty()) return Foreign::No;
    if (!statementCurrency.empty() && EqualIgnoringAsciiCase(line.currency, statementCurrency)) {
        return Foreign::No;
    }
    const std::optional<double> rate = ReadRate(line.rate);
    const bool isOne = rate && *rate == 1.0;
    if (isOne && (line.currency.empty() || statementCurrency.empty())) return Foreign::No;
    if (line.converted) return Foreign::Converted;
    return rate && !isOne ? Foreign::Convert : Foreign::NoRate;
}

void NoteCurrency(const OfxLine& line, const ImportSource& source, double written, double entered,
                  CImportNotes& notes) {
    const ImportArgument currency = ImportArgument::Apart(line.currency);
    const ImportArgument home = ImportArgument::Apart(source.currency);
    const ImportArgument sum = ImportArgument::Apart(entered);
    switch (ForeignOf(line, source.currency)) {
        case Foreign::Convert:
            notes.Add(Note::CurrencyConverted, line.line,
                      {line.amount, currency, sum, line.rate, home});
            break;
        case Foreign::Converted:
            notes.Add(Note::CurrencyConvertedByBank, line.line, {currency, line.amount});
            break;
        case Foreign::NoRate:
            notes.Add(Note::CurrencyWithoutRate, line.line, {line.amount, currency, home});
            break;
        case Foreign::No:
            if (HasWholeCents(written)) break;
            notes.Add(Note::AmountRounded, line.line, {line.amount, sum});
            break;
    }
}

void NoteDirection(const OfxLine& line, double entered, CImportNotes& notes) {
    const std::string type = TypeOf(line);
    const int direction = DirectionOf(type);
    if (direction * entered >= 0) return;
    notes.Add(direction < 0 ? Note::TypeSaysOut : Note::TypeSaysIn, line.line, {type});
}

}  // namespace

std::string TypeOf(const OfxLine& line) {
    return UpperAscii(line.type.substr(0, 32));
}

double RateOf(const OfxLine& line, std::string_view statementCurrency) {
    if (ForeignOf(line, statementCurrency) != Foreign::Convert) return 1.0;
    return ReadRate(line.rate).value_or(1.0);
}

void NoteMoney(const OfxLine& line, const ImportSource& source, double written, double entered,
               CImportNotes& notes) {
    NoteCurrency(line, source, written, entered, notes);
    NoteDirection(line, entered, notes);
}

}  // namespace quillon
