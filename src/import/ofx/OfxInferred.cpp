#include "import/ofx/OfxInferred.h"

#include <algorithm>
#include <utility>

#include "finance/records/FinanceCodes.h"
#include "import/ofx/OfxMoney.h"
#include "import/ofx/OfxValues.h"
#include "import/text/DateText.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

std::optional<int64_t> ReadAnyDate(std::string_view text) {
    if (const std::optional<int64_t> date = ReadStatementDate(text)) return date;
    // Statements have one order, so only a date that needs none is one.
    DateParts parts;
    if (!SplitDate(text, parts) && !SplitDate(text.substr(0, 10), parts)) return {};
    if (!parts.YearFirst() && !parts.namesMonth) return {};
    return ReadDate(parts, DateOrder::YearMonthDay);
}

std::optional<int64_t> DateOf(const OfxLine& line) {
    const std::optional<int64_t> date = ReadAnyDate(line.date);
    return date ? date : ReadAnyDate(line.userDate);
}

bool IsWithdrawn(const OfxLine& line) {
    return EqualIgnoringAsciiCase(line.correctAction, "DELETE");
}

}  // namespace

CInferredOfx::CInferredOfx(std::string_view text, int64_t today, const ImportOptions& options,
                           Dialect& dialect, CImportNotes& notes)
    : m_text(text), m_today(today), m_options(options), m_dialect(dialect), m_notes(notes) {}

void CInferredOfx::Note(Kind kind, int64_t line, std::string_view text) {
    if (m_speaks) m_notes.Add(kind, line, text);
}

// --- the whole file

void CInferredOfx::Survey() {
    CAmountInference amounts;
    std::vector<int64_t> ids;
    COfxStatements statements(
        m_text, [&](std::string_view amount, int64_t line) { amounts.Add(amount, line); });
    m_ids.BeginWalk();
    for (OfxLine line; statements.Next(line);) {
        if (m_counts.size() <= line.statement) m_counts.resize(line.statement + 1);
        Counts& counts = m_counts[line.statement];
        ++counts.read;
        if (!line.cutOff && !line.amount.empty()) amounts.Add(line.amount, line.line);
        if (!IsRecord(line)) continue;
        ++counts.records;
        counts.dated += DateOf(line).has_value();
        bool isMade = false;
        ids.push_back(m_ids.IdOf(line, line.name.empty() ? line.memo : line.name, isMade));
    }
    m_survey = statements.Survey();
    m_dialect.dateOrder = DateOrder::YearMonthDay;
    m_dialect.years = YearRule::AsWritten;
    m_marks = amounts.Decide(m_options.decimal, m_dialect, m_notes);
    m_ids.FindShared(std::move(ids));
}

CInferredOfx::Counts CInferredOfx::Count(const std::vector<ImportSource>& sources) const {
    Counts sum;
    for (size_t i = 0; i < m_counts.size(); ++i) {
        if (m_counts[i].read == 0 || !sources[m_survey.sourceOf[i]].chosen) continue;
        sum.read += m_counts[i].read;
        sum.records += m_counts[i].records;
        sum.dated += m_counts[i].dated;
    }
    return sum;
}

// What no line of the others would lack: one without date, amount and identifier says
// nothing that could be entered.
bool CInferredOfx::IsRecord(const OfxLine& line) {
    if (line.cutOff) {
        Note(Kind::Skipped, line.line,
             "The file ends inside this statement line; it was not entered. Downloading the "
             "statement again brings it.");
        return false;
    }
    if (IsWithdrawn(line)) {
        Note(Kind::Skipped, line.line,
             "The bank withdraws its line " + InQuotes(line.correctId) +
                 ": nothing was entered; delete that transaction by hand.");
        return false;
    }
    if (line.date.empty() && line.userDate.empty() && line.amount.empty() && line.id.empty()) {
        Note(Kind::Skipped, line.line,
             "Neither date, amount nor identifier: this line was not entered.");
        return false;
    }
    return true;
}

// Before anything is handed over: what lines with one identifier say, and what the amounts
// add up to.
void CInferredOfx::LookAgain(const std::vector<ImportSource>& sources) {
    m_ids.BeginWalk();
    m_rounding.assign(sources.size(), {});
    COfxStatements statements(m_text);
    for (OfxLine line; statements.Next(line);) {
        const size_t source = SourceOf(line);
        if (!sources[source].chosen || !IsRecord(line)) continue;
        ImportRecord record;
        ReadRecord(line, record);
        m_rounding[source].Add(record.amount);
        m_ids.Look(SourceNamed(source), record);
    }
    for (size_t i = 0; i < sources.size(); ++i) {
        if (m_survey.hasBalance[i]) m_rounding[i].KeepSum();
    }
}

