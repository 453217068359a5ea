#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// Columns that a terminal needs for the text: none for combining marks, two for wide
// characters.
size_t DisplayWidth(std::string_view text);

// Rows in aligned columns under a heading. Cells are made printable first.
class CTablePrinter {
public:
    enum class Align { Left, Right };
    // Where the line would be too long, texts of columns that yield are cut, with "…". Before
    // they get uncomfortably short, columns marked Drop are left out, the last one first.
    enum class Fit { Keep, Yield, Drop };

    void AddColumn(std::string heading, Align align = Align::Left, Fit fit = Fit::Keep);
    void AddRow(std::vector<std::string> cells);
    bool IsEmpty() const { return m_rows.empty(); }

    // `columns`: the longest line, 0 for any length. A column without any text is left out.
    void Print(std::ostream& out, size_t columns) const;

private:
    struct Column {
        std::string heading;
        Align align;
        Fit fit;
    };

    size_t LineWidth(const std::vector<size_t>& widths, size_t mostYielding) const;
    std::vector<size_t> Widths(size_t columns) const;
    void PrintLine(std::ostream& out, const std::vector<std::string>& cells,
                   const std::vector<size_t>& widths) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

}  // namespace quillon
