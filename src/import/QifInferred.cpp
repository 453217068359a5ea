#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "finance/Balance.h"
#include "finance/FinanceCodes.h"
#include "finance/FinanceSchema.h"
#include "import/AmountRounding.h"
#include "import/AmountText.h"
#include "import/DateText.h"
#include "import/QifActions.h"
#include "import/QifParser.h"
#include "import/QifRecords.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

std::string AllInQuotes(const std::vector<std::string_view>& names) {
    std::string all;
    for (const std::string_view name : names) {
        all += (all.empty() ? "" : ", ") + InQuotes(name);
    }
    return all;
}

// "[Savings]", with or without a class behind it, is account Savings; empty for a category.
std::string_view OtherAccount(std::string_view category) {
    if (category.empty() || category.front() != '[') return {};
    const size_t end = category.find(']');
    return end == std::string_view::npos ? std::string_view()
                                         : TrimBlanks(category.substr(1, end - 1));
}

bool IsBracketed(std::string_view category) {
    return !category.empty() && category.front() == '[' && Contains(category, "]");
}

// The first walk: what dates and amounts tell of the file.
class CSurvey final : public CQifTaker {
public:
    void BeginRegister() override { m_dates.StartSequence(); }

    void TakeRecord(const QifRecord& record) override {
        ++m_records;
        m_dates.Add(record.date, record.dateLine);
        const bool ownAmount = !record.amount.empty();
        if (ownAmount) m_amounts.Add(record.amount, record.amountLine);
        for (const QifLine& split : record.splitAmounts) {
            m_amounts.Add(split.text, split.line, !ownAmount);
        }
    }

    void Skip(QifSkip, int64_t) override {}

    CDateInference m_dates;
    CAmountInference m_amounts;
    size_t m_records = 0;
};

// The second: the values, and a note for what is not as it should be.
class CValues final : public CQifTaker {
public:
    CValues(int64_t today, const Dialect& dialect, const AmountMarks& marks,
            const QifOutline& outline, CImportNotes& notes, QifContents& contents)
        : m_today(today),
          m_dialect(dialect),
          m_marks(marks),
          m_outline(outline),
          m_notes(notes),
          m_contents(contents) {}

    void TakeRecord(const QifRecord& raw) override;
    void Skip(QifSkip reason, int64_t line) override;

private:
    bool ReadAction(const QifRecord& raw, bool& isOut);
    bool ReadDateOf(const QifRecord& raw, ImportRecord& record);
    void NoteDate(const QifRecord& raw, const ImportRecord& record);
    AmountReading ReadAmountOf(const QifRecord& raw, ImportRecord& record);
    void NoteAmount(const QifRecord& raw, AmountReading reading);
    void NoteCurrency(const QifRecord& raw);
    void ReadNumberOf(const QifRecord& raw, ImportRecord& record);
    std::string_view CategoryOf(const QifRecord& raw, const ImportRecord& record);
    bool IsPartOnly(const QifRecord& raw, const ImportRecord& record) const;
    std::string_view WithoutClass(const QifRecord& raw, std::string_view category);
    size_t ListedNameIn(std::string_view category) const;
    std::string_view TransferOf(const QifRecord& raw, std::string_view category);

    int64_t m_today;
    const Dialect& m_dialect;
    const AmountMarks& m_marks;
    const QifOutline& m_outline;
    CImportNotes& m_notes;
    QifContents& m_contents;
    std::string m_currency;  // of the first amount that has one
};

void CValues::Skip(QifSkip reason, int64_t line) {
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
            ++m_contents.read;
            return m_notes.Add(Kind::Skipped, line,
                               "The file ends inside this record; it was not entered.");
        case QifSkip::NotClosed:
            ++m_contents.read;
            return m_notes.Add(Kind::Skipped, line,
                               "This record is not closed by \"^\" and lacks date or amount; it "
                               "was not entered.");
    }
}

void CValues::TakeRecord(const QifRecord& raw) {
    ++m_contents.read;
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
    NoteDate(raw, record);
    NoteAmount(raw, reading);
    NoteCurrency(raw);
    if (isOut && record.amount > 0) record.amount = -record.amount;
    record.memo = raw.memo;
    record.payee = raw.payee.empty() ? raw.security : raw.payee;
    if (record.payee.empty()) record.payee = raw.memo;
    if (!raw.isInvestment) ReadNumberOf(raw, record);
    if (record.payee.empty() && m_notes.Wants(Kind::Payee)) {
        m_notes.Add(Kind::Payee, raw.line, "No payee and no memo: entered without a payee.");
    }
    record.category = CategoryOf(raw, record);
    if (!raw.isClosed) {
        m_notes.Add(Kind::Record, raw.line,
                    "This record is not closed by \"^\"; it was entered up to line " +
                        std::to_string(raw.lastLine) + ".");
    }
    m_contents.records.push_back(record);
}

