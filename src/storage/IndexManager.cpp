#include "storage/IndexManager.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "foundation/ByteCodec.h"
#include "foundation/OutOfMemory.h"
#include "storage/Journal.h"
#include "storage/RadixSort.h"

namespace quillon {
namespace {

constexpr int32_t kVersion = 1;
constexpr int64_t kHeaderSize = 72;
constexpr int64_t kRecordSize = 20;
constexpr int64_t kRecordsAChunk = 20'000;
constexpr std::string_view kSignature = "Index";

void EncodeRecord(std::span<uint8_t> bytes, int64_t rowId, int64_t key) {
    StoreLE<int64_t>(bytes, 0, rowId);
    StoreLE<int64_t>(bytes, 8, key);
    StoreLE<int32_t>(bytes, 16, 0);
}

int64_t OffsetOf(uint32_t record) {
    return kHeaderSize + kRecordSize * (static_cast<int64_t>(record) - 1);
}

}  // namespace

CIndexManager::CIndexManager(CJournal& journal, ColumnType type, bool attribute)
    : m_journal(journal), m_file(journal), m_type(type), m_attribute(attribute) {}

CIndexManager::~CIndexManager() {
    Close();
    m_journal.Leave(*this);
}

bool CIndexManager::Create(const std::string& path) {
    const CLockScope lock(m_lock);
    Touch();
    Close();
    m_path = path;
    ResetMemory();
    m_fileAttribute = m_attribute;
    return m_file.Create(path) && WriteHeader();
}

bool CIndexManager::Open(const std::string& path) {
    const CLockScope lock(m_lock);
    Close();
    m_path = path;
    if (m_file.OpenExisting(path) && ReadHeader() && Load()) return true;
    m_file.Close();
    ResetMemory();
    return false;
}

bool CIndexManager::Close() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    const bool written = !m_headerStale || FalseWhenOutOfMemory([this] { return WriteHeader(); });
    ResetMemory();
    return m_file.Close() && written;
}

bool CIndexManager::Flush() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    if (!m_headerStale) return true;
    Touch();
    return WriteHeader();
}

bool CIndexManager::DeleteFile() {
    const CLockScope lock(m_lock);
    m_headerStale = false;
    Close();
    return !m_journal.Exists(m_path) || m_journal.Remove(m_path);
}

bool CIndexManager::NeedsCompaction() const {
    const CLockScope lock(m_lock);
    return m_recordCount > m_liveCount;
}

bool CIndexManager::AttributeInFile() const {
    const CLockScope lock(m_lock);
    return m_fileAttribute;
}

int64_t CIndexManager::Count() const {
    const CLockScope lock(m_lock);
    return m_liveCount;
}

void CIndexManager::ResetMemory() {
    m_entries.Clear();
    m_order.Clear();
    m_orderReady = false;
    m_recordCount = 0;
    m_liveCount = 0;
    m_headerStale = false;
}

bool CIndexManager::WriteHeader() {
    std::vector<uint8_t> bytes(static_cast<size_t>(kHeaderSize));
    StoreText(bytes, 0, 50, kSignature);
    StoreLE<int32_t>(bytes, 50, kVersion);
    StoreLE<int64_t>(bytes, 54, DistinctKeys());
    StoreLE<int64_t>(bytes, 62, m_liveCount);
    StoreLE<uint16_t>(bytes, 70, m_attribute ? 1 : 0);
    if (!m_file.WriteAt(0, bytes)) return false;
    m_headerStale = false;
    return true;
}

bool CIndexManager::ReadHeader() {
    std::vector<uint8_t> bytes(static_cast<size_t>(kHeaderSize));
    if (!m_file.ReadExactlyAt(0, bytes) || !HasSignature(bytes, kSignature)) return false;
    m_fileAttribute = LoadLE<uint16_t>(bytes, 70) != 0;
    return LoadLE<int32_t>(bytes, 50) < 2;
}

bool CIndexManager::Load() {
    ResetMemory();
    int64_t offset = kHeaderSize;
    int64_t remaining = m_file.Size() - kHeaderSize;
    if (remaining % kRecordSize != 0) return false;
    std::vector<uint8_t> chunk;
    while (remaining > 0) {
        chunk.resize(static_cast<size_t>(std::min(remaining, kRecordsAChunk * kRecordSize)));
        if (!m_file.ReadExactlyAt(offset, chunk) || !LoadChunk(chunk, m_recordCount + 1)) {
            return false;
        }
        offset += static_cast<int64_t>(chunk.size());
        remaining -= static_cast<int64_t>(chunk.size());
    }
    return true;
}

