#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <unordered_map>
#include <utility>

#include "finance/ledger/Balance.h"
#include "finance/records/FinanceCodes.h"
#include "finance/schema/FinanceSchema.h"
#include "import/qif/QifActions.h"
#include "import/qif/QifParser.h"
#include "import/qif/QifRecords.h"
#include "import/text/AmountRounding.h"
#include "import/text/AmountText.h"
#include "import/text/DateText.h"
#include "import/text/TextScan.h"

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

// The accounts of a file in the order of their first register, the same in every walk.
class CQifSources {
public:
    size_t Take(std::string_view account, std::string_view type) {
        const bool isCard = EqualsAsciiCase(type, "CCard");
        const bool isInvestment = EqualsAsciiCase(type, "Invst") || EqualsAsciiCase(type, "Port");
        const bool isBank = EqualsAsciiCase(type, "Bank");
        ImportSource source;
        source.name = account.empty() ? std::string(type.empty() ? "Bank" : type)
                                      : std::string(account.substr(0, kLongestName));
        const auto [place, isNew] = m_byName.try_emplace(source.name, m_all.size());
        if (!isNew) return place->second;
        source.number = account.substr(0, kLongestName);
        source.kind = isCard         ? SourceKind::Card
                      : isInvestment ? SourceKind::Investment
                      : isBank       ? SourceKind::Bank
                                     : SourceKind::Unknown;
        m_all.push_back(std::move(source));
        return m_all.size() - 1;
    }

    std::vector<ImportSource> m_all;

private:
    static constexpr size_t kLongestName = 100;  // bytes
    std::unordered_map<std::string, size_t> m_byName;
};

// The first walk: what dates and amounts tell of the file, and whose registers it holds.
class CSurvey final : public CQifTaker {
public:
    void BeginRegister(std::string_view account, std::string_view type) override {
        m_dates.StartSequence();
        m_source = m_sources.Take(account, type);
    }

    void TakeRecord(const QifRecord& record) override {
        ++m_sources.m_all[m_source].lines;
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
    CQifSources m_sources;

private:
    size_t m_source = 0;
};

// The later ones: the values, and a note for what is not as it should be.
class CValues final : public CQifTaker {
public:
    // Takes a record and its source.
    using Sink = std::function<bool(ImportRecord&, size_t)>;

    CValues(int64_t today, const Dialect& dialect, const AmountMarks& marks,
            const QifOutline& outline, const std::vector<ImportSource>& chosen, CImportNotes& notes,
            Sink sink)
        : m_today(today),
          m_dialect(dialect),
          m_marks(marks),
          m_outline(outline),
          m_chosen(chosen),
          m_notes(notes),
          m_sink(std::move(sink)) {}

    void BeginRegister(std::string_view account, std::string_view type) override {
        m_source = m_sources.Take(account, type);
        m_isChosen = m_chosen[m_source].chosen;
    }
    void TakeRecord(const QifRecord& raw) override;
    void Skip(QifSkip reason, int64_t line) override;
    // Records of the chosen ones, and actions among them that move no money.
    int64_t Records() const { return m_read; }
    int64_t Investments() const { return m_investments; }

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
    const std::vector<ImportSource>& m_chosen;
    CImportNotes& m_notes;
    Sink m_sink;
    CQifSources m_sources;
    size_t m_source = 0;
    bool m_isChosen = true;  // as is what stands in no register
    bool m_stopped = false;
    int64_t m_read = 0;
    int64_t m_investments = 0;
    CTextArena m_arena;      // of the record being read
    std::string m_currency;  // of the first amount that has one
};

void CValues::Skip(QifSkip reason, int64_t line) {
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

void CValues::TakeRecord(const QifRecord& raw) {
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
    if (record.payee.empty() && m_notes.Wants(Kind::Payee)) {
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
            record.memo = m_arena.Keep(std::string(raw.memo) + " " + std::string(number));
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
}

}  // namespace

CInferredQif::CInferredQif(const CReadOnlyTextFileManager& text, int64_t today,
                           const ImportOptions& options, Dialect& dialect, CImportNotes& notes)
    : m_text(text), m_today(today), m_options(options), m_dialect(dialect), m_notes(notes) {}

void CInferredQif::Survey() {
    CSurvey survey;
    m_outline = WalkQif(m_text, survey);
    survey.m_dates.Decide(m_options.dateOrder, m_dialect, m_notes);
    m_marks = survey.m_amounts.Decide(m_options.decimal, m_dialect, m_notes);
    m_sources = std::move(survey.m_sources.m_all);
}

CInferredQif::Counts CInferredQif::Count(const std::vector<ImportSource>& sources) {
    Counts counts;
    m_rounding.assign(sources.size(), {});
    CImportNotes unheard;
    CValues values(m_today, m_dialect, m_marks, m_outline, sources, unheard,
                   [&](ImportRecord& record, size_t source) {
                       ++counts.records;
                       counts.dated += record.dateRead;
                       m_rounding[source].Add(record.amount);
                       return true;
                   });
    (void)WalkQif(m_text, values);
    counts.read = values.Records();
    counts.investments = values.Investments();
    double balance = 0.0;
    if (ReadAmount(m_outline.balance, m_marks, balance) == AmountReading::Clean) {
        for (CAmountRounding& rounding : m_rounding) rounding.KeepSum();
    }
    return counts;
}

void CInferredQif::Read(const std::vector<ImportSource>& sources, const RecordSink& sink) {
    CValues values(m_today, m_dialect, m_marks, m_outline, sources, m_notes,
                   [&](ImportRecord& record, size_t source) {
                       const double written = record.amount;
                       record.amount = m_rounding[source].Round(written);
                       if (!HasWholeCents(written)) {
                           char text[100];
                           std::snprintf(
                               text, sizeof text,
                               "The amount %.12g has more than two decimals: entered as %.2f.",
                               written, record.amount);
                           m_notes.Add(Kind::Amount, record.line, text);
                       }
                       return sink(record);
                   });
    (void)WalkQif(m_text, values);
    NoteOutline(m_outline, m_notes);
}

}  // namespace quillon
