// The file of CIndexManager: header, counts and records.

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "storage/index/IndexFormat.h"
#include "storage/index/IndexManager.h"
#include "storage/index/RadixSort.h"

namespace quillon {
namespace {

constexpr auto kRecordSize = static_cast<int64_t>(IndexRecord::kDiskSize);
constexpr int64_t kRecordsAChunk = 20'000;
// So few changed keys are counted faster than all keys.
constexpr size_t kFewKeys = 8;

}  // namespace

template <typename Visit>
bool CIndexManager::ScanFile(Visit visit) const {
    int64_t offset = IndexRecord::OffsetOf(1);
    int64_t remaining = m_file.Size() - offset;
    std::vector<uint8_t> chunk;
    Record record;
    while (remaining > 0) {
        chunk.resize(static_cast<size_t>(std::min(remaining, kRecordsAChunk * kRecordSize)));
        if (!m_file.ReadExactlyAt(offset, chunk)) return false;
        for (size_t at = 0; at < chunk.size(); at += IndexRecord::kDiskSize) {
            static_cast<IndexRecord&>(record) = IndexRecord::Decode(
                std::span<const uint8_t>(chunk).subspan(at, IndexRecord::kDiskSize));
            ++record.number;
            if (!visit(record)) return false;
        }
        offset += static_cast<int64_t>(chunk.size());
        remaining -= static_cast<int64_t>(chunk.size());
    }
    return true;
}

// --- the header

bool CIndexManager::SaveHeader() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    if (!m_header.stale) return true;
    int64_t distinct = 0;
    if (!CountDistinct(distinct)) return false;
    Touch();
    return WriteHeader(distinct);
}

bool CIndexManager::WriteHeader(int64_t distinct) {
    // A flag that is not the column's stays until the index is made anew: what the disk changed
    // is told of, not written over.
    const auto bytes =
        IndexHeader{
            .distinctKeys = distinct, .liveRecords = m_liveCount, .attribute = m_fileAttribute}
            .Encode();
    // Rewriting the bytes that are there already would cost a sync for nothing.
    std::array<uint8_t, IndexHeader::kDiskSize> present{};
    const bool isThere = m_file.ReadExactlyAt(0, present) && present == bytes;
    if (!isThere && !m_file.WriteAt(0, bytes)) return false;
    m_header = {.stale = false,
                .isCounted = true,
                .distinct = distinct,
                .live = m_liveCount,
                .changes = {}};
    return true;
}

IndexLoad CIndexManager::ReadHeader(HeaderState& header) const {
    std::array<uint8_t, IndexHeader::kDiskSize> bytes{};
    IndexHeader inFile;
    if (!m_file.ReadExactlyAt(0, bytes)) return IndexLoad::Damaged;
    switch (IndexHeader::Decode(bytes, m_file.Size(), inFile)) {
        case IndexHeader::DecodeResult::Ok:
            break;
        case IndexHeader::DecodeResult::Damaged:
            return IndexLoad::Damaged;
        case IndexHeader::DecodeResult::NewerVersion:
            return IndexLoad::NewerVersion;
    }
    m_fileAttribute = inFile.attribute;
    m_recordCount = inFile.records;
    // Counts that the records cannot have are not believed: keys are counted anew.
    const bool holds = 0 <= inFile.distinctKeys && inFile.distinctKeys <= inFile.liveRecords &&
                       inFile.liveRecords <= m_recordCount;
    m_liveCount = holds ? inFile.liveRecords : m_recordCount;
    header = {.stale = false,
              .isCounted = holds,
              .distinct = holds ? inFile.distinctKeys : 0,
              .live = m_liveCount,
              .changes = {}};
    return IndexLoad::Ok;
}

void CIndexManager::NoteChange(int64_t key, int64_t change) {
    m_header.stale = true;
    if (!m_header.isCounted) return;
    m_header.changes[key] += change;
    if (m_header.changes.size() <= kFewKeys) return;
    m_header.isCounted = false;
    m_header.changes.clear();
}

bool CIndexManager::CountDistinct(int64_t& distinct) const {
    if (!m_orderReady && m_header.isCounted && CountChanged(distinct)) return true;
    if (!IsReady()) return false;
    distinct = DistinctKeys();
    return true;
}

// False also where a stop left the header behind the records, as far as the counts tell.
bool CIndexManager::CountChanged(int64_t& distinct) const {
    KeyCounts now;
    for (const auto& [key, change] : m_header.changes) now.emplace_back(key, 0);
    if (!CountKeys(now)) return false;
    distinct = m_header.distinct;
    int64_t live = m_header.live;
    for (const auto& [key, count] : now) {
        const int64_t change = m_header.changes.at(key);
        live += change;
        if (count < change) return false;
        distinct += (count > 0 ? 1 : 0) - (count > change ? 1 : 0);
    }
    return live == m_liveCount;
}

