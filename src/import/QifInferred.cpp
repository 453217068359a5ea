#include <algorithm>
#include <utility>

#include "finance/FinanceCodes.h"
#include "finance/FinanceSchema.h"
#include "import/AmountText.h"
#include "import/DateText.h"
#include "import/QifParser.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

constexpr int64_t kNoLine = -1;

// One line of an open record.
struct FieldLine {
    int64_t line = 0;  // from 1
    std::string_view text;
};

// A register's record before its values are read.
struct RawRecord {
    int64_t line = 0;
    int64_t dateLine = kNoLine;
    int64_t amountLine = kNoLine;
    int64_t lastLine = 0;
    std::string_view date;
    std::string_view amount;
    std::string_view payee;
    std::string_view category;
    std::string_view memo;
    std::string_view number;
    std::string_view account;        // whose register it stands in
    std::string_view splitCategory;  // of the first split
    uint32_t firstSplit = 0;         // in the reader's split amounts
    uint32_t splits = 0;
    bool investment = false;
    bool closed = true;
    bool cutAtEnd = false;
};

// Investment actions that move money of the account itself. What buys, sells or moves
// shares is none of a bank register's business; actions ending in X are paid from or into
// another account.
struct CashAction {
    std::string_view name;
    bool out;  // written without a sign, it goes out
};
constexpr CashAction kCashActions[] = {
    {"", false},        {"Cash", false},     {"MiscInc", false}, {"MiscExp", true},
    {"Div", false},     {"IntInc", false},   {"CGLong", false},  {"CGMid", false},
    {"CGShort", false}, {"RtrnCap", false},  {"XIn", false},     {"XOut", true},
    {"MargInt", true},  {"ContribX", false}, {"WithdrwX", true}, {"Deposit", false},
};

const CashAction* FindCashAction(std::string_view name) {
    for (const CashAction& action : kCashActions) {
        if (EqualsAsciiCase(name, action.name)) return &action;
    }
    return nullptr;
}

class CInferredQif {
public:
    CInferredQif(const CReadOnlyTextFileManager& text, int64_t today, const ImportOptions& options,
                 Dialect& dialect, CImportNotes& notes, QifContents& contents)
        : m_text(text),
          m_today(today),
          m_options(options),
          m_dialect(dialect),
          m_notes(notes),
          m_contents(contents) {}

    void Run() {
        for (int64_t i = 0; i < m_text.LineCount(); ++i) {
            m_line = i + 1;
            TakeLine(m_line, m_text.LineBytes(i));
        }
        CloseRecord(false, true);
        m_dates.Decide(m_options.dateOrder, m_dialect, m_notes);
        m_marks = m_amounts.Decide(m_options.decimal, m_dialect, m_notes);
        m_contents.records.reserve(m_raw.size());
        for (const RawRecord& raw : m_raw) ReadRecord(raw);
        NoteSections();
    }

private:
    enum class Section { None, Register, Investment, Account, List };

    // --- sections
    void TakeLine(int64_t line, std::string_view text) {
        const std::string_view trimmed = TrimBlanks(text);
        if (!trimmed.empty() && trimmed.front() == '!') {
            CloseRecord(false, false);
            TakeHeader(trimmed);
            return;
        }
        switch (m_section) {
            case Section::Register:
            case Section::Investment:
                if (!text.empty() && text.front() == '^') {
                    CloseRecord(true, false);
                } else {
                    if (m_open.empty() && trimmed.empty()) return;
                    m_open.push_back({line, text});
                }
                break;
            case Section::Account:
                if (!text.empty() && text.front() == 'N') m_account = TrimBlanks(text.substr(1));
                break;
            case Section::None:
            case Section::List:
                break;
        }
    }

