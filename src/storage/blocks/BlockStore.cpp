#include "storage/blocks/BlockStore.h"

#include "storage/blocks/DataFormat.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

// Writes blocks one behind the other into a fresh data file, many at a time.
class CBlockWriter {
public:
    explicit CBlockWriter(CFileInterface& file) : m_file(file) {
        const auto header = DataHeader::Encode();
        m_pending.assign(header.begin(), header.end());
    }
    int64_t Position() const {
        return m_written + static_cast<int64_t>(m_pending.size() - DataHeader::kDiskSize);
    }
    [[nodiscard]] bool Add(std::span<const uint8_t> block) {
        constexpr size_t kWriteSize = size_t{1} << 20;
        m_pending.insert(m_pending.end(), block.begin(), block.end());
        return m_pending.size() < kWriteSize || WritePending();
    }
    // The copy is on the medium.
    [[nodiscard]] bool Finish() { return WritePending() && m_file.Flush(); }

private:
    bool WritePending() {
        if (!m_pending.empty() && !m_file.WriteAt(m_written, m_pending)) return false;
        m_written += static_cast<int64_t>(m_pending.size());
        m_pending.clear();
        return true;
    }

    CFileInterface& m_file;
    std::vector<uint8_t> m_pending;
    int64_t m_written = 0;
};

}  // namespace

CBlockStore::CBlockStore(CJournal& journal, const BlockFiles& files, Loading loading)
    : m_journal(journal),
      m_files(files),
      m_loading(loading),
      m_dictionary(journal),
      m_data(journal) {}

void CBlockStore::SetBasePath(const std::string& base) {
    const CLockScope lock(m_lock);
    m_dictionary.SetPath(CKeelString(m_files.Dictionary(base)));
    m_data.SetPath(CKeelString(m_files.Data(base)));
}

bool CBlockStore::Open() {
    const CLockScope lock(m_lock);
    return m_dictionary.Open(m_loading) && !m_dictionary.LoadFailed() && m_data.Open() &&
           m_data.IsOpen();
}

bool CBlockStore::Close() {
    const CLockScope lock(m_lock);
    const bool dictionary = m_dictionary.Close();
    return m_data.Close() && dictionary;
}

bool CBlockStore::Flush() {
    const CLockScope lock(m_lock);
    return m_dictionary.Flush() && m_data.Flush();
}

bool CBlockStore::Reset() {
    const CLockScope lock(m_lock);
    return m_dictionary.Reset() && m_data.Reset();
}

bool CBlockStore::DeleteFiles() {
    const CLockScope lock(m_lock);
    const bool dictionary = m_dictionary.DeleteFile();
    return m_data.DeleteFiles() && dictionary;
}

bool CBlockStore::Store(std::span<const uint8_t> bytes, int64_t& position) {
    position = 0;
    return bytes.empty() ||
           m_data.AllocateAndWrite(bytes.data(), static_cast<int64_t>(bytes.size()), position);
}

// A damaged entry may name what is not in the data file; that is not freed.
bool CBlockStore::Free(const DictionaryEntry& entry) {
    return !m_data.Holds(entry.size, entry.position) ||
           m_data.FreeBlock(entry.size, entry.position);
}

int64_t CBlockStore::Add(std::span<const uint8_t> bytes) {
    const CLockScope lock(m_lock);
    int64_t position = 0;
    if (!Store(bytes, position)) return -1;
    return m_dictionary.Add(position, static_cast<int64_t>(bytes.size()));
}

bool CBlockStore::Read(int64_t id, std::vector<uint8_t>& bytes) const {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    // Believe no size until the file holds it: it is allocated next.
    if (!entry || entry->size < 0 || entry->position < 0 ||
        entry->position > m_data.BlockAreaSize() - entry->size) {
        return false;
    }
    bytes.resize(static_cast<size_t>(entry->size));
    return bytes.empty() || m_data.ReadAt(bytes.data(), entry->size, entry->position);
}

bool CBlockStore::Replace(int64_t id, std::span<const uint8_t> bytes) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry) return false;
    const DictionaryEntry old = *entry;
    const auto size = static_cast<int64_t>(bytes.size());
    // Asked before the file grows: what a damaged entry names may lie inside it afterwards.
    const bool held = m_data.Holds(old.size, old.position);
    if (held && size == old.size) return m_data.WriteAt(bytes.data(), size, old.position);
    int64_t position = 0;
    return Store(bytes, position) && (!held || m_data.FreeBlock(old.size, old.position)) &&
           m_dictionary.Move(id, position, size);
}

bool CBlockStore::Delete(int64_t id) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry) return false;
    const DictionaryEntry old = *entry;
    return m_dictionary.MarkDeleted(id) && Free(old);
}

bool CBlockStore::NeedsCompaction() const {
    const CLockScope lock(m_lock);
    return m_dictionary.NeedsCompaction() || m_data.FreeList().Count() > 0;
}

bool CBlockStore::CopyLiveBlocks(CFileInterface& copy, std::vector<int64_t>& places) const {
    CBlockWriter writer(copy);
    bool copied = true;
    std::vector<uint8_t> block;
    m_dictionary.Walk([&](int64_t id, const DictionaryEntry& entry) {
        if (entry.deleted) return true;
        copied = Read(id, block);
        if (!copied) return false;
        places.push_back(writer.Position());
        copied = writer.Add(block);
        return copied;
    });
    return copied && writer.Finish();
}

// The copy is no part of the database yet, so it need not go through the journal.
bool CBlockStore::WriteCopy(const std::string& path, std::vector<int64_t>& places) const {
    CFileInterface copy(m_journal.Base());
    if (!copy.Create(path)) return false;
    if (CopyLiveBlocks(copy, places)) return true;
    copy.Close();
    (void)m_journal.Base().Remove(path);
    return false;
}

bool CBlockStore::Compact() {
    const CLockScope lock(m_lock);
    if (!NeedsCompaction()) return true;
    // No earlier group may still rename a copy of this name when the next start replays.
    if (!m_journal.Checkpoint() || !m_dictionary.Load()) return false;
    const std::string copyPath = CopyPath(m_data.Path());
    std::vector<int64_t> places;
    if (!WriteCopy(copyPath, places)) return false;
    CBracketScope bracket(m_journal);
    if (!bracket.Begun()) return false;
    size_t next = 0;
    const bool done = m_data.ReplaceFileWith(copyPath) &&
                      m_dictionary.CompactMoved([&](int64_t, DictionaryEntry& entry) {
                          entry.position = places[next++];
                      }) &&
                      bracket.Commit();
    if (!done) CDataStore::RemoveCopy(m_journal, copyPath);
    return done;
}

}  // namespace quillon
