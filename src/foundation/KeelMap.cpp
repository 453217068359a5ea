#include "foundation/KeelMap.h"

#include <cstdlib>
#include <functional>
#include <new>

namespace quillon {

namespace {

constexpr size_t kFirstBucketCount = 16;

size_t HashOf(std::string_view key) {
    return std::hash<std::string_view>{}(key);
}

}  // namespace

CKeelMap::~CKeelMap() {
    CKeelMap::Clear();
    std::free(m_buckets);
}

// The link that points to the key's element, or the null link at the end of its
// bucket. There must be buckets.
CKeelMapElement** CKeelMap::SlotOf(std::string_view key, size_t hash) const {
    CKeelMapElement** slot = &m_buckets[hash & (m_bucketCount - 1)];
    while (*slot && ((*slot)->m_hash != hash || (*slot)->m_key.View() != key)) {
        slot = &(*slot)->m_nextInBucket;
    }
    return slot;
}

void CKeelMap::Grow() {
    const size_t count = m_bucketCount ? m_bucketCount * 2 : kFirstBucketCount;
    void* const block = std::calloc(count, sizeof(CKeelMapElement*));
    if (!block) throw std::bad_alloc();
    std::free(m_buckets);
    m_buckets = static_cast<CKeelMapElement**>(block);
    m_bucketCount = count;
    for (CKeelMapElement* element = m_first; element; element = element->m_next) {
        CKeelMapElement*& bucket = m_buckets[element->m_hash & (count - 1)];
        element->m_nextInBucket = bucket;
        bucket = element;
    }
}

void* CKeelMap::Set(std::string_view key, void* value) {
    if (static_cast<size_t>(m_count) >= m_bucketCount) Grow();
    const size_t hash = HashOf(key);
    CKeelMapElement** const slot = SlotOf(key, hash);
    if (*slot) {
        void* const old = (*slot)->m_value;
        (*slot)->m_value = value;
        return old;
    }
    void* const block = std::malloc(sizeof(CKeelMapElement));
    if (!block) throw std::bad_alloc();
    auto* const element = new (block) CKeelMapElement;
    try {
        element->m_key = key;
    } catch (...) {
        std::free(element);
        throw;
    }
    element->m_hash = hash;
    element->m_value = value;
    element->m_previous = m_last;
    (m_last ? m_last->m_next : m_first) = element;
    m_last = element;
    *slot = element;
    ++m_count;
    return nullptr;
}

CKeelMapElement* CKeelMap::Find(std::string_view key) const {
    return m_buckets ? *SlotOf(key, HashOf(key)) : nullptr;
}

void* CKeelMap::Value(std::string_view key) const {
    const CKeelMapElement* const element = Find(key);
    return element ? element->m_value : nullptr;
}

void* CKeelMap::Remove(std::string_view key) {
    if (!m_buckets) return nullptr;
    CKeelMapElement** const slot = SlotOf(key, HashOf(key));
    CKeelMapElement* const element = *slot;
    if (!element) return nullptr;
    *slot = element->m_nextInBucket;
    (element->m_previous ? element->m_previous->m_next : m_first) = element->m_next;
    (element->m_next ? element->m_next->m_previous : m_last) = element->m_previous;
    --m_count;
    void* const value = element->m_value;
    element->~CKeelMapElement();
    std::free(element);
    return value;
}

void CKeelMap::Clear() {
    for (CKeelMapElement* element = m_first; element;) {
        CKeelMapElement* const next = element->m_next;
        element->~CKeelMapElement();
        std::free(element);
        element = next;
    }
    for (size_t i = 0; i < m_bucketCount; ++i) m_buckets[i] = nullptr;
    m_first = nullptr;
    m_last = nullptr;
    m_count = 0;
}

}  // namespace quillon
