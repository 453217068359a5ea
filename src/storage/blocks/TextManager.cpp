#include "storage/blocks/TextManager.h"

#include <algorithm>
#include <unordered_map>

#include "foundation/ByteCodec.h"
#include "foundation/VLStringManager.h"
#include "storage/compression/Compression.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

constexpr size_t kRecordHeader = 10;
constexpr size_t kSmallestCompressed = 33;
constexpr uint8_t kStored = 0;
constexpr uint8_t kCompressed = 1;

}  // namespace

CTextManager::CTextManager(CJournal& journal)
    : m_journal(journal), m_dictionary(journal), m_data(journal) {}

void CTextManager::SetBasePath(const std::string& base) {
    const CLockScope lock(m_lock);
    m_dictionary.SetPath(CKeelString(WithSuffix(base, "_textdict")));
    m_data.SetPath(CKeelString(WithSuffix(base, "_textdata")));
}

bool CTextManager::Open() {
    const CLockScope lock(m_lock);
    return m_dictionary.Open(CDictionaryManager::Loading::WhenNeeded) && m_data.Open() &&
           m_data.IsOpen();
}

bool CTextManager::Close() {
    const CLockScope lock(m_lock);
    const bool dictionary = m_dictionary.Close();
    return m_data.Close() && dictionary;
}

bool CTextManager::Flush() {
    const CLockScope lock(m_lock);
    return m_dictionary.Flush() && m_data.Flush();
}

bool CTextManager::Reset() {
    const CLockScope lock(m_lock);
    return m_dictionary.Reset() && m_data.Reset();
}

bool CTextManager::DeleteFiles() {
    const CLockScope lock(m_lock);
    const bool dictionary = m_dictionary.DeleteFile();
    return m_data.DeleteFiles() && dictionary;
}

std::vector<uint8_t> CTextManager::Encode(const CKeelString& text) {
    const std::vector<uint8_t> plain = CVLStringManager::Serialise(text);
    std::vector<uint8_t> record(kRecordHeader);
    StoreLE<int64_t>(record, 2, static_cast<int64_t>(plain.size()));
    std::vector<uint8_t> compressed;
    if (plain.size() >= kSmallestCompressed && Implode(plain, compressed, plain.size()) &&
        compressed.size() < plain.size()) {
        record[0] = kCompressed;
        record.insert(record.end(), compressed.begin(), compressed.end());
    } else {
        record[0] = kStored;
        record.insert(record.end(), plain.begin(), plain.end());
    }
    return record;
}

int64_t CTextManager::Add(const CKeelString& text) {
    const CLockScope lock(m_lock);
    const std::vector<uint8_t> record = Encode(text);
    const auto size = static_cast<int64_t>(record.size());
    int64_t position = 0;
    if (!m_data.AllocateAndWrite(record.data(), size, position)) return -1;
    return m_dictionary.Add(position, size);
}

bool CTextManager::Read(int64_t id, CKeelString& text) const {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    // Believe no size until the store holds it: it is allocated next.
    if (!entry || entry->size <= static_cast<int64_t>(kRecordHeader) || entry->position < 0 ||
        entry->position > m_data.BlockAreaSize() - entry->size) {
        return false;
    }
    std::vector<uint8_t> record(static_cast<size_t>(entry->size));
    if (!m_data.ReadAt(record.data(), entry->size, entry->position)) return false;
    const auto payload = std::span<const uint8_t>(record).subspan(kRecordHeader);
    const auto length = LoadLE<int64_t>(record, 2);
    if (record[0] == kStored) {
        return length == static_cast<int64_t>(payload.size()) &&
               CVLStringManager::Deserialise(payload, text);
    }
    std::vector<uint8_t> plain;
    return record[0] == kCompressed && length > 0 &&
           Explode(payload, static_cast<size_t>(length), plain) &&
           CVLStringManager::Deserialise(plain, text);
}

