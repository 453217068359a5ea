#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace quillon {

// CKeelOptimizedMap finds a value of 4 or 8 bytes by a signed 64-bit key.
//
//   Buckets    |low 32 bits of the key, read as signed| mod bucket count. The
//              high half takes part in the equality test only.
//   Order      Walked in the order of insertion, not of buckets.
//   Values     Heap copies. A map is meant to hold values of one size; the size
//              used last is remembered. A 4-byte value read as 8 bytes has a
//              zero high half, and an 8-byte one read as 4 gives its low half.
//   Growth     Initialise() and SizeFor() choose the bucket count. A map that
//              was told nothing starts at 17 buckets, and one that holds more
//              than kMaximumLoad keys a bucket moves to SizeFor(twice its count).
//   Errors     false. Nothing here throws; a failed call changes nothing.
//   Ownership  Nodes and values are the map's. Pointers it returns are valid
//              until their key is removed or the map cleared.
//   Threads    None; callers hold their owner's lock.
class CKeelOptimizedMap {
    struct Node;

public:
    static constexpr int64_t kMaximumLoad = 4;

    struct Entry {
        int64_t key;
        const void* value;  // 8 readable bytes
        int32_t Value32() const;
        int64_t Value64() const;
    };

    CKeelOptimizedMap() = default;
    CKeelOptimizedMap(const CKeelOptimizedMap&) = delete;
    CKeelOptimizedMap& operator=(const CKeelOptimizedMap&) = delete;
    virtual ~CKeelOptimizedMap();

    // An empty map with that many buckets; what it held is freed. False: not
    // above 1, or no memory.
    [[nodiscard]] virtual bool Initialise(int32_t bucketCount);
    // Buckets for that many keys: the next prime above trunc(expected * 1.5).
    // False: the map is not empty, a negative number, or no memory.
    [[nodiscard]] virtual bool SizeFor(int32_t expected);
    // Makes that many nodes in one block, for keys still to come. The block
    // lives until the map is cleared. False: there is a block already, not
    // above 0, or no memory.
    [[nodiscard]] virtual bool MakeNodePool(int32_t nodeCount);

    // The first odd number v above n with v <= 4 or no divisor in 3..v-2.
    // 0 when n is negative or the number exceeds 32 signed bits.
    static int32_t NextPrimeAbove(int64_t n);

    virtual int32_t Count() const { return m_count; }
    virtual bool IsEmpty() const { return Count() == 0; }
    virtual int32_t BucketCount() const { return m_bucketCount; }
    // Bucket of the key under the present count; -1 without buckets.
    virtual int32_t BucketOf(int64_t key) const;
    // The size used last: 8 or 4.
    virtual bool HasWideValues() const { return m_wideValues; }

    // Adds the key in front of its bucket and at the end of the order, or
    // replaces the value of a key that is there, which keeps its place.
    [[nodiscard]] virtual bool Insert32(int64_t key, int32_t value);
    [[nodiscard]] virtual bool Insert64(int64_t key, int64_t value);

    virtual bool Find32(int64_t key, int32_t& value) const;
    virtual bool Find64(int64_t key, int64_t& value) const;
    // The heap copy, 8 bytes to read and write (the value is in the first 4 or
    // 8 of them, in machine order); null when the key is not there.
    virtual void* Find(int64_t key) const;
    virtual bool Contains(int64_t key) const { return Find(key) != nullptr; }

    // Frees the node, or leaves it unused when it lies in the node pool. False
    // when the key is not there. A cursor on the key moves to the next one.
    virtual bool Remove(int64_t key);
    // Frees keys, values and the node pool; the buckets stay.
    virtual void Clear();

    // Walks by the map's own cursor: for (m.First(); !m.AtEnd(); m.Next()).
    virtual bool First();
    virtual bool Next();
    virtual bool AtEnd() const { return m_cursor == nullptr; }
    // Of the cursor; it must not be at the end.
    virtual Entry Current() const;

    // Range-for over Entry, independent of the cursor. Removing the key stood on
    // ends the walk's validity.
    class Walker {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using reference = Entry;
        using pointer = void;

        Walker() = default;
        explicit Walker(const Node* node) : m_node(node) {}
        Entry operator*() const { return EntryOf(m_node); }
        Walker& operator++();
        Walker operator++(int) {
            Walker old(*this);
            ++*this;
            return old;
        }
        friend bool operator==(const Walker&, const Walker&) = default;

    private:
        const Node* m_node = nullptr;
    };
    virtual Walker begin() const { return Walker(m_head); }
    virtual Walker end() const { return Walker(nullptr); }

private:
    static Entry EntryOf(const Node* node);
    Node** SlotOf(int64_t key) const;
    Node* NewNode();
    void FreeNode(Node* node);
    bool IsPooled(const Node* node) const;
    bool Insert(int64_t key, uint64_t bits, bool wide);
    bool AdoptBuckets(int32_t bucketCount);

    Node** m_buckets = nullptr;  // owned
    int32_t m_bucketCount = 0;
    int32_t m_count = 0;
    Node* m_freeNodes = nullptr;  // stack of unused pool nodes
    Node* m_pool = nullptr;       // owned block
    int32_t m_poolCount = 0;      // nodes in the block
    Node* m_head = nullptr;       // in order of insertion
    Node* m_tail = nullptr;
    Node* m_cursor = nullptr;
    bool m_wideValues = false;
};

}  // namespace quillon
