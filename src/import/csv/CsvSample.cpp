#include "import/csv/CsvSample.h"

#include <algorithm>
#include <map>

#include "import/csv/CsvCells.h"
#include "import/text/CurrencyNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr size_t kMostColumns = 500;

size_t CountWords(const std::vector<std::string>& headings) {
    std::unordered_set<CsvWord> words;
    for (const std::string& heading : headings) words.insert(WordOfHeading(heading));
    words.erase(CsvWord::None);
    return words.size();
}

std::vector<std::string> HeadingsOf(const CsvRow& row) {
    return {row.cells.begin(), row.cells.end()};
}

std::vector<std::string> Joined(const CsvRow& upper, const CsvRow& lower) {
    std::vector<std::string> headings = HeadingsOf(upper);
    for (size_t i = 0; i < headings.size(); ++i) {
        if (!headings[i].empty() && !lower.cells[i].empty()) headings[i] += ' ';
        headings[i] += lower.cells[i];
    }
    return headings;
}

int32_t MostAt(const std::vector<int64_t>& counts) {
    const auto most = std::max_element(counts.begin(), counts.end());
    if (most == counts.end() || *most == 0) return 0;
    return static_cast<int32_t>(most - counts.begin()) + 1;
}

}  // namespace

CCsvSample::CCsvSample(std::string_view text, char delimiter, const CsvRequest& request,
                       size_t rows)
    : m_delimiter(delimiter), m_request(request) {
    constexpr size_t kFront = 200;  // rows in front of a table, and blank ones
    CCsvReader reader(text, delimiter);
    const int64_t skip = request.skip.value_or(DeclaredDelimiter(text) != 0 ? 1 : 0);
    for (size_t read = 0; read < rows + kFront && m_rows.size() < rows; ++read) {
        CsvRow& row = m_rows.emplace_back();
        if (!reader.Next(row)) {
            m_rows.pop_back();
            break;
        }
        if (row.line <= skip || row.IsBlank()) {
            m_rows.pop_back();
            continue;
        }
        m_isDated.push_back(IsDated(row));
        m_dated += m_isDated.back();
        const size_t width = std::min(row.cells.size(), kMostColumns);
        if (m_datesAt.size() < width) {
            m_datesAt.resize(width);
            m_amountsAt.resize(width);
            m_markedAt.resize(width);
        }
        for (size_t i = 0; i < width; ++i) {
            DateParts parts;
            const CsvNumber number = LookAtNumber(row.cells[i]);
            m_datesAt[i] += SplitCsvDate(row.cells[i], parts);
            m_amountsAt[i] += number.isAmount;
            m_markedAt[i] += number.hasMark;
        }
    }
}

// Where a column was asked for, what stands in it counts.
bool CCsvSample::IsDated(const CsvRow& row) const {
    DateParts parts;
    const int32_t dateColumn = m_request[CsvField::Date].value_or(0);
    size_t date = row.cells.size();
    if (dateColumn != 0) {
        if (!SplitCsvDate(row.Cell(dateColumn), parts)) return false;
        date = static_cast<size_t>(dateColumn) - 1;
    } else {
        for (date = 0; date < row.cells.size(); ++date) {
            if (SplitCsvDate(row.cells[date], parts)) break;
        }
        if (date == row.cells.size()) return false;
    }
    CsvShape asked;
    for (const CsvField field : {CsvField::Amount, CsvField::Debit, CsvField::Credit}) {
        asked.map[field] = m_request[field].value_or(0);
    }
    if (asked.HasMoney()) return ReadCsvMoney(row, asked).reading != AmountReading::Failed;
    for (size_t i = 0; i < row.cells.size(); ++i) {
        if (i != date && LookAtNumber(row.cells[i]).isAmount) return true;
    }
    return false;
}

