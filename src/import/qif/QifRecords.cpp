#include "import/qif/QifRecords.h"

#include <algorithm>

#include "import/qif/QifActions.h"
#include "import/qif/QifRecordBuilder.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr size_t kMostNames = 20;
constexpr std::string_view kEndOfFile = "\x1A";  // as DOS programs write it

// Types of sections that hold lists.
constexpr std::string_view kLists[] = {"Cat",    "Class",  "Tag",      "Memorized", "Security",
                                       "Prices", "Budget", "Category", "Memorised", "Template"};

bool IsRegisterType(std::string_view type) {
    return EqualIgnoringAsciiCase(type, "Bank") || EqualIgnoringAsciiCase(type, "Cash") ||
           EqualIgnoringAsciiCase(type, "CCard") || EqualIgnoringAsciiCase(type, "Oth A") ||
           EqualIgnoringAsciiCase(type, "Oth L");
}

bool IsInvestmentType(std::string_view type) {
    return EqualIgnoringAsciiCase(type, "Invst") || EqualIgnoringAsciiCase(type, "Port");
}

void AddName(std::vector<std::string_view>& names, std::string_view name) {
    if (names.size() < kMostNames && std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(name);
    }
}

class CQifWalk {
public:
    CQifWalk(const CReadOnlyTextFileManager& text, CQifTaker& taker)
        : m_text(text), m_taker(taker), m_open(text) {}

    QifOutline Run() {
        for (int64_t i = 0; i < m_text.LineCount(); ++i) {
            m_line = i + 1;
            TakeLine(TrimBlanks(m_text.LineBytes(i)));
        }
        m_atEnd = true;
        Close(false);
        if (m_manyBlocks) m_outline.balance = {};
        return std::move(m_outline);
    }

private:
    enum class Section { Start, Register, Investment, Account, Unknown, List };

    // --- sections
    void TakeLine(std::string_view text) {
        if (!text.empty() && text.front() == '!') {
            Close(false);
            TakeHeading(TrimBlanks(text.substr(1)));
            return;
        }
        if (m_section == Section::List) {
            TakeListLine(text);
            return;
        }
        // Behind a "^" stands nothing, most often.
        while (!text.empty() && text.front() == '^') {
            Close(true);
            text = TrimBlanks(text.substr(1));
        }
        if (text == kEndOfFile || (text.empty() && m_open.IsEmpty())) return;
        m_open.Append(m_line);
    }

    void TakeHeading(std::string_view heading) {
        const auto begins = [heading](std::string_view word) {
            return EqualIgnoringAsciiCase(heading.substr(0, word.size()), word);
        };
        if (begins("Account")) {
            m_outline.hasHeading = true;
            m_section = Section::Account;
            m_account = m_accountType = {};
            m_entries = 0;
        } else if (begins("Type")) {
            m_outline.hasHeading = true;
            std::string_view type = TrimBlanks(heading.substr(4));
            if (!type.empty() && type.front() == ':') type = TrimBlanks(type.substr(1));
            if (m_section == Section::Account && m_entries > 1) m_account = {};
            OpenSection(type);
        } else if (begins("Option") || begins("Clear")) {
            m_outline.hasHeading = true;
        }
    }

    void OpenSection(std::string_view type) {
        m_type = type;
        const auto* const list = std::find_if(
            std::begin(kLists), std::end(kLists),
            [type](std::string_view known) { return EqualIgnoringAsciiCase(type, known); });
        if (IsRegisterType(type)) {
            OpenRegister(Section::Register, type);
        } else if (IsInvestmentType(type)) {
            OpenRegister(Section::Investment, type);
        } else if (list != std::end(kLists)) {
            m_section = Section::List;
            m_isCategories = EqualIgnoringAsciiCase(type.substr(0, 3), "Cat");
            AddName(m_outline.lists, *list);
        } else {
            m_section = Section::Unknown;
        }
    }

    void OpenRegister(Section section, std::string_view type) {
        m_section = m_register = section;
        m_registerType = type;
        m_registerAccount = m_account;
        ++m_outline.registers;
        m_taker.BeginRegister(m_account, type);
    }

    void TakeListLine(std::string_view text) {
        if (m_isCategories && !text.empty() && text.front() == 'N' && Contains(text, "/")) {
            m_outline.slashed.insert(TrimBlanks(text.substr(1)));
        }
    }

    // --- what was collected since the last "^"
    void Close(bool closed) {
        while (!m_open.IsEmpty() && m_open[m_open.Size() - 1].empty()) m_open.DropLast();
        const bool isRegister = m_section == Section::Register || m_section == Section::Investment;
        if (m_open.IsEmpty()) {
            if (closed && isRegister) m_taker.Skip(QifSkip::Empty, m_line);
            return;
        }
        if (m_section == Section::Account) {
            CloseInAccount(closed);
        } else {
            if (m_section == Section::Start) DropPreamble();
            TakePieces(closed);
        }
        m_open.Clear();
    }

    // A record, or several when a "^" was forgotten.
    void TakePieces(bool closed) {
        size_t from = 0;
        for (size_t next = FindNextRecord(from); next != 0; next = FindNextRecord(from)) {
            Build(from, next, false);
            TakeBuilt(false);
            from = next;
        }
        Build(from, m_open.Size(), closed);
        TakeBuilt(m_atEnd);
    }

    // In front of the first record of a file may stand anything: what lies before its date
    // and is no field, or a blank line behind it, is none of its business.
    void DropPreamble() {
        constexpr std::string_view kFields = "DTUPNLMCASE$%FXYIQO";
        size_t keep = 0;
        for (size_t i = 0; i < m_open.Size(); ++i) {
            const std::string_view text = m_open[i];
            if (text.empty() || !Contains(kFields, text.substr(0, 1))) {
                keep = i + 1;
            } else if (text.front() == 'D' && IsReadableQifDate(text.substr(1))) {
                m_open.DropFirst(keep);
                return;
            }
        }
    }

