#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "finance/FinanceCodes.h"
#include "foundation/TextHash.h"
#include "import/AmountText.h"
#include "import/DateText.h"
#include "import/OfxParser.h"
#include "import/OfxTags.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

enum class Element {
    Other,
    Ofx,
    StatementLine,
    TransactionList,
    Statement,
    AccountFrom,
    Status,
    InvestmentAction,
    // Those with a value:
    Date,
    UserDate,
    Amount,
    Type,
    Id,
    Check,
    Name,
    Memo,
    CorrectId,
    CorrectAction,
    AccountId,
    Balance,
    Code,
    Severity,
    Message,
};

struct ElementName {
    std::string_view name;
    Element element;
};
constexpr ElementName kElements[] = {
    {"OFX", Element::Ofx},
    {"STMTTRN", Element::StatementLine},
    {"BANKTRANLIST", Element::TransactionList},
    {"STMTRS", Element::Statement},
    {"CCSTMTRS", Element::Statement},
    {"INVSTMTRS", Element::Statement},
    {"BANKACCTFROM", Element::AccountFrom},
    {"CCACCTFROM", Element::AccountFrom},
    {"INVACCTFROM", Element::AccountFrom},
    {"STATUS", Element::Status},
    {"INVTRAN", Element::InvestmentAction},
    {"DTPOSTED", Element::Date},
    {"DTUSER", Element::UserDate},
    {"TRNAMT", Element::Amount},
    {"TRNTYPE", Element::Type},
    {"FITID", Element::Id},
    {"CHECKNUM", Element::Check},
    {"NAME", Element::Name},
    {"MEMO", Element::Memo},
    {"CORRECTFITID", Element::CorrectId},
    {"CORRECTACTION", Element::CorrectAction},
    {"ACCTID", Element::AccountId},
    {"BALAMT", Element::Balance},
    {"CODE", Element::Code},
    {"SEVERITY", Element::Severity},
    {"MESSAGE", Element::Message},
};

