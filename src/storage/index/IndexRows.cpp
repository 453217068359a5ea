#include "storage/index/IndexRows.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include "foundation/ByteCodec.h"

namespace quillon {
namespace {

// A wide page holds any value as a distance from the least there is.
constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
constexpr size_t kGroup = 64;  // slots that are looked at together

// Bit i tells whether group[i] lies between the two, ends included. Written in steps that a
// compiler does for many slots at once: most groups hold no such value.
template <typename Distance>
uint64_t SlotsBetween(const Distance* group, Distance from, Distance width) {
    std::array<uint8_t, kGroup> isIn;
    for (size_t i = 0; i < kGroup; ++i) {
        isIn[i] = static_cast<Distance>(group[i] - from) <= width ? 1 : 0;
    }
    uint64_t slots = 0;
    for (size_t i = 0; i < kGroup; i += 8) {
        // Brings the lowest bits of eight bytes together in the highest one.
        const uint64_t eight = LoadLE<uint64_t>(isIn, i) * 0x0102040810204080U;
        slots |= eight >> 56 << i;
    }
    return slots;
}

}  // namespace

bool CIndexRows::Page::Narrow(const UnitRange& wanted, uint64_t& from, uint64_t& to) const {
    if (count == 0 || !wanted.any || wanted.last < base) return false;
    from = wanted.first <= base ? 0 : DistanceTo(wanted.first);
    to = std::min(DistanceTo(wanted.last), span);
    return from <= to;
}

bool CIndexRows::Page::DistanceIfFits(int64_t value, uint64_t& distance) const {
    int64_t units = 0;
    if (!ToUnits(packing, value, units) || units < base) return false;
    distance = DistanceTo(units);
    const uint64_t largest = std::visit(
        [](const auto& all) {
            using Distance = typename std::decay_t<decltype(all)>::value_type;
            return uint64_t{std::numeric_limits<Distance>::max()};
        },
        distances);
    return distance <= largest;
}

void CIndexRows::Page::Widen() {
    std::vector<uint64_t> wide(kSlots);
    Walk([&](size_t slot, int64_t value) {
        wide[slot] = static_cast<uint64_t>(value) - static_cast<uint64_t>(kLeast);
        return true;
    });
    distances = std::move(wide);
    packing = Packing::Plain;
    base = kLeast;
    span = std::numeric_limits<uint64_t>::max();
}

void CIndexRows::Page::Pack(Packing preferred) {
    std::array<int64_t, kSlots> values;
    Walk([&](size_t slot, int64_t value) {
        values[slot] = value;
        return true;
    });
    PackValues(preferred, values);
}

void CIndexRows::Page::PackValues(Packing preferred, const std::array<int64_t, kSlots>& values) {
    if (count == 0) return;
    std::array<int64_t, kSlots> units;
    bool allWhole = preferred != Packing::Plain;
    for (size_t slot = 0; allWhole && slot < kSlots; ++slot) {
        allWhole = !Has(slot) || ToUnits(preferred, values[slot], units[slot]);
    }
    if (allWhole) {
        PackUnits(preferred, units);
    } else {
        PackUnits(Packing::Plain, values);
    }
}

void CIndexRows::Page::PackUnits(Packing kind, const std::array<int64_t, kSlots>& units) {
    int64_t least = std::numeric_limits<int64_t>::max();
    int64_t most = kLeast;
    for (size_t slot = 0; slot < kSlots; ++slot) {
        if (!Has(slot)) continue;
        least = std::min(least, units[slot]);
        most = std::max(most, units[slot]);
    }
    const uint64_t needed = static_cast<uint64_t>(most) - static_cast<uint64_t>(least);
    const auto packAs = [&]<typename Distance>(Distance) {
        std::vector<Distance> packed(kSlots);
        for (size_t slot = 0; slot < kSlots; ++slot) {
            if (!Has(slot)) continue;
            packed[slot] = static_cast<Distance>(static_cast<uint64_t>(units[slot]) -
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
    packing = kind;
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

// Rows come in sequence, so the page that was changed last is seldom needed again: it is
// packed when another one is to be wide.
CIndexRows::Page& CIndexRows::PageForInsert(size_t index, int64_t value, uint64_t& distance) {
    if (index == m_widePage) {
        distance = m_pages[index]->DistanceTo(value);
        return *m_pages[index];
    }
    if (index >= m_pages.size()) m_pages.resize(index + 1);
    if (!m_pages[index]) {
        auto page = std::make_unique<Page>();
        page->Widen();
        Pack();
        m_pages[index] = std::move(page);
        m_widePage = index;
    } else if (!m_pages[index]->DistanceIfFits(value, distance)) {
        Pack();
        m_pages[index]->Widen();
        m_widePage = index;
    }
    if (index == m_widePage) distance = m_pages[index]->DistanceTo(value);
    return *m_pages[index];
}

void CIndexRows::Insert(int64_t id, int64_t value, uint32_t record) {
    if (id < 0 || id >= DenseLimit()) {
        m_sparse.emplace(id, Entry{value, record});
        ++m_count;
        return;
    }
    uint64_t distance = 0;
    Page& page =
        PageForInsert(static_cast<size_t>(static_cast<uint64_t>(id) / kSlots), value, distance);
    const size_t slot = static_cast<uint64_t>(id) % kSlots;
    page.NoteRecord(slot, record);
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
    m_pages[m_widePage]->Pack(m_packing);
    m_widePage = kNoPage;
}

CIndexRows::Wanted CIndexRows::WantedBetween(int64_t lowest, int64_t highest) const {
    const auto range = [&](Packing kind) {
        UnitRange units;
        units.any = UnitsBetween(kind, lowest, highest, units.first, units.last);
        return units;
    };
    return {range(Packing::Plain), range(m_packing)};
}

int64_t CIndexRows::CollectRange(int64_t lowest, int64_t highest,
                                 std::vector<int64_t>& rows) const {
    const Wanted wanted = WantedBetween(lowest, highest);
    int64_t looked = 0;
    auto sparse = m_sparse.begin();
    // Those in front of the row, or all that are left.
    const auto collectSparse = [&](const int64_t* end) {
        for (; sparse != m_sparse.end() && (!end || sparse->first < *end); ++sparse) {
            const int64_t value = sparse->second.value;
            if (value >= lowest && value <= highest) rows.push_back(sparse->first);
        }
    };
    const auto collect = [&](const Page& page, int64_t firstId, const auto& all, uint64_t from,
                             uint64_t to) {
        using Distance = typename std::decay_t<decltype(all)>::value_type;
        for (size_t group = 0; group < page.present.size(); ++group) {
            uint64_t slots = SlotsBetween(&all[group * kGroup], static_cast<Distance>(from),
                                          static_cast<Distance>(to - from));
            for (slots &= page.present[group]; slots != 0; slots &= slots - 1) {
                const int64_t id =
                    firstId + static_cast<int64_t>(group * kGroup) + std::countr_zero(slots);
                if (sparse != m_sparse.end()) collectSparse(&id);
                rows.push_back(id);
            }
        }
    };
    for (size_t index = 0; index < m_pages.size(); ++index) {
        const Page* page = m_pages[index].get();
        uint64_t from = 0;
        uint64_t to = 0;
        if (!page || !page->Narrow(wanted.For(page->packing), from, to)) continue;
        std::visit(
            [&](const auto& all) {
                looked += static_cast<int64_t>(all.size() * sizeof(all[0]));
                collect(*page, static_cast<int64_t>(index * kSlots), all, from, to);
            },
            page->distances);
    }
    collectSparse(nullptr);
    return looked + static_cast<int64_t>(m_sparse.size() * sizeof(*m_sparse.begin()));
}

bool CIndexRows::CLoader::Finish() {
    if (m_count == 0) return true;
    const bool isNew = m_page >= m_rows.m_pages.size() || !m_rows.m_pages[m_page];
    const bool isDense = m_page < static_cast<uint64_t>(m_rows.DenseLimit()) / kSlots;
    bool done = true;
    if (isNew && isDense && m_rows.m_sparse.empty()) {
        std::unique_ptr<Page> page = MakePage();
        if (m_page >= m_rows.m_pages.size()) m_rows.m_pages.resize(m_page + 1);
        m_rows.m_pages[m_page] = std::move(page);
        m_rows.m_count += m_count;
    } else {
        done = InsertOneByOne();
    }
    m_present = {};
    m_count = 0;
    return done;
}

bool CIndexRows::CLoader::InsertOneByOne() {
    for (size_t slot = 0; slot < kSlots; ++slot) {
        if ((m_present[slot / 64] >> slot % 64 & 1) == 0) continue;
        const auto id = static_cast<int64_t>(m_page * kSlots + slot);
        if (m_rows.Contains(id)) return false;
        m_rows.Insert(id, m_values[slot], m_records[slot]);
    }
    m_rows.Pack();
    return true;
}

std::unique_ptr<CIndexRows::Page> CIndexRows::CLoader::MakePage() const {
    auto page = std::make_unique<Page>();
    page->present = m_present;
    page->count = m_count;
    size_t first = 0;
    while (!page->Has(first)) ++first;
    page->firstRecord = int64_t{m_records[first]} - static_cast<int64_t>(first);
    for (size_t slot = first; slot < kSlots; ++slot) {
        if (!page->Has(slot) || page->RecordAt(slot) == m_records[slot]) continue;
        page->records.assign(m_records.begin(), m_records.end());
        break;
    }
    page->PackValues(m_rows.m_packing, m_values);
    return page;
}

int64_t CIndexRows::AtMostInRange(int64_t lowest, int64_t highest) const {
    const Wanted wanted = WantedBetween(lowest, highest);
    auto total = static_cast<int64_t>(m_sparse.size());
    uint64_t from = 0;
    uint64_t to = 0;
    for (const auto& page : m_pages) {
        if (page && page->Narrow(wanted.For(page->packing), from, to)) total += page->count;
    }
    return total;
}

}  // namespace quillon