// False: it moves none of the account's own money.
bool CValues::ReadAction(const QifRecord& raw, bool& isOut) {
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
        ++m_contents.skippedInvestments;
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

bool CValues::ReadDateOf(const QifRecord& raw, ImportRecord& record) {
    DateParts parts;
    std::optional<int64_t> date;
    if (SplitDate(raw.date, parts)) date = ReadDate(parts, m_dialect.dateOrder);
    record.date = date.value_or(m_today);
    record.dateRead = date.has_value();
    return record.dateRead;
}

void CValues::NoteDate(const QifRecord& raw, const ImportRecord& record) {
    if (record.dateRead || !m_notes.Wants(Kind::Date)) return;
    if (raw.dateLine == kNoQifLine) {
        m_notes.Add(Kind::Date, raw.line, "No date: entered under today's.");
    } else {
        m_notes.Add(Kind::Date, raw.dateLine,
                    "The date " + InQuotes(raw.date) + " cannot be read: entered under today's.");
    }
}

AmountReading CValues::ReadAmountOf(const QifRecord& raw, ImportRecord& record) {
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

void CValues::NoteAmount(const QifRecord& raw, AmountReading reading) {
    if (raw.amountLine == kNoQifLine) {
        m_notes.Add(Kind::Amount, raw.line, "No amount: entered as 0.");
    } else if (raw.amount.empty() && !raw.splitAmounts.empty()) {
        m_notes.Add(Kind::Amount, raw.line,
                    reading == AmountReading::Clean
                        ? "No amount of its own: entered with the sum of its splits."
                        : "No amount of its own: entered with the sum of its splits, of which "
                          "some are no clean numbers.");
    } else if (reading != AmountReading::Clean && m_notes.Wants(Kind::Amount)) {
        m_notes.Add(Kind::Amount, raw.amountLine, AmountNote(raw.amount, reading));
    }
}

void CValues::NoteCurrency(const QifRecord& raw) {
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

void CValues::ReadNumberOf(const QifRecord& raw, ImportRecord& record) {
    const std::string_view number = raw.number;
    const auto is = [number](std::string_view name) { return EqualsAsciiCase(number, name); };
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
        int64_t check = 0;
        if (IsDigits(number) && ScanLong(number, check) && check <= INT32_MAX) {
            record.check = static_cast<int32_t>(check);
            return;
        }
        if (Contains(record.payee, number) || Contains(raw.memo, number)) return;
        if (raw.memo.empty()) {
            record.memo = number;
        } else {
            record.memo = m_contents.arena.Keep(std::string(raw.memo) + " " + std::string(number));
        }
        m_notes.Add(Kind::Number, raw.line,
                    "The number " + InQuotes(number) + " is no check number: it went to the memo.");
    }
}

// --- categories

std::string_view CValues::CategoryOf(const QifRecord& raw, const ImportRecord& record) {
    const auto is = [&raw](std::string_view name) { return EqualsAsciiCase(raw.category, name); };
    std::string_view category = raw.category;
    if (is("--Split--") || is("N/A")) category = {};
    if (raw.splits > 1 || IsPartOnly(raw, record)) {
        m_notes.Add(Kind::Splits, raw.line,
                    (raw.splits > 1 ? "Split over " + std::to_string(raw.splits) + " parts"
                                    : std::string("Split into one part and a rest")) +
                        ": entered as one" +
                        (category.empty() ? std::string(", without a category.")
                                          : ", under " + InQuotes(category) + "."));
    } else if (category.empty()) {
        category = raw.splitCategory;  // a single split is no split
    }
    category = WithoutClass(raw, category);
    return IsBracketed(category) ? TransferOf(raw, category) : category;
}

bool CValues::IsPartOnly(const QifRecord& raw, const ImportRecord& record) const {
    if (raw.splits != 1 || raw.splitAmounts.empty() || raw.amount.empty()) return false;
    double part = 0.0;
    if (ReadAmount(raw.splitAmounts.front().text, m_marks, part) == AmountReading::Failed) {
        return false;
    }
    return std::fabs(std::fabs(part) - std::fabs(record.amount)) >= kHalfCent;
}

// Length of the longest name with a "/" in it that the file's own list holds and the
// category begins with; 0: none.
size_t CValues::ListedNameIn(std::string_view category) const {
    constexpr size_t kLongest = 256;  // bytes
    const std::string_view name = category.substr(0, kLongest);
    for (size_t end = name.size(); end != std::string_view::npos && end > 0;
         end = name.rfind('/', end - 1)) {
        if (m_outline.slashed.count(name.substr(0, end)) != 0) return end;
    }
    return 0;
}

// What follows a "/" is a class, but where the file's own list names a category so.
std::string_view CValues::WithoutClass(const QifRecord& raw, std::string_view category) {
    size_t end = IsBracketed(category) ? category.find(']') + 1 : category.find('/');
    if (end >= category.size()) return category;
    if (!m_outline.slashed.empty()) end = std::max(end, ListedNameIn(category));
    std::string_view left = TrimBlanks(category.substr(end));
    if (!left.empty() && left.front() == '/') left = TrimBlanks(left.substr(1));
    if (!left.empty()) {
        m_notes.Add(Kind::Record, raw.line,
                    "The class " + InQuotes(left) + " behind the category was left out.");
    }
    return TrimBlanks(category.substr(0, end));
}

std::string_view CValues::TransferOf(const QifRecord& raw, std::string_view category) {
    const std::string_view other = OtherAccount(category);
    if (other.empty()) return {};
    const bool isOwn = other == raw.account;
    if (raw.isInvestment && isOwn && raw.hasShares) return {};  // its own cash
    // By custom the opening balance names the register's own account.
    if (isOwn || EqualsAsciiCase(raw.payee, "Opening Balance")) return kAdjustmentCategory;
    m_notes.Add(Kind::Transfer, raw.line,
                "A transfer with account " + InQuotes(other) +
                    ": only this side was entered, under \"Transfer\".");
    return kTransferCategory;
}

// --- the file as a whole

void RoundAmounts(std::vector<ImportRecord>& records, bool hasBalance, CImportNotes& notes) {
    CAmountRounding rounding;
    for (const ImportRecord& record : records) rounding.Add(record.amount);
    if (hasBalance) rounding.KeepSum();
    for (ImportRecord& record : records) {
        const double written = record.amount;
        record.amount = rounding.Round(written);
        if (HasWholeCents(written)) continue;
        char text[100];
        std::snprintf(text, sizeof text,
                      "The amount %.12g has more than two decimals: entered as %.2f.", written,
                      record.amount);
        notes.Add(Kind::Amount, record.line, text);
    }
}

void NoteOutline(const QifOutline& outline, CImportNotes& notes) {
    if (!outline.lists.empty() && outline.registers > 0) {
        notes.Add(Kind::File, 0, "Skipped: lists of the type " + AllInQuotes(outline.lists) + ".");
    }
    for (const QifOutline::Assumed& assumed : outline.assumed) {
        const std::string kind = assumed.isInvestment ? "an investment" : "a bank";
        notes.Add(Kind::File, assumed.line,
                  assumed.type.empty()
                      ? "No heading says what register this is: read as " + kind + " register."
                      : "The type " + InQuotes(assumed.type) +
                            " is not known, but holds dates and amounts: read as " + kind +
                            " register.");
    }
    if (outline.accounts.size() < 2) return;
    notes.Add(Kind::File, 0,
              "The file holds the registers of " + std::to_string(outline.accounts.size()) +
                  " accounts (" + AllInQuotes(outline.accounts) +
                  "); all of them go into this one account.");
}

}  // namespace

void ReadInferredQif(const CReadOnlyTextFileManager& text, int64_t today,
                     const ImportOptions& options, Dialect& dialect, CImportNotes& notes,
                     QifContents& contents) {
    CSurvey survey;
    contents.outline = WalkQif(text, survey);
    survey.m_dates.Decide(options.dateOrder, dialect, notes);
    const AmountMarks marks = survey.m_amounts.Decide(options.decimal, dialect, notes);
    contents.records.reserve(survey.m_records);
    CValues values(today, dialect, marks, contents.outline, notes, contents);
    (void)WalkQif(text, values);
    double balance = 0.0;
    const bool hasBalance =
        ReadAmount(contents.outline.balance, marks, balance) == AmountReading::Clean;
    RoundAmounts(contents.records, hasBalance, notes);
    NoteOutline(contents.outline, notes);
}

}  // namespace quillon
