#include "import/csv/CsvRecords.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <utility>

#include "finance/ledger/Balance.h"
#include "import/csv/CsvSigns.h"
#include "import/csv/CsvWords.h"
#include "import/ofx/OfxValues.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Field = CsvField;
using Note = ImportNoteCode;

}  // namespace

void CCsvRecords::LeaveOut(ImportNoteCode code, const CsvRow& row,
                           std::initializer_list<ImportArgument> values) {
    if (!m_isSurvey) m_notes.Add(code, row.line, values);
}

template <typename Take>
void CCsvRecords::Walk(const Take& take) {
    CCsvReader reader(m_text, m_shape.delimiter);
    CsvRow row;
    CsvRow next;
    Parsed parsed;
    while (reader.Next(next)) {
        if (next.line < m_shape.dataLine || next.IsBlank()) continue;
        m_balanceBefore = parsed.balance;
        const Parsed found = Parse(next);
        if (found.kind == Kind::Continuation && parsed.kind == Kind::Record) {
            for (const std::string_view cell : next.cells) {
                if (!cell.empty()) m_more.append(m_more.empty() ? "" : " ").append(cell);
            }
            continue;
        }
        if (found.kind == Kind::Continuation) LeaveOut(Note::RowOfText, next);
        if (found.kind == Kind::Continuation || found.kind == Kind::Nothing) continue;
        m_balanceBelow = found.balance;
        if (parsed.kind != Kind::Nothing && !take(row, parsed)) return;
        m_balanceAbove = parsed.balance;
        m_more.clear();
        std::swap(row, next);
        parsed = found;
    }
    m_balanceBelow.reset();
    if (parsed.kind != Kind::Nothing) take(row, parsed);
    m_balanceAbove.reset();
    m_more.clear();
}

// --- what a row is

void CCsvRecords::ReadDateOf(const CsvRow& row, Parsed& parsed) const {
    for (const int32_t column : m_shape.dates) {
        const std::string_view cell = row.Cell(column);
        if (cell.empty()) continue;
        if (parsed.dateText.empty()) parsed.dateText = cell;
        DateParts parts;
        if (!SplitCsvDate(cell, parts)) continue;
        const std::optional<int64_t> date = ReadDate(parts, m_order);
        if (!date) continue;
        parsed.hasDate = true;
        parsed.date = *date;
        return;
    }
}

CCsvRecords::Parsed CCsvRecords::Parse(const CsvRow& row) {
    Parsed parsed;
    ReadDateOf(row, parsed);
    parsed.money = ReadCsvMoney(row, m_shape);
    const std::string_view balance = row.Cell(m_shape.map[Field::Balance]);
    double amount = 0.0;
    if (!balance.empty() && ReadAmount(balance, m_shape.marks, amount) != AmountReading::Failed) {
        parsed.balance = m_shape.balanceIsOwed ? -amount : amount;
    }
    parsed.kind = Judge(row, parsed);
    return parsed;
}

CCsvRecords::Kind CCsvRecords::Judge(const CsvRow& row, Parsed& parsed) {
    parsed.isRecordLike = parsed.hasDate && !parsed.money.isEmpty;
    if (!row.IsBlankFrom(m_shape.width)) {
        parsed.isRecordLike = parsed.hasDate;
        LeaveOut(Note::RowTooLong, row, {row.cells.size(), m_shape.width});
        return Kind::LeftOut;
    }
    if (parsed.dateText.empty() && parsed.money.isEmpty) return JudgeText(row);
    const Kind byWords = JudgeWords(row, parsed);
    if (byWords != Kind::Record) return byWords;
    return parsed.hasDate ? JudgeMoney(row, parsed) : JudgeUndated(row, parsed);
}

// A line that goes on the one above has text and nothing else.
CCsvRecords::Kind CCsvRecords::JudgeText(const CsvRow& row) {
    const auto balance = std::find_if(row.cells.begin(), row.cells.end(), SaysBalance);
    if (balance != row.cells.end()) {
        LeaveOut(Note::RowOfBalance, row, {*balance});
        return Kind::LeftOut;
    }
    for (const std::string_view cell : row.cells) {
        if (cell.empty() || (HasLetter(cell) && !LookAtNumber(cell).isAmount)) continue;
        LeaveOut(Note::RowOfText, row);
        return Kind::LeftOut;
    }
    return Kind::Continuation;
}

