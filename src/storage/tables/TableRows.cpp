// The row operations of CTableManager.

#include <algorithm>
#include <bit>

#include "foundation/ByteCodec.h"
#include "storage/journal/Journal.h"
#include "storage/tables/TableManager.h"

namespace quillon {

const CTableColumn* CTableManager::FindColumn(std::string_view name) const {
    const CLockScope lock(m_lock);
    return static_cast<const CTableColumn*>(m_columnsByName.Value(name));
}

const CTableColumn* CTableManager::FindColumnById(int64_t columnId) const {
    const CLockScope lock(m_lock);
    for (const CTableColumn& column : m_columns) {
        if (column.id == columnId) return &column;
    }
    return nullptr;
}

int32_t CTableManager::RecordSize() const {
    const CLockScope lock(m_lock);
    return m_recordSize;
}

int64_t CTableManager::RowCount() const {
    const CLockScope lock(m_lock);
    return m_rows.LiveCount();
}

bool CTableManager::RowExists(int64_t rowId) const {
    const CLockScope lock(m_lock);
    return m_rows.FindLive(rowId) != nullptr;
}

void CTableManager::WalkRows(const std::function<bool(int64_t rowId)>& visit) const {
    const CLockScope lock(m_lock);
    m_rows.Walk(
        [&](int64_t rowId, const DictionaryEntry& entry) { return entry.deleted || visit(rowId); });
}

bool CTableManager::SetTextInField(const CKeelString& text, std::span<uint8_t> field) {
    // An empty text is no text: it takes no room in the text store.
    int64_t textId = CTextManager::kNoText;
    if (!text.IsEmpty()) {
        textId = m_texts.Add(text);
        if (textId < 0) return false;
    }
    StoreLE<int64_t>(field, 0, textId);
    return true;
}

bool CTableManager::ChangeTextInField(const CKeelString& text, std::span<uint8_t> field) {
    const auto textId = LoadLE<int64_t>(field, 0);
    if (textId == CTextManager::kNoText) return SetTextInField(text, field);
    if (!m_texts.Dictionary().Load()) return false;
    if (!m_texts.Dictionary().FindLive(textId)) return SetTextInField(text, field);
    if (!text.IsEmpty()) return m_texts.Replace(textId, text);
    return m_texts.Delete(textId) && SetTextInField(text, field);
}

bool CTableManager::WriteValue(ColumnType type, const CTableRowUpdateInfoValue& value,
                               std::span<uint8_t> field) {
    switch (type) {
        case ColumnType::Text:
            return SetTextInField(value.text, field);
        case ColumnType::Boolean:
            StoreLE<uint8_t>(field, 0, value.boolean ? 1 : 0);
            return true;
        case ColumnType::Int32:
            StoreLE<int32_t>(field, 0, value.int32);
            return true;
        case ColumnType::Int64:
            StoreLE<int64_t>(field, 0, value.int64);
            return true;
        case ColumnType::Double:
            StoreDoubleLE(field, 0, value.number);
            return true;
        case ColumnType::DateTime:
            StoreLE<int64_t>(field, 0, value.dateTime);
            return true;
    }
    return false;
}

int64_t CTableManager::OffsetIn(size_t recordSize, const CTableColumn& column) const {
    const CLockScope lock(m_lock);
    const int64_t excess = static_cast<int64_t>(recordSize) - m_recordSize;
    if (!IsColumnType(column.type) || excess < 0) return -1;
    if (excess == 0 || (m_skippedColumns > 0 && column.skippedBefore == 0)) return column.offset;
    // How many of the bytes too many belong to which skipped column nobody knows.
    const bool behindAll = m_skippedColumns > 0 && column.skippedBefore == m_skippedColumns;
    return behindAll ? column.offset + excess : -1;
}

bool CTableManager::HasSkippedValues() const {
    const CLockScope lock(m_lock);
    return m_hasSkippedValues;
}

std::span<uint8_t> CTableManager::FieldOf(const CTableColumn& column,
                                          std::span<uint8_t> record) const {
    const int64_t offset = OffsetIn(record.size(), column);
    if (offset < 0) return {};
    return record.subspan(static_cast<size_t>(offset),
                          static_cast<size_t>(ColumnWidth(column.type)));
}

bool CTableManager::IsRecordSize(int64_t size) const {
    return size == m_recordSize || (m_skippedColumns > 0 && size > m_recordSize);
}

template <typename Give>
int64_t CTableManager::WriteNewRow(const CTableRowUpdateInfo& row, Give give) {
    if (!m_storesOpen || m_recordSize == 0 || KeepsRows()) return -1;
    std::vector<uint8_t> record(static_cast<size_t>(m_recordSize));
    std::vector<int64_t> keys(m_columns.size());
    for (size_t i = 0; i < m_columns.size(); ++i) {
        const CTableColumn& column = m_columns[i];
        if (!IsColumnType(column.type)) continue;
        const CTableRowUpdateInfoValue* set = row.Find(column.id);
        const CTableRowUpdateInfoValue initial =
            set ? CTableRowUpdateInfoValue() : CTableRowUpdateInfoValue(column.type);
        const CTableRowUpdateInfoValue& value = set ? *set : initial;
        if (!WriteValue(column.type, value, FieldOf(column, record))) return -1;
        if (column.index) keys[i] = value.Key();
    }
    int64_t position = 0;
    if (!m_rowData.AllocateAndWrite(record.data(), m_recordSize, position)) return -1;
    const int64_t rowId = give(position);
    if (rowId < 0) return -1;
    for (size_t i = 0; i < m_columns.size(); ++i) {
        if (m_columns[i].index && !m_columns[i].index->AddNew(rowId, keys[i])) return -1;
    }
    return rowId;
}

int64_t CTableManager::AddRow(const CTableRowUpdateInfo& row) {
    const CLockScope lock(m_lock);
    return WriteNewRow(row, [&](int64_t position) { return m_rows.Add(position, m_recordSize); });
}

bool CTableManager::RestoreRow(const CTableRowUpdateInfo& row) {
    const CLockScope lock(m_lock);
    const int64_t rowId = row.RowId();
    const auto give = [&](int64_t position) {
        return m_rows.Restore(rowId, position, m_recordSize) ? rowId : int64_t{-1};
    };
    return WriteNewRow(row, give) == rowId && rowId >= 0;
}

bool CTableManager::ReachIndex(const CTableColumn& column, int64_t rowId) const {
    return column.index->FindsWithoutLoading(rowId) || LoadIndex(column);
}

bool CTableManager::UpdateRow(const CTableRowUpdateInfo& row) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_rows.FindLive(row.RowId());
    std::vector<uint8_t> record;
    if (!entry || !ReadRecord(row.RowId(), record)) return false;
    for (CTableColumn& column : m_columns) {
        const CTableRowUpdateInfoValue* value = row.Find(column.id);
        if (!value) continue;
        const std::span<uint8_t> field = FieldOf(column, record);
        if (field.empty()) return false;
        const bool written = column.type == ColumnType::Text
                                 ? ChangeTextInField(value->text, field)
                                 : WriteValue(column.type, *value, field);
        if (!written) return false;
        if (!column.index) continue;
        if (!ReachIndex(column, row.RowId()) || !column.index->Update(row.RowId(), value->Key())) {
            return false;
        }
    }
    return m_rowData.WriteAt(record.data(), entry->size, entry->position);
}