CsvTry CCsvSample::Tried() const {
    CsvTry tried;
    tried.delimiter = m_delimiter;
    tried.rows = static_cast<int64_t>(m_rows.size());
    tried.columns = static_cast<int64_t>(m_datesAt.size());
    tried.dateColumn = MostAt(m_datesAt);
    tried.amountColumn = MostAt(m_markedAt);
    if (tried.amountColumn == 0) tried.amountColumn = MostAt(m_amountsAt);
    for (const CsvRow& row : m_rows) {
        const auto found = std::find_if(row.cells.begin(), row.cells.end(), IsWrittenAsDate);
        if (found == row.cells.end()) continue;
        tried.noDate = *found;
        break;
    }
    return tried;
}

void CCsvSample::FindTable() {
    FindFirstRow();
    FindHeading();
    CountColumns();
}

// Where rows are of different lengths, those that were asked for are in the table.
size_t CCsvSample::WidthAskedFor() const {
    size_t asked = 0;
    for (const std::optional<int32_t>& column : m_request.columns) {
        asked = std::max(asked, static_cast<size_t>(column.value_or(0)));
    }
    return asked <= std::min(m_datesAt.size(), kMostColumns) ? asked : 0;
}

void CCsvSample::FindFirstRow() {
    std::map<size_t, int64_t> widths;
    for (size_t i = 0; i < m_rows.size(); ++i) {
        if (m_isDated[i]) ++widths[std::min(m_rows[i].cells.size(), kMostColumns)];
    }
    const auto usual =
        std::max_element(widths.begin(), widths.end(), [](const auto& a, const auto& b) {
            return a.second < b.second || (a.second == b.second && a.first < b.first);
        });
    m_usualWidth = usual == widths.end() ? 1 : usual->first;
    m_columns.resize(std::max(m_usualWidth, WidthAskedFor()));
    for (m_first = 0; m_first < m_rows.size(); ++m_first) {
        if (IsInTable(m_first)) break;
    }
    m_first = std::min(m_first, m_rows.size() - 1);
}

bool CCsvSample::IsInTable(size_t index) const {
    const CsvRow& row = m_rows[index];
    // Text in front of the table may have a date and a number as well; and in a row that is
    // too long nothing need stand where it belongs.
    return row.cells.size() * 2 > m_usualWidth && row.IsBlankFrom(m_columns.size()) &&
           m_isDated[index];
}

// Texts in at least two columns and no date or amount in any.
bool CCsvSample::CouldBeHeading(const CsvRow& row) const {
    size_t filled = 0;
    for (const std::string_view cell : row.cells) {
        DateParts parts;
        if (cell.empty()) continue;
        if (LookAtNumber(cell).isAmount || SplitCsvDate(cell, parts)) return false;
        filled += HasLetter(cell);
    }
    return filled >= 2 || (filled == 1 && m_columns.size() == 1);
}

void CCsvSample::FindHeading() {
    m_dataLine = m_rows[m_first].line;
    m_headingRow = m_first;
    Heading best;
    bool found = false;
    if (m_request.skip && m_first > 0) {
        // The lines that were to be skipped are: what comes first is the heading.
        if (CouldBeHeading(m_rows[0])) TakeHeading(0);
        if (m_headingLine == 0) m_dataLine = m_rows[0].line;
        return;
    }
    for (size_t i = m_first; i-- > 0;) {
        const CsvRow& row = m_rows[i];
        if (!CouldBeHeading(row) || row.cells.size() * 2 < m_usualWidth) continue;
        const size_t words = CountWords(HeadingsOf(row));
        const bool isWhole = row.cells.size() >= m_usualWidth;
        if (words > best.words || (!found && words == 0 && isWhole)) best = {i, words};
        found = found || words > 0 || isWhole;
    }
    if (found) TakeHeading(best.row);
}

