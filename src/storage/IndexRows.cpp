#include "storage/IndexRows.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace quillon {
namespace {

// A wide page holds any value as a distance from the least there is.
constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();

}  // namespace

bool CIndexRows::Page::Narrow(int64_t lowest, int64_t highest, uint64_t& from, uint64_t& to) const {
    if (count == 0 || highest < base) return false;
    from = lowest <= base ? 0 : DistanceTo(lowest);
    to = std::min(DistanceTo(highest), span);
    return from <= to;
}

bool CIndexRows::Page::Fits(int64_t value) const {
    if (value < base) return false;
    const uint64_t largest = std::visit(
        [](const auto& all) {
            using Distance = typename std::decay_t<decltype(all)>::value_type;
            return uint64_t{std::numeric_limits<Distance>::max()};
        },
        distances);
    return DistanceTo(value) <= largest;
}

void CIndexRows::Page::Widen() {
    std::vector<uint64_t> wide(kSlots);
    for (size_t slot = 0; slot < kSlots; ++slot) {
        if (Has(slot))
            wide[slot] = static_cast<uint64_t>(ValueAt(slot)) - static_cast<uint64_t>(kLeast);
    }
    distances = std::move(wide);
    base = kLeast;
    span = std::numeric_limits<uint64_t>::max();
}

void CIndexRows::Page::Pack() {
    if (count == 0) return;
    int64_t least = std::numeric_limits<int64_t>::max();
    int64_t most = kLeast;
    for (size_t slot = 0; slot < kSlots; ++slot) {
        if (!Has(slot)) continue;
        least = std::min(least, ValueAt(slot));
        most = std::max(most, ValueAt(slot));
    }
    const uint64_t needed = static_cast<uint64_t>(most) - static_cast<uint64_t>(least);
    const auto packAs = [&]<typename Distance>(Distance) {
        std::vector<Distance> packed(kSlots);
        for (size_t slot = 0; slot < kSlots; ++slot) {
            if (!Has(slot)) continue;
            packed[slot] = static_cast<Distance>(static_cast<uint64_t>(ValueAt(slot)) -
                                                 static_cast<uint64_t>(least));
        }
        distances = std::move(packed);
    };
    if (needed <= std::numeric_limits<uint8_t>::max()) {
        packAs(uint8_t{});
    } else if (needed <= std::numeric_limits<uint16_t>::max()) {
        packAs(uint16_t{});
    } else if (needed <= std::numeric_limits<uint32_t>::max()) {
        packAs(uint32_t{});
    } else {
        packAs(uint64_t{});
    }
    base = least;
    span = needed;
}

void CIndexRows::Page::NoteRecord(size_t slot, uint32_t record) {
    if (count == 0) {
        records = {};
        firstRecord = int64_t{record} - static_cast<int64_t>(slot);
        return;
    }
    if (records.empty()) {
        if (RecordAt(slot) == record) return;
        std::vector<uint32_t> all(kSlots);
        for (size_t at = 0; at < kSlots; ++at) all[at] = RecordAt(at);
        records = std::move(all);
    }
    records[slot] = record;
}

void CIndexRows::Clear() {
    m_pages.clear();
    m_widePage = kNoPage;
    m_sparse.clear();
    m_count = 0;
}

bool CIndexRows::Contains(int64_t id) const {
    int64_t value = 0;
    return FindValue(id, value);
}

bool CIndexRows::FindSparse(int64_t id, int64_t& value) const {
    const auto found = m_sparse.find(id);
    if (found == m_sparse.end()) return false;
    value = found->second.value;
    return true;
}

bool CIndexRows::Find(int64_t id, Entry& entry) const {
    const Page* page = PageOf(id);
    const size_t slot = static_cast<uint64_t>(id) % kSlots;
    if (page && page->Has(slot)) {
        entry = {page->ValueAt(slot), page->RecordAt(slot)};
        return true;
    }
    const auto found = m_sparse.find(id);
    if (found == m_sparse.end()) return false;
    entry = found->second;
    return true;
}