bool CIndexManager::LoadChunk(std::span<const uint8_t> bytes, int64_t firstRecord) {
    const auto count = static_cast<int64_t>(bytes.size()) / kRecordSize;
    if (firstRecord + count > std::numeric_limits<uint32_t>::max()) return false;
    for (int64_t i = 0; i < count; ++i) {
        const auto at = static_cast<size_t>(i * kRecordSize);
        if (LoadLE<int32_t>(bytes, at + 16) != 0) continue;
        const auto rowId = LoadLE<int64_t>(bytes, at);
        if (m_entries.Find(rowId)) return false;  // one live record a row
        m_entries.Insert(rowId,
                         {LoadLE<int64_t>(bytes, at + 8), static_cast<uint32_t>(firstRecord + i)});
        ++m_liveCount;
    }
    m_recordCount += count;
    return true;
}

bool CIndexManager::Compact() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    Touch();
    CRowMap<Entry> kept;
    std::vector<uint8_t> bytes(static_cast<size_t>(m_liveCount * kRecordSize));
    size_t at = 0;
    m_entries.Walk([&](int64_t rowId, const Entry& entry) {
        EncodeRecord(std::span(bytes).subspan(at), rowId, entry.key);
        at += static_cast<size_t>(kRecordSize);
        kept.Insert(rowId, {entry.key, static_cast<uint32_t>(kept.Count() + 1)});
        return true;
    });
    m_entries = std::move(kept);
    m_recordCount = m_liveCount;
    m_file.Close();
    return m_file.Create(m_path) && WriteHeader() && m_file.WriteAt(kHeaderSize, bytes);
}

bool CIndexManager::AppendRecord(int64_t rowId, int64_t key) {
    if (m_recordCount >= std::numeric_limits<uint32_t>::max()) return false;
    std::array<uint8_t, kRecordSize> bytes{};
    EncodeRecord(bytes, rowId, key);
    const auto record = static_cast<uint32_t>(m_recordCount + 1);
    if (!m_file.WriteAt(OffsetOf(record), bytes)) return false;
    ++m_recordCount;
    m_entries.Insert(rowId, {key, record});
    ++m_liveCount;
    m_headerStale = true;
    return true;
}

bool CIndexManager::MarkRecordDeleted(uint32_t record) {
    std::array<uint8_t, 4> flag{};
    StoreLE<int32_t>(flag, 0, 1);
    return m_file.WriteAt(OffsetOf(record) + 16, flag);
}

bool CIndexManager::Add(int64_t rowId, int64_t key) {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen() || m_entries.Find(rowId)) return false;
    Touch();
    if (!AppendRecord(rowId, key)) return false;
    NoteInserted(rowId, key);
    return true;
}

bool CIndexManager::Remove(int64_t rowId) {
    const CLockScope lock(m_lock);
    const Entry* found = m_entries.Find(rowId);
    if (!found || !m_file.IsOpen()) return false;
    const Entry entry = *found;
    Touch();
    if (!MarkRecordDeleted(entry.record)) return false;
    NoteErased(rowId, entry.key);
    m_entries.Erase(rowId);
    --m_liveCount;
    m_headerStale = true;
    return true;
}

bool CIndexManager::Update(int64_t rowId, int64_t key) {
    const CLockScope lock(m_lock);
    const Entry* entry = m_entries.Find(rowId);
    if (entry && entry->key == key) return true;
    return (!entry || Remove(rowId)) && Add(rowId, key);
}

int64_t CIndexManager::SortValue(int64_t key) const {
    // Doubles by magnitude within their sign: flipping the lower bits of negative
    // ones makes their bits sort as their values do.
    if (m_type != ColumnType::Double || key >= 0) return key;
    return key ^ std::numeric_limits<int64_t>::max();
}

int64_t CIndexManager::SortValueOf(int64_t rowId) const {
    const Entry* entry = m_entries.Find(rowId);
    return SortValue(entry ? entry->key : 0);
}

void CIndexManager::MakeOrdered() const {
    if (m_orderReady) return;
    std::vector<std::pair<int64_t, int64_t>> sorted;
    sorted.reserve(static_cast<size_t>(m_liveCount));
    m_entries.Walk([&](int64_t rowId, const Entry& entry) {
        sorted.emplace_back(SortValue(entry.key), rowId);
        return true;
    });
    // By row id first: the map gives ids of foreign files last.
    const auto byRow = [](const auto& a, const auto& b) { return a.second < b.second; };
    if (!std::is_sorted(sorted.begin(), sorted.end(), byRow)) {
        std::sort(sorted.begin(), sorted.end(), byRow);
    }
    RadixSort(sorted, [](const std::pair<int64_t, int64_t>& item) { return item.first; });
    m_order.Build(sorted);
    m_distinct = 0;
    for (size_t i = 0; i < sorted.size(); ++i) {
        if (i == 0 || sorted[i].first != sorted[i - 1].first) ++m_distinct;
    }
    m_orderReady = true;
}

