#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon {

// One row of a text in columns.
struct CsvRow {
    int64_t line = 0;  // of the text, from 1, where it begins
    // Without the blanks and quotation marks around; doubled ones inside are one. Views into
    // the text, or into `made`, which lives until the row is read into again.
    std::vector<std::string_view> cells;
    bool hasLoneQuote = false;  // one that is never closed, and was taken for a letter
    // Texts that do not stand in the file as they are; few rows have any.
    std::forward_list<std::string> made;

    std::string_view Keep(std::string text) { return made.emplace_front(std::move(text)); }
    bool IsBlank() const { return IsBlankFrom(0); }
    // Nothing stands in the cells from this one on, counted from 0.
    bool IsBlankFrom(size_t first) const;
    // Empty for a column that the row does not have. `column` from 1; 0: none.
    std::string_view Cell(int32_t column) const {
        const auto index = static_cast<size_t>(column) - 1;
        return column > 0 && index < cells.size() ? cells[index] : std::string_view();
    }
};

// Cuts a text in UTF-8 into rows and cells.
//
//   Rows       End at LF, with or without a CR in front.
//   Quotes     A cell that begins with a quotation mark ends at the next one that stands in
//              front of a delimiter or the row's end, and may hold both. Where there is none
//              within kLongestCell bytes, or, some lines on, another cell begins with one,
//              the mark was never closed: it is a letter like others.
//   Cells      The first kMostCells of a row; no bank has so many.
//   Time       Linear in the text, however many marks are never closed.
//   Errors     std::bad_alloc passes through. No text is refused.
//   Ownership  Borrows the text.
class CCsvReader {
public:
    static constexpr size_t kLongestCell = size_t{16} * 1024;
    static constexpr size_t kMostCells = 1000;

    CCsvReader(std::string_view text, char delimiter) : m_text(text), m_delimiter(delimiter) {}

    // False at the end of the text.
    bool Next(CsvRow& row);

private:
    bool TakeCell(CsvRow& row);
    bool TakeQuoted(size_t start, CsvRow& row);
    size_t ClosingQuote(size_t open);
    bool EndsCell(size_t at) const;
    size_t LineEnd(size_t from) const;

    std::string_view m_text;
    char m_delimiter;
    size_t m_at = 0;
    size_t m_lineEnd = 0;    // of the line that m_at is in
    size_t m_openUntil = 0;  // no quotation mark closes a cell in front of it
    int64_t m_line = 1;
};

// "sep=;" in the first line, as some programs write it; 0: none.
char DeclaredDelimiter(std::string_view text);

}  // namespace quillon