bool CIndexManager::CountKeys(KeyCounts& counts) const {
    if (m_loaded) {
        std::vector<int64_t> rows;
        for (auto& [key, count] : counts) {
            rows.clear();
            (void)m_rows.CollectRange(SortValue(key), SortValue(key), rows);
            count = static_cast<int64_t>(rows.size());
        }
        return true;
    }
    m_liveCount = 0;
    return ScanFile([&](const Record& record) {
        if (record.deleted) return true;
        ++m_liveCount;
        for (auto& [key, count] : counts) count += key == record.key ? 1 : 0;
        return true;
    });
}

int64_t CIndexManager::DistinctKeys() const {
    const CLockScope lock(m_lock);
    if (!IsReady()) return 0;
    if (m_orderReady) return m_orderDistinct;
    // Counted without building the order: an import that never searches should
    // not pay for it in memory.
    std::vector<int64_t> values;
    values.reserve(static_cast<size_t>(m_liveCount));
    m_rows.Walk([&](int64_t, int64_t value, uint32_t) {
        values.push_back(value);
        return true;
    });
    RadixSort(values, [](int64_t value) { return value; });
    return std::unique(values.begin(), values.end()) - values.begin();
}

// --- the file's records

IndexLoad CIndexManager::Load() const {
    const CLockScope lock(m_lock);
    if (m_loaded) return IndexLoad::Ok;
    if (!IsOpenAgain()) return IndexLoad::Damaged;
    ForgetRecords();
    try {
        m_loaded = LoadRecords();
    } catch (const std::bad_alloc&) {
        ForgetRecords();
        throw;
    }
    if (!m_loaded) ForgetRecords();
    return m_loaded ? IndexLoad::Ok : IndexLoad::Damaged;
}

bool CIndexManager::LoadRecords() const {
    CIndexRows::CLoader loader(m_rows);
    // One live record a row.
    const bool loaded = ScanFile([&](const Record& record) {
        return record.deleted || loader.Add(record.rowId, SortValue(record.key), record.number);
    });
    if (!loaded || !loader.Finish()) return false;
    m_liveCount = m_rows.Count();
    return true;
}

bool CIndexManager::ReadRecord(uint32_t number, Record& record) const {
    std::array<uint8_t, IndexRecord::kDiskSize> bytes{};
    if (!m_file.ReadExactlyAt(IndexRecord::OffsetOf(number), bytes)) return false;
    record = {IndexRecord::Decode(bytes), number};
    return true;
}

// A row has one live record, so wherever it is come upon, it is the row's.
bool CIndexManager::FindInFile(int64_t rowId, Record& record) const {
    return IsOpenAgain() && (FindByHalving(rowId, record) || FindAtEnd(rowId, record));
}

// Rows are mostly added in ascending order and stay where they are.
bool CIndexManager::FindByHalving(int64_t rowId, Record& record) const {
    int64_t first = 1;
    int64_t last = m_recordCount;
    while (first <= last) {
        const int64_t middle = first + (last - first) / 2;
        if (!ReadRecord(static_cast<uint32_t>(middle), record)) return false;
        if (record.rowId == rowId) return !record.deleted;
        if (record.rowId < rowId) {
            first = middle + 1;
        } else {
            last = middle - 1;
        }
    }
    return false;
}

// A row that was updated lately.
bool CIndexManager::FindAtEnd(int64_t rowId, Record& record) const {
    constexpr int64_t kLatest = 1'000;
    const int64_t count = std::min(m_recordCount, kLatest);
    std::vector<uint8_t> bytes(static_cast<size_t>(count * kRecordSize));
    const auto first = static_cast<uint32_t>(m_recordCount - count + 1);
    if (count == 0 || !m_file.ReadExactlyAt(IndexRecord::OffsetOf(first), bytes)) return false;
    for (int64_t i = count; i-- > 0;) {
        const auto found = IndexRecord::Decode(
            std::span<const uint8_t>(bytes).subspan(static_cast<size_t>(i * kRecordSize)));
        if (found.rowId != rowId || found.deleted) continue;
        record = {found, first + static_cast<uint32_t>(i)};
        return true;
    }
    return false;
}

bool CIndexManager::FindsWithoutLoading(int64_t rowId) const {
    const CLockScope lock(m_lock);
    Record record;
    return m_loaded ? m_rows.Contains(rowId) : FindInFile(rowId, record);
}

bool CIndexManager::FindRecord(int64_t rowId, Record& record) const {
    if (!m_loaded && FindInFile(rowId, record)) return true;
    CIndexRows::Entry entry;
    if (!IsReady() || !m_rows.Find(rowId, entry)) return false;
    record = {{rowId, KeyOfValue(entry.value), false}, entry.record};
    return true;
}

}  // namespace quillon