// One that does not exist is what the integrity check reports.
bool CTableManager::DeleteText(int64_t textId) {
    return m_texts.Dictionary().Load() &&
           (!m_texts.Dictionary().FindLive(textId) || m_texts.Delete(textId));
}

bool CTableManager::DeleteRow(int64_t rowId) {
    const CLockScope lock(m_lock);
    const DictionaryEntry* found = m_rows.FindLive(rowId);
    if (!found || KeepsRows()) return false;
    const DictionaryEntry entry = *found;
    std::vector<uint8_t> record;
    if (!ReadRecord(rowId, record)) return false;
    for (CTableColumn& column : m_columns) {
        if (column.type == ColumnType::Text) {
            const auto textId = LoadLE<int64_t>(record, static_cast<size_t>(column.offset));
            if (textId != CTextManager::kNoText && !DeleteText(textId)) return false;
        }
        if (!column.index) continue;
        bool isThere = column.index->FindsWithoutLoading(rowId);
        if (!isThere) {
            if (!LoadIndex(column)) return false;
            // One that lacks the row is what the integrity check reports.
            isThere = column.index->FindsWithoutLoading(rowId);
        }
        if (isThere && !column.index->Remove(rowId)) return false;
    }
    return m_rows.MarkDeleted(rowId) && m_rowData.FreeBlock(entry.size, entry.position);
}