    void TakeHeader(std::string_view header) {
        m_contents.hasHeader = true;
        if (EqualsAsciiCase(header.substr(0, 8), "!Account")) {
            m_section = Section::Account;
            m_account = {};
            return;
        }
        if (!EqualsAsciiCase(header.substr(0, 6), "!Type:")) return;  // options
        const std::string_view type = TrimBlanks(header.substr(6));
        const auto is = [type](std::string_view name) { return EqualsAsciiCase(type, name); };
        if (is("Bank") || is("Cash") || is("CCard") || is("Oth A") || is("Oth L")) {
            m_section = Section::Register;
        } else if (is("Invst") || is("Port")) {
            m_section = Section::Investment;
        } else {
            m_section = Section::List;
            if (m_contents.lists.size() < 20 &&
                std::find(m_contents.lists.begin(), m_contents.lists.end(), type) ==
                    m_contents.lists.end()) {
                m_contents.lists.emplace_back(type.substr(0, 40));
            }
            return;
        }
        ++m_contents.registers;
    }

    // An account counts when its register holds a record.
    void RememberAccount() {
        if (m_account.empty() || m_contents.accounts.size() >= 20) return;
        auto& accounts = m_contents.accounts;
        if (std::find(accounts.begin(), accounts.end(), m_account) == accounts.end()) {
            accounts.emplace_back(m_account.substr(0, 60));
        }
    }

    void NoteSections() {
        if (!m_contents.lists.empty() && m_contents.registers > 0) {
            std::string names;
            for (const std::string& name : m_contents.lists) {
                names += (names.empty() ? "" : ", ") + InQuotes(name);
            }
            m_notes.Add(Kind::File, 0, "Skipped: lists of the type " + names + ".");
        }
        if (m_contents.accounts.size() < 2) return;
        std::string names;
        for (const std::string& name : m_contents.accounts) {
            names += (names.empty() ? "" : ", ") + InQuotes(name);
        }
        m_notes.Add(Kind::File, 0,
                    "The file holds the registers of " +
                        std::to_string(m_contents.accounts.size()) + " accounts (" + names +
                        "); all of them go into this one account.");
    }

    // --- records
    // What was collected since the last "^" ends here; it may hold several records when a
    // "^" was forgotten.
    void CloseRecord(bool closed, bool atEnd) {
        if (m_section != Section::Register && m_section != Section::Investment) {
            m_open.clear();
            return;
        }
        while (!m_open.empty() && TrimBlanks(m_open.back().text).empty()) m_open.pop_back();
        if (m_open.empty()) {
            if (closed) m_notes.Add(Kind::Skipped, m_line, "An empty record; not entered.");
            return;
        }
        size_t from = 0;
        for (size_t next = FindNextRecord(from); next != 0; next = FindNextRecord(from)) {
            TakeRecord(from, next, false, false);
            from = next;
        }
        TakeRecord(from, m_open.size(), closed, atEnd);
        m_open.clear();
    }

    // Where a second record begins in the open lines from `from` on; 0: nowhere. It has a
    // date of its own behind date and amount of the first, and an amount of its own.
    size_t FindNextRecord(size_t from) const {
        bool date = false;
        bool amount = false;
        bool splits = false;
        size_t lastBlank = 0;
        for (size_t i = from; i < m_open.size(); ++i) {
            const std::string_view text = m_open[i].text;
            if (TrimBlanks(text).empty()) {
                if (date && amount) {
                    lastBlank = i;
                    splits = false;
                }
                continue;
            }
            const char letter = text.front();
            if (letter == 'S') splits = true;
            if (letter == 'T' || letter == 'U' || letter == '$') amount = true;
            if (letter != 'D' || splits) continue;
            if (date && amount && HasAmountAfter(i)) return lastBlank ? lastBlank : i;
            date = true;
        }
        return 0;
    }

    bool HasAmountAfter(size_t at) const {
        for (size_t i = at + 1; i < m_open.size(); ++i) {
            const std::string_view text = m_open[i].text;
            if (text.empty()) continue;
            if (text.front() == 'T' || text.front() == 'U' || text.front() == '$') return true;
            if (text.front() == 'D') return false;
        }
        return false;
    }

