#include "storage/blocks/BLOBManager.h"

#include "storage/blocks/TextManager.h"
#include "storage/journal/Journal.h"

namespace quillon {

CBLOBManager::CBLOBManager(CJournal& journal)
    : m_journal(journal), m_dictionary(journal), m_data(journal) {}

void CBLOBManager::SetBasePath(const std::string& base) {
    const CLockScope lock(m_lock);
    m_dictionary.SetPath(CKeelString(WithSuffix(base, "_blobdict")));
    m_data.SetPath(CKeelString(WithSuffix(base, "_blobdata")));
}

bool CBLOBManager::Open() {
    const CLockScope lock(m_lock);
    return m_dictionary.Open() && !m_dictionary.LoadFailed() && m_data.Open() && m_data.IsOpen();
}

bool CBLOBManager::Close() {
    const CLockScope lock(m_lock);
    const bool dictionary = m_dictionary.Close();
    return m_data.Close() && dictionary;
}

bool CBLOBManager::Flush() {
    const CLockScope lock(m_lock);
    return m_dictionary.Flush() && m_data.Flush();
}

bool CBLOBManager::Store(std::span<const uint8_t> bytes, int64_t& position) {
    position = 0;
    return bytes.empty() ||
           m_data.AllocateAndWrite(bytes.data(), static_cast<int64_t>(bytes.size()), position);
}

int64_t CBLOBManager::Add(std::span<const uint8_t> bytes) {
    const CLockScope lock(m_lock);
    int64_t position = 0;
    if (!Store(bytes, position)) return -1;
    return m_dictionary.Add(position, static_cast<int64_t>(bytes.size()));
}

bool CBLOBManager::Read(int64_t id, std::vector<uint8_t>& bytes) const {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry || entry->size < 0 || entry->position < 0 ||
        entry->position > m_data.BlockAreaSize() - entry->size) {
        return false;
    }
    bytes.resize(static_cast<size_t>(entry->size));
    return bytes.empty() || m_data.ReadAt(bytes.data(), entry->size, entry->position);
}

bool CBLOBManager::Replace(int64_t id, std::span<const uint8_t> bytes) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry) return false;
    const DictionaryEntry old = *entry;
    const bool held = m_data.Holds(old.size, old.position);
    int64_t position = 0;
    return Store(bytes, position) && (!held || m_data.FreeBlock(old.size, old.position)) &&
           m_dictionary.Move(id, position, static_cast<int64_t>(bytes.size()));
}

bool CBLOBManager::Delete(int64_t id) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry) return false;
    const DictionaryEntry old = *entry;
    return m_dictionary.MarkDeleted(id) &&
           (!m_data.Holds(old.size, old.position) || m_data.FreeBlock(old.size, old.position));
}

bool CBLOBManager::NeedsCompaction() const {
    const CLockScope lock(m_lock);
    return m_dictionary.NeedsCompaction() || m_data.FreeList().Count() > 0;
}

bool CBLOBManager::Compact() {
    const CLockScope lock(m_lock);
    return !NeedsCompaction() || CompactBlocks(m_journal, m_dictionary, m_data);
}

}  // namespace quillon