// Its amount is what the balance moved by: a shop may be called "Total".
bool CCsvRecords::IsProved(const Parsed& parsed) const {
    if (!parsed.hasDate || !parsed.balance || !m_balanceBefore) return false;
    if (m_shape.direction != CsvDirection::Down || parsed.money.amount == 0.0) return false;
    const double difference = *parsed.balance - *m_balanceBefore;
    return std::fabs(difference - parsed.money.amount) < kHalfCent;
}

// Record: no word of the row says otherwise.
CCsvRecords::Kind CCsvRecords::JudgeWords(const CsvRow& row, const Parsed& parsed) {
    const std::string_view payee = row.Cell(m_shape.map[Field::Payee]);
    const std::string_view memo = row.Cell(m_shape.map[Field::Memo]);
    const std::string_view state = row.Cell(m_shape.status);
    for (const std::string_view cell : {state, payee, parsed.hasDate ? "" : parsed.dateText}) {
        if (!SaysPending(cell)) continue;
        LeaveOut(Note::RowPending, row, {cell});
        return Kind::LeftOut;
    }
    if (SaysVoid(state)) {
        LeaveOut(Note::RowVoid, row, {state});
        return Kind::LeftOut;
    }
    std::string_view balance;
    if (SaysBalance(payee)) {
        balance = payee;
    } else if (payee.empty() && SaysBalance(memo)) {
        balance = memo;
    } else if (SaysBalance(parsed.dateText)) {
        balance = parsed.dateText;
    } else if (!parsed.hasDate) {
        const auto says = std::find_if(row.cells.begin(), row.cells.end(), SaysBalance);
        if (says != row.cells.end()) balance = *says;
    }
    if (balance.empty() || IsProved(parsed)) return Kind::Record;
    LeaveOut(Note::RowOfBalance, row, {balance});
    return Kind::LeftOut;
}

CCsvRecords::Kind CCsvRecords::JudgeUndated(const CsvRow& row, Parsed& parsed) {
    const bool hasMoney = parsed.money.reading != AmountReading::Failed;
    if (!hasMoney) {
        const bool tried = HasDigit(parsed.dateText) && HasDigit(parsed.money.text);
        parsed.isRecordLike = tried;
        LeaveOut(tried ? Note::RecordUnreadable : Note::RowOfText, row);
        return Kind::LeftOut;
    }
    if (!HasDigit(parsed.dateText)) {
        LeaveOut(Note::RowWithoutDate, row, {parsed.money.text});
        return Kind::LeftOut;
    }
    parsed.isRecordLike = true;
    return JudgeMoney(row, parsed);
}

CCsvRecords::Kind CCsvRecords::JudgeMoney(const CsvRow& row, const Parsed& parsed) {
    const CsvMoney& money = parsed.money;
    const bool isRead = money.reading != AmountReading::Failed;
    if (!isRead && !HasDigit(money.text)) {
        if (row.cells.size() < m_shape.width) {
            LeaveOut(Note::RowTooShort, row, {row.cells.size(), m_shape.width});
        } else {
            LeaveOut(Note::RowWithoutAmount, row);
        }
        return Kind::LeftOut;
    }
    if (isRead && RoundToCents(money.amount) == 0.0) {
        LeaveOut(Note::RowOfZero, row);
        return Kind::LeftOut;
    }
    if (IsOtherCurrency(row)) {
        LeaveOut(Note::RowOfOtherCurrency, row,
                 {money.text, CurrencyOfRow(row, m_shape), m_shape.accountCurrency});
        return Kind::LeftOut;
    }
    return Kind::Record;
}

bool CCsvRecords::IsOtherCurrency(const CsvRow& row) const {
    if (m_shape.accountCurrency.empty()) return false;
    if (m_shape.currency != 0) {
        const std::string_view own = row.Cell(m_shape.currency);
        return !own.empty() && !EqualIgnoringAsciiCase(own, m_shape.accountCurrency);
    }
    const std::string own = CurrencyOfRow(row, m_shape);
    return !own.empty() && own != m_shape.accountCurrency;
}

