#include "import/text/TextPool.h"

#include <functional>

namespace quillon {

namespace {

constexpr size_t kFirstSlots = 64;

uint32_t HashOf(std::string_view text) {
    return static_cast<uint32_t>(std::hash<std::string_view>()(text));
}

}  // namespace

bool CTextPool::IsAtHome(std::string_view text) const {
    const std::less_equal<const char*> before;
    return !text.empty() && before(m_home.data(), text.data()) &&
           before(text.data() + text.size(), m_home.data() + m_home.size());
}

// Where `text` is, or the free place that it belongs to.
size_t CTextPool::SlotOf(std::string_view text, uint32_t hash) const {
    const size_t mask = m_slots.size() - 1;
    size_t slot = hash & mask;
    while (m_slots[slot] != 0) {
        const uint32_t number = m_slots[slot] - 1;
        if (m_texts[number].hash == hash && (*this)[number] == text) break;
        slot = (slot + 1) & mask;
    }
    return slot;
}

void CTextPool::Grow() {
    std::vector<uint32_t> slots(m_slots.empty() ? kFirstSlots : m_slots.size() * 2);
    const size_t mask = slots.size() - 1;
    for (uint32_t number = 0; number < Size(); ++number) {
        size_t slot = m_texts[number].hash & mask;
        while (slots[slot] != 0) slot = (slot + 1) & mask;
        slots[slot] = number + 1;
    }
    m_slots.swap(slots);
}

uint32_t CTextPool::Add(std::string_view text, bool& isNew) {
    if ((m_texts.size() + 1) * 4 > m_slots.size() * 3) Grow();
    const uint32_t hash = HashOf(text);
    const size_t slot = SlotOf(text, hash);
    isNew = m_slots[slot] == 0;
    if (!isNew) return m_slots[slot] - 1;
    const std::string_view kept = IsAtHome(text) ? text : m_copies.Keep(text);
    m_texts.push_back({kept.data(), static_cast<uint32_t>(kept.size()), hash});
    m_slots[slot] = Size();
    return Size() - 1;
}

}  // namespace quillon
