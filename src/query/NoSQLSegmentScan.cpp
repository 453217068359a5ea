#include "query/NoSQLSegmentScan.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/TextHash.h"
#include "query/NoSQLEvaluator.h"

namespace quillon {
namespace {

// Reading a row costs about as much as this many tests of a key in memory.
constexpr int64_t kReadCost = 64;
// So many are not worth an estimate each.
constexpr size_t kManyKeys = 64;

int64_t DoubleKey(double value) {
    return std::bit_cast<int64_t>(value);
}

}  // namespace

CNoSQLSegmentScan::CNoSQLSegmentScan(const CNoSQLWhereClauseSegment& segment,
                                     const CTableManager& table)
    : m_segment(segment), m_table(table) {
    if (!segment.CanMatch()) return;
    if (!segment.IsRowId()) {
        m_column = table.FindColumnById(segment.ColumnId());
        if (!m_column || m_column->type != segment.Type()) return;
        m_index = m_column->index;
        if (m_column->indexed && !m_index) return;  // the index is lost
        m_failed = m_index && !table.LoadIndex(*m_column);
        if (m_failed) return;
    }
    ChooseRoad();
    EstimateCosts();
}

void CNoSQLSegmentScan::ChooseRoad() {
    if (m_column && !m_index) {
        m_road = Road::Read;
        return;
    }
    if (m_segment.Type() == ColumnType::Text) {
        m_textHash = TextHash(m_segment.Value().text.View());
    }
    m_road = Road::Walk;
    switch (m_segment.Operator()) {
        case WhereOperator::Equal:
        case WhereOperator::InSet:
            m_road = Road::Seek;
            FindKeys();
            break;
        case WhereOperator::Differs:
            // The other value is the only one left.
            if (m_segment.Type() != ColumnType::Boolean) break;
            m_road = Road::Seek;
            m_keys = {m_segment.Value().boolean ? 0 : 1};
            break;
        case WhereOperator::Less:
        case WhereOperator::Greater:
        case WhereOperator::LessOrEqual:
        case WhereOperator::GreaterOrEqual:
            if (!m_index || !m_index->Attribute() || m_segment.Type() == ColumnType::Text) break;
            m_road = Road::Range;
            FindRanges();
            break;
        default:
            break;
    }
}

void CNoSQLSegmentScan::FindKeys() {
    if (m_segment.Operator() == WhereOperator::InSet) {
        m_keys = m_segment.Set().Values();
        return;
    }
    const double number = m_segment.Value().number;
    if (m_segment.Type() != ColumnType::Double) {
        m_keys = {m_segment.Type() == ColumnType::Text ? m_textHash : m_segment.Value().Key()};
    } else if (number == 0.0) {
        m_keys = {DoubleKey(0.0), DoubleKey(-0.0)};  // equal numbers with different bits
    } else if (!std::isnan(number)) {
        m_keys = {DoubleKey(number)};
    }
}

void CNoSQLSegmentScan::FindRanges() {
    const CNoSQLWhereClauseSetColumnValue& value = m_segment.Value();
    switch (m_segment.Type()) {
        case ColumnType::Int32:
            AddIntegerRange(value.int32, std::numeric_limits<int32_t>::min(),
                            std::numeric_limits<int32_t>::max());
            break;
        case ColumnType::Int64:
            AddIntegerRange(value.int64, std::numeric_limits<int64_t>::min(),
                            std::numeric_limits<int64_t>::max());
            break;
        case ColumnType::DateTime:
            AddDateTimeRange(static_cast<uint64_t>(value.dateTime));
            break;
        case ColumnType::Double:
            AddDoubleRange(value.number);
            break;
        default:
            break;
    }
}

void CNoSQLSegmentScan::AddIntegerRange(int64_t value, int64_t least, int64_t greatest) {
    switch (m_segment.Operator()) {
        case WhereOperator::Less:
            if (value > least) m_ranges.push_back({least, value - 1});
            break;
        case WhereOperator::LessOrEqual:
            m_ranges.push_back({least, value});
            break;
        case WhereOperator::Greater:
            if (value < greatest) m_ranges.push_back({value + 1, greatest});
            break;
        default:
            m_ranges.push_back({value, greatest});
            break;
    }
}

// File times compare unsigned, keys signed: a range across the middle becomes two.
void CNoSQLSegmentScan::AddDateTimeRange(uint64_t value) {
    uint64_t lowest = 0;
    uint64_t highest = std::numeric_limits<uint64_t>::max();
    switch (m_segment.Operator()) {
        case WhereOperator::Less:
            if (value == lowest) return;
            highest = value - 1;
            break;
        case WhereOperator::LessOrEqual:
            highest = value;
            break;
        case WhereOperator::Greater:
            if (value == highest) return;
            lowest = value + 1;
            break;
        default:
            lowest = value;
            break;
    }
    const auto first = static_cast<int64_t>(lowest);
    const auto last = static_cast<int64_t>(highest);
    if ((first < 0) == (last < 0)) {
        m_ranges.push_back({first, last});
    } else {
        m_ranges.push_back({first, std::numeric_limits<int64_t>::max()});
        m_ranges.push_back({std::numeric_limits<int64_t>::min(), last});
    }
}

void CNoSQLSegmentScan::AddDoubleRange(double value) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (std::isnan(value)) return;
    double lowest = -kInfinity;
    double highest = kInfinity;
    switch (m_segment.Operator()) {
        case WhereOperator::Less:
            if (value == -kInfinity) return;
            highest = std::nextafter(value, -kInfinity);
            break;
        case WhereOperator::LessOrEqual:
            highest = value;
            break;
        case WhereOperator::Greater:
            if (value == kInfinity) return;
            lowest = std::nextafter(value, kInfinity);
            break;
        default:
            lowest = value;
            break;
    }
    // Both zeros are in or out together, whichever of them the index puts first.
    if (lowest == 0.0) lowest = -0.0;
    if (highest == 0.0) highest = 0.0;
    m_ranges.push_back({DoubleKey(lowest), DoubleKey(highest)});
}