    void TakeRecord(size_t from, size_t to, bool closed, bool atEnd) {
        RawRecord raw;
        raw.investment = m_section == Section::Investment;
        raw.closed = closed;
        raw.account = m_account;
        raw.firstSplit = static_cast<uint32_t>(m_splits.size());
        bool inSplits = false;
        for (size_t i = from; i < to; ++i) {
            const FieldLine& field = m_open[i];
            if (TrimBlanks(field.text).empty()) continue;
            if (raw.line == 0) raw.line = field.line;
            raw.lastLine = field.line;
            TakeField(field, inSplits, raw);
        }
        raw.splits = static_cast<uint32_t>(m_splits.size()) - raw.firstSplit;
        // A file that breaks off inside a line: whatever that line says may be cut.
        raw.cutAtEnd = atEnd && !m_text.EndsWithLineBreak() && raw.lastLine == m_text.LineCount();
        const bool cutValue =
            raw.cutAtEnd && (raw.lastLine == raw.dateLine || raw.lastLine == raw.amountLine);
        if (raw.dateLine == kNoLine && raw.amountLine == kNoLine) {
            m_notes.Add(Kind::Skipped, raw.line,
                        "Neither a date nor an amount: not a transaction, not entered.");
            return;
        }
        if (!closed && (cutValue || raw.dateLine == kNoLine || raw.amountLine == kNoLine)) {
            ++m_contents.read;
            m_notes.Add(Kind::Skipped, raw.line,
                        atEnd ? "The file ends inside this record; it was not entered."
                              : "This record is not closed by \"^\" and lacks date or amount; it "
                                "was not entered.");
            return;
        }
        RememberAccount();
        if (raw.dateLine != kNoLine) m_dates.Add(raw.date, raw.dateLine);
        if (!raw.amount.empty()) m_amounts.Add(raw.amount, raw.amountLine);
        for (uint32_t i = 0; i < raw.splits; ++i) {
            const FieldLine& split = m_splits[raw.firstSplit + i];
            m_amounts.Add(split.text, split.line, raw.amount.empty());
        }
        m_raw.push_back(raw);
    }

    void TakeField(const FieldLine& field, bool& inSplits, RawRecord& raw) {
        const std::string_view value = TrimBlanks(field.text.substr(1));
        // Behind the first split the letters speak of splits; a value still missing then
        // is the record's own all the same.
        const auto keep = [&](std::string_view& into) {
            if (!inSplits || into.empty()) into = value;
        };
        switch (field.text.front()) {
            case 'D':
                if (inSplits && raw.dateLine != kNoLine) return;
                raw.date = value;
                raw.dateLine = field.line;
                return;
            case 'T':
            case 'U':
                raw.amount = value;
                raw.amountLine = field.line;
                return;
            case 'P':
                keep(raw.payee);
                return;
            case 'L':
                keep(raw.category);
                return;
            case 'M':
                keep(raw.memo);
                return;
            case 'N':
                keep(raw.number);
                return;
            case 'S':
                inSplits = true;
                if (raw.splitCategory.empty()) raw.splitCategory = value;
                return;
            case '$':
                if (!inSplits) return;
                m_splits.push_back({field.line, value});
                if (raw.amountLine == kNoLine) raw.amountLine = field.line;
                return;
            default:
                return;
        }
    }

    // --- values
    void ReadRecord(const RawRecord& raw) {
        ++m_contents.read;
        bool out = false;
        if (raw.investment) {
            const CashAction* const action = FindCashAction(raw.number);
            if (!action) {
                ++m_contents.skippedInvestments;
                m_notes.Add(Kind::Skipped, raw.line,
                            "Investment action " + InQuotes(raw.number) +
                                " moves shares, not this account's money; not entered.");
                return;
            }
            out = action->out;
        }
        ImportRecord record;
        record.line = raw.line;
        ReadDateOf(raw, record);
        ReadAmountOf(raw, record);
        if (out && record.amount > 0) record.amount = -record.amount;
        record.memo = raw.memo;
        record.payee = raw.payee.empty() ? raw.memo : raw.payee;
        if (record.payee.empty() && m_notes.Wants(Kind::Payee)) {
            m_notes.Add(Kind::Payee, raw.line, "No payee and no memo: entered without a payee.");
        }
        if (!raw.investment) ReadNumberOf(raw, record);
        ReadCategoryOf(raw, record);
        if (!raw.closed) {
            m_notes.Add(Kind::Record, raw.line,
                        "This record is not closed by \"^\"; it was entered up to line " +
                            std::to_string(raw.lastLine) + ".");
        }
        m_contents.records.push_back(record);
    }

