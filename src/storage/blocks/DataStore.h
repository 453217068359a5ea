#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "foundation/FileInterface.h"
#include "foundation/KeelString.h"
#include "foundation/ReentrantLock.h"
#include "storage/blocks/DeletedBlockManager.h"
#include "storage/journal/BracketParticipant.h"

namespace quillon {

class CJournal;

// One file of variable-length blocks and its free list. A block has no header, length
// or tag: the caller remembers position and size.
//
//   Sizes      Bytes, signed 64-bit; a transfer has 4 GiB - 1 at the most.
//   Positions  Bytes from the start of the block area, which follows the DataHeader.
//   Brackets   A change outside a bracket is one of its own. Rolled back, the free list is again
//              what it was when the bracket began.
//   Errors     false or 0. std::bad_alloc passes through, but not from Close.
//   Ownership  Borrows the journal, which must outlive it.
//   Threads    Each public call holds the store's own CReentrantLock.
class CDataStore final : public CBracketParticipant {
public:
    explicit CDataStore(CJournal& journal);
    ~CDataStore() override;

    void SetPath(const CKeelString& path);
    // Opens or makes the file and loads the free list. False: no path, not one of ours, a newer
    // version, or no access. A version 1 file is converted (never inside a
    // bracket); whether that worked IsOpen() tells.
    [[nodiscard]] bool Open();
    bool IsOpen() const;
    // Saves the free list, rewrites the header, closes. False: nothing was open, or one of the
    // two could not be written.
    bool Close();
    [[nodiscard]] bool Flush();

    // Reuses freed room first and sets `position`. False: nothing to write, not open, or a failed
    // write; the free list is then as it was.
    [[nodiscard]] bool AllocateAndWrite(const uint8_t* data, int64_t size, int64_t& position);
    // Over a block that was allocated; nothing here knows where blocks begin and end.
    [[nodiscard]] bool WriteAt(const uint8_t* data, int64_t size, int64_t position);
    // Exactly `size` bytes or false.
    [[nodiscard]] bool ReadAt(uint8_t* buffer, int64_t size, int64_t position) const;
    // The block may be handed out again from now on. Its owner says where it is: see Holds.
    [[nodiscard]] bool FreeBlock(int64_t size, int64_t position);
    // The block lies inside the store. One that a damaged entry names may not, and freeing
    // that would let the file grow to it.
    bool Holds(int64_t size, int64_t position) const;

    // Empties file and free list.
    [[nodiscard]] bool Reset();
    [[nodiscard]] bool DeleteFiles();
    int64_t GetStorageSize() const;
    [[nodiscard]] bool ClearFreeList();
    // Bytes of the block area; 0 when not open.
    int64_t BlockAreaSize() const;
    const CDeletedBlockManager& FreeList() const { return m_freeList; }
    std::string Path() const;

    // Puts `temporaryPath` (a complete data file) in this one's place when the bracket commits,
    // with an empty free list. The store can be used again when the bracket has ended.
    [[nodiscard]] bool ReplaceFileWith(const std::string& temporaryPath);
    // Drops a copy that did not come into its place, unless the journal may still need it.
    static void RemoveCopy(CJournal& journal, const std::string& temporaryPath);
    // A data file that opening would convert.
    static bool IsVersion1(CFileSystem& files, const std::string& path);

    bool OnBracketCommitted() override;
    bool OnBracketRolledBack() override;

private:
    [[nodiscard]] bool WriteHeader();
    [[nodiscard]] bool SaveFreeList();
    [[nodiscard]] bool DropFreeList();
    [[nodiscard]] bool OpenChecked(const std::string& path);
    [[nodiscard]] bool CheckHeader();
    [[nodiscard]] bool ConvertFromVersion1();
    void Touch();
    [[nodiscard]] bool ReopenReplaced();

    CKeelString m_path;
    CJournal& m_journal;
    CFileInterface m_file;
    mutable CReentrantLock m_lock;
    CDeletedBlockManager m_freeList;
    bool m_keepFreeList = true;
    bool m_freeListChanged = false;  // since it was saved or loaded
    bool m_touched = false;          // in the open bracket
    bool m_replacing = false;        // the file changes when the bracket commits
    bool m_changedBefore = false;    // m_freeListChanged when the bracket began
};

}  // namespace quillon
