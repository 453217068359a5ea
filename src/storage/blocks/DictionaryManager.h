#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/FileInterface.h"
#include "foundation/KeelString.h"
#include "foundation/ReentrantLock.h"
#include "storage/blocks/RowMap.h"
#include "storage/journal/BracketParticipant.h"

namespace quillon {

class CJournal;

// Where the payload of an id lies in the paired data store.
struct DictionaryEntry {
    int64_t position = 0;
    int64_t size = 0;     // bytes
    uint32_t record = 0;  // place in the dictionary file, from 1; 0: no entry
    bool deleted = false;
};

using CEntryMap = CRowMap<DictionaryEntry>;

// Maps ids, handed out in sequence, to blocks of a data store. Every entry is kept
// in memory; the file holds one record each, in order of creation (DictionaryFormat.h).
//
//   Loading  Open loads the entries, or leaves that to the first call that needs one. Where it
//            fails then, the dictionary answers as an empty one and takes no change: whoever
//            must not mistake "not loaded" for "none" calls Load() first.
//   Errors   false, -1 or null. std::bad_alloc passes through, but not from Close.
//   Threads  Each public call holds the dictionary's own CReentrantLock, Walk through all of its
//            visits. An entry that Find gives is read under the caller's own care.
class CDictionaryManager final : public CBracketParticipant {
public:
    explicit CDictionaryManager(CJournal& journal);
    ~CDictionaryManager() override;

    void SetPath(const CKeelString& path);
    // Opens or makes the file. False: no path, not a dictionary, a newer version, or no
    // access. A load that stops early still opens: LoadFailed() tells.
    enum class Loading { AtOnce, WhenNeeded };
    [[nodiscard]] bool Open(Loading loading = Loading::AtOnce);
    // The entries are in memory, if need be from now on.
    [[nodiscard]] bool Load() const;
    bool IsOpen() const;
    bool LoadFailed() const;
    bool Close();
    // Empties file and map; the next id is 0.
    [[nodiscard]] bool Reset();
    [[nodiscard]] bool Flush();
    [[nodiscard]] bool DeleteFile();
    int64_t GetFileSize() const;

    // The new id; -1 on failure.
    int64_t Add(int64_t position, int64_t size);
    [[nodiscard]] bool MarkDeleted(int64_t id);
    // Makes an id live again that was given before and whose entry was deleted, compacted away or
    // not. False: it is live, or was never given.
    [[nodiscard]] bool Restore(int64_t id, int64_t position, int64_t size);
    // Points a live entry at another block.
    [[nodiscard]] bool Move(int64_t id, int64_t position, int64_t size);
    // The id is in the map, deleted or not.
    bool Exists(int64_t id) const { return Find(id) != nullptr; }
    // Null for an unknown id and for -1. Valid until the map changes.
    const DictionaryEntry* Find(int64_t id) const;
    // Null for deleted entries as well.
    const DictionaryEntry* FindLive(int64_t id) const;
    // Every entry in order of id, deleted ones included; stops when the visitor returns false.
    template <typename Visit>
    void Walk(Visit visit) const {
        const CLockScope lock(m_lock);
        (void)Load();
        m_entries.Walk(visit);
    }

    int64_t NextId() const;
    // The next id becomes `id` unless it is higher already.
    [[nodiscard]] bool SkipIdsBelow(int64_t id);
    int64_t LiveCount() const;
    int64_t EntryCount() const;
    bool NeedsCompaction() const;
    // Rewrites the file with live entries only. Unless forced, only when there is something to
    // drop.
    [[nodiscard]] bool Compact(bool force);
    // As Compact, with the blocks where `relocate(id, position)` puts them.
    [[nodiscard]] bool CompactMoved(const std::function<void(int64_t, DictionaryEntry&)>& relocate);

    bool OnBracketCommitted() override;
    bool OnBracketRolledBack() override;

private:
    [[nodiscard]] bool WriteHeader();
    [[nodiscard]] bool Append(int64_t id, int64_t position, int64_t size);
    [[nodiscard]] bool ReadHeader();
    // An identifier that stands twice is one record less in the file afterwards; where it is
    // only to be read, that is a failure.
    enum class Doubled { Mended, Failure };
    [[nodiscard]] bool LoadEntries(Doubled doubled = Doubled::Mended);
    bool LoadChunk(std::span<const uint8_t> bytes, int64_t& largestId, bool& duplicates);
    [[nodiscard]] bool Rewrite(const std::function<void(int64_t, DictionaryEntry&)>& relocate);
    void Touch();
    void ForgetEntries();

    CKeelString m_path;
    CJournal& m_journal;
    CFileInterface m_file;
    CEntryMap m_entries;
    mutable CReentrantLock m_lock;
    int64_t m_nextId = 0;
    int64_t m_liveCount = 0;
    int64_t m_recordCount = 0;  // entries in the file
    bool m_headerStale = false;
    Loading m_loading = Loading::AtOnce;
    bool m_loaded = false;
    bool m_loadFailed = false;
    bool m_touched = false;
};

}  // namespace quillon
