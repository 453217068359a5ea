#include "presenters/register/RegisterTexts.h"

#include <algorithm>

#include "foundation/Unicode.h"

namespace quillon {

void CRegisterTexts::Clear() {
    m_places.clear();
    m_pool.clear();
    m_kinds.assign(1, std::string());
    m_read = 0;
}

uint16_t CRegisterTexts::CodeOf(std::string_view electronic) {
    const auto known = std::find(m_kinds.begin(), m_kinds.end(), electronic);
    if (known != m_kinds.end()) return static_cast<uint16_t>(known - m_kinds.begin());
    // There are three; a ledger with more of them than codes shows the others as none.
    if (m_kinds.size() >= kUnread) return 0;
    m_kinds.emplace_back(electronic);
    return static_cast<uint16_t>(m_kinds.size() - 1);
}

void CRegisterTexts::Keep(uint32_t slot, std::string_view memo, std::string_view electronic) {
    if (m_places.size() < m_rows.SlotCount()) m_places.resize(m_rows.SlotCount());
    Place& place = m_places[slot];
    const std::string folded = FoldCase(memo);
    place.offset = m_pool.size();
    place.size = static_cast<uint32_t>(memo.size());
    place.foldedSize = static_cast<uint32_t>(folded.size());
    m_pool += memo;
    place.foldedAt = folded == memo ? 0 : place.size;
    if (folded != memo) m_pool += folded;
    place.electronic = CodeOf(electronic);
}

void CRegisterTexts::Put(uint32_t slot, const CTransactionEntry& row) {
    Keep(slot, row.memo.ToUtf8(), row.electronicPayment.ToUtf8());
    // A new row behind all others, which were read.
    if (slot == m_read) ++m_read;
}

void CRegisterTexts::ReadSlots(const std::vector<uint32_t>& slots) {
    std::vector<int64_t> ids;
    ids.reserve(slots.size());
    for (const uint32_t slot : slots) ids.push_back(m_rows.Data().ids[slot]);
    m_database.ReadTransactionTexts(
        ids, [&](size_t place, std::string_view memo, std::string_view electronic) {
            Keep(slots[place], memo, electronic);
        });
}

bool CRegisterTexts::ReadSome(size_t count) {
    if (m_places.size() < m_rows.SlotCount()) m_places.resize(m_rows.SlotCount());
    std::vector<uint32_t> slots;
    while (count > 0 && !HasAll()) {
        slots.clear();
        const size_t most = std::min(count, kRowsARead);
        for (; !HasAll() && slots.size() < most; ++m_read) {
            const auto slot = static_cast<uint32_t>(m_read);
            const bool wanted = m_rows.Holds(slot) && m_places[slot].electronic == kUnread;
            if (wanted) slots.push_back(slot);
        }
        ReadSlots(slots);
        count -= slots.size();
    }
    return HasAll();
}

const CRegisterTexts::Place& CRegisterTexts::Reach(uint32_t slot) {
    if (!HasRead(slot)) ReadSlots({slot});
    return m_places[slot];
}

std::string_view CRegisterTexts::Memo(uint32_t slot) {
    const Place& place = Reach(slot);
    return std::string_view(m_pool).substr(place.offset, place.size);
}

std::string_view CRegisterTexts::FoldedMemo(uint32_t slot) {
    Reach(slot);
    return FoldedMemoIfRead(slot);
}

std::string_view CRegisterTexts::FoldedMemoIfRead(uint32_t slot) const {
    if (!HasRead(slot)) return {};
    const Place& place = m_places[slot];
    return std::string_view(m_pool).substr(place.offset + place.foldedAt, place.foldedSize);
}

const std::string& CRegisterTexts::ElectronicIfRead(uint32_t slot) const {
    return m_kinds[HasRead(slot) ? m_places[slot].electronic : 0];
}

const std::string& CRegisterTexts::Electronic(uint32_t slot) {
    return m_kinds[Reach(slot).electronic];
}

}  // namespace quillon
