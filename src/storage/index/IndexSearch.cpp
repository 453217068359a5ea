// The searches of CIndexManager, and the order that makes them fast.

#include <algorithm>
#include <limits>
#include <utility>

#include "storage/index/IndexManager.h"
#include "storage/index/RadixSort.h"

namespace quillon {
namespace {

constexpr int64_t kBytesAPage = 64;  // of which an estimate looks at one line

}  // namespace

int64_t CIndexManager::ValueOf(int64_t rowId) const {
    int64_t value = 0;
    return m_rows.FindValue(rowId, value) ? value : 0;
}

bool CIndexManager::OrderPays() const {
    return m_orderReady || m_looked >= m_sortAfter * m_liveCount;
}

void CIndexManager::MakeOrdered() const {
    if (m_orderReady) return;
    std::vector<std::pair<int64_t, int64_t>> sorted;
    sorted.reserve(static_cast<size_t>(m_liveCount));
    m_rows.Walk([&](int64_t rowId, int64_t value, uint32_t) {
        sorted.emplace_back(value, rowId);
        return true;
    });
    RadixSort(sorted, [](const std::pair<int64_t, int64_t>& item) { return item.first; });
    m_order.Build(sorted);
    m_orderDistinct = 0;
    for (size_t i = 0; i < sorted.size(); ++i) {
        if (i == 0 || sorted[i].first != sorted[i - 1].first) ++m_orderDistinct;
    }
    m_orderReady = true;
}

bool CIndexManager::HasNeighbourOfSameKey(int64_t rowId, int64_t key) const {
    const auto valueOf = [this](int64_t row) { return ValueOf(row); };
    const int64_t value = SortValue(key);
    auto at = m_order.LowerBound(value, std::numeric_limits<int64_t>::min(), valueOf);
    if (at != m_order.End() && m_order.At(at) == rowId) at = m_order.Next(at);
    return at != m_order.End() && ValueOf(m_order.At(at)) == value;
}

void CIndexManager::NoteInserted(int64_t rowId, int64_t key) {
    if (!m_orderReady) return;
    if (!HasNeighbourOfSameKey(rowId, key)) ++m_orderDistinct;
    m_order.Insert(SortValue(key), rowId, [this](int64_t row) { return ValueOf(row); });
}

// Called while the row's entry is still in the map.
void CIndexManager::NoteErased(int64_t rowId, int64_t key) {
    if (!m_orderReady) return;
    if (!HasNeighbourOfSameKey(rowId, key)) --m_orderDistinct;
    m_order.Erase(SortValue(key), rowId, [this](int64_t row) { return ValueOf(row); });
}

int64_t CIndexManager::FileSize() const {
    const CLockScope lock(m_lock);
    return std::max<int64_t>(m_file.Size(), 0);
}

int64_t CIndexManager::Count() const {
    const CLockScope lock(m_lock);
    return IsReady() ? m_liveCount : 0;
}

bool CIndexManager::KeyOf(int64_t rowId, int64_t& key) const {
    const CLockScope lock(m_lock);
    int64_t value = 0;
    if (!IsReady() || !m_rows.FindValue(rowId, value)) return false;
    key = KeyOfValue(value);
    return true;
}

bool CIndexManager::KeysOf(std::span<const int64_t> rows, std::vector<int64_t>& keys) const {
    const CLockScope lock(m_lock);
    keys.clear();
    if (!IsReady()) return false;
    keys.reserve(rows.size());
    for (const int64_t rowId : rows) {
        int64_t value = 0;
        if (!m_rows.FindValue(rowId, value)) return false;
        keys.push_back(KeyOfValue(value));
    }
    return true;
}

void CIndexManager::CollectEqual(int64_t key, std::vector<int64_t>& rows) const {
    CollectRange(key, key, rows);
}

int64_t CIndexManager::EstimateEqual(int64_t key) const {
    return EstimateRange(key, key);
}

void CIndexManager::Between(int64_t lowest, int64_t highest, COrderedRows::Position& from,
                            COrderedRows::Position& to) const {
    const auto valueOf = [this](int64_t row) { return ValueOf(row); };
    constexpr int64_t kFirstRow = std::numeric_limits<int64_t>::min();
    const int64_t end = SortValue(highest);
    from = m_order.LowerBound(SortValue(lowest), kFirstRow, valueOf);
    to = end == std::numeric_limits<int64_t>::max()
             ? m_order.End()
             : m_order.LowerBound(end + 1, kFirstRow, valueOf);
}

void CIndexManager::CollectRange(int64_t lowest, int64_t highest,
                                 std::vector<int64_t>& rows) const {
    const CLockScope lock(m_lock);
    if (SortValue(lowest) > SortValue(highest) || !IsReady()) return;
    if (!OrderPays()) {
        m_looked += m_rows.CollectRange(SortValue(lowest), SortValue(highest), rows);
        return;
    }
    MakeOrdered();
    COrderedRows::Position from;
    COrderedRows::Position to;
    Between(lowest, highest, from, to);
    m_order.Append(from, to, rows);
}

int64_t CIndexManager::EstimateRange(int64_t lowest, int64_t highest) const {
    const CLockScope lock(m_lock);
    if (SortValue(lowest) > SortValue(highest) || !IsReady()) return 0;
    if (!m_orderReady) {
        m_looked += m_rows.PageCount() * kBytesAPage;
        return m_rows.AtMostInRange(SortValue(lowest), SortValue(highest));
    }
    COrderedRows::Position from;
    COrderedRows::Position to;
    Between(lowest, highest, from, to);
    return m_order.CountBetween(from, to);
}

void CIndexManager::Walk(const std::function<bool(int64_t key, int64_t rowId)>& visit) const {
    const CLockScope lock(m_lock);
    if (!IsReady()) return;
    m_rows.Walk(
        [&](int64_t rowId, int64_t value, uint32_t) { return visit(KeyOfValue(value), rowId); });
}

}  // namespace quillon
