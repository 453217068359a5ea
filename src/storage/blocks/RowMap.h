#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace quillon {

// Row identifiers are handed out in sequence, so a map from them is an array:
// pages of slots, found by shifting the id. Ids far above the number of entries
// (and negative ones) can only come from a foreign or damaged file; they go to
// a tree, so that no file makes the array large.
//
// Slot is default-constructible and has a member `record` that is 0 when the
// slot is empty.
//
//   Errors     null and false. Insert throws std::bad_alloc and then changes nothing.
//   Ownership  Slots are the map's; a pointer to one is valid until its id is erased, the map is
//              cleared or another map is moved over it.
//   Threads    None; callers hold their owner's lock.
template <typename Slot>
class CRowMap {
public:
    Slot* Find(int64_t id) {
        if (id >= 0) {
            const auto page = static_cast<uint64_t>(id) / kPageSlots;
            if (page < m_pages.size() && m_pages[page]) {
                Slot& slot = (*m_pages[page])[static_cast<uint64_t>(id) % kPageSlots];
                if (slot.record != 0) return &slot;
            }
        }
        if (m_sparse.empty()) return nullptr;
        const auto found = m_sparse.find(id);
        return found == m_sparse.end() ? nullptr : &found->second;
    }
    const Slot* Find(int64_t id) const { return const_cast<CRowMap*>(this)->Find(id); }

    // The id must not be in the map; `slot.record` must not be 0.
    void Insert(int64_t id, const Slot& slot) {
        if (id < 0 || id >= DenseLimit()) {
            m_sparse.emplace(id, slot);
        } else {
            const auto page = static_cast<uint64_t>(id) / kPageSlots;
            if (page >= m_pages.size()) m_pages.resize(page + 1);
            if (!m_pages[page]) m_pages[page] = std::make_unique<Page>();
            (*m_pages[page])[static_cast<uint64_t>(id) % kPageSlots] = slot;
        }
        ++m_count;
    }

    bool Erase(int64_t id) {
        Slot* slot = Find(id);
        if (!slot) return false;
        if (m_sparse.erase(id) == 0) *slot = Slot{};
        --m_count;
        return true;
    }

    void Clear() {
        m_pages.clear();
        m_sparse.clear();
        m_count = 0;
    }

    int64_t Count() const { return m_count; }

    // Visits (id, slot) in ascending order of id; stops when the visitor returns false.
    template <typename Visit>
    void Walk(Visit visit) const {
        auto sparse = m_sparse.begin();
        for (size_t page = 0; page < m_pages.size(); ++page) {
            if (!m_pages[page]) continue;
            for (size_t i = 0; i < kPageSlots; ++i) {
                const Slot& slot = (*m_pages[page])[i];
                if (slot.record == 0) continue;
                const auto id = static_cast<int64_t>(page * kPageSlots + i);
                for (; sparse != m_sparse.end() && sparse->first < id; ++sparse) {
                    if (!visit(sparse->first, sparse->second)) return;
                }
                if (!visit(id, slot)) return;
            }
        }
        for (; sparse != m_sparse.end(); ++sparse) {
            if (!visit(sparse->first, sparse->second)) return;
        }
    }

private:
    static constexpr size_t kPageSlots = 1024;
    using Page = std::array<Slot, kPageSlots>;

    int64_t DenseLimit() const { return 8 * m_count + 65'536; }

    std::vector<std::unique_ptr<Page>> m_pages;
    std::map<int64_t, Slot> m_sparse;
    int64_t m_count = 0;
};

}  // namespace quillon
