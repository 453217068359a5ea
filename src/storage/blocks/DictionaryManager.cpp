#include "storage/blocks/DictionaryManager.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include "foundation/OutOfMemory.h"
#include "storage/blocks/DictionaryFormat.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

constexpr int64_t kEntriesAChunk = 10'000;
constexpr int64_t kUnusableId = -1;
constexpr int64_t kLargestUsableId = std::numeric_limits<int64_t>::max() - 1;
constexpr auto kHeaderSize = static_cast<int64_t>(DictionaryHeader::kDiskSize);
constexpr auto kRecordSize = static_cast<int64_t>(DictionaryRecord::kDiskSize);

int64_t OffsetOf(const DictionaryEntry& entry) {
    return DictionaryRecord::OffsetOf(entry.record);
}

// As `entry` is written where it stands now.
DictionaryRecord RecordOf(int64_t id, const DictionaryEntry& entry) {
    return {.id = id,
            .fileOffset = OffsetOf(entry),
            .position = entry.position,
            .size = entry.size,
            .deleted = entry.deleted};
}

}  // namespace

CDictionaryManager::CDictionaryManager(CJournal& journal) : m_journal(journal), m_file(journal) {}

CDictionaryManager::~CDictionaryManager() {
    Close();
    m_journal.Leave(*this);
}

void CDictionaryManager::SetPath(const CKeelString& path) {
    const CLockScope lock(m_lock);
    m_path = path;
}

bool CDictionaryManager::IsOpen() const {
    const CLockScope lock(m_lock);
    return m_file.IsOpen();
}

bool CDictionaryManager::LoadFailed() const {
    const CLockScope lock(m_lock);
    return m_loadFailed;
}

int64_t CDictionaryManager::NextId() const {
    const CLockScope lock(m_lock);
    return Load() ? m_nextId : 0;
}

int64_t CDictionaryManager::LiveCount() const {
    const CLockScope lock(m_lock);
    return Load() ? m_liveCount : 0;
}

int64_t CDictionaryManager::EntryCount() const {
    const CLockScope lock(m_lock);
    return Load() ? m_recordCount : 0;
}

bool CDictionaryManager::Open(Loading loading) {
    const CLockScope lock(m_lock);
    Close();
    m_loading = loading;
    const std::string path = m_path.ToUtf8();
    if (path.empty()) return false;
    m_nextId = 0;
    m_loadFailed = false;
    if (!m_journal.Exists(path)) {
        m_loaded = true;
        return m_file.Create(path) && WriteHeader();
    }
    if (!m_file.OpenExisting(path)) return false;
    if (!ReadHeader()) {
        m_file.Close();
        return false;
    }
    if (loading == Loading::AtOnce) {
        m_loadFailed = !LoadEntries();
        m_loaded = true;
    }
    return true;
}

// Loading changes nothing but what is at hand, so that who only reads may do it.
bool CDictionaryManager::Load() const {
    const CLockScope lock(m_lock);
    if (m_loaded || !m_file.IsOpen()) return m_loaded;
    auto& self = const_cast<CDictionaryManager&>(*this);
    try {
        self.m_loadFailed = !self.LoadEntries();
    } catch (const std::bad_alloc&) {
        self.ForgetEntries();
        throw;
    }
    if (m_loadFailed) self.ForgetEntries();
    return m_loaded;
}

bool CDictionaryManager::Close() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    const bool written = !m_headerStale || FalseWhenOutOfMemory([this] { return WriteHeader(); });
    ForgetEntries();
    return m_file.Close() && written;
}

bool CDictionaryManager::Reset() {
    const CLockScope lock(m_lock);
    Touch();
    ForgetEntries();
    m_loaded = true;
    m_file.Close();
    m_nextId = 0;
    return m_file.Create(m_path.ToUtf8()) && WriteHeader();
}

bool CDictionaryManager::Flush() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    if (m_headerStale) {
        Touch();
        if (!WriteHeader()) return false;
    }
    return m_file.Flush();
}

bool CDictionaryManager::DeleteFile() {
    const CLockScope lock(m_lock);
    Close();
    const std::string path = m_path.ToUtf8();
    return !m_journal.Exists(path) || m_journal.Remove(path);
}

int64_t CDictionaryManager::GetFileSize() const {
    const CLockScope lock(m_lock);
    return std::max<int64_t>(m_file.Size(), 0);
}

bool CDictionaryManager::WriteHeader() {
    if (!m_file.WriteAt(0, DictionaryHeader{m_nextId}.Encode())) return false;
    m_headerStale = false;
    return true;
}