    void ReadDateOf(const RawRecord& raw, ImportRecord& record) {
        DateParts parts;
        std::optional<int64_t> date;
        if (SplitDate(raw.date, parts)) date = ReadDate(parts, m_dialect.dateOrder);
        record.date = date.value_or(m_today);
        record.dateRead = date.has_value();
        if (date || !m_notes.Wants(Kind::Date)) return;
        m_notes.Add(Kind::Date, raw.dateLine == kNoLine ? raw.line : raw.dateLine,
                    raw.dateLine == kNoLine ? "No date: entered under today's."
                                            : "The date " + InQuotes(raw.date) +
                                                  " cannot be read: entered under today's.");
    }

    void ReadAmountOf(const RawRecord& raw, ImportRecord& record) {
        if (raw.amountLine == kNoLine) {
            m_notes.Add(Kind::Amount, raw.line, "No amount: entered as 0.");
            return;
        }
        if (raw.amount.empty() && raw.splits > 0) {
            for (uint32_t i = 0; i < raw.splits; ++i) {
                double part = 0.0;
                ReadAmount(m_splits[raw.firstSplit + i].text, m_marks, part);
                record.amount += part;
            }
            m_notes.Add(Kind::Amount, raw.line,
                        "No amount of its own: entered with the sum of its splits.");
            return;
        }
        const AmountReading reading = ReadAmount(raw.amount, m_marks, record.amount);
        if (reading != AmountReading::Clean && m_notes.Wants(Kind::Amount)) {
            m_notes.Add(Kind::Amount, raw.amountLine, AmountNote(raw.amount, reading));
        }
    }

    void ReadNumberOf(const RawRecord& raw, ImportRecord& record) {
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
            } else if (m_notes.Wants(Kind::Number)) {
                m_notes.Add(
                    Kind::Number, raw.line,
                    "The number " + InQuotes(number) + " is no check number and was left out.");
            }
        }
    }

    void ReadCategoryOf(const RawRecord& raw, ImportRecord& record) {
        // A single split is no split.
        record.category =
            raw.category.empty() && raw.splits == 1 ? raw.splitCategory : raw.category;
        if (raw.splits > 1 && m_notes.Wants(Kind::Splits)) {
            m_notes.Add(Kind::Splits, raw.line,
                        "Split over " + std::to_string(raw.splits) + " parts: entered as one" +
                            (raw.category.empty() ? ", without a category."
                                                  : ", under " + InQuotes(raw.category) + "."));
        }
        if (record.category.size() < 2 || record.category.front() != '[' ||
            record.category.back() != ']') {
            return;
        }
        const std::string_view other =
            TrimBlanks(record.category.substr(1, record.category.size() - 2));
        if (other.empty()) {
            record.category = {};
            return;
        }
        // By custom the opening balance names the register's own account.
        const bool opening = other == raw.account || EqualsAsciiCase(raw.payee, "Opening Balance");
        record.category = opening ? kAdjustmentCategory : kTransferCategory;
        if (opening || !m_notes.Wants(Kind::Transfer)) return;
        m_notes.Add(Kind::Transfer, raw.line,
                    "A transfer with account " + InQuotes(other) +
                        ": only this side was entered, under \"Transfer\".");
    }

    const CReadOnlyTextFileManager& m_text;
    int64_t m_today;
    const ImportOptions& m_options;
    Dialect& m_dialect;
    CImportNotes& m_notes;
    QifContents& m_contents;

    Section m_section = Section::None;
    std::string_view m_account;  // of the latest !Account block
    int64_t m_line = 0;
    std::vector<FieldLine> m_open;    // since the last "^"
    std::vector<FieldLine> m_splits;  // amounts of all splits
    std::vector<RawRecord> m_raw;
    CDateInference m_dates;
    CAmountInference m_amounts;
    AmountMarks m_marks;
};

}  // namespace

void ReadInferredQif(const CReadOnlyTextFileManager& text, int64_t today,
                     const ImportOptions& options, Dialect& dialect, CImportNotes& notes,
                     QifContents& contents) {
    CInferredQif reader(text, today, options, dialect, notes, contents);
    reader.Run();
}

}  // namespace quillon
