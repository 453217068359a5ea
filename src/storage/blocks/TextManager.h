#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/KeelString.h"
#include "foundation/ReentrantLock.h"
#include "storage/blocks/DataStore.h"
#include "storage/blocks/DictionaryManager.h"

namespace quillon {

// Texts by id: a dictionary and a data store. A text of 33 serialised bytes or more
// is compressed when that makes it smaller.
//
//   Errors   false or -1. std::bad_alloc passes through. Nothing is prompted or logged.
//   Threads  Each public call holds the store's own CReentrantLock.
class CTextManager {
public:
    static constexpr int64_t kNoText = -1;

    explicit CTextManager(CJournal& journal);

    // `base` is the owner's file; the suffixes go in front of its extension.
    void SetBasePath(const std::string& base);
    [[nodiscard]] bool Open();
    bool Close();
    [[nodiscard]] bool Flush();
    [[nodiscard]] bool Reset();
    [[nodiscard]] bool DeleteFiles();

    int64_t Add(const CKeelString& text);  // id; -1 on failure
    // False: no such text, or its bytes are unreadable.
    [[nodiscard]] bool Read(int64_t id, CKeelString& text) const;
    [[nodiscard]] bool Replace(int64_t id, const CKeelString& text);
    // Frees the room at once.
    [[nodiscard]] bool Delete(int64_t id);

    bool NeedsCompaction() const;
    // Copies live texts into a fresh file; ids stay. Commits a bracket of its own.
    [[nodiscard]] bool Compact();

    const CDictionaryManager& Dictionary() const { return m_dictionary; }
    const CDataStore& Data() const { return m_data; }

private:
    static std::vector<uint8_t> Encode(const CKeelString& text);

    CJournal& m_journal;
    CDictionaryManager m_dictionary;
    CDataStore m_data;
    mutable CReentrantLock m_lock;
};

// Copies the live blocks of `dictionary` out of `data` into a fresh file, in order of
// id, and commits both in one bracket. False: nothing is changed.
[[nodiscard]] bool CompactBlocks(CJournal& journal, CDictionaryManager& dictionary,
                                 CDataStore& data);

}  // namespace quillon