bool CTextManager::Replace(int64_t id, const CKeelString& text) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry) return false;
    const DictionaryEntry old = *entry;
    const std::vector<uint8_t> record = Encode(text);
    const auto size = static_cast<int64_t>(record.size());
    int64_t position = old.position;
    const bool held = m_data.Holds(old.size, old.position);
    if (held && size == old.size) return m_data.WriteAt(record.data(), size, position);
    return m_data.AllocateAndWrite(record.data(), size, position) &&
           (!held || m_data.FreeBlock(old.size, old.position)) &&
           m_dictionary.Move(id, position, size);
}

bool CTextManager::Delete(int64_t id) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_dictionary.FindLive(id);
    if (!entry) return false;
    const DictionaryEntry old = *entry;
    return m_dictionary.MarkDeleted(id) &&
           (!m_data.Holds(old.size, old.position) || m_data.FreeBlock(old.size, old.position));
}

bool CTextManager::NeedsCompaction() const {
    const CLockScope lock(m_lock);
    return m_dictionary.NeedsCompaction() || m_data.FreeList().Count() > 0;
}

bool CTextManager::Compact() {
    const CLockScope lock(m_lock);
    return !NeedsCompaction() || CompactBlocks(m_journal, m_dictionary, m_data);
}

namespace {

// Writes the live blocks one behind the other into `copy`; `places` gets the new positions.
bool CopyLiveBlocks(const CDictionaryManager& dictionary, const CDataStore& data,
                    CFileInterface& copy, std::vector<int64_t>& places) {
    constexpr size_t kWriteSize = size_t{1} << 20;
    std::vector<uint8_t> pending = CDataStore::FreshHeader();
    int64_t written = 0;
    bool copied = true;
    std::vector<uint8_t> block;
    dictionary.Walk([&](int64_t, const DictionaryEntry& entry) {
        if (entry.deleted) return true;
        const bool plausible = entry.size >= 0 && entry.position >= 0 &&
                               entry.position <= data.BlockAreaSize() - entry.size;
        block.resize(plausible ? static_cast<size_t>(entry.size) : 0);
        copied =
            plausible && (entry.size == 0 || data.ReadAt(block.data(), entry.size, entry.position));
        if (!copied) return false;
        places.push_back(written + static_cast<int64_t>(pending.size()) - CDataStore::kHeaderSize);
        pending.insert(pending.end(), block.begin(), block.end());
        if (pending.size() >= kWriteSize) {
            copied = copy.WriteAt(written, pending);
            written += static_cast<int64_t>(pending.size());
            pending.clear();
        }
        return copied;
    });
    return copied && (pending.empty() || copy.WriteAt(written, pending)) && copy.Flush();
}

}  // namespace

bool CompactBlocks(CJournal& journal, CDictionaryManager& dictionary, CDataStore& data) {
    const std::string temporaryPath = data.Path() + "_tmp";
    // No earlier group may still rename a copy of this name when the next start replays.
    if (!journal.Checkpoint()) return false;
    if (!dictionary.Load()) return false;
    std::vector<int64_t> places;
    {
        // The copy is no part of the database yet, so it need not go through the journal.
        CFileInterface copy(journal.Base());
        if (!copy.Create(temporaryPath)) return false;
        if (!CopyLiveBlocks(dictionary, data, copy, places)) {
            copy.Close();
            (void)journal.Base().Remove(temporaryPath);
            return false;
        }
    }
    CBracketScope bracket(journal);
    if (!bracket.Begun()) return false;
    size_t next = 0;
    const bool done = data.ReplaceFileWith(temporaryPath) &&
                      dictionary.CompactMoved([&](int64_t, DictionaryEntry& entry) {
                          entry.position = places[next++];
                      }) &&
                      bracket.Commit();
    if (!done) CDataStore::RemoveCopy(journal, temporaryPath);
    return done;
}

}  // namespace quillon
