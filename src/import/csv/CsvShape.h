#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "import/plan/ImportNotes.h"
#include "import/text/AmountText.h"
#include "import/text/Dialect.h"

namespace quillon {

class CCsvSample;

// What a column of a bank file can be to an import.
enum class CsvField : uint8_t {
    Date,
    Payee,
    Amount,  // signed, or unsigned beside a Sign; else Debit and Credit have the money
    Debit,
    Credit,
    Sign,  // a word for which way the money goes
    Memo,
    Category,
    Check,
    Id,
    Balance,
    kCount,
};
inline constexpr size_t kCsvFields = static_cast<size_t>(CsvField::kCount);
// "date", "payee" and so on, as --map and profiles write them.
std::string_view NameOf(CsvField field);

// Columns by field, from 1; 0: none.
struct CsvMapping {
    std::array<int32_t, kCsvFields> columns{};

    int32_t& operator[](CsvField field) { return columns[static_cast<size_t>(field)]; }
    int32_t operator[](CsvField field) const { return columns[static_cast<size_t>(field)]; }
    bool operator==(const CsvMapping&) const = default;
};

// What a user or a profile says of a file. Whatever is not said is found out.
struct CsvRequest {
    std::array<std::optional<int32_t>, kCsvFields> columns{};
    std::optional<char> delimiter;
    std::optional<int64_t> skip;  // lines in front of the heading, or of the rows
    std::optional<DateOrder> dateOrder;
    std::optional<DecimalMark> decimal;
    std::optional<Charset> charset;
    std::optional<bool> invert;

    const std::optional<int32_t>& operator[](CsvField field) const {
        return columns[static_cast<size_t>(field)];
    }
};

// What `request` does not say, as `profile` says it. Where a request says where the money
// stands, the profile does not.
CsvRequest Merged(CsvRequest request, const CsvRequest& profile);

// How the balance of a row follows from those of its neighbours.
enum class CsvDirection : uint8_t {
    None,    // it does not, or there is none
    Down,    // it is the one above, plus the row's amount
    Up,      // it is the one below, plus the row's amount
    Before,  // it stands before the row's amount is counted
};

// What was found out of a file, and how its rows are read.
struct CsvShape {
    char delimiter = ',';
    int64_t headerLine = 0;    // from 1, of a two-line heading the first; 0: no heading
    int64_t dataLine = 1;      // rows from this line on
    size_t width = 0;          // columns of the rows
    std::string headingWords;  // for profiles; empty without a heading
    CsvMapping map;
    std::vector<int32_t> dates;     // map's date first, then those that stand in for it
    std::vector<int32_t> memoMore;  // columns that go on where the memo's ends
    bool idMayRecur = false;        // rows that are the same in all but their place may share one
    int32_t fee = 0;                // goes out beside the amount
    int32_t currency = 0;
    std::string accountCurrency;  // empty: no row says
    int32_t status = 0;
    int32_t account = 0;            // whose row it is, where there are several
    bool invert = false;            // amounts that are written positive go out
    bool debitIsNegative = false;   // money out is written negative in the debit column
    bool creditIsNegative = false;  // and money in in the credit column
    bool signsByBalance = false;    // of no amount is a sign written: the balances tell
    CsvDirection direction = CsvDirection::None;  // as far as was looked
    bool balanceIsOwed = false;                   // positive is a card's debt
    AmountMarks marks;

    // The last column that anything is read from.
    int32_t LastUsed() const;
    bool HasMoney() const {
        return map[CsvField::Amount] != 0 || map[CsvField::Debit] != 0 ||
               map[CsvField::Credit] != 0;
    }
};

// What was tried with one delimiter, for a file that was not understood.
struct CsvTry {
    char delimiter = ',';
    int64_t rows = 0;
    int64_t columns = 0;
    int32_t dateColumn = 0;  // with the most dates; 0: none has any
    int32_t amountColumn = 0;
    std::string noDate;  // what is written like a date, but is none
};

// A profile's part in finding a file's shape.
struct CsvKnownHeading {
    std::string words;  // CsvShape::headingWords
    CsvRequest request;
};

enum class CsvFailure : uint8_t {
    None,
    NoRows,        // none with a date and an amount
    NoDateColumn,  // amounts, but no dates
    HeadingAlone,  // and nothing under it
    NoSuchColumn,  // that was asked for
};

// Finds the shape of a file from its beginning, and goes on to its end only where order of
// dates or decimal mark are not yet clear.
//
//   Errors     Failure() says why there is none. std::bad_alloc passes through.
//   Ownership  Borrows the text, which is UTF-8 without a mark, and the notes.
class CCsvShapeFinder {
public:
    CCsvShapeFinder(std::string_view text, bool isCreditAccount, CImportNotes& notes)
        : m_text(text), m_isCredit(isCreditAccount), m_notes(notes) {}

    // `known`: headings that stand for a request; what `request` says itself goes before.
    // Sets `dialect` but for its character set. False: Failure() tells.
    bool Find(const CsvRequest& request, std::span<const CsvKnownHeading> known, Dialect& dialect);

    const CsvShape& Shape() const { return m_shape; }
    // Of `known`, the one that was used.
    std::optional<size_t> KnownUsed() const { return m_known; }
    CsvFailure Failure() const { return m_failure; }
    const std::vector<CsvTry>& Tries() const { return m_tries; }

private:
    std::optional<char> ChooseDelimiter(const CsvRequest& request);
    bool TakeShape(const CCsvSample& sample, const CsvRequest& request, Dialect& dialect);
    bool Fail(CsvFailure failure) {
        m_failure = failure;
        return false;
    }

    std::string_view m_text;
    bool m_isCredit;
    CImportNotes& m_notes;
    CsvShape m_shape;
    std::optional<size_t> m_known;
    CsvFailure m_failure = CsvFailure::None;
    std::vector<CsvTry> m_tries;
};

}  // namespace quillon
