#include "import/qif/QifValues.h"

#include <algorithm>
#include <optional>

#include "finance/records/FinanceCodes.h"
#include "import/qif/QifActions.h"
#include "import/text/DateText.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

}  // namespace

void CQifValues::Skip(QifSkip reason, int64_t line) {
    if (!m_isChosen || m_stopped) return;
    switch (reason) {
        case QifSkip::Empty:
            return m_notes.Add(Kind::Skipped, line, "An empty record; not entered.");
        case QifSkip::NoValues:
            return m_notes.Add(Kind::Skipped, line,
                               "Neither a date nor an amount: not a transaction, not entered.");
        case QifSkip::NotWhole:
            return m_notes.Add(Kind::Skipped, line,
                               "In no register, and without a date and an amount: not entered.");
        case QifSkip::CutOff:
            ++m_read;
            return m_notes.Add(Kind::Skipped, line,
                               "The file ends inside this record; it was not entered.");
        case QifSkip::NotClosed:
            ++m_read;
            return m_notes.Add(Kind::Skipped, line,
                               "This record is not closed by \"^\" and lacks date or amount; it "
                               "was not entered.");
    }
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
        m_notes.Add(Kind::Skipped, raw.line,
                    "Neither its date nor its amount can be read: not entered.");
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
    if (record.payee.empty()) {
        m_notes.Add(Kind::Payee, raw.line, "No payee and no memo: entered without a payee.");
    }
    record.category = CategoryOf(raw, record);
    if (!raw.isClosed) {
        m_notes.Add(Kind::Record, raw.line,
                    "This record is not closed by \"^\"; it was entered up to line " +
                        std::to_string(raw.lastLine) + ".");
    }
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
    const std::string name = "Investment action " + InQuotes(raw.number);
    if (cash == QifCash::Elsewhere || cash == QifCash::None) {
        ++m_investments;
        m_notes.Add(Kind::Skipped, raw.line,
                    name +
                        (cash == QifCash::Elsewhere ? " is settled with another account"
                         : action                   ? " moves shares only"
                                                    : " is not known") +
                        "; not entered.");
        return false;
    }
    if (isTrade) {
        m_notes.Add(Kind::Record, raw.line,
                    name +
                        " is settled in the account's own cash: its money was entered, its "
                        "shares were not.");
    }
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
        m_notes.Add(Kind::Date, raw.line, "No date: entered under today's.");
    } else {
        m_notes.Add(Kind::Date, raw.dateLine,
                    "The date " + InQuotes(raw.date) + " cannot be read: entered under today's.");
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
        m_notes.Add(Kind::Amount, raw.line, "No amount: entered as 0.");
    } else if (raw.amount.empty() && !raw.splitAmounts.empty()) {
        m_notes.Add(Kind::Amount, raw.line,
                    reading == AmountReading::Clean
                        ? "No amount of its own: entered with the sum of its splits."
                        : "No amount of its own: entered with the sum of its splits, of which "
                          "some are no clean numbers.");
    } else if (reading != AmountReading::Clean) {
        m_notes.Add(Kind::Amount, raw.amountLine, AmountNote(raw.amount, reading));
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
    m_notes.Add(Kind::Currency, raw.amountLine,
                "The amount " + InQuotes(raw.amount) + " is not in " + InQuotes(m_currency) +
                    ", as those before: it was entered as it is.");
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
        m_notes.Add(Kind::Number, raw.line,
                    "The number " + InQuotes(number) + " is no check number: it went to the memo.");
    }
}

}  // namespace quillon
