#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "import/csv/CsvRows.h"
#include "import/csv/CsvShape.h"
#include "import/csv/CsvWords.h"

namespace quillon {

// What stands in a column, counted over the rows of the sample.
struct CsvColumn {
    std::string heading;
    CsvWord word = CsvWord::None;
    int64_t filled = 0;
    int64_t dates = 0;
    int64_t amounts = 0;
    int64_t marked = 0;     // amounts with a decimal or thousands mark
    int64_t negatives = 0;  // amounts
    int64_t zeros = 0;      // amounts
    int64_t currencies = 0;
    int64_t outs = 0;  // words that tell which way the money goes
    int64_t ins = 0;
    int64_t states = 0;                           // words such as "pending"
    int64_t texts = 0;                            // with a letter, and none of the others
    int64_t blanks = 0;                           // texts of several words
    int64_t length = 0;                           // bytes of all texts
    std::unordered_set<std::string_view> values;  // different ones

    bool IsDate() const { return dates > 0 && dates * 2 >= filled; }
    // A few cells may hold something else.
    bool IsAmount() const { return amounts > 0 && amounts * 10 >= filled * 8; }
    bool IsCurrency() const { return currencies > 0 && currencies == filled; }
    bool IsSide() const { return filled > 0 && outs + ins == filled; }
    bool IsText() const { return texts > 0 && texts * 2 >= filled; }
};

// The beginning of a file, cut by one delimiter: its rows, where they begin, and its columns.
//
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows the text. Keeps its rows; not to be copied.
class CCsvSample {
public:
    static constexpr size_t kRows = 500;  // enough of them to tell the columns

    CCsvSample(std::string_view text, char delimiter, const CsvRequest& request, size_t rows);
    CCsvSample(const CCsvSample&) = delete;
    CCsvSample& operator=(const CCsvSample&) = delete;

    char Delimiter() const { return m_delimiter; }
    // Rows with a date and an amount.
    int64_t DatedRows() const { return m_dated; }
    CsvTry Tried() const;
    // Rows that hold more than blanks.
    size_t RowCount() const { return m_rows.size(); }

    // Finds heading, first row and columns. With dated rows only.
    void FindTable();
    // The rows with a date and an amount, in their order.
    const std::vector<const CsvRow*>& TableRows() const { return m_table; }

    int64_t HeadingLine() const { return m_headingLine; }
    int64_t DataLine() const { return m_dataLine; }
    size_t Width() const { return m_columns.size(); }
    // `column` from 1.
    const CsvColumn& Column(int32_t column) const {
        return m_columns[static_cast<size_t>(column) - 1];
    }
    std::string HeadingWords() const;
    // A row that could be a heading stands in the file, and nothing below it.
    bool IsHeadingAlone() const;
    // A currency that stands in front of the table with a word that says so; empty: none.
    std::string DeclaredCurrency() const;

private:
    struct Heading {
        size_t row = 0;
        size_t words = 0;  // known ones
    };
    bool IsDated(const CsvRow& row) const;
    bool IsInTable(size_t row) const;
    bool CouldBeHeading(const CsvRow& row) const;
    size_t WidthAskedFor() const;
    void FindFirstRow();
    void FindHeading();
    void TakeHeading(size_t row);
    void CountColumns();
    static void Count(std::string_view cell, CsvColumn& column);
    static void CountText(std::string_view cell, CsvColumn& column);

    char m_delimiter;
    const CsvRequest& m_request;
    std::deque<CsvRow> m_rows;
    std::vector<bool> m_isDated;     // by row
    std::vector<int64_t> m_datesAt;  // by column
    std::vector<int64_t> m_amountsAt;
    std::vector<int64_t> m_markedAt;
    int64_t m_dated = 0;
    size_t m_usualWidth = 0;
    size_t m_first = 0;  // row of the table
    std::vector<const CsvRow*> m_table;
    int64_t m_headingLine = 0;
    int64_t m_dataLine = 1;
    size_t m_headingRow = 0;  // the first behind it
    std::vector<CsvColumn> m_columns;
};

}  // namespace quillon