bool CDictionaryManager::ReadHeader() {
    std::array<uint8_t, DictionaryHeader::kDiskSize> bytes{};
    DictionaryHeader header;
    if (!m_file.ReadExactlyAt(0, bytes) || !DictionaryHeader::Decode(bytes, header)) return false;
    m_nextId = header.nextId;
    return true;
}

bool CDictionaryManager::LoadEntries(Doubled doubled) {
    ForgetEntries();
    if (!m_file.IsOpen()) return false;
    int64_t largestId = kUnusableId;
    bool duplicates = false;
    int64_t offset = kHeaderSize;
    int64_t remaining = DictionaryRecord::CountIn(m_file.Size()) * kRecordSize;
    std::vector<uint8_t> chunk;
    while (remaining > 0) {
        chunk.resize(static_cast<size_t>(std::min(remaining, kEntriesAChunk * kRecordSize)));
        if (!m_file.ReadExactlyAt(offset, chunk) || !LoadChunk(chunk, largestId, duplicates)) {
            return false;
        }
        offset += static_cast<int64_t>(chunk.size());
        remaining -= static_cast<int64_t>(chunk.size());
    }
    if (largestId >= m_nextId) {
        m_nextId = largestId + 1;
        m_headerStale = true;
    }
    m_loaded = true;
    if (!duplicates || doubled == Doubled::Failure) return !duplicates;
    CBracketScope bracket(m_journal);
    return bracket.Begun() && Compact(false) && bracket.Commit();
}

bool CDictionaryManager::LoadChunk(std::span<const uint8_t> bytes, int64_t& largestId,
                                   bool& duplicates) {
    for (; !bytes.empty(); bytes = bytes.subspan(DictionaryRecord::kDiskSize)) {
        if (m_recordCount >= std::numeric_limits<uint32_t>::max()) return false;
        ++m_recordCount;
        const DictionaryRecord record = DictionaryRecord::Decode(bytes);
        if (record.id < 0 || record.id > kLargestUsableId) continue;
        if (m_entries.Find(record.id)) {
            duplicates = true;
            continue;
        }
        largestId = std::max(largestId, record.id);
        m_entries.Insert(record.id, {record.position, record.size,
                                     static_cast<uint32_t>(m_recordCount), record.deleted});
        if (!record.deleted) ++m_liveCount;
    }
    return true;
}

int64_t CDictionaryManager::Add(int64_t position, int64_t size) {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen() || !Load()) return -1;
    const int64_t id = m_nextId;
    if (id == std::numeric_limits<int64_t>::max() || m_entries.Find(id)) return -1;
    if (!Append(id, position, size)) return -1;
    ++m_nextId;
    m_headerStale = true;
    return id;
}

bool CDictionaryManager::Append(int64_t id, int64_t position, int64_t size) {
    if (m_recordCount >= std::numeric_limits<uint32_t>::max()) return false;
    Touch();
    const DictionaryEntry entry{position, size, static_cast<uint32_t>(m_recordCount + 1), false};
    if (!m_file.WriteAt(OffsetOf(entry), RecordOf(id, entry).Encode())) return false;
    m_entries.Insert(id, entry);
    ++m_recordCount;
    ++m_liveCount;
    return true;
}

bool CDictionaryManager::Restore(int64_t id, int64_t position, int64_t size) {
    const CLockScope lock(m_lock);
    if (id < 0 || !m_file.IsOpen() || !Load() || id >= m_nextId) return false;
    DictionaryEntry* entry = m_entries.Find(id);
    if (!entry) return Append(id, position, size);
    if (!entry->deleted) return false;
    Touch();
    const DictionaryEntry live{position, size, entry->record, false};
    if (!m_file.WriteAt(OffsetOf(live), RecordOf(id, live).Encode())) return false;
    *entry = live;
    ++m_liveCount;
    return true;
}

bool CDictionaryManager::MarkDeleted(int64_t id) {
    const CLockScope lock(m_lock);
    if (id == kUnusableId || !m_file.IsOpen() || !Load()) return false;
    DictionaryEntry* entry = m_entries.Find(id);
    if (!entry) return false;
    Touch();
    const auto bytes = DictionaryRecord{.deleted = true}.Encode();
    constexpr size_t kFlag = DictionaryRecord::kDeletedAt;
    if (!m_file.WriteAt(OffsetOf(*entry) + int64_t{kFlag}, std::span(bytes).subspan(kFlag))) {
        return false;
    }
    if (!entry->deleted) m_liveCount = std::max<int64_t>(m_liveCount - 1, 0);
    entry->deleted = true;
    return true;
}