bool CNoSQLSegmentScan::Absorb(const CNoSQLSegmentScan& other) {
    if (m_road != Road::Range || other.m_road != Road::Range || m_index != other.m_index) {
        return false;
    }
    const auto before = [this](int64_t a, int64_t b) {
        return m_index->SortValue(a) < m_index->SortValue(b);
    };
    std::vector<KeyRange> both;
    for (const KeyRange& mine : m_ranges) {
        for (const KeyRange& theirs : other.m_ranges) {
            const KeyRange shared{std::max(mine.lowest, theirs.lowest, before),
                                  std::min(mine.highest, theirs.highest, before)};
            if (!before(shared.highest, shared.lowest)) both.push_back(shared);
        }
    }
    m_ranges = std::move(both);
    m_absorbed.push_back(&other.m_segment);
    m_absorbed.insert(m_absorbed.end(), other.m_absorbed.begin(), other.m_absorbed.end());
    m_collectCost = 0;
    EstimateCosts();
    return true;
}

void CNoSQLSegmentScan::EstimateCosts() {
    const bool isText = m_segment.Type() == ColumnType::Text;
    switch (m_road) {
        case Road::None:
            break;
        case Road::Seek:
            m_collectCost = static_cast<int64_t>(m_keys.size());
            if (!m_index) break;
            if (m_keys.size() > kManyKeys) {
                m_collectCost += m_index->Count();
            } else {
                for (const int64_t key : m_keys) m_collectCost += m_index->EstimateEqual(key);
            }
            if (isText) m_collectCost *= kReadCost;
            break;
        case Road::Range:
            for (const KeyRange& range : m_ranges) {
                m_collectCost += m_index->EstimateRange(range.lowest, range.highest);
            }
            break;
        case Road::Walk:
            m_collectCost = m_index ? m_index->Count() : m_table.RowCount();
            if (isText && m_segment.Operator() != WhereOperator::Differs) {
                m_collectCost *= kReadCost;
                m_testCost = kReadCost;
            }
            break;
        case Road::Read:
            m_collectCost = m_table.RowCount() * kReadCost;
            m_testCost = kReadCost;
            break;
    }
    if (isText) ++m_testCost;  // behind the tests that never read
}

