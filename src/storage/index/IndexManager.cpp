#include "storage/index/IndexManager.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

#include "foundation/OutOfMemory.h"
#include "storage/index/IndexFormat.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

// Most dates are days and most doubles money.
Packing PackingOf(ColumnType type) {
    if (type == ColumnType::DateTime) return Packing::Days;
    return type == ColumnType::Double ? Packing::Cents : Packing::Plain;
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

// --- changes

bool CIndexManager::Compact() {
    const CLockScope lock(m_lock);
    if (!IsReady()) return false;
    Touch();
    CIndexRows kept(PackingOf(m_type));
    std::vector<uint8_t> bytes(static_cast<size_t>(m_liveCount) * IndexRecord::kDiskSize);
    std::span<uint8_t> rest(bytes);
    m_rows.Walk([&](int64_t rowId, int64_t value, uint32_t) {
        IndexRecord{rowId, KeyOfValue(value), false}.Encode(rest);
        rest = rest.subspan(IndexRecord::kDiskSize);
        kept.Insert(rowId, value, static_cast<uint32_t>(kept.Count() + 1));
        return true;
    });
    kept.Pack();
    int64_t distinct = 0;
    if (!CountDistinct(distinct)) return false;
    m_rows = std::move(kept);
    m_recordCount = m_liveCount;
    m_file.Close();
    m_fileAttribute = m_attribute;
    return m_file.Create(m_path) && WriteHeader(distinct) &&
           m_file.WriteAt(IndexRecord::OffsetOf(1), bytes);
}

bool CIndexManager::AppendRecord(int64_t rowId, int64_t key) {
    if (m_recordCount >= std::numeric_limits<uint32_t>::max()) return false;
    std::array<uint8_t, IndexRecord::kDiskSize> bytes{};
    IndexRecord{rowId, key, false}.Encode(bytes);
    const auto record = static_cast<uint32_t>(m_recordCount + 1);
    if (!m_file.WriteAt(IndexRecord::OffsetOf(record), bytes)) return false;
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
    std::array<uint8_t, IndexRecord::kDiskSize> bytes{};
    IndexRecord{.deleted = true}.Encode(bytes);
    constexpr size_t kFlag = IndexRecord::kDeletedAt;
    if (!m_file.WriteAt(IndexRecord::OffsetOf(record.number) + int64_t{kFlag},
                        std::span(bytes).subspan(kFlag))) {
        return false;
    }
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
    if (m_touched || !m_journal.IsAttached() || !m_journal.InBatch()) return;
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

}  // namespace quillon
