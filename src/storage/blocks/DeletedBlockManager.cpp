#include "storage/blocks/DeletedBlockManager.h"

#include <algorithm>
#include <new>
#include <utility>

namespace quillon {

void CDeletedBlockManager::SetPath(const std::string& path) {
    const CLockScope lock(m_lock);
    m_path = path;
}

int32_t CDeletedBlockManager::Count() const {
    const CLockScope lock(m_lock);
    return m_count;
}

void CDeletedBlockManager::Mark() {
    const CLockScope lock(m_lock);
    m_undo.clear();
    m_marked = true;
}

void CDeletedBlockManager::ForgetMark() {
    const CLockScope lock(m_lock);
    m_undo.clear();
    m_marked = false;
}

void CDeletedBlockManager::Clear() {
    const CLockScope lock(m_lock);
    if (m_marked) {
        m_undo.reserve(m_undo.size() + static_cast<size_t>(m_count));
        // Smallest first, oldest first among equals: undoing backwards restores the order.
        for (const auto& [size, positions] : m_bySize) {
            for (auto it = positions.rbegin(); it != positions.rend(); ++it) {
                m_undo.push_back({Step::Removed, {*it, size}});
            }
        }
    }
    m_bySize.clear();
    m_count = 0;
}

// Running out of memory leaves list and undo as they were.
void CDeletedBlockManager::Push(const DeletedBlockEntry& block) {
    if (m_marked) m_undo.push_back({Step::Added, block});
    try {
        const auto bucket = m_bySize.find(block.size);
        if (bucket != m_bySize.end()) {
            bucket->second.push_back(block.position);
        } else {
            m_bySize.emplace(block.size, std::vector<int64_t>{block.position});
        }
    } catch (const std::bad_alloc&) {
        if (m_marked) m_undo.pop_back();
        throw;
    }
    ++m_count;
}

// Room for noting `steps` more changes, so that they cannot fail.
void CDeletedBlockManager::ReserveUndo(size_t steps) {
    if (!m_marked || m_undo.capacity() - m_undo.size() >= steps) return;
    m_undo.reserve(std::max(m_undo.size() + steps, 2 * m_undo.capacity()));
}

void CDeletedBlockManager::Pop(std::map<int64_t, std::vector<int64_t>>::iterator bucket) {
    if (m_marked) m_undo.push_back({Step::Removed, {bucket->second.back(), bucket->first}});
    bucket->second.pop_back();
    if (bucket->second.empty()) m_bySize.erase(bucket);
    m_count = std::max(0, m_count - 1);
}

bool CDeletedBlockManager::Add(int64_t position, int64_t size) {
    const CLockScope lock(m_lock);
    if (size <= 0 || position < 0) return false;
    Push({position, size});
    return true;
}

bool CDeletedBlockManager::Take(int64_t size, int64_t& position) {
    const CLockScope lock(m_lock);
    if (size <= 0) return false;
    const auto bucket = m_bySize.lower_bound(size);
    if (bucket == m_bySize.end() || !DropStaleFile()) return false;
    const DeletedBlockEntry block{bucket->second.back(), bucket->first};
    // Whatever takes memory comes before the block leaves the list.
    ReserveUndo(2);
    if (block.size > size) Push({block.position + size, block.size - size});
    Pop(bucket);
    position = block.position;
    return true;
}

bool CDeletedBlockManager::DropStaleFile() {
    if (!m_fileMayExist || m_path.empty()) return true;
    if (m_files.Exists(m_path) && !m_files.Remove(m_path)) return false;
    m_fileMayExist = false;
    return true;
}

void CDeletedBlockManager::UndoToMark() {
    const CLockScope lock(m_lock);
    m_marked = false;
    m_fileMayExist = true;
    while (!m_undo.empty()) {
        const Undo undo = m_undo.back();
        if (undo.step == Step::Removed) {
            Push(undo.block);
        } else {
            const auto bucket = m_bySize.find(undo.block.size);
            if (bucket != m_bySize.end()) Pop(bucket);
        }
        m_undo.pop_back();
    }
}

void CDeletedBlockManager::Walk(const std::function<void(const DeletedBlockEntry&)>& visit) const {
    const CLockScope lock(m_lock);
    for (const auto& [size, positions] : m_bySize) {
        for (auto it = positions.rbegin(); it != positions.rend(); ++it) visit({*it, size});
    }
}

int64_t CDeletedBlockManager::GetFileSize() const {
    const CLockScope lock(m_lock);
    CFileInterface file(m_files);
    if (m_path.empty() || !m_files.Exists(m_path) || !file.OpenExistingForReading(m_path)) return 0;
    return std::max<int64_t>(file.Size(), 0);
}

bool CDeletedBlockManager::Save() {
    const CLockScope lock(m_lock);
    if (m_path.empty()) return false;
    if (m_count == 0) return !m_files.Exists(m_path) || m_files.Remove(m_path);

    FreeListFile list;
    list.blocks.reserve(static_cast<size_t>(m_count));
    Walk([&](const DeletedBlockEntry& block) { list.blocks.push_back(block); });
    CFileInterface file(m_files);
    m_fileMayExist = true;
    return file.Create(m_path) && file.WriteAt(0, list.Encode());
}

bool CDeletedBlockManager::Load(int64_t dataSize) {
    const CLockScope lock(m_lock);
    Clear();
    m_fileMayExist = true;
    std::vector<uint8_t> bytes;
    FreeListFile list;
    if (m_path.empty() || !m_files.Exists(m_path) || !ReadWholeFile(m_files, m_path, bytes) ||
        !FreeListFile::Decode(bytes, dataSize, list)) {
        return false;
    }
    // Among equal sizes the first of the file is the first to be taken, so it comes last here.
    for (auto block = list.blocks.rbegin(); block != list.blocks.rend(); ++block) Push(*block);
    return true;
}

}  // namespace quillon
