#include "storage/index/IndexManager.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

#include "foundation/ByteCodec.h"
#include "foundation/OutOfMemory.h"
#include "storage/index/RadixSort.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

constexpr int32_t kVersion = 1;
constexpr int64_t kHeaderSize = 72;
constexpr int64_t kRecordSize = 20;
constexpr int64_t kRecordsAChunk = 20'000;
constexpr std::string_view kSignature = "Index";
constexpr int64_t kBytesAPage = 64;  // of which an estimate looks at one line
// So few changed keys are counted faster than all keys.
constexpr size_t kFewKeys = 8;

// Most dates are days and most doubles money.
Packing PackingOf(ColumnType type) {
    if (type == ColumnType::DateTime) return Packing::Days;
    return type == ColumnType::Double ? Packing::Cents : Packing::Plain;
}

int64_t OffsetOf(uint32_t record) {
    return kHeaderSize + kRecordSize * (static_cast<int64_t>(record) - 1);
}

}  // namespace

CIndexManager::CIndexManager(CJournal& journal, ColumnType type, bool attribute)
    : m_journal(journal),
      m_file(journal),
      m_type(type),
      m_attribute(attribute),
      m_rows(PackingOf(type)) {}

CIndexManager::~CIndexManager() {
    Close();
    m_journal.Leave(*this);
}

bool CIndexManager::Create(const std::string& path) {
    const CLockScope lock(m_lock);
    Touch();
    m_header = {};  // of what goes now
    Close();
    m_path = path;
    m_inUse = true;
    m_loaded = true;
    m_header.isCounted = true;
    m_fileAttribute = m_attribute;
    return m_file.Create(path) && WriteHeader(0);
}

IndexLoad CIndexManager::Open(const std::string& path) {
    const CLockScope lock(m_lock);
    Close();
    m_path = path;
    const IndexLoad opened = OpenFile(m_header);
    m_inUse = opened == IndexLoad::Ok;
    return opened;
}

IndexLoad CIndexManager::OpenFile(HeaderState& header) const {
    const IndexLoad opened = m_file.OpenExisting(m_path) ? ReadHeader(header) : IndexLoad::Damaged;
    if (opened != IndexLoad::Ok) m_file.Close();
    return opened;
}

// After a roll back the disk may not have given the file; it may give it now.
bool CIndexManager::IsOpenAgain() const {
    HeaderState inFile;  // behind what m_header knows
    return m_file.IsOpen() || (m_inUse && OpenFile(inFile) == IndexLoad::Ok);
}

bool CIndexManager::Close() {
    const CLockScope lock(m_lock);
    m_inUse = false;
    if (!m_file.IsOpen()) return false;
    // Counts of records that cannot be read are left as they are.
    const bool written = FalseWhenOutOfMemory([this] { return SaveHeader(); });
    ForgetRecords();
    m_recordCount = 0;
    m_header = {};
    return m_file.Close() && written;
}