void CCsvSample::TakeHeading(size_t at) {
    const CsvRow& row = m_rows[at];
    std::vector<std::string> headings = HeadingsOf(row);
    m_headingLine = row.line;
    if (at > 0 && m_rows[at - 1].line + 1 == row.line && CouldBeHeading(m_rows[at - 1]) &&
        m_rows[at - 1].cells.size() == row.cells.size()) {
        std::vector<std::string> joined = Joined(m_rows[at - 1], row);
        if (CountWords(joined) > CountWords(headings)) {
            headings = std::move(joined);
            m_headingLine = m_rows[at - 1].line;
        }
    }
    if (at + 1 < m_first && m_rows[at + 1].line == row.line + 1 && CouldBeHeading(m_rows[at + 1]) &&
        m_rows[at + 1].cells.size() == row.cells.size()) {
        std::vector<std::string> joined = Joined(row, m_rows[at + 1]);
        if (CountWords(joined) > CountWords(headings)) {
            headings = std::move(joined);
            ++at;
        }
    }
    for (size_t i = 0; i < std::min(headings.size(), m_columns.size()); ++i) {
        m_columns[i].word = WordOfHeading(headings[i]);
        m_columns[i].heading = std::move(headings[i]);
    }
    m_headingRow = at + 1;
    m_dataLine = m_rows[at].line + 1;
    if (m_headingRow < m_rows.size()) m_dataLine = m_rows[m_headingRow].line;
}

void CCsvSample::Count(std::string_view cell, CsvColumn& column) {
    if (cell.empty()) return;
    ++column.filled;
    column.values.insert(cell);
    DateParts parts;
    const CsvNumber number = LookAtNumber(cell);
    if (number.isAmount) {
        ++column.amounts;
        column.marked += number.hasMark;
        column.negatives += number.isNegative;
        column.zeros += number.isZero;
    } else if (SplitCsvDate(cell, parts)) {
        ++column.dates;
    } else {
        CountText(cell, column);
    }
}

void CCsvSample::CountText(std::string_view cell, CsvColumn& column) {
    constexpr size_t kShown = 60;
    const CsvSide side = SideOfWord(cell);
    column.outs += side == CsvSide::Out;
    column.ins += side == CsvSide::In;
    column.states += SaysPending(cell) || SaysVoid(cell);
    column.currencies += IsCurrencyCode(cell);
    if (!HasLetter(cell)) return;
    ++column.texts;
    column.blanks += Contains(cell, " ");
    column.length += static_cast<int64_t>(CutUtf8(cell, kShown).size());
}

void CCsvSample::CountColumns() {
    for (size_t i = m_first; i < m_rows.size(); ++i) {
        const CsvRow& row = m_rows[i];
        if (!IsInTable(i)) continue;
        m_table.push_back(&row);
        const size_t width = std::min(row.cells.size(), m_columns.size());
        for (size_t c = 0; c < width; ++c) Count(row.cells[c], m_columns[c]);
    }
}

std::string CCsvSample::HeadingWords() const {
    constexpr size_t kLongest = 1500;  // bytes; of the settings' values
    std::string words;
    if (m_headingLine == 0) return words;
    for (const CsvColumn& column : m_columns) {
        if (&column != &m_columns.front()) words += '|';
        words += PlainWords(column.heading);
    }
    return std::string(CutUtf8(words, kLongest));
}

bool CCsvSample::IsHeadingAlone() const {
    constexpr size_t kFewest = 2;
    return !m_rows.empty() && CouldBeHeading(m_rows.back()) &&
           CountWords(HeadingsOf(m_rows.back())) >= kFewest;
}

std::string CCsvSample::DeclaredCurrency() const {
    for (size_t i = 0; i + 1 < m_headingRow && i < m_first; ++i) {
        const std::vector<std::string_view>& cells = m_rows[i].cells;
        for (size_t c = 1; c < cells.size(); ++c) {
            if (IsCurrencyCode(cells[c]) && WordOfHeading(cells[c - 1]) == CsvWord::Currency) {
                return UpperAscii(cells[c]);
            }
        }
    }
    return {};
}

}  // namespace quillon