// Names are upper case; some programs write them otherwise.
Element ElementOf(std::string_view name) {
    char upper[16];
    if (name.empty() || name.size() > sizeof upper) return Element::Other;
    for (size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        upper[i] = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    const std::string_view text(upper, name.size());
    for (const ElementName& row : kElements) {
        if (row.name == text) return row.element;
    }
    return Element::Other;
}

// A statement line's values before they are read.
struct RawLine {
    int64_t line = 0;
    std::string_view date;
    std::string_view userDate;
    std::string_view amount;
    std::string_view type;
    std::string_view id;
    std::string_view check;
    std::string_view name;
    std::string_view memo;
    std::string_view correctId;
    std::string_view correctAction;
    bool closed = true;
};

class CInferredOfx {
public:
    CInferredOfx(std::string_view text, int64_t today, const ImportOptions& options,
                 Dialect& dialect, CImportNotes& notes, OfxContents& contents)
        : m_text(text),
          m_today(today),
          m_options(options),
          m_dialect(dialect),
          m_notes(notes),
          m_contents(contents) {}

    void Run() {
        Walk();
        m_dialect.dateOrder = DateOrder::YearMonthDay;
        m_dialect.years = YearRule::AsWritten;
        m_marks = m_amounts.Decide(m_options.decimal, m_dialect, m_notes);
        m_contents.records.reserve(m_raw.size());
        for (const RawLine& raw : m_raw) ReadLine(raw);
        MarkRepeated();
        NoteStatements();
    }

private:
    // --- elements
    void Walk() {
        COfxTags tags(m_text);
        OfxTag tag;
        Element open = Element::Other;
        size_t valueStart = 0;
        while (tags.Next(tag)) {
            if (open != Element::Other) {
                TakeValue(open, m_text.substr(valueStart, tag.start - valueStart));
            }
            open = Element::Other;
            const Element element = ElementOf(tag.name);
            if (element == Element::Other) continue;
            if (element >= Element::Date) {
                if (tag.closing || tag.empty) continue;
                open = element;
                valueStart = tag.end;
            } else {
                TakeAggregate(element, tag);
            }
        }
        if (!m_inLine) {
            if (open != Element::Other) TakeValue(open, m_text.substr(valueStart));
            return;
        }
        // A value that was open is lost with its line.
        ++m_contents.read;
        m_notes.Add(Kind::Skipped, m_line.line,
                    "The file ends inside this statement line; it was not entered. Downloading "
                    "the statement again brings it.");
    }

    void TakeAggregate(Element element, const OfxTag& tag) {
        switch (element) {
            case Element::Ofx:
                m_contents.hasBody = true;
                if (tag.closing) EndLine(false);
                break;
            case Element::StatementLine:
                m_contents.hasBody = true;
                if (tag.closing) {
                    EndLine(true);
                } else if (!tag.empty) {
                    EndLine(false);
                    BeginLine(tag.start);
                }
                break;
            case Element::TransactionList:
                if (tag.closing) EndLine(false);
                break;
            case Element::Statement:
                if (tag.closing) {
                    EndLine(false);
                } else {
                    ++m_contents.statements;
                }
                break;
            case Element::AccountFrom:
                m_inAccount = !tag.closing;
                break;
            case Element::Status:
                if (!tag.closing) {
                    m_code = m_severity = {};
                    m_inStatus = true;
                } else {
                    m_inStatus = false;
                }
                break;
            case Element::InvestmentAction:
                m_contents.investmentActions += !tag.closing;
                break;
            default:
                break;
        }
    }

    void BeginLine(size_t at) {
        m_lineNumber += std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_counted),
                                   m_text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
        m_counted = at;
        m_line = RawLine();
        m_line.line = m_lineNumber;
        m_inLine = true;
    }

    void EndLine(bool closed) {
        if (!m_inLine) return;
        m_inLine = false;
        m_line.closed = closed;
        m_raw.push_back(m_line);
        if (!m_line.amount.empty()) m_amounts.Add(m_line.amount, m_line.line);
    }

    std::string_view Clean(std::string_view raw, LineBreaks breaks) {
        bool changed = false;
        const std::string value = CleanOfxValue(raw, breaks, changed);
        return changed ? m_contents.arena.Keep(value) : TrimBlanks(raw);
    }

    void TakeValue(Element element, std::string_view raw) {
        const bool isText =
            element == Element::Name || element == Element::Memo || element == Element::Message;
        const std::string_view value =
            Clean(raw, isText ? LineBreaks::AreBlanks : LineBreaks::AreNothing);
        if (value.empty()) return;
        if (!m_inLine) {
            TakeOutside(element, value);
            return;
        }
        switch (element) {
            case Element::Date:
                m_line.date = value;
                break;
            case Element::UserDate:
                m_line.userDate = value;
                break;
            case Element::Amount:
                m_line.amount = value;
                break;
            case Element::Type:
                m_line.type = value;
                break;
            case Element::Id:
                m_line.id = value;
                break;
            case Element::Check:
                m_line.check = value;
                break;
            case Element::Name:
                if (m_line.name.empty()) m_line.name = value;
                break;
            case Element::Memo:
                if (m_line.memo.empty()) m_line.memo = value;
                break;
            case Element::CorrectId:
                m_line.correctId = value;
                break;
            case Element::CorrectAction:
                m_line.correctAction = value;
                break;
            default:
                break;
        }
    }

    void TakeOutside(Element element, std::string_view value) {
        switch (element) {
            case Element::AccountId:
                if (m_inAccount) RememberAccount(value);
                break;
            case Element::Balance:
                m_amounts.Add(value, LineOf(value));
                break;
            case Element::Code:
                m_code = value;
                break;
            case Element::Severity:
                m_severity = value;
                if (m_inStatus && EqualsAsciiCase(value, "ERROR")) {
                    m_contents.problem = "error " + std::string(m_code.substr(0, 20));
                }
                break;
            case Element::Message:
                if (m_inStatus && EqualsAsciiCase(m_severity, "ERROR")) {
                    m_contents.problem += ": " + std::string(value.substr(0, 300));
                }
                break;
            default:
                break;
        }
    }

    // Balances are few; the line count is brought up to the place.
    int64_t LineOf(std::string_view value) {
        if (value.data() < m_text.data() || value.data() > m_text.data() + m_text.size()) {
            return m_lineNumber;
        }
        const size_t at = static_cast<size_t>(value.data() - m_text.data());
        if (at > m_counted) {
            m_lineNumber += std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_counted),
                                       m_text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
            m_counted = at;
        }
        return m_lineNumber;
    }

    void RememberAccount(std::string_view id) {
        auto& accounts = m_contents.accounts;
        if (accounts.size() >= 20) return;
        if (std::find(accounts.begin(), accounts.end(), id) == accounts.end()) {
            accounts.emplace_back(id.substr(0, 60));
        }
    }

    void NoteStatements() {
        if (m_contents.investmentActions > 0) {
            m_notes.Add(Kind::File, 0,
                        "Skipped: " + std::to_string(m_contents.investmentActions) +
                            " actions on securities, which are no bank-style lines.");
        }
        if (m_contents.statements < 2) return;
        std::string names;
        for (const std::string& name : m_contents.accounts) {
            names += (names.empty() ? "" : ", ") + InQuotes(name);
        }
        m_notes.Add(Kind::File, 0,
                    "The file holds " + std::to_string(m_contents.statements) +
                        " statements (accounts " + names +
                        "); the lines of all of them go into this one account.");
    }

    // --- values
    void ReadLine(const RawLine& raw) {
        ++m_contents.read;
        if (EqualsAsciiCase(raw.correctAction, "DELETE")) {
            m_notes.Add(Kind::Skipped, raw.line,
                        "The bank withdraws its line " + InQuotes(raw.correctId) +
                            ": nothing was entered; delete that transaction by hand.");
            return;
        }
        ImportRecord record;
        record.line = raw.line;
        ReadDateOf(raw, record);
        ReadAmountOf(raw, record);
        ReadTypeOf(raw, record);
        ReadCheckOf(raw, record);
        // Money that goes out under a check's number is a check.
        if (record.check != 0 && record.amount < 0 && record.electronic == kElectronicEft) {
            record.electronic = {};
        }
        record.memo = raw.memo;
        record.payee = raw.name.empty() ? raw.memo : raw.name;
        if (record.payee.empty() && m_notes.Wants(Kind::Payee)) {
            m_notes.Add(Kind::Payee, raw.line, "No name and no memo: entered without a payee.");
        }
        ReadIdOf(raw, record);
        if (!raw.closed) {
            m_notes.Add(Kind::Record, raw.line,
                        "This statement line has no </STMTTRN>; it was entered as it is.");
        }
        m_contents.records.push_back(record);
    }

    static std::optional<int64_t> ReadAnyDate(std::string_view text) {
        if (const std::optional<int64_t> date = ReadStatementDate(text)) return date;
        DateParts parts;
        if (text.size() < 10 || text.size() > 40 || !SplitDate(text.substr(0, 10), parts) ||
            !parts.YearFirst()) {
            return {};
        }
        return ReadDate(parts, DateOrder::YearMonthDay);
    }

    void ReadDateOf(const RawLine& raw, ImportRecord& record) {
        std::optional<int64_t> date = ReadAnyDate(raw.date);
        if (!date) {
            date = ReadAnyDate(raw.userDate);
            const std::string what =
                raw.date.empty() ? "No date" : "The date " + InQuotes(raw.date) + " cannot be read";
            m_notes.Add(Kind::Date, raw.line,
                        what + (date ? ": entered under the date of use, " +
                                           std::string(raw.userDate.substr(0, 8)) + "."
                                     : ": entered under today's."));
        }
        record.date = date.value_or(m_today);
        record.dateRead = date.has_value();
    }

    void ReadAmountOf(const RawLine& raw, ImportRecord& record) {
        if (raw.amount.empty()) {
            m_notes.Add(Kind::Amount, raw.line, "No amount: entered as 0.");
            return;
        }
        AmountReading reading = ReadAmount(raw.amount, m_marks, record.amount);
        const bool commaIgnored = reading == AmountReading::Clean && !m_marks.own &&
                                  !m_options.decimal && Contains(raw.amount, ",") &&
                                  EvidenceOf(raw.amount) != AmountEvidence::GroupedPoint;
        if (commaIgnored) reading = AmountReading::Thousands;
        const bool odd = reading != AmountReading::Clean || Contains(raw.amount, "$");
        if (!odd || !m_notes.Wants(Kind::Amount)) return;
        std::string text = AmountNote(raw.amount, reading);
        if (text.empty()) {
            text = "The amount " + InQuotes(raw.amount) +
                   " is not written as statements write amounts; what it says was read.";
        }
        m_notes.Add(Kind::Amount, raw.line, std::move(text));
    }

    static void ReadTypeOf(const RawLine& raw, ImportRecord& record) {
        std::string type(raw.type.substr(0, 32));
        for (char& c : type) {
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
        }
        if (type == "ATM") {
            record.electronic = kElectronicAtm;
        } else if (Contains(type, "PAYMENT")) {
            record.electronic = kElectronicEft;
        } else if (Contains(type, "CREDIT") || Contains(type, "DIRECTDEP")) {
            return;
        } else if (Contains(type, "DEBIT")) {
            record.electronic = kElectronicEft;
        } else if (Contains(type, "XFER")) {
            record.electronic = kElectronicTransfer;
        }
    }

    void ReadCheckOf(const RawLine& raw, ImportRecord& record) {
        if (raw.check.empty()) return;
        int64_t number = 0;
        if (IsDigits(raw.check) && ScanLong(raw.check, number) && number <= INT32_MAX) {
            record.check = static_cast<int32_t>(number);
        } else if (m_notes.Wants(Kind::Number)) {
            m_notes.Add(
                Kind::Number, raw.line,
                "The number " + InQuotes(raw.check) + " is no check number and was left out.");
        }
    }

    // --- identifiers
    void ReadIdOf(const RawLine& raw, ImportRecord& record) {
        record.fitId = StatementId(raw.id);
        if (!raw.correctId.empty()) {
            m_notes.Add(Kind::Identifier, raw.line,
                        "The bank corrects its line " + InQuotes(raw.correctId) +
                            (raw.correctId == raw.id
                                 ? " by this one."
                                 : " by this one: if the old one is in the account, delete it."));
        }
        if (record.fitId != 0) return;
        std::string joined(raw.date);
        joined.append(raw.amount).append(record.payee);
        const int64_t hash = TextHash(joined);
        const int64_t occurrence = ++m_made[hash];
        record.fitId = occurrence == 1
                           ? StatementId(joined.empty() || IsDigits(joined) ? "#" + joined : joined)
                           : StatementId(joined + "#" + std::to_string(occurrence));
        if (m_notes.Wants(Kind::Identifier)) {
            m_notes.Add(Kind::Identifier, raw.line,
                        "No identifier: one was made from date, amount and name.");
        }
    }

    static int64_t OwnId(const ImportRecord& record) {
        char amount[40];
        const std::to_chars_result end =
            std::to_chars(amount, amount + sizeof amount, record.amount);
        std::string text = std::to_string(record.fitId) + "|";
        if (record.dateRead) text += std::to_string(record.date);
        text.append("|").append(amount, end.ptr).append("|").append(record.payee);
        return StatementId(text);
    }

    // The same identifier with the same date, amount and name is one line said twice; with
    // other contents it is another line, which needs an identifier of its own.
    void MarkRepeated() {
        std::unordered_map<int64_t, size_t> first;
        std::unordered_set<int64_t> seen;
        auto& records = m_contents.records;
        first.reserve(records.size());
        for (size_t i = 0; i < records.size(); ++i) {
            ImportRecord& record = records[i];
            const auto [place, isNew] = first.try_emplace(record.fitId, i);
            if (isNew) continue;
            ImportRecord& earlier = records[place->second];
            if (earlier.ownId == 0) {
                earlier.ownId = OwnId(earlier);
                seen.insert(earlier.ownId);
            }
            record.ownId = OwnId(record);
            if (!seen.insert(record.ownId).second) {
                record.saidBefore = true;
                if (m_notes.Wants(Kind::Repeated)) {
                    m_notes.Add(Kind::Repeated, record.line,
                                "The same line as in line " + std::to_string(earlier.line) +
                                    ", said again; entered once.");
                }
                continue;
            }
            record.idShared = earlier.idShared = true;
            if (m_notes.Wants(Kind::Repeated)) {
                m_notes.Add(Kind::Repeated, record.line,
                            "Line " + std::to_string(earlier.line) +
                                " has the same identifier, but another date, amount or name: "
                                "both count.");
            }
        }
    }

    std::string_view m_text;
    int64_t m_today;
    const ImportOptions& m_options;
    Dialect& m_dialect;
    CImportNotes& m_notes;
    OfxContents& m_contents;

    bool m_inLine = false;
    bool m_inAccount = false;
    bool m_inStatus = false;
    std::string_view m_code;
    std::string_view m_severity;
    RawLine m_line;            // the one being read
    int64_t m_lineNumber = 1;  // of the place up to which lines were counted
    size_t m_counted = 0;      // that place
    std::vector<RawLine> m_raw;
    std::unordered_map<int64_t, int64_t> m_made;  // lines without an identifier, by hash
    CAmountInference m_amounts;
    AmountMarks m_marks;
};

}  // namespace

void ReadInferredOfx(std::string_view text, int64_t today, const ImportOptions& options,
                     Dialect& dialect, CImportNotes& notes, OfxContents& contents) {
    CInferredOfx reader(text, today, options, dialect, notes, contents);
    reader.Run();
}

}  // namespace quillon