void CNoSQLSegmentScan::Collect(std::vector<int64_t>& rows) {
    if (m_road == Road::None) return;
    if (m_index) {
        CollectFromIndex(rows);
    } else {
        CollectFromRows(rows);
    }
}

void CNoSQLSegmentScan::CollectFromRows(std::vector<int64_t>& rows) {
    if (m_road == Road::Seek) {  // row identifiers
        for (const int64_t rowId : m_keys) {
            if (m_table.RowExists(rowId)) rows.push_back(rowId);
        }
        return;
    }
    m_table.WalkRows([&](int64_t rowId) {
        if (Test(rowId)) rows.push_back(rowId);
        return true;
    });
}

void CNoSQLSegmentScan::CollectFromIndex(std::vector<int64_t>& rows) {
    const size_t before = rows.size();
    switch (m_road) {
        case Road::Seek:
            for (const int64_t key : m_keys) m_index->CollectEqual(key, rows);
            break;
        case Road::Range:
            for (const KeyRange& range : m_ranges) {
                m_index->CollectRange(range.lowest, range.highest, rows);
            }
            break;
        default:
            m_index->Walk([&](int64_t key, int64_t rowId) {
                if (m_segment.Type() == ColumnType::Text ||
                    CNoSQLEvaluator::MatchesKey(m_segment, key)) {
                    rows.push_back(rowId);
                }
                return true;
            });
            break;
    }
    if (m_segment.Type() != ColumnType::Text) return;
    const auto first = rows.begin() + static_cast<std::ptrdiff_t>(before);
    rows.erase(std::remove_if(first, rows.end(), [&](int64_t row) { return !Test(row); }),
               rows.end());
}

void CNoSQLSegmentScan::Filter(std::vector<int64_t>& rows) {
    if (m_index && m_segment.Type() != ColumnType::Text) {
        m_index->KeepRows(rows, [&](int64_t key) { return MatchesKey(key); });
    } else {
        std::erase_if(rows, [&](int64_t rowId) { return !Test(rowId); });
    }
}

bool CNoSQLSegmentScan::MatchesKey(int64_t key) const {
    return CNoSQLEvaluator::MatchesKey(m_segment, key) &&
           std::all_of(m_absorbed.begin(), m_absorbed.end(), [key](const auto* segment) {
               return CNoSQLEvaluator::MatchesKey(*segment, key);
           });
}

bool CNoSQLSegmentScan::Test(int64_t rowId) {
    if (m_road == Road::None) return false;
    if (!m_column) return CNoSQLEvaluator::MatchesKey(m_segment, rowId);
    if (!m_index) return TestByReading(rowId);
    int64_t key = 0;
    if (!m_index->KeyOf(rowId, key)) return false;
    if (m_segment.Type() != ColumnType::Text) return MatchesKey(key);
    // Different hashes come from different texts; equal ones may, too.
    if (key != m_textHash) {
        if (m_segment.Operator() == WhereOperator::Equal) return false;
        if (m_segment.Operator() == WhereOperator::Differs) return true;
    }
    return TestByReading(rowId);
}

bool CNoSQLSegmentScan::TestByReading(int64_t rowId) {
    if (!m_table.ReadValue(rowId, *m_column, m_read)) {
        ++m_unreadableRows;
        return false;
    }
    return CNoSQLEvaluator::Matches(m_segment, m_read);
}

}  // namespace quillon
