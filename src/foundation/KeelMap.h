#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/KeelString.h"

namespace quillon {

class CKeelMap;

// One entry of a map. Made and freed by its map only.
class CKeelMapElement {
public:
    const CKeelString& Key() const { return m_key; }
    void* Value() const { return m_value; }
    // In order of insertion; null at the ends.
    CKeelMapElement* Next() const { return m_next; }
    CKeelMapElement* Previous() const { return m_previous; }

private:
    friend class CKeelMap;

    CKeelString m_key;
    size_t m_hash = 0;
    void* m_value = nullptr;
    CKeelMapElement* m_nextInBucket = nullptr;
    CKeelMapElement* m_next = nullptr;
    CKeelMapElement* m_previous = nullptr;
};

// CKeelMap finds a borrowed value by its text, byte for byte.
//
//   Order      Walked in the order in which keys were first set.
//   Ownership  Keys are copied in; values never belong to the map. What removal
//              and replacement return is for the values' owner to free.
//   Errors     null and false. Set() throws std::bad_alloc when memory runs out.
//   Threads    None; callers hold their owner's lock.
class CKeelMap {
public:
    CKeelMap() = default;
    CKeelMap(const CKeelMap&) = delete;
    CKeelMap& operator=(const CKeelMap&) = delete;
    virtual ~CKeelMap();

    virtual int32_t Count() const { return m_count; }
    virtual bool IsEmpty() const { return Count() == 0; }

    // Enters the value, or replaces that of a known key, whose old value is
    // returned (null for a new key).
    virtual void* Set(std::string_view key, void* value);
    // Null when the key is not there; Find() tells that from a null value.
    virtual void* Value(std::string_view key) const;
    virtual CKeelMapElement* Find(std::string_view key) const;
    virtual bool Contains(std::string_view key) const { return Find(key) != nullptr; }
    // The value of the removed key, null when it was not there.
    virtual void* Remove(std::string_view key);
    // Frees all elements and no value.
    virtual void Clear();

    // The ends of the list of entries, in order of insertion.
    virtual CKeelMapElement* First() const { return m_first; }
    virtual CKeelMapElement* Last() const { return m_last; }

private:
    CKeelMapElement** SlotOf(std::string_view key, size_t hash) const;
    void Grow();

    CKeelMapElement** m_buckets = nullptr;  // owned, a power of two of them
    size_t m_bucketCount = 0;
    int32_t m_count = 0;
    CKeelMapElement* m_first = nullptr;
    CKeelMapElement* m_last = nullptr;
};

}  // namespace quillon