bool CDictionaryManager::Move(int64_t id, int64_t position, int64_t size) {
    const CLockScope lock(m_lock);
    DictionaryEntry* entry = Load() ? m_entries.Find(id) : nullptr;
    if (!entry || !m_file.IsOpen()) return false;
    Touch();
    const auto bytes = DictionaryRecord{.position = position, .size = size}.Encode();
    constexpr size_t kPlace = DictionaryRecord::kPlaceAt;
    if (!m_file.WriteAt(OffsetOf(*entry) + int64_t{kPlace},
                        std::span(bytes).subspan(kPlace, DictionaryRecord::kPlaceSize))) {
        return false;
    }
    entry->position = position;
    entry->size = size;
    return true;
}

const DictionaryEntry* CDictionaryManager::Find(int64_t id) const {
    const CLockScope lock(m_lock);
    return id == kUnusableId || !Load() ? nullptr : m_entries.Find(id);
}

const DictionaryEntry* CDictionaryManager::FindLive(int64_t id) const {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = Find(id);
    return entry && !entry->deleted ? entry : nullptr;
}

bool CDictionaryManager::SkipIdsBelow(int64_t id) {
    const CLockScope lock(m_lock);
    if (!Load()) return false;
    if (m_nextId >= id) return true;
    Touch();
    m_nextId = id;
    return WriteHeader();
}

bool CDictionaryManager::NeedsCompaction() const {
    const CLockScope lock(m_lock);
    return Load() && m_recordCount > 0 && m_liveCount < m_recordCount;
}

bool CDictionaryManager::Compact(bool force) {
    const CLockScope lock(m_lock);
    if (!Load()) return false;
    return (!force && !NeedsCompaction()) || Rewrite({});
}

bool CDictionaryManager::CompactMoved(
    const std::function<void(int64_t, DictionaryEntry&)>& relocate) {
    const CLockScope lock(m_lock);
    return Load() && Rewrite(relocate);
}

bool CDictionaryManager::Rewrite(const std::function<void(int64_t, DictionaryEntry&)>& relocate) {
    Touch();
    m_file.Close();
    if (!m_file.Create(m_path.ToUtf8()) || !WriteHeader()) return false;

    CEntryMap kept;
    std::vector<uint8_t> bytes;
    bytes.reserve(static_cast<size_t>(m_liveCount * kRecordSize));
    m_entries.Walk([&](int64_t id, DictionaryEntry entry) {
        if (entry.deleted) return true;
        entry.record = static_cast<uint32_t>(kept.Count() + 1);
        if (relocate) relocate(id, entry);
        const auto encoded = RecordOf(id, entry).Encode();
        bytes.insert(bytes.end(), encoded.begin(), encoded.end());
        kept.Insert(id, entry);
        return true;
    });
    if (!m_file.WriteAt(kHeaderSize, bytes)) return false;
    m_entries = std::move(kept);
    m_recordCount = m_entries.Count();
    m_liveCount = m_recordCount;
    return true;
}

void CDictionaryManager::Touch() {
    if (m_touched || !m_journal.IsAttached() || !m_journal.InBatch()) return;
    m_journal.Join(*this);
    m_touched = true;
}

void CDictionaryManager::ForgetEntries() {
    m_loaded = false;
    m_entries.Clear();
    m_liveCount = 0;
    m_recordCount = 0;
}

bool CDictionaryManager::OnBracketCommitted() {
    const CLockScope lock(m_lock);
    m_touched = false;
    return true;
}

bool CDictionaryManager::OnBracketRolledBack() {
    const CLockScope lock(m_lock);
    m_touched = false;
    ForgetEntries();
    m_loadFailed = !FalseWhenOutOfMemory([this] {
        return m_file.OpenExisting(m_path.ToUtf8()) && ReadHeader() &&
               // The bracket is over: what is written now would be a commit of its own.
               (m_loading == Loading::WhenNeeded || LoadEntries(Doubled::Failure));
    });
    if (!m_loadFailed) return true;
    // Ids out of half a map would be given twice: without the file nothing is given.
    ForgetEntries();
    m_headerStale = false;
    m_file.Close();
    // A file that the bracket made is gone with it, and nothing is amiss.
    return !m_journal.Exists(m_path.ToUtf8());
}

}  // namespace quillon
