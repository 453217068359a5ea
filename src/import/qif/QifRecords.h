#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "import/text/TextFileManager.h"

namespace quillon {

// Cuts a QIF text into its records, as a person reads it. Values stay as written.
//
//   Registers  Sections of the types Bank, Cash, CCard, Oth A, Oth L, Invst and Port. In
//              sections of a type that is not known, and in front of any heading, records
//              with a date and an amount make the section a register. The known lists
//              (categories, classes, securities, ...) are no registers.
//   Accounts   A block behind "!Account" names the account of what follows. Behind its "^"
//              the register goes on that was open before, or one of the kind it names.
//   Ends       A record ends at "^", and where that was forgotten at the next heading or
//              where another date and amount begin.
//   Lines      May be indented. Blank ones are passed over.
//   Memory     One record at a time, and a few names.
//   Errors     std::bad_alloc passes through. No text is refused.
//   Ownership  Borrows the text. Views of a record live while the taker has it.

struct QifLine {
    int64_t line = 0;  // from 1
    std::string_view text;
};

inline constexpr int64_t kNoQifLine = -1;

struct QifRecord {
    int64_t line = 0;
    int64_t dateLine = kNoQifLine;
    int64_t amountLine = kNoQifLine;
    int64_t lastLine = 0;
    std::string_view date;
    std::string_view amount;  // empty with amountLine: only its splits have amounts
    std::string_view payee;
    std::string_view category;
    std::string_view memo;
    std::string_view number;           // or the action of an investment
    std::string_view security;         // of an investment
    std::string_view account;          // whose register it stands in
    std::string_view splitCategory;    // of the first split
    std::deque<QifLine> splitAmounts;  // of all splits
    size_t splits = 0;                 // categories or amounts, whichever are more
    bool isInvestment = false;
    bool hasShares = false;  // a security, a price or a quantity
    bool isClosed = true;    // by "^"
};

// What a text was found to hold.
struct QifOutline {
    struct Assumed {
        int64_t line = 0;       // of its first record
        std::string_view type;  // as written; empty: in front of any heading
        bool isInvestment = false;
    };
    bool hasHeading = false;
    int64_t registers = 0;                // sections that are one
    int64_t incomplete = 0;               // records that are no transactions
    std::vector<std::string_view> lists;  // known types of lists, each once
    std::vector<Assumed> assumed;         // registers that no known heading says
    std::string_view balance;             // of the only account, as its block states it
    // Names of categories with a "/" in them, which elsewhere begins a class.
    std::unordered_set<std::string_view> slashed;
};

// Why something that looks like a record is none.
enum class QifSkip {
    Empty,      // "^" alone
    NoValues,   // neither date nor amount
    NotWhole,   // in a section that is no register: lacks date or amount
    CutOff,     // the file ends inside it
    NotClosed,  // no "^", and lacks date or amount
};

// Takes what the text holds, in its order.
class CQifTaker {
public:
    virtual ~CQifTaker() = default;
    // A register begins, or goes on behind an account's block. `account` is empty where no
    // block names it, `type` as its heading says.
    virtual void BeginRegister(std::string_view /*account*/, std::string_view /*type*/) {}
    virtual void TakeRecord(const QifRecord& record) = 0;
    virtual void Skip(QifSkip reason, int64_t line) = 0;
};

// Views in records and outline are into the text. `text` must hold UTF-8.
QifOutline WalkQif(const CReadOnlyTextFileManager& text, CQifTaker& taker);

}  // namespace quillon
