#include "import/qif/QifValues.h"

#include <algorithm>
#include <optional>

#include "finance/records/FinanceCodes.h"
#include "import/qif/QifActions.h"
#include "import/text/DateText.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;

Note NoteOfSkip(QifSkip reason) {
    switch (reason) {
        case QifSkip::Empty:
            return Note::RecordEmpty;
        case QifSkip::NoValues:
            return Note::RecordWithoutValues;
        case QifSkip::NotWhole:
            return Note::RecordInNoRegister;
        case QifSkip::CutOff:
            return Note::RecordCutOff;
        case QifSkip::NotClosed:
            break;
    }
    return Note::RecordNotWhole;
}

}  // namespace

void CQifValues::Skip(QifSkip reason, int64_t line) {
    if (!m_isChosen || m_stopped) return;
    m_read += reason == QifSkip::CutOff || reason == QifSkip::NotClosed;
    m_notes.Add(NoteOfSkip(reason), line);
}

void CQifValues::TakeRecord(const QifRecord& raw) {
    if (!m_isChosen || m_stopped) return;
    ++m_read;
    bool isOut = false;
    if (raw.isInvestment && !ReadAction(raw, isOut)) return;
    ImportRecord record;
    record.line = raw.line;
    const bool hasDate = ReadDateOf(raw, record);
    const AmountReading reading = ReadAmountOf(raw, record);
    if (!hasDate && reading == AmountReading::Failed) {
        m_notes.Add(Note::RecordUnreadable, raw.line);
        return;
    }
    record.amountRead = reading != AmountReading::Failed;
    NoteDate(raw, record);
    NoteAmount(raw, reading);
    NoteCurrency(raw);
    if (isOut && record.amount > 0) record.amount = -record.amount;
    record.memo = raw.memo;
    record.payee = raw.payee.empty() ? raw.security : raw.payee;
    if (record.payee.empty()) record.payee = raw.memo;
    if (!raw.isInvestment) ReadNumberOf(raw, record);
    if (record.payee.empty()) m_notes.Add(Note::NoPayeeNoMemo, raw.line);
    record.category = CategoryOf(raw, record);
    if (!raw.isClosed) m_notes.Add(Note::RecordNotClosed, raw.line, {raw.lastLine});
    m_stopped = !m_sink(record, m_source);
    m_arena.Reset();
}

// False: it moves none of the account's own money.
bool CQifValues::ReadAction(const QifRecord& raw, bool& isOut) {
    const QifAction* const action = FindQifAction(raw.number);
    QifCash cash = action ? action->cash : QifCash::None;
    if (!action && !raw.hasShares) cash = QifCash::AsWritten;  // a bank's record, with a number
    bool isTrade = cash == QifCash::TradeIn || cash == QifCash::TradeOut;
    const std::string_view other = OtherAccount(raw.category);
    if (isTrade && !other.empty() && other != raw.account) cash = QifCash::Elsewhere;
    if (cash == QifCash::Elsewhere && !other.empty() && other == raw.account) {
        // "BuyX" with the account itself is "Buy".
        const QifAction* const own = FindQifAction(raw.number.substr(0, raw.number.size() - 1));
        if (own) cash = own->cash;
        isTrade = cash == QifCash::TradeIn || cash == QifCash::TradeOut;
    }
    if (cash == QifCash::Elsewhere || cash == QifCash::None) {
        ++m_investments;
        m_notes.Add(cash == QifCash::Elsewhere ? Note::ActionElsewhere
                    : action                   ? Note::ActionOfShares
                                               : Note::ActionUnknown,
                    raw.line, {raw.number});
        return false;
    }
    if (isTrade) m_notes.Add(Note::TradeInCash, raw.line, {raw.number});
    isOut = cash == QifCash::Out || cash == QifCash::TradeOut;
    return true;
}

bool CQifValues::ReadDateOf(const QifRecord& raw, ImportRecord& record) {
    DateParts parts;
    std::optional<int64_t> date;
    if (SplitDate(raw.date, parts)) date = ReadDate(parts, m_dialect.dateOrder);
    record.date = date.value_or(m_today);
    record.dateRead = date.has_value();
    return record.dateRead;
}

void CQifValues::NoteDate(const QifRecord& raw, const ImportRecord& record) {
    if (record.dateRead) return;
    if (raw.dateLine == kNoQifLine) {
        m_notes.Add(Note::NoDate, raw.line);
    } else {
        m_notes.Add(Note::DateUnreadable, raw.dateLine, {raw.date});
    }
}

AmountReading CQifValues::ReadAmountOf(const QifRecord& raw, ImportRecord& record) {
    if (!raw.amount.empty() || raw.splitAmounts.empty()) {
        return ReadAmount(raw.amount, m_marks, record.amount);
    }
    AmountReading worst = AmountReading::Clean;
    for (const QifLine& split : raw.splitAmounts) {
        double part = 0.0;
        worst = std::max(worst, ReadAmount(split.text, m_marks, part));
        record.amount += part;
    }
    return worst;
}

void CQifValues::NoteAmount(const QifRecord& raw, AmountReading reading) {
    if (raw.amountLine == kNoQifLine) {
        m_notes.Add(Note::NoAmount, raw.line);
    } else if (raw.amount.empty() && !raw.splitAmounts.empty()) {
        const bool isClean = reading == AmountReading::Clean;
        m_notes.Add(isClean ? Note::AmountOfSplits : Note::AmountOfSplitsPartlyRead, raw.line);
    } else if (const std::optional<Note> note = NoteOf(reading)) {
        m_notes.Add(*note, raw.amountLine, {raw.amount});
    }
}

void CQifValues::NoteCurrency(const QifRecord& raw) {
    if (raw.amount.empty() || raw.amount.find_first_not_of("0123456789.,-+ ") == raw.amount.npos) {
        return;
    }
    const std::string currency = CurrencyOf(raw.amount);
    if (currency.empty()) return;
    if (m_currency.empty()) m_currency = currency;
    if (currency == m_currency) return;
    m_notes.Add(Note::CurrencyChanged, raw.amountLine, {raw.amount, m_currency});
}

void CQifValues::ReadNumberOf(const QifRecord& raw, ImportRecord& record) {
    const std::string_view number = raw.number;
    const auto is = [number](std::string_view name) {
        return EqualIgnoringAsciiCase(number, name);
    };
    if (number.empty() || is("N/A") || is("Print") || is("Send")) return;
    if (is("ATM")) {
        record.electronic = kElectronicAtm;
    } else if (is("EFT")) {
        record.electronic = kElectronicEft;
    } else if (is("TXFR") || is("Xfer") || is("Transfer")) {
        record.electronic = kElectronicTransfer;
    } else if (is("DEP") || is("Deposit")) {
        return;
    } else {
        if (const std::optional<int32_t> check = ReadCheckNumber(number)) {
            record.check = *check;
            return;
        }
        if (Contains(record.payee, number) || Contains(raw.memo, number)) return;
        if (raw.memo.empty()) {
            record.memo = number;
        } else {
            record.memo = m_arena.Keep(std::string(raw.memo) + " " + std::string(number));
        }
        m_notes.Add(Note::NumberToMemo, raw.line, {number});
    }
}

}  // namespace quillon
