#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "import/ofx/OfxAccounts.h"
#include "import/ofx/OfxTags.h"
#include "import/plan/ImportSource.h"
#include "import/text/TextScan.h"

namespace quillon {

// A statement line's values as written, cleaned of what is not theirs.
struct OfxLine {
    int64_t line = 0;      // from 1
    size_t statement = 0;  // an index of OfxSurvey::sourceOf
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
    std::string_view currency;  // of the line itself, where it says one
    std::string_view rate;
    bool converted = false;  // by the bank: `currency` is the one before that
    bool closed = true;
    bool cutOff = false;  // the file ends inside
};

enum class OfxElement : uint8_t;

// What a bank reports instead of a statement.
struct OfxReport {
    bool isError = false;
    std::string code;     // as written
    std::string message;  // several behind one another; may be empty
};

// What stands around the lines.
struct OfxSurvey {
    bool hasBody = false;           // an <OFX> element or a statement line
    int64_t investmentActions = 0;  // buys, sells, income and the like
    int64_t unnamedStatements = 0;  // with lines, of accounts that are not named
    OfxReport report;
    std::vector<ImportSource> sources;
    std::vector<bool> hasBalance;    // by source: a ledger balance is stated
    std::vector<uint32_t> sourceOf;  // by statement
};

// Walks the elements of a statement download wherever they stand: closed or not, several on
// a line, values on lines of their own, comments, CDATA and entities. Walking again gives
// the same lines.
//
//   Memory     One line, and the accounts.
//   Errors     std::bad_alloc passes through. No text is refused.
//   Ownership  Borrows the text; views into it or, cleaned, into an arena of its own.
class COfxStatements {
public:
    // Amounts outside of lines, such as balances, with their line.
    using AmountSink = std::function<void(std::string_view, int64_t)>;

    // `text` is UTF-8 and outlives this.
    explicit COfxStatements(std::string_view text, AmountSink amounts = {})
        : m_text(text), m_tags(text), m_amounts(std::move(amounts)) {}

    // The next statement line; its views live until the one after it is asked for. False at
    // the end, when Survey() is complete.
    bool Next(OfxLine& line);
    const OfxSurvey& Survey() const { return m_survey; }

private:
    void TakeTag(const OfxTag& tag);
    void TakeAggregate(OfxElement element, const OfxTag& tag);
    void TakeValue(OfxElement element, std::string_view raw);
    void TakeInLine(OfxElement element, std::string_view value);
    void TakeOutside(OfxElement element, std::string_view value);
    void TakeStatus(OfxElement element, std::string_view value);
    void TakeAccount(std::string_view number);
    void BeginStatement(SourceKind kind, bool open);
    void EndStatement();
    void BeginLine(size_t at);
    void EndLine(bool closed);
    int64_t LineAt(size_t at);
    std::string_view Clean(std::string_view raw, LineBreaks breaks);

    std::string_view m_text;
    COfxTags m_tags;
    AmountSink m_amounts;
    CTextArena m_arena;  // of the line being read
    OfxSurvey m_survey;

    OfxStatement m_statement;  // the open one, or what stands outside of any
    COfxAccounts m_accounts;

    OfxLine m_line;   // the one being read
    OfxLine m_ended;  // the one before it, until it is handed over
    bool m_inLine = false;
    bool m_hasEnded = false;
    bool m_atEnd = false;
    bool m_inAccount = false;
    bool m_inStatus = false;
    bool m_inLedgerBalance = false;
    std::string m_code;
    std::string m_severity;
    OfxElement m_open{};  // whose value is being read
    size_t m_valueStart = 0;
    int64_t m_lineNumber = 1;  // of the place up to which lines were counted
    size_t m_counted = 0;      // that place
};

}  // namespace quillon
