#include "import/csv/CsvRows.h"

#include <algorithm>
#include <string>

#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr char kQuote = '"';

std::string WithoutDoubledQuotes(std::string_view cell) {
    std::string text;
    text.reserve(cell.size());
    for (size_t i = 0; i < cell.size(); ++i) {
        text += cell[i];
        if (cell[i] == kQuote && i + 1 < cell.size() && cell[i + 1] == kQuote) ++i;
    }
    return text;
}

}  // namespace

bool CsvRow::IsBlankFrom(size_t first) const {
    for (size_t i = first; i < cells.size(); ++i) {
        if (!cells[i].empty()) return false;
    }
    return true;
}

size_t CCsvReader::LineEnd(size_t from) const {
    return std::min(m_text.find('\n', from), m_text.size());
}

bool CCsvReader::Next(CsvRow& row) {
    row.cells.clear();
    row.made.clear();
    row.hasLoneQuote = false;
    if (m_at >= m_text.size()) return false;
    row.line = m_line;
    m_lineEnd = LineEnd(m_at);
    while (row.cells.size() < kMostCells && TakeCell(row)) {
    }
    m_at = m_lineEnd + 1;
    ++m_line;
    return true;
}

// False: it was the row's last one.
bool CCsvReader::TakeCell(CsvRow& row) {
    size_t start = m_at;
    while (start < m_lineEnd && (m_text[start] == ' ' || m_text[start] == '\t') &&
           m_text[start] != m_delimiter) {
        ++start;
    }
    if (start < m_lineEnd && m_text[start] == kQuote) {
        if (TakeQuoted(start, row)) return m_at < m_lineEnd && m_text[m_at++] == m_delimiter;
        row.hasLoneQuote = true;
    }
    const std::string_view rest = m_text.substr(m_at, m_lineEnd - m_at);
    const size_t length = std::min(rest.find(m_delimiter), rest.size());
    row.cells.push_back(TrimBlanks(rest.substr(0, length)));
    m_at += length;
    if (m_at >= m_lineEnd) return false;
    ++m_at;
    return true;
}

// Leaves m_at at what ends the cell.
bool CCsvReader::TakeQuoted(size_t start, CsvRow& row) {
    const size_t close = ClosingQuote(start);
    if (close == std::string_view::npos) return false;
    std::string_view cell = m_text.substr(start + 1, close - start - 1);
    if (close > m_lineEnd) {
        m_line += std::count(cell.begin(), cell.end(), '\n');
        m_lineEnd = LineEnd(close);
    }
    if (Contains(cell, "\"\"")) cell = row.Keep(WithoutDoubledQuotes(cell));
    row.cells.push_back(TrimBlanks(cell));
    m_at = close + 1;
    while (m_at < m_lineEnd && m_text[m_at] != m_delimiter) ++m_at;
    return true;
}

// Behind a quotation mark: blanks at most, and then what ends the cell.
bool CCsvReader::EndsCell(size_t at) const {
    while (at < m_text.size() && m_text[at] != m_delimiter &&
           (m_text[at] == ' ' || m_text[at] == '\t' || m_text[at] == '\r')) {
        ++at;
    }
    return at >= m_text.size() || m_text[at] == m_delimiter || m_text[at] == '\n';
}

size_t CCsvReader::ClosingQuote(size_t open) {
    const size_t limit = std::min(m_text.size(), open + kLongestCell);
    size_t at = std::max(open + 1, m_openUntil);
    while (at < limit) {
        at = m_text.find(kQuote, at);
        if (at >= limit) break;
        if (at + 1 < m_text.size() && m_text[at + 1] == kQuote) {
            at += 2;
            continue;
        }
        if (EndsCell(at + 1)) return at;
        const bool begins = m_text[at - 1] == m_delimiter || m_text[at - 1] == '\n';
        if (begins && at > m_lineEnd) {
            m_openUntil = at;
            return std::string_view::npos;
        }
        ++at;
    }
    m_openUntil = limit;
    return std::string_view::npos;
}

char DeclaredDelimiter(std::string_view text) {
    constexpr std::string_view kWord = "sep=";
    if (text.starts_with('"')) text.remove_prefix(1);
    if (!EqualIgnoringAsciiCase(text.substr(0, kWord.size()), kWord)) return 0;
    const std::string_view rest = text.substr(kWord.size());
    const bool ends = rest.size() == 1 ||
                      (rest.size() > 1 && (rest[1] == '\n' || rest[1] == '\r' || rest[1] == '"'));
    return ends ? rest.front() : '\0';
}

}  // namespace quillon
