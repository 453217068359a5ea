#include "import/ofx/OfxStatements.h"

#include <algorithm>
#include <utility>

namespace quillon {

enum class OfxElement : uint8_t {
    Other,
    Ofx,
    StatementLine,
    TransactionList,
    BankStatement,
    CardStatement,
    InvestmentStatement,
    AccountFrom,
    Status,
    InvestmentAction,
    LedgerBalance,
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
    Currency,  // an aggregate; some banks write the symbol straight into it
    OriginalCurrency,
    CurrencySymbol,
    CurrencyRate,
    DefaultCurrency,
    AccountId,
    AccountType,
    BankId,
    Balance,
    Code,
    Severity,
    Message,
};

namespace {

using Element = OfxElement;

struct ElementName {
    std::string_view name;
    Element element;
};

constexpr ElementName kElements[] = {
    {"OFX", Element::Ofx},
    {"STMTTRN", Element::StatementLine},
    {"BANKTRANLIST", Element::TransactionList},
    {"STMTRS", Element::BankStatement},
    {"CCSTMTRS", Element::CardStatement},
    {"INVSTMTRS", Element::InvestmentStatement},
    {"BANKACCTFROM", Element::AccountFrom},
    {"CCACCTFROM", Element::AccountFrom},
    {"INVACCTFROM", Element::AccountFrom},
    {"STATUS", Element::Status},
    {"INVTRAN", Element::InvestmentAction},
    {"LEDGERBAL", Element::LedgerBalance},
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
    {"CURRENCY", Element::Currency},
    {"ORIGCURRENCY", Element::OriginalCurrency},
    {"CURSYM", Element::CurrencySymbol},
    {"CURRATE", Element::CurrencyRate},
    {"CURDEF", Element::DefaultCurrency},
    {"ACCTID", Element::AccountId},
    {"ACCTTYPE", Element::AccountType},
    {"BANKID", Element::BankId},
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

}  // namespace

// --- elements

bool COfxStatements::Next(OfxLine& line) {
    m_arena.Reset();
    m_hasEnded = false;
    OfxTag tag;
    while (!m_atEnd && !m_hasEnded) {
        if (m_tags.Next(tag)) {
            TakeTag(tag);
            continue;
        }
        m_atEnd = true;
        if (m_inLine) {
            // A value that was open is lost with its line.
            m_line.cutOff = true;
            EndLine(false);
        } else if (m_open != Element::Other) {
            TakeValue(m_open, m_text.substr(m_valueStart));
        }
        EndStatement();
        NameSources();
    }
    line = m_ended;
    return m_hasEnded;
}

void COfxStatements::TakeTag(const OfxTag& tag) {
    if (m_open != Element::Other) {
        TakeValue(m_open, m_text.substr(m_valueStart, tag.start - m_valueStart));
    }
    m_open = Element::Other;
    const Element element = ElementOf(tag.name);
    if (element < Element::Date) {
        if (element != Element::Other) TakeAggregate(element, tag);
        return;
    }
    if (tag.closing || tag.empty) return;
    if (element == Element::OriginalCurrency) m_line.converted = true;
    m_open = element;
    m_valueStart = tag.end;
}

void COfxStatements::TakeAggregate(Element element, const OfxTag& tag) {
    switch (element) {
        case Element::Ofx:
            m_survey.hasBody = true;
            if (tag.closing) EndLine(false);
            break;
        case Element::StatementLine:
            m_survey.hasBody = true;
            EndLine(tag.closing);
            if (!tag.closing && !tag.empty) BeginLine(tag.start);
            break;
        case Element::TransactionList:
            if (tag.closing) EndLine(false);
            break;
        case Element::BankStatement:
        case Element::CardStatement:
        case Element::InvestmentStatement: {
            EndLine(false);
            const SourceKind kind = element == Element::BankStatement   ? SourceKind::Bank
                                    : element == Element::CardStatement ? SourceKind::Card
                                                                        : SourceKind::Investment;
            if (tag.closing) {
                BeginStatement(SourceKind::Unknown, false);
            } else {
                BeginStatement(kind, true);
            }
            break;
        }
        case Element::AccountFrom:
            m_inAccount = !tag.closing;
            break;
        case Element::Status:
            m_inStatus = !tag.closing;
            if (m_inStatus) {
                m_code.clear();
                m_severity.clear();
            }
            break;
        case Element::InvestmentAction:
            m_survey.investmentActions += !tag.closing;
            break;
        case Element::LedgerBalance:
            m_inLedgerBalance = !tag.closing;
            break;
        default:
            break;
    }
}

std::string_view COfxStatements::Clean(std::string_view raw, LineBreaks breaks) {
    bool changed = false;
    const std::string value = CleanOfxValue(raw, breaks, changed);
    return changed ? m_arena.Keep(value) : TrimBlanks(raw);
}

void COfxStatements::TakeValue(Element element, std::string_view raw) {
    const bool isText =
        element == Element::Name || element == Element::Memo || element == Element::Message;
    const std::string_view value =
        Clean(raw, isText ? LineBreaks::AreBlanks : LineBreaks::AreNothing);
    if (value.empty()) return;
    if (m_inLine) {
        TakeInLine(element, value);
    } else {
        TakeOutside(element, value);
    }
}

void COfxStatements::TakeInLine(Element element, std::string_view value) {
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
        case Element::Currency:
        case Element::OriginalCurrency:
        case Element::CurrencySymbol:
            m_line.currency = value;
            break;
        case Element::CurrencyRate:
            m_line.rate = value;
            break;
        default:
            break;
    }
}

void COfxStatements::TakeOutside(Element element, std::string_view value) {
    constexpr size_t kLongest = 100;
    const std::string_view text = value.substr(0, kLongest);
    switch (element) {
        case Element::DefaultCurrency:
            m_statement.currency = text;
            break;
        case Element::AccountId:
            if (m_inAccount) TakeAccount(text);
            break;
        case Element::AccountType:
            if (m_inAccount && m_statement.type.empty()) m_statement.type = text;
            break;
        case Element::BankId:
            if (m_inAccount && m_statement.account.empty()) m_statement.bank = text;
            break;
        case Element::Balance:
            m_statement.hasBalance = m_statement.hasBalance || m_inLedgerBalance;
            if (m_amounts) m_amounts(value, LineAt(m_valueStart));
            break;
        case Element::Code:
        case Element::Severity:
        case Element::Message:
            TakeStatus(element, value);
            break;
        default:
            break;
    }
}

void COfxStatements::TakeStatus(Element element, std::string_view value) {
    if (element == Element::Code) {
        m_code = value.substr(0, 20);
        return;
    }
    if (element == Element::Severity) m_severity = value.substr(0, 20);
    if (!m_inStatus || !EqualsAsciiCase(m_severity, "ERROR")) return;
    if (element == Element::Severity) {
        m_survey.problem = "error " + m_code;
    } else {
        m_survey.problem.append(": ").append(value.substr(0, 300));
    }
}

// --- statements

void COfxStatements::TakeAccount(std::string_view number) {
    if (!m_statement.account.empty() && m_statement.account != number && m_statement.lines > 0) {
        // Another account without a statement element of its own.
        const std::string bank = m_statement.bank;
        BeginStatement(m_statement.kind, m_statement.open);
        m_statement.bank = bank;
    }
    if (m_statement.account.empty()) m_statement.account = number;
}

void COfxStatements::BeginStatement(SourceKind kind, bool open) {
    EndStatement();
    m_statement.kind = kind;
    m_statement.open = open;
}

void COfxStatements::EndStatement() {
    Statement ended = std::exchange(m_statement, {});
    const bool counts = ended.lines > 0 || (ended.open && !ended.account.empty());
    uint32_t source = 0;
    if (counts) {
        std::string key(1, static_cast<char>('0' + static_cast<int>(ended.kind)));
        for (const std::string* part : {&ended.account, &ended.type, &ended.bank}) {
            key.append(*part).append(1, '\n');
        }
        const auto [place, isNew] =
            m_sources.try_emplace(std::move(key), static_cast<uint32_t>(m_accounts.size()));
        source = place->second;
        if (isNew) {
            m_survey.sources.emplace_back();
            m_survey.hasBalance.push_back(false);
        }
        m_survey.unnamedStatements += ended.account.empty() && ended.lines > 0;
        ImportSource& entry = m_survey.sources[source];
        entry.lines += ended.lines;
        if (entry.currency.empty()) entry.currency = ended.currency;
        m_survey.hasBalance[source] = m_survey.hasBalance[source] || ended.hasBalance;
        if (isNew) m_accounts.push_back(std::move(ended));
    }
    m_survey.sourceOf.push_back(source);
}

// By the account's number; where several have it, with what tells them apart.
void COfxStatements::NameSources() {
    std::unordered_map<std::string, int> uses;
    const auto name = [this](size_t i, int detail) {
        const Statement& account = m_accounts[i];
        if (account.account.empty()) {
            return std::string(account.kind == SourceKind::Card         ? "card"
                               : account.kind == SourceKind::Investment ? "investment"
                                                                        : "bank");
        }
        std::string text = account.account;
        if (detail > 0 && !account.type.empty()) text += " " + account.type;
        if (detail > 1 && !account.bank.empty()) text += " " + account.bank;
        return text;
    };
    std::vector<ImportSource>& sources = m_survey.sources;
    for (int detail = 0; detail < 3; ++detail) {
        uses.clear();
        for (const ImportSource& source : sources) ++uses[source.name];
        for (size_t i = 0; i < sources.size(); ++i) {
            if (detail == 0 || uses[sources[i].name] > 1) sources[i].name = name(i, detail);
        }
    }
    uses.clear();
    for (size_t i = 0; i < sources.size(); ++i) {
        ImportSource& source = sources[i];
        const int use = ++uses[source.name];
        if (use > 1) source.name += " (" + std::to_string(use) + ")";
        source.number = m_accounts[i].account;
        // A credit line is no bank account to speak of, and no card.
        const bool creditLine = EqualsAsciiCase(m_accounts[i].type, "CREDITLINE");
        source.kind = creditLine ? SourceKind::Unknown : m_accounts[i].kind;
    }
}

// --- lines

void COfxStatements::BeginLine(size_t at) {
    m_line = OfxLine();
    m_line.line = LineAt(at);
    m_line.statement = m_survey.sourceOf.size();
    ++m_statement.lines;
    m_inLine = true;
}

void COfxStatements::EndLine(bool closed) {
    if (!m_inLine) return;
    m_inLine = false;
    m_line.closed = closed;
    m_ended = m_line;
    m_hasEnded = true;
}

// Lines are counted up to the place once.
int64_t COfxStatements::LineAt(size_t at) {
    if (at > m_counted) {
        m_lineNumber += std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_counted),
                                   m_text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
        m_counted = at;
    }
    return m_lineNumber;
}

}  // namespace quillon