bool CTableManager::ReadRecord(int64_t rowId, std::vector<uint8_t>& record) const {
    const CLockScope lock(m_lock);
    const DictionaryEntry* entry = m_rows.FindLive(rowId);
    if (!entry || !IsRecordSize(entry->size)) return false;
    // A longer one is believed when the store holds it.
    if (entry->size != m_recordSize && !m_rowData.Holds(entry->size, entry->position)) return false;
    record.resize(static_cast<size_t>(entry->size));
    return m_rowData.ReadAt(record.data(), entry->size, entry->position);
}

namespace {

// A number as an index keeps it. False for texts, of which it keeps a hash only.
bool ValueFromKey(ColumnType type, int64_t key, CTableRowUpdateInfoValue& value) {
    value.type = type;
    value.isSet = true;
    switch (type) {
        case ColumnType::Text:
            return false;
        case ColumnType::Boolean:
            value.boolean = key != 0;
            return true;
        case ColumnType::Int32:
            value.int32 = static_cast<int32_t>(key);
            return true;
        case ColumnType::Int64:
            value.int64 = key;
            return true;
        case ColumnType::Double:
            value.number = std::bit_cast<double>(key);
            return true;
        case ColumnType::DateTime:
            value.dateTime = key;
            return true;
    }
    return false;
}

// A number as a record keeps it; widens to the form that an index keeps.
int64_t KeyFromField(ColumnType type, std::span<const uint8_t> field) {
    switch (type) {
        case ColumnType::Boolean:
            return field[0] != 0 ? 1 : 0;
        case ColumnType::Int32:
            return LoadLE<int32_t>(field, 0);
        default:
            return LoadLE<int64_t>(field, 0);
    }
}

}  // namespace

bool CTableManager::ValueFromField(ColumnType type, std::span<const uint8_t> field,
                                   CTableRowUpdateInfoValue& value) const {
    if (type != ColumnType::Text) {
        return ValueFromKey(type, KeyFromField(type, field), value);
    }
    value.type = ColumnType::Text;
    const auto textId = LoadLE<int64_t>(field, 0);
    value.isSet = textId != CTextManager::kNoText;
    if (value.isSet) return m_texts.Read(textId, value.text);
    value.text = CKeelString();
    return true;
}

bool CTableManager::ReadValue(int64_t rowId, const CTableColumn& column,
                              CTableRowUpdateInfoValue& value) const {
    const CLockScope lock(m_lock);
    int64_t key = 0;
    if (column.index && column.type != ColumnType::Text && column.index->IsLoaded() &&
        column.index->KeyOf(rowId, key)) {
        return ValueFromKey(column.type, key, value);
    }
    const DictionaryEntry* entry = m_rows.FindLive(rowId);
    if (!entry || !IsRecordSize(entry->size) || entry->position < 0 ||
        entry->position > INT64_MAX - entry->size) {
        return false;
    }
    const int64_t offset = OffsetIn(static_cast<size_t>(entry->size), column);
    if (offset < 0) return false;
    std::array<uint8_t, 8> field{};
    const int32_t width = ColumnWidth(column.type);
    return m_rowData.ReadAt(field.data(), width, entry->position + offset) &&
           ValueFromField(column.type, field, value);
}

bool CTableManager::ReadKeys(std::span<const int64_t> rows, const CTableColumn& column,
                             std::vector<int64_t>& keys) const {
    // Reading a row costs as much as loading the index's records of about so many.
    constexpr int64_t kRecordsARow = 64;
    const CLockScope lock(m_lock);
    if (column.type == ColumnType::Text) return false;
    const bool pays = static_cast<int64_t>(rows.size()) >= RowCount() / kRecordsARow;
    const bool loaded = column.index && (column.index->IsLoaded() || (pays && LoadIndex(column)));
    if (loaded && column.index->KeysOf(rows, keys)) return true;
    keys.clear();
    keys.reserve(rows.size());
    CTableRowUpdateInfoValue value;
    for (const int64_t rowId : rows) {
        if (!ReadValue(rowId, column, value)) return false;
        keys.push_back(value.Key());
    }
    return true;
}

bool CTableManager::ValueFromRecord(std::span<const uint8_t> record, const CTableColumn& column,
                                    CTableRowUpdateInfoValue& value) const {
    const CLockScope lock(m_lock);
    const int64_t offset = OffsetIn(record.size(), column);
    if (offset < 0) return false;
    const auto width = static_cast<size_t>(ColumnWidth(column.type));
    return ValueFromField(column.type, record.subspan(static_cast<size_t>(offset), width), value);
}

}  // namespace quillon
