#include "import/ofx/OfxInferred.h"

#include <algorithm>
#include <utility>

#include "finance/records/FinanceCodes.h"
#include "import/ofx/OfxMoney.h"
#include "import/ofx/OfxValues.h"
#include "import/text/DateText.h"

namespace quillon {

namespace {

using Code = ImportNoteCode;

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

void CInferredOfx::Note(Code code, int64_t line, std::initializer_list<ImportArgument> values) {
    if (m_speaks) m_notes.Add(code, line, values);
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
        Note(Code::LineCutOff, line.line);
        return false;
    }
    if (IsWithdrawn(line)) {
        Note(Code::LineWithdrawn, line.line, {line.correctId});
        return false;
    }
    if (line.date.empty() && line.userDate.empty() && line.amount.empty() && line.id.empty()) {
        Note(Code::LineEmpty, line.line);
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
        Note(Code::SecuritiesSkipped, 0, {m_survey.investmentActions});
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
    if (record.payee.empty()) Note(Code::NoNameNoMemo, line.line);
    if (!line.correctId.empty()) {
        Note(line.correctId == line.id ? Code::CorrectsItself : Code::CorrectsLine, line.line,
             {line.correctId});
    }
    bool isMade = false;
    record.fitId = m_ids.IdOf(line, record.payee, isMade);
    if (!isMade) record.idText = line.id;
    if (isMade) Note(Code::IdentifierMade, line.line);
    if (!line.closed) Note(Code::LineNotClosed, line.line);
}

void CInferredOfx::ReadDateOf(const OfxLine& line, ImportRecord& record) {
    std::optional<int64_t> date = ReadAnyDate(line.date);
    if (!date) {
        date = ReadAnyDate(line.userDate);
        NoteDate(line, date.has_value());
    }
    record.date = date.value_or(m_today);
    record.dateRead = date.has_value();
}

void CInferredOfx::NoteDate(const OfxLine& line, bool hasUserDate) {
    const ImportArgument used = ImportArgument::Apart(line.userDate.substr(0, 8));
    if (line.date.empty() && hasUserDate) {
        Note(Code::NoDateButOfUse, line.line, {used});
    } else if (line.date.empty()) {
        Note(Code::NoDate, line.line);
    } else if (hasUserDate) {
        Note(Code::DateUnreadableButOfUse, line.line, {line.date, used});
    } else {
        Note(Code::DateUnreadable, line.line, {line.date});
    }
}

// The amount in the statement's currency, with all its decimals.
void CInferredOfx::ReadAmountOf(const OfxLine& line, ImportRecord& record) {
    if (line.amount.empty()) {
        Note(Code::NoAmount, line.line);
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
    Note(NoteOf(reading).value_or(Code::AmountOdd), line.line, {line.amount});
}

void CInferredOfx::ReadTypeAndCheckOf(const OfxLine& line, ImportRecord& record) {
    const std::string type = TypeOf(line);
    record.electronic = type == "ATM" ? kElectronicAtm : ElectronicOfType(type);
    if (line.check.empty()) return;
    const std::optional<int32_t> number = ReadCheckNumber(line.check);
    if (!number) {
        Note(Code::NumberLeftOut, line.line, {line.check});
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
    const Code shared = finding.sameSource ? Code::IdentifierShared : Code::IdentifierOfOthers;
    Note(finding.kind == Found::Repeated ? Code::LineRepeated : shared, line, {finding.firstLine});
}

}  // namespace quillon
