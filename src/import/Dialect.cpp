#include "import/Dialect.h"

#include <algorithm>
#include <utility>

namespace quillon {

const char* NameOf(DateOrder order) {
    switch (order) {
        case DateOrder::DayMonthYear:
            return "dmy";
        case DateOrder::YearMonthDay:
            return "ymd";
        case DateOrder::MonthDayYear:
            break;
    }
    return "mdy";
}

const char* NameOf(YearRule years) {
    return years == YearRule::AsWritten ? "as written" : "two-digit";
}

const char* NameOf(DecimalMark decimal) {
    return decimal == DecimalMark::Comma ? "comma" : "point";
}

const char* NameOf(Charset charset) {
    switch (charset) {
        case Charset::Windows1252:
            return "windows-1252";
        case Charset::Latin1:
            return "iso-8859-1";
        case Charset::Utf16Low:
            return "utf-16le";
        case Charset::Utf16High:
            return "utf-16be";
        case Charset::Utf32Low:
            return "utf-32le";
        case Charset::Utf32High:
            return "utf-32be";
        case Charset::Utf8:
            break;
    }
    return "utf-8";
}

namespace {

const char* SubjectOf(CImportNotes::Kind kind) {
    using Kind = CImportNotes::Kind;
    switch (kind) {
        case Kind::Date:
            return "dates that needed a note";
        case Kind::Amount:
            return "amounts that needed a note";
        case Kind::Payee:
            return "records without a payee";
        case Kind::Number:
            return "numbers that are no check numbers";
        case Kind::Identifier:
            return "identifiers that needed a note";
        case Kind::Transfer:
            return "transfers";
        case Kind::Splits:
            return "split records";
        case Kind::Skipped:
            return "skipped records";
        case Kind::Repeated:
            return "repeated statement lines";
        case Kind::Differs:
            return "lines that differ from what the account holds";
        case Kind::Record:
            return "records that needed a note";
        case Kind::Dialect:
        case Kind::File:
        case Kind::kCount:
            break;
    }
    return "notes";
}

}  // namespace

void CImportNotes::Add(Kind kind, int64_t line, std::string text) {
    if (++m_counts[static_cast<size_t>(kind)] <= kListedPerKind) {
        m_notes.push_back({line, std::move(text)});
    }
}

bool CImportNotes::Wants(Kind kind) {
    int64_t& count = m_counts[static_cast<size_t>(kind)];
    if (count < kListedPerKind) return true;
    ++count;
    return false;
}

std::vector<ImportNote> CImportNotes::Take() {
    std::stable_sort(m_notes.begin(), m_notes.end(),
                     [](const ImportNote& a, const ImportNote& b) { return a.line < b.line; });
    for (size_t i = 0; i < m_counts.size(); ++i) {
        const int64_t more = m_counts[i] - kListedPerKind;
        if (more <= 0) continue;
        m_notes.push_back(
            {0, "And " + std::to_string(more) + " more " + SubjectOf(static_cast<Kind>(i)) + "."});
    }
    m_counts = {};
    return std::move(m_notes);
}

}  // namespace quillon
