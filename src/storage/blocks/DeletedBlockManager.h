#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "foundation/FileInterface.h"
#include "foundation/ReentrantLock.h"
#include "storage/blocks/FreeListFormat.h"

namespace quillon {

// The free list of one data store: blocks by ascending size; among equal sizes the
// most recently freed comes first. Neighbouring blocks are never merged.
//
//   Errors   false; std::bad_alloc, with the list as it was.
//   Threads  Each public call holds the list's own CReentrantLock. Its store calls it under the
//            store's lock, and nothing here calls back.
class CDeletedBlockManager {
public:
    explicit CDeletedBlockManager(CFileSystem& files) : m_files(files) {}

    void SetPath(const std::string& path);
    const std::string& Path() const { return m_path; }

    // A missing or invalid file leaves the list empty and gives false. Blocks that do not lie
    // inside the first `dataSize` bytes of the store make a file invalid.
    bool Load(int64_t dataSize);
    // Writes the list; an empty one deletes the file. False: no path, or the file cannot be
    // made, written or deleted.
    [[nodiscard]] bool Save();
    void Clear();

    bool Add(int64_t position, int64_t size);
    // Best fit, split from the front: the rest stays free. False: nothing large enough.
    bool Take(int64_t size, int64_t& position);

    int32_t Count() const;
    int64_t GetFileSize() const;
    // Smallest first.
    void Walk(const std::function<void(const DeletedBlockEntry&)>& visit) const;

    // --- brackets: changes since the mark can be taken back.
    void Mark();
    void ForgetMark();
    // Throws std::bad_alloc with the rest still to be undone.
    void UndoToMark();

private:
    enum class Step : uint8_t { Added, Removed };
    struct Undo {
        Step step;
        DeletedBlockEntry block;
    };

    void ReserveUndo(size_t steps);
    void Push(const DeletedBlockEntry& block);
    void Pop(std::map<int64_t, std::vector<int64_t>>::iterator bucket);
    // The file on disk is about to list blocks that are in use again: remove it.
    bool DropStaleFile();

    CFileSystem& m_files;
    mutable CReentrantLock m_lock;
    std::string m_path;
    bool m_fileMayExist = true;
    std::map<int64_t, std::vector<int64_t>> m_bySize;  // size -> positions, last freed at the back
    int32_t m_count = 0;
    bool m_marked = false;
    std::vector<Undo> m_undo;
};

}  // namespace quillon
