// The columns of CTableManager: where they lie in a record, adding and removing them.

#include <algorithm>
#include <cstddef>
#include <utility>

#include "foundation/ByteCodec.h"
#include "storage/tables/TableManager.h"

namespace quillon {

void CTableManager::LayOutRecord() {
    m_recordSize = 0;
    m_skippedColumns = 0;
    m_columnsByName.Clear();
    for (CTableColumn& column : m_columns) {
        column.offset = m_recordSize;
        column.skippedBefore = m_skippedColumns;
        m_recordSize += ColumnWidth(column.type);
        m_skippedColumns += IsColumnType(column.type) ? 0 : 1;
        const std::string name = column.name.ToUtf8();
        if (!m_columnsByName.Contains(name)) m_columnsByName.Set(name, &column);
    }
}

// Above every number in use, those in index file names included: a definition loaded again counts
// its columns from 1, while the files keep the names they were given.
int64_t CTableManager::NextColumnId() const {
    int64_t highest = std::max(static_cast<int64_t>(m_columns.size()), m_indexes.HighestNumber());
    for (const CTableColumn& column : m_columns) highest = std::max(highest, column.id);
    return highest + 1;
}

bool CTableManager::AddColumn(std::string_view name, ColumnType type, bool indexed,
                              bool attribute) {
    const CLockScope lock(m_lock);
    if (!ColumnDefinition::IsName(name) || !IsColumnType(type) || m_skippedColumns > 0 ||
        FindColumn(name) || !OpenStores()) {
        return false;
    }
    const int32_t oldSize = m_recordSize;
    CTableColumn column;
    column.name = CKeelString(name);
    column.id = NextColumnId();
    column.type = type;
    column.indexed = indexed;
    column.indexAttribute = attribute;
    column.tableNumber = m_number;
    m_columns.push_back(std::move(column));
    LayOutRecord();
    return RewriteRowsWith(m_columns.back(), oldSize) &&
           (!indexed || MakeIndex(m_columns.back())) && SaveDefinition();
}

bool CTableManager::RewriteRowsWith(const CTableColumn& added, int32_t oldSize) {
    CTableRowUpdateInfoValue initial(added.type);
    std::vector<uint8_t> record(static_cast<size_t>(m_recordSize));
    if (!WriteValue(added.type, initial, FieldOf(added, record))) return false;
    return RewriteRows(oldSize, [&](std::span<const uint8_t> from, std::span<uint8_t> to) {
        std::copy(record.begin(), record.end(), to.begin());
        std::copy(from.begin(), from.end(), to.begin());
    });
}

bool CTableManager::MakeIndex(CTableColumn& column) {
    column.index = &m_indexes.Add(column.id, column.type, column.indexAttribute);
    return column.index->Create(m_indexes.PathFor(column.id)) && FillIndex(column);
}

bool CTableManager::RemoveColumn(std::string_view name) {
    const CLockScope lock(m_lock);
    const auto found =
        std::find_if(m_columns.begin(), m_columns.end(),
                     [&](const CTableColumn& column) { return column.name.View() == name; });
    if (found == m_columns.end() || m_skippedColumns > 0) return false;
    // A table without columns has no files, and rows without columns are nothing.
    if (m_columns.size() == 1) {
        if (!DeleteFiles()) return false;
        m_columns.clear();
        LayOutRecord();
        return true;
    }
    const CTableColumn removed = *found;
    if (removed.type == ColumnType::Text && !DeleteTextsOf(removed)) return false;
    if (!m_indexes.Delete(removed.id)) return false;
    const int32_t oldSize = m_recordSize;
    m_columns.erase(found);
    LayOutRecord();
    return RewriteRowsWithout(removed, oldSize) && SaveDefinition();
}

bool CTableManager::DeleteTextsOf(const CTableColumn& column) {
    std::vector<int64_t> texts;
    std::vector<uint8_t> record;
    WalkRows([&](int64_t rowId) {
        if (ReadRecord(rowId, record)) {
            texts.push_back(LoadLE<int64_t>(record, static_cast<size_t>(column.offset)));
        }
        return true;
    });
    return std::all_of(texts.begin(), texts.end(),
                       [this](int64_t text) { return DeleteText(text); });
}

bool CTableManager::RewriteRowsWithout(const CTableColumn& removed, int32_t oldSize) {
    const auto offset = static_cast<std::ptrdiff_t>(removed.offset);
    const auto width = static_cast<std::ptrdiff_t>(ColumnWidth(removed.type));
    return RewriteRows(oldSize, [&](std::span<const uint8_t> from, std::span<uint8_t> to) {
        std::copy_n(from.begin(), offset, to.begin());
        std::copy(from.begin() + offset + width, from.end(), to.begin() + offset);
    });
}

bool CTableManager::RewriteRows(int32_t oldSize, const ConvertRecord& convert) {
    if (m_rows.EntryCount() == 0) return true;
    std::vector<std::vector<uint8_t>> records;
    if (!ConvertRecords(oldSize, convert, records) || !m_rowData.Reset()) return false;
    std::vector<int64_t> places;
    places.reserve(records.size());
    for (const std::vector<uint8_t>& record : records) {
        int64_t position = 0;
        if (m_recordSize > 0 &&
            !m_rowData.AllocateAndWrite(record.data(), m_recordSize, position)) {
            return false;
        }
        places.push_back(position);
    }
    size_t next = 0;
    return m_rows.CompactMoved([&](int64_t, DictionaryEntry& entry) {
        entry.position = places[next++];
        entry.size = m_recordSize;
    });
}

bool CTableManager::ConvertRecords(int32_t oldSize, const ConvertRecord& convert,
                                   std::vector<std::vector<uint8_t>>& records) const {
    records.reserve(static_cast<size_t>(m_rows.LiveCount()));
    std::vector<uint8_t> old(static_cast<size_t>(oldSize));
    bool complete = true;
    m_rows.Walk([&](int64_t, const DictionaryEntry& entry) {
        if (entry.deleted) return true;
        complete = entry.size == oldSize &&
                   (oldSize == 0 || m_rowData.ReadAt(old.data(), oldSize, entry.position));
        if (!complete) return false;
        convert(old, records.emplace_back(static_cast<size_t>(m_recordSize)));
        return true;
    });
    return complete;
}

}  // namespace quillon
