#include "import/ofx/OfxInferred.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "finance/records/FinanceCodes.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/TextHash.h"
#include "import/ofx/OfxParser.h"
#include "import/text/DateText.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

std::string UpperType(std::string_view text) {
    std::string type(text.substr(0, 32));
    for (char& c : type) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    }
    return type;
}

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
    if (!statementCurrency.empty() && EqualsAsciiCase(line.currency, statementCurrency)) {
        return Foreign::No;
    }
    const std::optional<double> rate = ReadRate(line.rate);
    const bool isOne = rate && *rate == 1.0;
    if (isOne && (line.currency.empty() || statementCurrency.empty())) return Foreign::No;
    if (line.converted) return Foreign::Converted;
    return rate && !isOne ? Foreign::Convert : Foreign::NoRate;
}

bool IsWithdrawn(const OfxLine& line) {
    return EqualsAsciiCase(line.correctAction, "DELETE");
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
    m_made.clear();
    for (OfxLine line; statements.Next(line);) {
        if (m_counts.size() <= line.statement) m_counts.resize(line.statement + 1);
        Counts& counts = m_counts[line.statement];
        ++counts.read;
        if (!line.cutOff && !line.amount.empty()) amounts.Add(line.amount, line.line);
        if (!IsRecord(line)) continue;
        ++counts.records;
        counts.dated += DateOf(line).has_value();
        ids.push_back(IdOf(line, line.name.empty() ? line.memo : line.name));
    }
    m_survey = statements.Survey();
    m_dialect.dateOrder = DateOrder::YearMonthDay;
    m_dialect.years = YearRule::AsWritten;
    m_marks = amounts.Decide(m_options.decimal, m_dialect, m_notes);

    std::sort(ids.begin(), ids.end());
    for (size_t i = 1; i < ids.size(); ++i) {
        if (ids[i] == ids[i - 1]) m_shared.try_emplace(ids[i]);
    }
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
    m_made.clear();
    m_rounding.assign(sources.size(), {});
    COfxStatements statements(m_text);
    for (OfxLine line; statements.Next(line);) {
        const size_t source = SourceOf(line);
        if (!sources[source].chosen || !IsRecord(line)) continue;
        ImportRecord record;
        ReadRecord(line, record);
        m_rounding[source].Add(record.amount);
        const auto found = m_shared.find(record.fitId);
        if (found == m_shared.end()) continue;
        SharedId& shared = found->second;
        if (shared.firstLine == 0) {
            shared = {record.line, source, 0, false, false};
            shared.ownId = OwnIdOf(record, source, shared);
        } else if (OwnIdOf(record, source, shared) != shared.ownId) {
            shared.differs = true;
        }
    }
    for (size_t i = 0; i < sources.size(); ++i) {
        if (m_survey.hasBalance[i]) m_rounding[i].KeepSum();
    }
}