bool CIndexManager::DeleteFile() {
    const CLockScope lock(m_lock);
    m_header = {};
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

bool CIndexManager::IsLoaded() const {
    const CLockScope lock(m_lock);
    return m_loaded;
}

void CIndexManager::ForgetRecords() const {
    m_loaded = false;
    m_rows.Clear();
    m_order.Clear();
    m_orderReady = false;
    m_looked = 0;
    m_liveCount = 0;
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
    std::vector<uint8_t> bytes(static_cast<size_t>(kHeaderSize));
    StoreText(bytes, 0, 50, kSignature);
    StoreLE<int32_t>(bytes, 50, kVersion);
    StoreLE<int64_t>(bytes, 54, distinct);
    StoreLE<int64_t>(bytes, 62, m_liveCount);
    StoreLE<uint16_t>(bytes, 70, m_attribute ? 1 : 0);
    // Rewriting the bytes that are there already would cost a sync for nothing.
    std::vector<uint8_t> present(bytes.size());
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
    std::vector<uint8_t> bytes(static_cast<size_t>(kHeaderSize));
    if (!m_file.ReadExactlyAt(0, bytes) || !HasSignature(bytes, kSignature)) {
        return IndexLoad::Damaged;
    }
    if (LoadLE<int32_t>(bytes, 50) > kVersion) return IndexLoad::NewerVersion;
    const int64_t records = m_file.Size() - kHeaderSize;
    if (records % kRecordSize != 0 || records / kRecordSize > UINT32_MAX) {
        return IndexLoad::Damaged;
    }
    m_fileAttribute = LoadLE<uint16_t>(bytes, 70) != 0;
    m_recordCount = records / kRecordSize;
    m_liveCount = LoadLE<int64_t>(bytes, 62);
    header = {.stale = false,
              .isCounted = true,
              .distinct = LoadLE<int64_t>(bytes, 54),
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
    std::vector<std::pair<int64_t, int64_t>> found;  // key, how often it is there now
    for (const auto& [key, change] : m_header.changes) found.emplace_back(key, 0);
    if (m_loaded) {
        std::vector<int64_t> rows;
        for (auto& [key, count] : found) {
            rows.clear();
            (void)m_rows.CollectRange(SortValue(key), SortValue(key), rows);
            count = static_cast<int64_t>(rows.size());
        }
    } else {
        m_liveCount = 0;
        const bool scanned = ScanFile([&](const Record& record) {
            if (record.deleted) return true;
            ++m_liveCount;
            for (auto& [key, count] : found) count += key == record.key ? 1 : 0;
            return true;
        });
        if (!scanned) return false;
    }
    distinct = m_header.distinct;
    int64_t live = m_header.live;
    for (const auto& [key, count] : found) {
        const int64_t change = m_header.changes.at(key);
        live += change;
        if (count < change) return false;
        distinct += (count > 0 ? 1 : 0) - (count > change ? 1 : 0);
    }
    return live == m_liveCount;
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

template <typename Visit>
bool CIndexManager::ScanFile(Visit visit) const {
    int64_t offset = kHeaderSize;
    int64_t remaining = m_file.Size() - kHeaderSize;
    std::vector<uint8_t> chunk;
    Record record;
    while (remaining > 0) {
        chunk.resize(static_cast<size_t>(std::min(remaining, kRecordsAChunk * kRecordSize)));
        if (!m_file.ReadExactlyAt(offset, chunk)) return false;
        for (size_t at = 0; at < chunk.size(); at += static_cast<size_t>(kRecordSize)) {
            const auto bytes = std::span<const uint8_t>(chunk).subspan(at, kRecordSize);
            record.rowId = LoadLE<int64_t>(bytes, 0);
            record.key = LoadLE<int64_t>(bytes, 8);
            record.deleted = LoadLE<int32_t>(bytes, 16) != 0;
            ++record.number;
            if (!visit(record)) return false;
        }
        offset += static_cast<int64_t>(chunk.size());
        remaining -= static_cast<int64_t>(chunk.size());
    }
    return true;
}

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
    std::array<uint8_t, kRecordSize> bytes{};
    if (!m_file.ReadExactlyAt(OffsetOf(number), bytes)) return false;
    record = {LoadLE<int64_t>(bytes, 0), LoadLE<int64_t>(bytes, 8), number,
              LoadLE<int32_t>(bytes, 16) != 0};
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
    if (count == 0 || !m_file.ReadExactlyAt(OffsetOf(first), bytes)) return false;
    for (int64_t i = count; i-- > 0;) {
        const auto at = static_cast<size_t>(i * kRecordSize);
        if (LoadLE<int64_t>(bytes, at) != rowId || LoadLE<int32_t>(bytes, at + 16) != 0) continue;
        record = {rowId, LoadLE<int64_t>(bytes, at + 8), first + static_cast<uint32_t>(i), false};
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
    record = {rowId, KeyOfValue(entry.value), entry.record, false};
    return true;
}

// --- changes

bool CIndexManager::Compact() {
    const CLockScope lock(m_lock);
    if (!IsReady()) return false;
    Touch();
    CIndexRows kept(PackingOf(m_type));
    std::vector<uint8_t> bytes(static_cast<size_t>(m_liveCount * kRecordSize));
    size_t at = 0;
    m_rows.Walk([&](int64_t rowId, int64_t value, uint32_t) {
        StoreLE<int64_t>(bytes, at, rowId);
        StoreLE<int64_t>(bytes, at + 8, KeyOfValue(value));
        StoreLE<int32_t>(bytes, at + 16, 0);
        at += static_cast<size_t>(kRecordSize);
        kept.Insert(rowId, value, static_cast<uint32_t>(kept.Count() + 1));
        return true;
    });
    kept.Pack();
    int64_t distinct = 0;
    if (!CountDistinct(distinct)) return false;
    m_rows = std::move(kept);
    m_recordCount = m_liveCount;
    m_file.Close();
    return m_file.Create(m_path) && WriteHeader(distinct) && m_file.WriteAt(kHeaderSize, bytes);
}

bool CIndexManager::AppendRecord(int64_t rowId, int64_t key) {
    if (m_recordCount >= std::numeric_limits<uint32_t>::max()) return false;
    std::array<uint8_t, kRecordSize> bytes{};
    StoreLE<int64_t>(bytes, 0, rowId);
    StoreLE<int64_t>(bytes, 8, key);
    const auto record = static_cast<uint32_t>(m_recordCount + 1);
    if (!m_file.WriteAt(OffsetOf(record), bytes)) return false;
    ++m_recordCount;
    NoteChange(key, 1);
    if (m_loaded) {
        m_rows.Insert(rowId, SortValue(key), record);
        NoteInserted(rowId, key);
    }
    ++m_liveCount;
    return true;
}

bool CIndexManager::MarkRecordDeleted(const Record& record) {
    std::array<uint8_t, 4> flag{};
    StoreLE<int32_t>(flag, 0, 1);
    if (!m_file.WriteAt(OffsetOf(record.number) + 16, flag)) return false;
    NoteChange(record.key, -1);
    if (m_loaded) {
        NoteErased(record.rowId, record.key);
        m_rows.Erase(record.rowId);
    }
    --m_liveCount;
    return true;
}

bool CIndexManager::Add(int64_t rowId, int64_t key) {
    const CLockScope lock(m_lock);
    return IsReady() && AddNew(rowId, key);
}

bool CIndexManager::AddNew(int64_t rowId, int64_t key) {
    const CLockScope lock(m_lock);
    if (!IsOpenAgain() || m_rows.Contains(rowId)) return false;
    Touch();
    return AppendRecord(rowId, key);
}

bool CIndexManager::Remove(int64_t rowId) {
    const CLockScope lock(m_lock);
    Record record;
    if (!FindRecord(rowId, record)) return false;
    Touch();
    return MarkRecordDeleted(record);
}

bool CIndexManager::Update(int64_t rowId, int64_t key) {
    const CLockScope lock(m_lock);
    Record record;
    if (!FindRecord(rowId, record)) return Add(rowId, key);
    if (record.key == key) return true;
    Touch();
    return MarkRecordDeleted(record) && AppendRecord(rowId, key);
}

void CIndexManager::Touch() {
    if (m_touched || !m_journal.IsAttached() || !m_journal.InBracket()) return;
    m_headerBefore = m_header;
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
    ForgetRecords();
    m_header = std::exchange(m_headerBefore, {});
    // What the file holds now is loaded when it is asked for, and it is opened then if the
    // disk does not give it now. One that the bracket made is gone with it.
    m_file.Close();
    (void)FalseWhenOutOfMemory([this] { return IsOpenAgain(); });
    return true;
}

// --- searches

int64_t CIndexManager::SortValue(int64_t key) const {
    // Doubles by magnitude within their sign: flipping the lower bits of negative
    // ones makes their bits sort as their values do. Doing it twice undoes it.
    return m_type == ColumnType::Double ? packing::SortedBits(key) : key;
}

int64_t CIndexManager::ValueOf(int64_t rowId) const {
    int64_t value = 0;
    return m_rows.FindValue(rowId, value) ? value : 0;
}

bool CIndexManager::OrderPays() const {
    return m_orderReady || m_looked >= m_sortAfter * m_liveCount;
}

void CIndexManager::MakeOrdered() const {
    if (m_orderReady) return;
    std::vector<std::pair<int64_t, int64_t>> sorted;
    sorted.reserve(static_cast<size_t>(m_liveCount));
    m_rows.Walk([&](int64_t rowId, int64_t value, uint32_t) {
        sorted.emplace_back(value, rowId);
        return true;
    });
    RadixSort(sorted, [](const std::pair<int64_t, int64_t>& item) { return item.first; });
    m_order.Build(sorted);
    m_orderDistinct = 0;
    for (size_t i = 0; i < sorted.size(); ++i) {
        if (i == 0 || sorted[i].first != sorted[i - 1].first) ++m_orderDistinct;
    }
    m_orderReady = true;
}

bool CIndexManager::HasNeighbourOfSameKey(int64_t rowId, int64_t key) const {
    const auto valueOf = [this](int64_t row) { return ValueOf(row); };
    const int64_t value = SortValue(key);
    auto at = m_order.LowerBound(value, std::numeric_limits<int64_t>::min(), valueOf);
    if (at != m_order.End() && m_order.At(at) == rowId) at = m_order.Next(at);
    return at != m_order.End() && ValueOf(m_order.At(at)) == value;
}

void CIndexManager::NoteInserted(int64_t rowId, int64_t key) {
    if (!m_orderReady) return;
    if (!HasNeighbourOfSameKey(rowId, key)) ++m_orderDistinct;
    m_order.Insert(SortValue(key), rowId, [this](int64_t row) { return ValueOf(row); });
}

// Called while the row's entry is still in the map.
void CIndexManager::NoteErased(int64_t rowId, int64_t key) {
    if (!m_orderReady) return;
    if (!HasNeighbourOfSameKey(rowId, key)) --m_orderDistinct;
    m_order.Erase(SortValue(key), rowId, [this](int64_t row) { return ValueOf(row); });
}

int64_t CIndexManager::FileSize() const {
    const CLockScope lock(m_lock);
    return std::max<int64_t>(m_file.Size(), 0);
}

int64_t CIndexManager::Count() const {
    const CLockScope lock(m_lock);
    return IsReady() ? m_liveCount : 0;
}

bool CIndexManager::KeyOf(int64_t rowId, int64_t& key) const {
    const CLockScope lock(m_lock);
    int64_t value = 0;
    if (!IsReady() || !m_rows.FindValue(rowId, value)) return false;
    key = KeyOfValue(value);
    return true;
}

bool CIndexManager::KeysOf(std::span<const int64_t> rows, std::vector<int64_t>& keys) const {
    const CLockScope lock(m_lock);
    keys.clear();
    if (!IsReady()) return false;
    keys.reserve(rows.size());
    for (const int64_t rowId : rows) {
        int64_t value = 0;
        if (!m_rows.FindValue(rowId, value)) return false;
        keys.push_back(KeyOfValue(value));
    }
    return true;
}

void CIndexManager::CollectEqual(int64_t key, std::vector<int64_t>& rows) const {
    CollectRange(key, key, rows);
}

int64_t CIndexManager::EstimateEqual(int64_t key) const {
    return EstimateRange(key, key);
}

void CIndexManager::Between(int64_t lowest, int64_t highest, COrderedRows::Position& from,
                            COrderedRows::Position& to) const {
    const auto valueOf = [this](int64_t row) { return ValueOf(row); };
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
    if (SortValue(lowest) > SortValue(highest) || !IsReady()) return;
    if (!OrderPays()) {
        m_looked += m_rows.CollectRange(SortValue(lowest), SortValue(highest), rows);
        return;
    }
    MakeOrdered();
    COrderedRows::Position from;
    COrderedRows::Position to;
    Between(lowest, highest, from, to);
    m_order.Append(from, to, rows);
}

int64_t CIndexManager::EstimateRange(int64_t lowest, int64_t highest) const {
    const CLockScope lock(m_lock);
    if (SortValue(lowest) > SortValue(highest) || !IsReady()) return 0;
    if (!m_orderReady) {
        m_looked += m_rows.PageCount() * kBytesAPage;
        return m_rows.AtMostInRange(SortValue(lowest), SortValue(highest));
    }
    COrderedRows::Position from;
    COrderedRows::Position to;
    Between(lowest, highest, from, to);
    return m_order.CountBetween(from, to);
}

void CIndexManager::Walk(const std::function<bool(int64_t key, int64_t rowId)>& visit) const {
    const CLockScope lock(m_lock);
    if (!IsReady()) return;
    m_rows.Walk(
        [&](int64_t rowId, int64_t value, uint32_t) { return visit(KeyOfValue(value), rowId); });
}

}  // namespace quillon
