#include "foundation/KeelOptimizedMap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>

namespace quillon {

struct CKeelOptimizedMap::Node {
    int32_t keyLow;
    int32_t keyHigh;
    void* value;  // owned, 8 bytes
    Node* nextInBucket;
    Node* previous;
    Node* next;

    bool Holds(int64_t key) const {
        return keyLow == static_cast<int32_t>(static_cast<uint32_t>(key)) &&
               keyHigh == static_cast<int32_t>(key >> 32);
    }
};

namespace {

constexpr size_t kValueBytes = 8;

int32_t BucketIn(int64_t key, int32_t bucketCount) {
    // Wider than the low half, whose smallest value has no 32-bit magnitude.
    const int64_t low = static_cast<int32_t>(static_cast<uint32_t>(key));
    return static_cast<int32_t>((low < 0 ? -low : low) % bucketCount);
}

// A value's 8 bytes are its own, then zeros: read as it was stored or as the
// other size, it is the same little number on every usual machine.
void StoreValue(void* place, uint64_t bits, bool wide) {
    std::memset(place, 0, kValueBytes);
    if (wide) {
        std::memcpy(place, &bits, 8);
    } else {
        const auto word = static_cast<uint32_t>(bits);
        std::memcpy(place, &word, 4);
    }
}

}  // namespace

int32_t CKeelOptimizedMap::Entry::Value32() const {
    int32_t number;
    std::memcpy(&number, value, sizeof number);
    return number;
}

int64_t CKeelOptimizedMap::Entry::Value64() const {
    int64_t number;
    std::memcpy(&number, value, sizeof number);
    return number;
}

CKeelOptimizedMap::Walker& CKeelOptimizedMap::Walker::operator++() {
    m_node = m_node->next;
    return *this;
}

CKeelOptimizedMap::Entry CKeelOptimizedMap::EntryOf(const Node* node) {
    const auto high = static_cast<uint64_t>(static_cast<uint32_t>(node->keyHigh));
    const auto low = static_cast<uint32_t>(node->keyLow);
    return {static_cast<int64_t>(high << 32 | low), node->value};
}

CKeelOptimizedMap::~CKeelOptimizedMap() {
    CKeelOptimizedMap::Clear();
    std::free(m_buckets);
}

bool CKeelOptimizedMap::Initialise(int32_t bucketCount) {
    if (bucketCount <= 1) return false;
    void* const block = std::calloc(static_cast<size_t>(bucketCount), sizeof(Node*));
    if (!block) return false;
    Clear();
    std::free(m_buckets);
    m_buckets = static_cast<Node**>(block);
    m_bucketCount = bucketCount;
    return true;
}

bool CKeelOptimizedMap::SizeFor(int32_t expected) {
    if (m_count > 0 || expected < 0) return false;
    const int32_t bucketCount = NextPrimeAbove(static_cast<int64_t>(expected) * 3 / 2);
    return bucketCount > 0 && AdoptBuckets(bucketCount);
}

int32_t CKeelOptimizedMap::NextPrimeAbove(int64_t n) {
    constexpr int64_t kLimit = std::numeric_limits<int32_t>::max();
    if (n < 0) return 0;
    for (int64_t v = (n + 1) | 1; v <= kLimit; v += 2) {
        // The smallest divisor of an odd number that has one is odd and at most
        // its root.
        int64_t d = 3;
        while (d * d <= v && v % d != 0) d += 2;
        if (d * d > v) return static_cast<int32_t>(v);
    }
    return 0;
}

// Takes new buckets and hangs every node into them, in order of insertion, so
// that chains are as if the buckets had always been these.
bool CKeelOptimizedMap::AdoptBuckets(int32_t bucketCount) {
    void* const block = std::calloc(static_cast<size_t>(bucketCount), sizeof(Node*));
    if (!block) return false;
    std::free(m_buckets);
    m_buckets = static_cast<Node**>(block);
    m_bucketCount = bucketCount;
    for (Node* node = m_head; node; node = node->next) {
        Node*& bucket = m_buckets[BucketIn(node->keyLow, bucketCount)];
        node->nextInBucket = bucket;
        bucket = node;
    }
    return true;
}

bool CKeelOptimizedMap::MakeNodePool(int32_t nodeCount) {
    if (m_pool || nodeCount <= 0) return false;
    void* const block = std::calloc(static_cast<size_t>(nodeCount), sizeof(Node));
    if (!block) return false;
    m_pool = static_cast<Node*>(block);
    m_poolCount = nodeCount;
    for (int32_t i = nodeCount; i-- > 0;) {
        m_pool[i].next = m_freeNodes;
        m_freeNodes = &m_pool[i];
    }
    return true;
}

int32_t CKeelOptimizedMap::BucketOf(int64_t key) const {
    return m_buckets ? BucketIn(key, m_bucketCount) : -1;
}

// The link that points to the key's node, or the null link at the end of its
// bucket. There must be buckets.
CKeelOptimizedMap::Node** CKeelOptimizedMap::SlotOf(int64_t key) const {
    Node** slot = &m_buckets[BucketIn(key, m_bucketCount)];
    while (*slot && !(*slot)->Holds(key)) slot = &(*slot)->nextInBucket;
    return slot;
}

CKeelOptimizedMap::Node* CKeelOptimizedMap::NewNode() {
    void* const value = std::malloc(kValueBytes);
    if (!value) return nullptr;
    Node* node = m_freeNodes;
    if (node) {
        m_freeNodes = node->next;
    } else {
        node = static_cast<Node*>(std::malloc(sizeof(Node)));
        if (!node) {
            std::free(value);
            return nullptr;
        }
    }
    node->value = value;
    return node;
}

bool CKeelOptimizedMap::IsPooled(const Node* node) const {
    constexpr std::less<const Node*> before;
    return m_pool && !before(node, m_pool) && before(node, m_pool + m_poolCount);
}

void CKeelOptimizedMap::FreeNode(Node* node) {
    std::free(node->value);
    node->value = nullptr;
    if (!IsPooled(node)) std::free(node);
}

bool CKeelOptimizedMap::Insert(int64_t key, uint64_t bits, bool wide) {
    if (!m_buckets && !SizeFor(10)) return false;
    Node* node = *SlotOf(key);
    if (!node) {
        if (m_count == std::numeric_limits<int32_t>::max()) return false;
        node = NewNode();
        if (!node) return false;
        node->keyLow = static_cast<int32_t>(static_cast<uint32_t>(key));
        node->keyHigh = static_cast<int32_t>(key >> 32);
        if (m_count >= kMaximumLoad * m_bucketCount) {
            // Longer chains are slower, not wrong: without memory they just grow.
            const int32_t wider = NextPrimeAbove(static_cast<int64_t>(m_count) * 3);
            if (wider > 0) AdoptBuckets(wider);
        }
        Node*& bucket = m_buckets[BucketIn(key, m_bucketCount)];
        node->nextInBucket = bucket;
        bucket = node;
        node->previous = m_tail;
        node->next = nullptr;
        (m_tail ? m_tail->next : m_head) = node;
        m_tail = node;
        ++m_count;
    }
    StoreValue(node->value, bits, wide);
    m_wideValues = wide;
    return true;
}

bool CKeelOptimizedMap::Insert32(int64_t key, int32_t value) {
    return Insert(key, static_cast<uint32_t>(value), false);
}

bool CKeelOptimizedMap::Insert64(int64_t key, int64_t value) {
    return Insert(key, static_cast<uint64_t>(value), true);
}

void* CKeelOptimizedMap::Find(int64_t key) const {
    if (!m_buckets) return nullptr;
    const Node* const node = *SlotOf(key);
    return node ? node->value : nullptr;
}

bool CKeelOptimizedMap::Find32(int64_t key, int32_t& value) const {
    const void* const found = Find(key);
    if (!found) return false;
    std::memcpy(&value, found, sizeof value);
    return true;
}

bool CKeelOptimizedMap::Find64(int64_t key, int64_t& value) const {
    const void* const found = Find(key);
    if (!found) return false;
    std::memcpy(&value, found, sizeof value);
    return true;
}

bool CKeelOptimizedMap::Remove(int64_t key) {
    if (!m_buckets) return false;
    Node** const slot = SlotOf(key);
    Node* const node = *slot;
    if (!node) return false;
    *slot = node->nextInBucket;
    (node->previous ? node->previous->next : m_head) = node->next;
    (node->next ? node->next->previous : m_tail) = node->previous;
    if (m_cursor == node) m_cursor = node->next;
    FreeNode(node);
    --m_count;
    return true;
}

void CKeelOptimizedMap::Clear() {
    for (Node* node = m_head; node;) {
        Node* const next = node->next;
        FreeNode(node);
        node = next;
    }
    std::free(m_pool);
    m_pool = nullptr;
    m_poolCount = 0;
    m_freeNodes = nullptr;
    m_head = nullptr;
    m_tail = nullptr;
    m_cursor = nullptr;
    m_count = 0;
    std::fill_n(m_buckets, m_bucketCount, nullptr);
}

bool CKeelOptimizedMap::First() {
    m_cursor = m_head;
    return m_cursor != nullptr;
}

bool CKeelOptimizedMap::Next() {
    if (m_cursor) m_cursor = m_cursor->next;
    return m_cursor != nullptr;
}

CKeelOptimizedMap::Entry CKeelOptimizedMap::Current() const {
    return EntryOf(m_cursor);
}

}  // namespace quillon