int64_t CIndexManager::DistinctKeys() const {
    const CLockScope lock(m_lock);
    if (m_orderReady) return m_distinct;
    // Counted without building the order: an import that never searches should
    // not pay for it in memory.
    std::vector<int64_t> keys;
    keys.reserve(static_cast<size_t>(m_liveCount));
    m_entries.Walk([&](int64_t, const Entry& entry) {
        keys.push_back(entry.key);
        return true;
    });
    RadixSort(keys, [](int64_t value) { return value; });
    return std::unique(keys.begin(), keys.end()) - keys.begin();
}

bool CIndexManager::HasNeighbourOfSameKey(int64_t rowId, int64_t key) const {
    const auto valueOf = [this](int64_t row) { return SortValueOf(row); };
    const int64_t value = SortValue(key);
    auto at = m_order.LowerBound(value, std::numeric_limits<int64_t>::min(), valueOf);
    if (at != m_order.End() && m_order.At(at) == rowId) at = m_order.Next(at);
    return at != m_order.End() && SortValueOf(m_order.At(at)) == value;
}

void CIndexManager::NoteInserted(int64_t rowId, int64_t key) {
    if (!m_orderReady) return;
    if (!HasNeighbourOfSameKey(rowId, key)) ++m_distinct;
    m_order.Insert(SortValue(key), rowId, [this](int64_t row) { return SortValueOf(row); });
}

// Called while the row's entry is still in the map.
void CIndexManager::NoteErased(int64_t rowId, int64_t key) {
    if (!m_orderReady) return;
    if (!HasNeighbourOfSameKey(rowId, key)) --m_distinct;
    m_order.Erase(SortValue(key), rowId, [this](int64_t row) { return SortValueOf(row); });
}

int64_t CIndexManager::FileSize() const {
    const CLockScope lock(m_lock);
    return std::max<int64_t>(m_file.Size(), 0);
}

bool CIndexManager::KeyOf(int64_t rowId, int64_t& key) const {
    const CLockScope lock(m_lock);
    const Entry* entry = m_entries.Find(rowId);
    if (!entry) return false;
    key = entry->key;
    return true;
}

void CIndexManager::CollectEqual(int64_t key, std::vector<int64_t>& rows) const {
    CollectRange(key, key, rows);
}

int64_t CIndexManager::CountEqual(int64_t key) const {
    return CountRange(key, key);
}

void CIndexManager::Between(int64_t lowest, int64_t highest, COrderedRows::Position& from,
                            COrderedRows::Position& to) const {
    MakeOrdered();
    const auto valueOf = [this](int64_t row) { return SortValueOf(row); };
    constexpr int64_t kFirstRow = std::numeric_limits<int64_t>::min();
    const int64_t end = SortValue(highest);
    from = m_order.LowerBound(SortValue(lowest), kFirstRow, valueOf);
    to = end == std::numeric_limits<int64_t>::max()
             ? m_order.End()
             : m_order.LowerBound(end + 1, kFirstRow, valueOf);
}

void CIndexManager::CollectRange(int64_t lowest, int64_t highest,
                                 std::vector<int64_t>& rows) const {
    const CLockScope lock(m_lock);
    if (SortValue(lowest) > SortValue(highest)) return;
    COrderedRows::Position from;
    COrderedRows::Position to;
    Between(lowest, highest, from, to);
    m_order.Append(from, to, rows);
}

int64_t CIndexManager::CountRange(int64_t lowest, int64_t highest) const {
    const CLockScope lock(m_lock);
    if (SortValue(lowest) > SortValue(highest)) return 0;
    COrderedRows::Position from;
    COrderedRows::Position to;
    Between(lowest, highest, from, to);
    return m_order.CountBetween(from, to);
}

void CIndexManager::Walk(const std::function<bool(int64_t key, int64_t rowId)>& visit) const {
    const CLockScope lock(m_lock);
    m_entries.Walk([&](int64_t rowId, const Entry& entry) { return visit(entry.key, rowId); });
}

void CIndexManager::Touch() {
    if (m_touched || !m_journal.IsAttached() || !m_journal.InBracket()) return;
    m_journal.Join(*this);
    m_touched = true;
}

bool CIndexManager::OnBracketCommitted() {
    const CLockScope lock(m_lock);
    m_touched = false;
    return true;
}

bool CIndexManager::OnBracketRolledBack() {
    const CLockScope lock(m_lock);
    m_touched = false;
    m_headerStale = FalseWhenOutOfMemory(
        [this] { return m_file.OpenExisting(m_path) && ReadHeader() && Load(); });
    if (m_headerStale) return true;
    // It stays closed and matches nothing.
    ResetMemory();
    m_file.Close();
    // A file that the bracket made is gone with it, and nothing is amiss.
    return !m_journal.Exists(m_path);
}

}  // namespace quillon
