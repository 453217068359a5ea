#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "foundation/ReentrantLock.h"
#include "storage/blocks/DataStore.h"
#include "storage/blocks/DictionaryManager.h"
#include "storage/database/DatabaseFiles.h"

namespace quillon {

// Byte blocks by id: a dictionary and a data file, changed together. An empty block takes no room
// in the data file. CTextManager and CBLOBManager say what the bytes mean.
//
//   Sizes      Bytes.
//   Brackets   Each change is several writes: the caller has a bracket open, and rolls it back
//              when a change fails; both files' memory follows. Compact makes its own.
//   Errors     false or -1. std::bad_alloc passes through, but not from Close.
//   Ownership  Owns dictionary and data store; borrows the journal, which must outlive it.
//   Threads    Each public call holds the store's own CReentrantLock. What Dictionary() and Data()
//              give has locks of its own.
class CBlockStore {
public:
    using Loading = CDictionaryManager::Loading;

    CBlockStore(CJournal& journal, const BlockFiles& files, Loading loading);

    // `base` is the owner's file; the suffixes go in front of its extension.
    void SetBasePath(const std::string& base);
    // Opens or makes both files. False: one of them is no such file, or cannot be had, or the
    // entries that were to be loaded at once cannot be read; Dictionary().IsOpen() tells which.
    [[nodiscard]] bool Open();
    // False: not open, or a header or free list could not be written.
    bool Close();
    [[nodiscard]] bool Flush();
    // Empties both files; the next id is 0.
    [[nodiscard]] bool Reset();
    [[nodiscard]] bool DeleteFiles();

    int64_t Add(std::span<const uint8_t> bytes);  // id; -1 on failure
    // False: no such block, or it does not lie in the data file, or cannot be read.
    [[nodiscard]] bool Read(int64_t id, std::vector<uint8_t>& bytes) const;
    // A block of the same size is written over the old one; else the old one's room is freed.
    [[nodiscard]] bool Replace(int64_t id, std::span<const uint8_t> bytes);
    // Frees the room at once.
    [[nodiscard]] bool Delete(int64_t id);

    // Something deleted or freed takes room in a file.
    bool NeedsCompaction() const;
    // Copies the live blocks into a fresh data file, in order of id, and drops the deleted
    // entries, both in one bracket; ids stay. No bracket may be open. False: nothing is changed.
    [[nodiscard]] bool Compact();

    const CDictionaryManager& Dictionary() const { return m_dictionary; }
    const CDataStore& Data() const { return m_data; }

private:
    [[nodiscard]] bool Store(std::span<const uint8_t> bytes, int64_t& position);
    [[nodiscard]] bool Free(const DictionaryEntry& entry);
    [[nodiscard]] bool WriteCopy(const std::string& path, std::vector<int64_t>& places) const;
    [[nodiscard]] bool CopyLiveBlocks(CFileInterface& copy, std::vector<int64_t>& places) const;

    CJournal& m_journal;
    const BlockFiles m_files;
    const Loading m_loading;
    CDictionaryManager m_dictionary;
    CDataStore m_data;
    mutable CReentrantLock m_lock;
};

}  // namespace quillon