    // The block names an account; behind its "^" may come another's, or records.
    void CloseInAccount(bool closed) {
        Build(0, m_open.Size(), closed);
        const bool isRecord =
            IsWhole(m_record) ||
            (IsReadableQifDate(m_record.date) && (!m_record.payee.empty() || m_builder.HasMark()));
        if (!isRecord) {
            // Names of a list, of which none is the register's, if there are several.
            m_manyBlocks = m_manyBlocks || (!m_blockName.empty() && m_blockName != m_record.number);
            m_blockName = m_account = m_record.number;
            ++m_entries;
            m_accountType = m_record.amount;
            m_outline.balance = m_builder.Balance();
            return;
        }
        // A register that nobody named is the same one when it goes on.
        const bool goesOn =
            m_accountType.empty() || EqualIgnoringAsciiCase(m_accountType, m_registerType);
        if (m_register != Section::Start && m_registerAccount.empty() && goesOn) m_account = {};
        if (IsInvestmentType(m_accountType)) {
            OpenRegister(Section::Investment, m_accountType);
        } else if (IsRegisterType(m_accountType)) {
            OpenRegister(Section::Register, m_accountType);
        } else if (m_register != Section::Start) {
            OpenRegister(m_register, m_registerType);
        } else {
            m_section = Section::Start;
            m_type = {};
        }
        TakePieces(closed);
    }

    // Where a second record begins in the open lines from `from` on; 0: nowhere. It has a
    // date of its own behind date and amount of the first, and an amount of its own.
    size_t FindNextRecord(size_t from) const {
        bool date = false;
        bool amount = false;
        bool splits = false;
        size_t lastBlank = 0;
        for (size_t i = from; i < m_open.Size(); ++i) {
            const std::string_view text = m_open[i];
            if (text.empty()) {
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
        for (size_t i = at + 1; i < m_open.Size(); ++i) {
            const std::string_view text = m_open[i];
            if (text.empty()) continue;
            if (text.front() == 'T' || text.front() == 'U' || text.front() == '$') return true;
            if (text.front() == 'D') return false;
        }
        return false;
    }

    // --- records
    void Build(size_t from, size_t to, bool closed) {
        using Place = CQifRecordBuilder::Place;
        m_builder.Build(m_open, from, to, m_account,
                        m_section == Section::Account ? Place::AccountBlock : Place::Register);
        m_record.isClosed = closed;
    }

    void TakeBuilt(bool atEnd) {
        if (m_section == Section::Start || m_section == Section::Unknown) {
            if (!IsWhole(m_record)) {
                const bool isText = m_section == Section::Start && !m_record.isClosed &&
                                    !IsReadableQifDate(m_record.date);
                if (isText) return;
                ++m_outline.incomplete;
                m_taker.Skip(QifSkip::NotWhole, m_record.line);
                return;
            }
            const bool isInvestment =
                m_record.hasShares && FindQifAction(m_record.number) != nullptr;
            Assume(isInvestment);
            OpenRegister(isInvestment ? Section::Investment : Section::Register, m_type);
        }
        m_record.isInvestment = m_section == Section::Investment;
        const bool noDate = m_record.dateLine == kNoQifLine;
        const bool noAmount = m_record.amountLine == kNoQifLine;
        // A file that breaks off inside a line: whatever that line says may be cut.
        const bool isCut =
            atEnd && !m_record.isClosed && !m_text.EndsWithLineBreak() &&
            m_record.lastLine == m_text.LineCount() &&
            (m_record.lastLine == m_record.dateLine || m_record.lastLine == m_record.amountLine);
        if (noDate && noAmount) {
            Refuse(QifSkip::NoValues);
        } else if (!m_record.isClosed && (isCut || noDate || noAmount)) {
            Refuse(atEnd ? QifSkip::CutOff : QifSkip::NotClosed);
        } else {
            m_taker.TakeRecord(m_record);
        }
    }

    // Once for a type.
    void Assume(bool isInvestment) {
        for (const QifOutline::Assumed& known : m_outline.assumed) {
            if (known.type == m_type) return;
        }
        if (m_outline.assumed.size() == kMostNames) return;
        m_outline.assumed.push_back({m_record.line, m_type, isInvestment});
    }

    void Refuse(QifSkip reason) {
        ++m_outline.incomplete;
        m_taker.Skip(reason, m_record.line);
    }

    const CReadOnlyTextFileManager& m_text;
    CQifTaker& m_taker;
    QifOutline m_outline;

    Section m_section = Section::Start;
    Section m_register = Section::Start;  // the kind of the latest register; Start: none
    std::string_view m_registerType;      // and its type
    std::string_view m_registerAccount;
    std::string_view m_type;  // of the section, as written
    bool m_isCategories = false;
    std::string_view m_account;  // of the latest block
    std::string_view m_accountType;
    std::string_view m_blockName;  // of the latest block with one
    bool m_manyBlocks = false;     // of different names
    int64_t m_entries = 0;         // in the block or list that is open
    int64_t m_line = 0;
    bool m_atEnd = false;
    COpenLines m_open;  // since the last "^"

    CQifRecordBuilder m_builder;
    QifRecord& m_record = m_builder.Record();  // the one being built
};

}  // namespace

QifOutline WalkQif(const CReadOnlyTextFileManager& text, CQifTaker& taker) {
    return CQifWalk(text, taker).Run();
}

}  // namespace quillon
