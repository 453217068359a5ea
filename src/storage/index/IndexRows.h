#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

#include "storage/index/PackedValue.h"

namespace quillon {

// Value and record number of each row of an index, by row id.
//
//   Rows     are handed out in sequence, so they lie in pages of slots, found by shifting the
//            id. Ids far above the number of rows (and negative ones) can only come from a
//            foreign or damaged file; they go to a tree, so that no file makes the array large.
//   Values   of a page are kept as distances from the smallest, each in as few bytes as the
//            largest needs; where all of them are whole days or cents, those are counted. The
//            page that was changed last keeps eight bytes, so that it can be written in any
//            order. Smallest and largest tell which pages a search may skip.
//   Records  follow the rows until rows are changed: then one number a page does for all.
//   Errors   std::bad_alloc; a call that throws changes nothing.
//   Threads  None.
class CIndexRows {
public:
    struct Entry {
        int64_t value = 0;
        uint32_t record = 0;  // number of the record in the file, from 1
    };

    // `packing`: what the values mostly are.
    explicit CIndexRows(Packing packing = Packing::Plain) : m_packing(packing) {}

    int64_t Count() const { return m_count; }
    void Clear();

    bool Contains(int64_t id) const;
    // False when the row is not there.
    bool Find(int64_t id, Entry& entry) const;
    bool FindValue(int64_t id, int64_t& value) const {
        const Page* page = PageOf(id);
        const size_t slot = static_cast<uint64_t>(id) % kSlots;
        if (!page || !page->Has(slot)) return !m_sparse.empty() && FindSparse(id, value);
        value = page->ValueAt(slot);
        return true;
    }

    // The row must not be there.
    void Insert(int64_t id, int64_t value, uint32_t record);
    bool Erase(int64_t id);
    // Packs the page that was changed last.
    void Pack();

    // Inserts many rows, fastest in ascending order. Nothing else may be asked or changed
    // between the first Add and Finish.
    class CLoader;

    // Visits (id, value, record) in ascending order of id; stops when the visitor returns false.
    template <typename Visit>
    void Walk(Visit visit) const;

    // Rows whose value lies between the two, ends included, appended in ascending order of id.
    // Returns how many bytes were looked at.
    int64_t CollectRange(int64_t lowest, int64_t highest, std::vector<int64_t>& rows) const;
    // Not less than CollectRange would find.
    int64_t AtMostInRange(int64_t lowest, int64_t highest) const;
    int64_t PageCount() const { return static_cast<int64_t>(m_pages.size()); }

private:
    static constexpr size_t kSlots = 1024;
    static constexpr size_t kNoPage = SIZE_MAX;

    // Units of a kind of packing; `any` is false where none can match.
    struct UnitRange {
        int64_t first = 0;
        int64_t last = 0;
        bool any = false;
    };
    // What a search looks for, in the units of pages of either kind.
    struct Wanted {
        UnitRange plain;
        UnitRange packed;
        const UnitRange& For(Packing kind) const { return kind == Packing::Plain ? plain : packed; }
    };

    struct Page {
        using Distances = std::variant<std::vector<uint64_t>, std::vector<uint32_t>,
                                       std::vector<uint16_t>, std::vector<uint8_t>>;
        std::array<uint64_t, kSlots / 64> present{};
        Packing packing = Packing::Plain;
        int64_t base = 0;   // units, not above any value
        uint64_t span = 0;  // not below any distance from it
        Distances distances;
        int64_t firstRecord = 0;        // of slot 0, while `records` is empty
        std::vector<uint32_t> records;  // of each slot, where they do not follow the rows
        uint32_t count = 0;