void CInferredOfx::Read(const std::vector<ImportSource>& sources, const RecordSink& sink) {
    LookAgain(sources);
    m_speaks = true;
    m_ids.BeginWalk();
    if (m_survey.investmentActions > 0) {
        Note(Kind::File, 0,
             "Skipped: " + std::to_string(m_survey.investmentActions) +
                 " actions on securities, which are no bank-style lines.");
    }
    COfxStatements statements(m_text);
    for (OfxLine line; statements.Next(line);) {
        const size_t source = SourceOf(line);
        if (!sources[source].chosen || !IsRecord(line)) continue;
        ImportRecord record;
        ReadRecord(line, record);
        NoteShared(m_ids.Mark(SourceNamed(source), record), record.line);
        const double written = record.amount;
        record.amount = m_rounding[source].Round(written);
        NoteMoney(line, sources[source], written, record.amount, m_notes);
        if (!sink(record)) break;
    }
    m_speaks = false;
}

// --- values

void CInferredOfx::ReadRecord(const OfxLine& line, ImportRecord& record) {
    record.line = line.line;
    ReadDateOf(line, record);
    ReadAmountOf(line, record);
    ReadTypeAndCheckOf(line, record);
    record.memo = line.memo;
    record.payee = line.name.empty() ? line.memo : line.name;
    if (record.payee.empty()) {
        Note(Kind::Payee, line.line, "No name and no memo: entered without a payee.");
    }
    if (!line.correctId.empty()) {
        Note(Kind::Identifier, line.line,
             "The bank corrects its line " + InQuotes(line.correctId) +
                 (line.correctId == line.id
                      ? " by this one."
                      : " by this one: if the old one is in the account, delete it."));
    }
    record.idText = line.id;
    bool isMade = false;
    record.fitId = m_ids.IdOf(line, record.payee, isMade);
    if (isMade) {
        Note(Kind::Identifier, line.line,
             "No identifier: one was made from date, amount and name.");
    }
    if (!line.closed) {
        Note(Kind::Record, line.line,
             "This statement line has no </STMTTRN>; it was entered as it is.");
    }
}

void CInferredOfx::ReadDateOf(const OfxLine& line, ImportRecord& record) {
    std::optional<int64_t> date = ReadAnyDate(line.date);
    if (!date) {
        date = ReadAnyDate(line.userDate);
        const std::string what =
            line.date.empty() ? "No date" : "The date " + InQuotes(line.date) + " cannot be read";
        Note(Kind::Date, line.line,
             what + (date ? ": entered under the date of use, " +
                                std::string(line.userDate.substr(0, 8)) + "."
                          : ": entered under today's."));
    }
    record.date = date.value_or(m_today);
    record.dateRead = date.has_value();
}

// The amount in the statement's currency, with all its decimals.
void CInferredOfx::ReadAmountOf(const OfxLine& line, ImportRecord& record) {
    if (line.amount.empty()) {
        Note(Kind::Amount, line.line, "No amount: entered as 0.");
        record.amountRead = false;
        return;
    }
    const AmountReading reading = ReadAmount(line.amount, m_marks, record.amount);
    record.amountRead = reading != AmountReading::Failed;
    if (m_speaks) NoteReading(line, reading);
    record.amount *= RateOf(line, m_survey.sources[SourceOf(line)].currency);
}

void CInferredOfx::NoteReading(const OfxLine& line, AmountReading reading) {
    const bool commaIgnored = reading == AmountReading::Clean && !m_marks.own &&
                              !m_options.decimal && Contains(line.amount, ",") &&
                              EvidenceOf(line.amount) != AmountEvidence::GroupedPoint;
    if (commaIgnored) reading = AmountReading::Thousands;
    if (reading == AmountReading::Clean && !Contains(line.amount, "$")) return;
    const std::string text = AmountNote(line.amount, reading);
    Note(Kind::Amount, line.line,
         !text.empty() ? text
                       : "The amount " + InQuotes(line.amount) +
                             " is not written as statements write amounts; what it says was read.");
}

void CInferredOfx::ReadTypeAndCheckOf(const OfxLine& line, ImportRecord& record) {
    const std::string type = TypeOf(line);
    record.electronic = type == "ATM" ? kElectronicAtm : ElectronicOfType(type);
    if (line.check.empty()) return;
    const std::optional<int32_t> number = ReadCheckNumber(line.check);
    if (!number) {
        Note(Kind::Number, line.line,
             "The number " + InQuotes(line.check) + " is no check number and was left out.");
        return;
    }
    record.check = *number;
    // Money that goes out under a check's number is a check.
    if (record.check != 0 && record.amount < 0 && record.electronic == kElectronicEft) {
        record.electronic = {};
    }
}

void CInferredOfx::NoteShared(const COfxIdentifiers::Finding& finding, int64_t line) {
    using Found = COfxIdentifiers::Finding::Kind;
    if (finding.kind == Found::Unique) return;
    const std::string first = std::to_string(finding.firstLine);
    if (finding.kind == Found::Repeated) {
        Note(Kind::Repeated, line,
             "The same line as in line " + first + ", said again; entered once.");
        return;
    }
    Note(Kind::Repeated, line,
         "Line " + first +
             (finding.sameSource
                  ? " has the same identifier, but another date, amount or name: both count."
                  : " has the same identifier, but is another account's: both count."));
}

}  // namespace quillon