void CInferredOfx::Read(const std::vector<ImportSource>& sources, const RecordSink& sink) {
    LookAgain(sources);
    m_speaks = true;
    m_said.clear();
    m_made.clear();
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
        MarkShared(source, record);
        const double written = record.amount;
        record.amount = m_rounding[source].Round(written);
        NoteMoney(line, sources[source], written, record.amount);
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
    record.fitId = IdOf(line, record.payee);
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
    if (ForeignOf(line, m_survey.sources[SourceOf(line)].currency) == Foreign::Convert) {
        record.amount *= ReadRate(line.rate).value_or(1.0);
    }
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

// What became of an amount that is not entered as it is written, or that the rest of the
// line contradicts.
void CInferredOfx::NoteMoney(const OfxLine& line, const ImportSource& source, double written,
                             double entered) {
    const std::string quoted = InQuotes(line.amount);
    const std::string home = source.currency.empty() ? "" : " " + source.currency;
    const std::string symbol(line.currency.empty() ? "another currency" : line.currency);
    switch (ForeignOf(line, source.currency)) {
        case Foreign::Convert:
            Note(Kind::Currency, line.line,
                 "The amount " + quoted + " in " + symbol + " was entered as " +
                     FormatCurrency(entered) + home + ", at the rate " + InQuotes(line.rate) +
                     " that stands with it.");
            break;
        case Foreign::Converted:
            Note(Kind::Currency, line.line,
                 "The bank converted this line from " + symbol + "; its amount " + quoted +
                     " was entered as it is.");
            break;
        case Foreign::NoRate:
            Note(Kind::Currency, line.line,
                 "The amount " + quoted + " is in " + symbol +
                     (source.currency.empty() ? "" : ", not in " + source.currency) +
                     ", and no rate stands with it: it was entered as it is.");
            break;
        case Foreign::No:
            if (HasWholeCents(written)) break;
            Note(Kind::Amount, line.line,
                 "The amount " + quoted + " has more than two decimals: entered as " +
                     FormatCurrency(entered) + ".");
            break;
    }
    const std::string type = UpperType(line.type);
    const int direction = DirectionOf(type);
    if (direction * entered >= 0) return;
    Note(Kind::Type, line.line,
         "The type " + InQuotes(type) +
             (direction < 0 ? " says that money goes out, but the amount comes in; the amount's "
                              "sign counts."
                            : " says that money comes in, but the amount goes out; the amount's "
                              "sign counts."));
}

void CInferredOfx::ReadTypeAndCheckOf(const OfxLine& line, ImportRecord& record) {
    const std::string type = UpperType(line.type);
    if (type == "ATM") {
        record.electronic = kElectronicAtm;
    } else if (Contains(type, "PAYMENT")) {
        record.electronic = kElectronicEft;
    } else if (Contains(type, "CREDIT") || Contains(type, "DIRECTDEP")) {
        // Marks for coming in; the sign of the amount decides.
    } else if (Contains(type, "DEBIT")) {
        record.electronic = kElectronicEft;
    } else if (Contains(type, "XFER")) {
        record.electronic = kElectronicTransfer;
    }
    if (line.check.empty()) return;
    int64_t number = 0;
    if (!IsDigits(line.check) || !ScanLong(line.check, number) || number > INT32_MAX) {
        Note(Kind::Number, line.line,
             "The number " + InQuotes(line.check) + " is no check number and was left out.");
        return;
    }
    record.check = static_cast<int32_t>(number);
    // Money that goes out under a check's number is a check.
    if (record.check != 0 && record.amount < 0 && record.electronic == kElectronicEft) {
        record.electronic = {};
    }
}

// --- identifiers

int64_t CInferredOfx::IdOf(const OfxLine& line, std::string_view payee) {
    const int64_t id = StatementId(line.id);
    if (id != 0) return id;
    Note(Kind::Identifier, line.line, "No identifier: one was made from date, amount and name.");
    std::string joined(line.date);
    joined.append(line.amount).append(payee);
    const int64_t occurrence = ++m_made[TextHash(joined)];
    if (occurrence > 1) return StatementId(joined + "#" + std::to_string(occurrence));
    return StatementId(joined.empty() || IsDigits(joined) ? "#" + joined : joined);
}

// Of a line whose identifier others have too. What another account of the file says is
// another line, even where it says the same.
int64_t CInferredOfx::OwnIdOf(const ImportRecord& record, size_t source, const SharedId& shared) {
    char amount[40];
    const std::to_chars_result end = std::to_chars(amount, amount + sizeof amount, record.amount);
    std::string text = std::to_string(record.fitId) + "|";
    if (record.dateRead) text += std::to_string(record.date);
    text.append("|").append(amount, end.ptr).append("|").append(record.payee);
    if (source != shared.source) text.append("|").append(m_survey.sources[source].name);
    return StatementId(text);
}

// The same identifier with the same date, amount and name is one line said twice; with
// other contents it is another line, which needs an identifier of its own.
void CInferredOfx::MarkShared(size_t source, ImportRecord& record) {
    const auto found = m_shared.find(record.fitId);
    if (found == m_shared.end()) return;
    SharedId& shared = found->second;
    const bool isFirst = !std::exchange(shared.seen, true);
    record.ownId = OwnIdOf(record, source, shared);
    if (!m_said.insert(record.ownId).second) {
        record.saidBefore = true;
        Note(Kind::Repeated, record.line,
             "The same line as in line " + std::to_string(shared.firstLine) +
                 ", said again; entered once.");
        return;
    }
    record.idShared = shared.differs;
    if (isFirst) return;
    Note(Kind::Repeated, record.line,
         "Line " + std::to_string(shared.firstLine) +
             (source == shared.source
                  ? " has the same identifier, but another date, amount or name: both count."
                  : " has the same identifier, but is another account's: both count."));
}

}  // namespace quillon