// --- the first walk

void CCsvRecords::Survey(std::vector<ImportSource>& sources) {
    if (m_shape.map[Field::Id] == 0 && m_shape.account == 0) return;
    m_isSurvey = true;
    Walk([&](const CsvRow& row, const Parsed& parsed) {
        if (m_shape.account != 0 && parsed.isRecordLike) {
            const std::string name(row.Cell(m_shape.account));
            const auto [found, isNew] = m_sources.try_emplace(name, sources.size());
            if (isNew) {
                sources.emplace_back();
                sources.back().name = name;
            }
            ++sources[found->second].lines;
        }
        if (parsed.kind != Kind::Record) return true;
        const int64_t id = StatementId(row.Cell(m_shape.map[Field::Id]));
        if (id != 0) m_identifiers.Look(id, KeyOf(row, parsed), row.line);
        return true;
    });
    m_isSurvey = false;
}

bool CCsvRecords::IsChosen(const CsvRow& row, const std::vector<ImportSource>& sources) const {
    if (sources.empty()) return true;
    const auto found = m_sources.find(std::string(row.Cell(m_shape.account)));
    return found == m_sources.end() || sources[found->second].chosen;
}

// --- the records

void CCsvRecords::Read(const std::vector<ImportSource>& sources, const RecordSink& sink,
                       int64_t& read) {
    read = 0;
    Walk([&](CsvRow& row, const Parsed& parsed) {
        if (!IsChosen(row, sources)) return true;
        read += parsed.isRecordLike;
        if (parsed.kind != Kind::Record) return true;
        ImportRecord record = RecordOf(row, parsed);
        return sink(record);
    });
}

// Line breaks in a cell are blanks.
std::string_view CCsvRecords::Clean(std::string_view text, CsvRow& row) const {
    if (text.find_first_of("\r\n") == std::string_view::npos) return text;
    std::string clean;
    for (const char c : text) {
        const bool isBlank = c == ' ' || c == '\n' || c == '\r' || c == '\t';
        if (!isBlank) {
            clean += c;
        } else if (!clean.empty() && clean.back() != ' ') {
            clean += ' ';
        }
    }
    return row.Keep(std::move(clean));
}

void CCsvRecords::TakeTexts(CsvRow& row, ImportRecord& record) {
    record.payee = Clean(row.Cell(m_shape.map[Field::Payee]), row);
    record.category = Clean(row.Cell(m_shape.map[Field::Category]), row);
    record.memo = Clean(row.Cell(m_shape.map[Field::Memo]), row);
    std::string more;
    const auto add = [&more](std::string_view text) {
        if (!text.empty()) more.append(more.empty() ? "" : " ").append(text);
    };
    for (const int32_t column : m_shape.memoMore) add(Clean(row.Cell(column), row));
    add(m_more);
    if (!more.empty()) {
        if (!record.memo.empty()) more.insert(0, std::string(record.memo) + " ");
        record.memo = row.Keep(std::move(more));
    }
    if (record.payee.empty()) record.payee = record.memo;
    if (record.payee.empty()) m_notes.Add(Note::NoPayeeNoMemo, row.line);
}

void CCsvRecords::TakeAmount(const CsvRow& row, const Parsed& parsed, ImportRecord& record) {
    const CsvMoney& money = parsed.money;
    record.amountRead = money.reading != AmountReading::Failed;
    record.amount = m_shape.signsByBalance ? SignedByBalance(row, parsed) : money.amount;
    if (const std::optional<Note> note = NoteOf(money.reading)) {
        m_notes.Add(*note, row.line, {money.text});
    }
    if (money.bothSides) m_notes.Add(Note::RowOfBothSides, row.line);
    if (!HasWholeCents(record.amount) && std::fabs(record.amount) <= kLargestAmount) {
        const double written = record.amount;
        record.amount = RoundToCents(written);
        m_notes.Add(Note::SumRounded, row.line, {written, record.amount});
    }
}

void CCsvRecords::NoteValues(const CsvRow& row, const Parsed& parsed) {
    if (!parsed.hasDate) m_notes.Add(Note::DateUnreadable, row.line, {parsed.dateText});
    if (row.hasLoneQuote) m_notes.Add(Note::QuoteNotClosed, row.line);
    if (row.cells.size() < static_cast<size_t>(m_shape.LastUsed())) {
        m_notes.Add(Note::RowShort, row.line, {row.cells.size(), m_shape.width});
    }
}

