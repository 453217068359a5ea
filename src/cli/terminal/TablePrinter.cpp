#include "cli/terminal/TablePrinter.h"

#include <algorithm>

#include "cli/terminal/Values.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr size_t kGap = 2;
constexpr size_t kLeastYielding = 8;
constexpr size_t kComfortable = 16;
constexpr std::string_view kEllipsis = "…";

struct Range {
    char32_t first;
    char32_t last;
};

bool IsIn(const Range* ranges, size_t count, char32_t character) {
    return std::any_of(ranges, ranges + count, [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

size_t WidthOf(char32_t character) {
    constexpr Range kMarks[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},
                                {0x064B, 0x065F}, {0x0E34, 0x0E3A}, {0x1AB0, 0x1AFF},
                                {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x20D0, 0x20FF},
                                {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
    constexpr Range kWide[] = {{0x1100, 0x115F},  {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                               {0xF900, 0xFAFF},  {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                               {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF},
                               {0x20000, 0x3FFFD}};
    if (character < 0x0300) return 1;
    if (IsIn(kMarks, std::size(kMarks), character)) return 0;
    return IsIn(kWide, std::size(kWide), character) ? 2 : 1;
}

// The text in at most `width` columns.
std::string Cut(const std::string& text, size_t width) {
    if (DisplayWidth(text) <= width) return text;
    std::string cut;
    size_t used = 1;  // the ellipsis
    for (size_t position = 0; position < text.size();) {
        const char32_t character = DecodeUtf8(text, position);
        used += WidthOf(character);
        if (used > width) break;
        AppendUtf8(cut, character);
    }
    return cut.append(kEllipsis);
}

}  // namespace

size_t DisplayWidth(std::string_view text) {
    size_t width = 0;
    for (size_t position = 0; position < text.size();) {
        width += WidthOf(DecodeUtf8(text, position));
    }
    return width;
}

void CTablePrinter::AddColumn(std::string heading, Align align, Fit fit) {
    m_columns.push_back({std::move(heading), align, fit});
}

void CTablePrinter::AddRow(std::vector<std::string> cells) {
    for (std::string& cell : cells) cell = Printable(cell);
    cells.resize(m_columns.size());
    m_rows.push_back(std::move(cells));
}

std::vector<size_t> CTablePrinter::Widths(size_t columns) const {
    std::vector<size_t> widths(m_columns.size(), 0);
    for (const std::vector<std::string>& row : m_rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
        }
    }
    for (size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] > 0) widths[i] = std::max(widths[i], DisplayWidth(m_columns[i].heading));
    }
    if (columns == 0) return widths;
    for (size_t i = widths.size(); i-- > 0 && LineWidth(widths, kComfortable) > columns;) {
        if (m_columns[i].fit == Fit::Drop) widths[i] = 0;
    }
    // The widest of the columns that may be cut gives way, again and again.
    for (size_t total = LineWidth(widths, SIZE_MAX); total > columns; --total) {
        size_t widest = m_columns.size();
        for (size_t i = 0; i < widths.size(); ++i) {
            if (m_columns[i].fit == Fit::Keep || widths[i] <= kLeastYielding) continue;
            if (widest == m_columns.size() || widths[i] > widths[widest]) widest = i;
        }
        if (widest == m_columns.size()) break;
        --widths[widest];
    }
    return widths;
}

// Of a line whose yielding columns are at most that wide.
size_t CTablePrinter::LineWidth(const std::vector<size_t>& widths, size_t mostYielding) const {
    size_t total = 0;
    for (size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] == 0) continue;
        const bool yields = m_columns[i].fit != Fit::Keep;
        total += (yields ? std::min(widths[i], mostYielding) : widths[i]) + (total > 0 ? kGap : 0);
    }
    return total;
}

void CTablePrinter::Print(std::ostream& out, size_t columns) const {
    const std::vector<size_t> widths = Widths(columns);
    std::vector<std::string> line;
    for (const Column& column : m_columns) line.push_back(column.heading);
    PrintLine(out, line, widths);
    for (size_t i = 0; i < widths.size(); ++i) line[i] = std::string(widths[i], '-');
    PrintLine(out, line, widths);
    for (const std::vector<std::string>& row : m_rows) PrintLine(out, row, widths);
}

void CTablePrinter::PrintLine(std::ostream& out, const std::vector<std::string>& cells,
                              const std::vector<size_t>& widths) const {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
        if (widths[i] == 0) continue;
        if (!line.empty()) line.append(kGap, ' ');
        const std::string cell = Cut(cells[i], widths[i]);
        const size_t missing = widths[i] - std::min(widths[i], DisplayWidth(cell));
        if (m_columns[i].align == Align::Right) line.append(missing, ' ');
        line += cell;
        if (m_columns[i].align == Align::Left) line.append(missing, ' ');
    }
    line.resize(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

}  // namespace quillon