// A page that takes the value. Rows come in sequence, so the page that was changed last is
// seldom needed again: it is packed when another one is to be wide.
CIndexRows::Page& CIndexRows::PageForInsert(size_t index, int64_t value) {
    if (index >= m_pages.size()) m_pages.resize(index + 1);
    if (!m_pages[index]) {
        auto page = std::make_unique<Page>();
        page->Widen();
        Pack();
        m_pages[index] = std::move(page);
        m_widePage = index;
    } else if (!m_pages[index]->Fits(value)) {
        Pack();
        m_pages[index]->Widen();
        m_widePage = index;
    }
    return *m_pages[index];
}

void CIndexRows::Insert(int64_t id, int64_t value, uint32_t record) {
    if (id < 0 || id >= DenseLimit()) {
        m_sparse.emplace(id, Entry{value, record});
        ++m_count;
        return;
    }
    Page& page = PageForInsert(static_cast<size_t>(static_cast<uint64_t>(id) / kSlots), value);
    const size_t slot = static_cast<uint64_t>(id) % kSlots;
    page.NoteRecord(slot, record);
    const uint64_t distance = page.DistanceTo(value);
    std::visit(
        [&](auto& all) {
            all[slot] = static_cast<typename std::decay_t<decltype(all)>::value_type>(distance);
        },
        page.distances);
    page.span = std::max(page.span, distance);
    page.present[slot / 64] |= uint64_t{1} << slot % 64;
    ++page.count;
    ++m_count;
}

bool CIndexRows::Erase(int64_t id) {
    const uint64_t index = static_cast<uint64_t>(id) / kSlots;
    const size_t slot = static_cast<uint64_t>(id) % kSlots;
    if (index < m_pages.size() && m_pages[index] && m_pages[index]->Has(slot)) {
        Page& page = *m_pages[index];
        page.present[slot / 64] &= ~(uint64_t{1} << slot % 64);
        --page.count;
    } else if (m_sparse.erase(id) == 0) {
        return false;
    }
    --m_count;
    return true;
}

void CIndexRows::Pack() {
    if (m_widePage == kNoPage) return;
    m_pages[m_widePage]->Pack();
    m_widePage = kNoPage;
}

int64_t CIndexRows::CollectRange(int64_t lowest, int64_t highest,
                                 std::vector<int64_t>& rows) const {
    int64_t looked = 0;
    auto sparse = m_sparse.begin();
    // Those in front of the row, or all that are left.
    const auto collectSparse = [&](const int64_t* end) {
        for (; sparse != m_sparse.end() && (!end || sparse->first < *end); ++sparse) {
            const int64_t value = sparse->second.value;
            if (value >= lowest && value <= highest) rows.push_back(sparse->first);
        }
    };
    for (size_t index = 0; index < m_pages.size(); ++index) {
        const Page* page = m_pages[index].get();
        const auto firstId = static_cast<int64_t>(index * kSlots);
        uint64_t from = 0;
        uint64_t to = 0;
        if (!page || !page->Narrow(lowest, highest, from, to)) continue;
        looked += page->count;
        std::visit(
            [&](const auto& all) {
                const uint64_t width = to - from;
                for (size_t slot = 0; slot < kSlots; ++slot) {
                    if (uint64_t{all[slot]} - from > width || !page->Has(slot)) continue;
                    const int64_t id = firstId + static_cast<int64_t>(slot);
                    collectSparse(&id);
                    rows.push_back(id);
                }
            },
            page->distances);
    }
    collectSparse(nullptr);
    return looked + static_cast<int64_t>(m_sparse.size());
}

int64_t CIndexRows::AtMostInRange(int64_t lowest, int64_t highest) const {
    auto total = static_cast<int64_t>(m_sparse.size());
    uint64_t from = 0;
    uint64_t to = 0;
    for (const auto& page : m_pages) {
        if (page && page->Narrow(lowest, highest, from, to)) total += page->count;
    }
    return total;
}

}  // namespace quillon