// Date, amount and whatever has a letter in it: balances and marks of the export itself are
// not the same in the next one.
const std::string& CCsvRecords::KeyOf(const CsvRow& row, const Parsed& parsed) {
    char amount[40];
    const double written = m_shape.invert ? -parsed.money.amount : parsed.money.amount;
    const std::to_chars_result end = std::to_chars(amount, amount + sizeof amount, written);
    m_key = parsed.hasDate ? std::to_string(parsed.date) : std::string(parsed.dateText);
    m_key.append("|").append(amount, end.ptr);
    for (size_t i = 0; i < row.cells.size(); ++i) {
        const auto column = static_cast<int32_t>(i) + 1;
        const bool isText = HasLetter(row.cells[i]) && column != m_shape.status &&
                            column != m_shape.map[Field::Balance] &&
                            column != m_shape.map[Field::Id];
        if (isText) m_key.append("|").append(row.cells[i]);
    }
    if (!m_more.empty()) m_key.append("|").append(m_more);
    return m_key;
}

void CCsvRecords::TakeIdentifier(const CsvRow& row, ImportRecord& record) {
    const std::string_view text = row.Cell(m_shape.map[Field::Id]);
    record.fitId = StatementId(text);
    if (record.fitId == 0) {
        record.fitId = m_identifiers.Make(m_key);
        return;
    }
    record.idText = text;
    int64_t firstLine = 0;
    const CCsvIdentifiers::Finding finding =
        m_identifiers.Mark(record, m_key, m_shape.idMayRecur, firstLine);
    if (finding == CCsvIdentifiers::Finding::Repeated) {
        m_notes.Add(Note::LineRepeated, row.line, {firstLine});
        return;
    }
    // Also the one that a file without identifiers gave it.
    record.ownId = m_identifiers.Make(m_key);
    if (finding == CCsvIdentifiers::Finding::Shared) {
        m_notes.Add(Note::IdentifierShared, row.line, {firstLine});
    }
}

// The difference to the balance next to it, where that is the amount.
double CCsvRecords::SignedByBalance(const CsvRow& row, const Parsed& parsed) {
    const double amount = parsed.money.amount;
    const std::optional<double>& other =
        m_shape.direction == CsvDirection::Up ? m_balanceBelow : m_balanceAbove;
    if (parsed.balance && other) {
        const double difference = *parsed.balance - *other;
        if (std::fabs(std::fabs(difference) - std::fabs(amount)) < kHalfCent) {
            return difference < 0.0 ? -std::fabs(amount) : std::fabs(amount);
        }
    }
    m_notes.Add(Note::SignOfRowUnknown, row.line);
    return amount;
}

void CCsvRecords::Prove(const CsvRow& row, const Parsed& parsed, const ImportRecord& record) {
    if (m_shape.map[Field::Balance] == 0) return;
    if (!record.amountRead || !parsed.balance) {
        m_proof.Break();
        return;
    }
    m_proof.Add({record.amount, *parsed.balance, record.date});
    if (!m_proof.Follows(m_shape.direction)) {
        const bool isUp = m_shape.direction == CsvDirection::Up;
        m_notes.Add(Note::BalanceDoesNotFollow, isUp ? m_lastLine : row.line,
                    {row.Cell(m_shape.map[Field::Balance])});
    }
    m_lastLine = row.line;
}

ImportRecord CCsvRecords::RecordOf(CsvRow& row, const Parsed& parsed) {
    ImportRecord record;
    record.line = row.line;
    record.dateRead = parsed.hasDate;
    record.date = parsed.hasDate ? parsed.date : m_today;
    (void)KeyOf(row, parsed);
    TakeAmount(row, parsed, record);
    TakeTexts(row, record);
    NoteValues(row, parsed);
    TakeIdentifier(row, record);
    record.check = ReadCheckNumber(row.Cell(m_shape.map[Field::Check])).value_or(0);
    Prove(row, parsed, record);
    return record;
}

}  // namespace quillon
