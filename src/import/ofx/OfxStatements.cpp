#include "import/ofx/OfxStatements.h"

#include <algorithm>
#include <utility>

#include "import/ofx/OfxElements.h"

namespace quillon {

using Element = OfxElement;

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
        m_accounts.Name(m_survey.sources);
    }
    line = m_ended;
    return m_hasEnded;
}

void COfxStatements::TakeTag(const OfxTag& tag) {
    if (m_open != Element::Other) {
        TakeValue(m_open, m_text.substr(m_valueStart, tag.start - m_valueStart));
    }
    m_open = Element::Other;
    const Element element = OfxElementOf(tag.name);
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
    if (!m_inStatus || !EqualIgnoringAsciiCase(m_severity, "ERROR")) return;
    if (element == Element::Severity) {
        m_survey.report = {true, m_code, {}};
        return;
    }
    std::string& message = m_survey.report.message;
    message.append(message.empty() ? "" : ": ").append(value.substr(0, 300));
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
    const OfxStatement ended = std::exchange(m_statement, {});
    m_survey.unnamedStatements += ended.account.empty() && ended.lines > 0;
    const bool counts = ended.lines > 0 || (ended.open && !ended.account.empty());
    m_survey.sourceOf.push_back(
        counts ? m_accounts.Take(ended, m_survey.sources, m_survey.hasBalance) : 0);
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