        bool Has(size_t slot) const { return (present[slot / 64] >> slot % 64 & 1) != 0; }
        int64_t ValueOf(uint64_t distance) const {
            return FromUnits(packing, static_cast<int64_t>(static_cast<uint64_t>(base) + distance));
        }
        int64_t ValueAt(size_t slot) const {
            return ValueOf(
                std::visit([&](const auto& all) { return uint64_t{all[slot]}; }, distances));
        }
        uint32_t RecordAt(size_t slot) const {
            return records.empty() ? static_cast<uint32_t>(firstRecord + static_cast<int64_t>(slot))
                                   : records[slot];
        }
        uint64_t DistanceTo(int64_t units) const {
            return static_cast<uint64_t>(units) - static_cast<uint64_t>(base);
        }
        // The distances that a search looks for. False: the page holds none.
        bool Narrow(const UnitRange& wanted, uint64_t& from, uint64_t& to) const;
        // Visits (slot, value) in ascending order until the visitor returns false, and tells
        // whether it did not.
        template <typename Visit>
        bool Walk(Visit visit) const;
        void Widen();
        void Pack(Packing preferred);
        // The same with `values` of the slots that are present.
        void PackValues(Packing preferred, const std::array<int64_t, kSlots>& values);
        void PackUnits(Packing kind, const std::array<int64_t, kSlots>& units);
        // The distance of a value that the page takes as it is.
        bool DistanceIfFits(int64_t value, uint64_t& distance) const;
        void NoteRecord(size_t slot, uint32_t record);
    };

    const Page* PageOf(int64_t id) const {
        const uint64_t page = static_cast<uint64_t>(id) / kSlots;
        return page < m_pages.size() ? m_pages[page].get() : nullptr;
    }
    Wanted WantedBetween(int64_t lowest, int64_t highest) const;
    bool FindSparse(int64_t id, int64_t& value) const;
    int64_t DenseLimit() const { return 8 * m_count + 65'536; }
    // A page that takes the value, and its distance there.
    Page& PageForInsert(size_t index, int64_t value, uint64_t& distance);

    Packing m_packing;
    std::vector<std::unique_ptr<Page>> m_pages;  // null where no row was ever
    size_t m_widePage = kNoPage;  // the one with eight bytes a distance, changed last
    std::map<int64_t, Entry> m_sparse;
    int64_t m_count = 0;
};

class CIndexRows::CLoader {
public:
    explicit CLoader(CIndexRows& rows) : m_rows(rows) {}

    // False, as Finish() too: one of the rows was there already.
    bool Add(int64_t id, int64_t value, uint32_t record) {
        const uint64_t page = static_cast<uint64_t>(id) / kSlots;
        if (page != m_page) {
            if (!Finish()) return false;
            m_page = page;
        }
        const size_t slot = static_cast<uint64_t>(id) % kSlots;
        const uint64_t bit = uint64_t{1} << slot % 64;
        if ((m_present[slot / 64] & bit) != 0) return false;
        m_present[slot / 64] |= bit;
        m_values[slot] = value;
        m_records[slot] = record;
        ++m_count;
        return true;
    }
    bool Finish();

private:
    bool InsertOneByOne();
    std::unique_ptr<Page> MakePage() const;

    CIndexRows& m_rows;
    uint64_t m_page = 0;
    std::array<uint64_t, kSlots / 64> m_present{};
    std::array<int64_t, kSlots> m_values{};
    std::array<uint32_t, kSlots> m_records{};
    uint32_t m_count = 0;  // rows waiting, all of m_page
};

template <typename Visit>
bool CIndexRows::Page::Walk(Visit visit) const {
    return std::visit(
        [&](const auto& all) {
            for (size_t word = 0; word < present.size(); ++word) {
                for (uint64_t left = present[word]; left != 0; left &= left - 1) {
                    const size_t slot = word * 64 + static_cast<size_t>(std::countr_zero(left));
                    if (!visit(slot, ValueOf(all[slot]))) return false;
                }
            }
            return true;
        },
        distances);
}

template <typename Visit>
void CIndexRows::Walk(Visit visit) const {
    auto sparse = m_sparse.begin();
    for (size_t index = 0; index < m_pages.size(); ++index) {
        const Page* page = m_pages[index].get();
        if (!page || page->count == 0) continue;
        const bool goOn = page->Walk([&](size_t slot, int64_t value) {
            const auto id = static_cast<int64_t>(index * kSlots + slot);
            for (; sparse != m_sparse.end() && sparse->first < id; ++sparse) {
                if (!visit(sparse->first, sparse->second.value, sparse->second.record))
                    return false;
            }
            return visit(id, value, page->RecordAt(slot));
        });
        if (!goOn) return;
    }
    for (; sparse != m_sparse.end(); ++sparse) {
        if (!visit(sparse->first, sparse->second.value, sparse->second.record)) return;
    }
}

}  // namespace quillon
