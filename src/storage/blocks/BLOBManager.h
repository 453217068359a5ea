#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "foundation/ReentrantLock.h"
#include "storage/blocks/DataStore.h"
#include "storage/blocks/DictionaryManager.h"

namespace quillon {

// Byte blocks by id, stored as they are. An empty block takes no room in the data store.
//
//   Errors   false or -1. std::bad_alloc passes through.
//   Threads  Each public call holds the store's own CReentrantLock.
class CBLOBManager {
public:
    explicit CBLOBManager(CJournal& journal);

    void SetBasePath(const std::string& base);
    [[nodiscard]] bool Open();
    bool Close();
    [[nodiscard]] bool Flush();

    int64_t Add(std::span<const uint8_t> bytes);  // id; -1 on failure
    [[nodiscard]] bool Read(int64_t id, std::vector<uint8_t>& bytes) const;
    [[nodiscard]] bool Replace(int64_t id, std::span<const uint8_t> bytes);
    [[nodiscard]] bool Delete(int64_t id);

    bool NeedsCompaction() const;
    [[nodiscard]] bool Compact();

    const CDictionaryManager& Dictionary() const { return m_dictionary; }
    const CDataStore& Data() const { return m_data; }

private:
    [[nodiscard]] bool Store(std::span<const uint8_t> bytes, int64_t& position);

    CJournal& m_journal;
    CDictionaryManager m_dictionary;
    CDataStore m_data;
    mutable CReentrantLock m_lock;
};

}  // namespace quillon
