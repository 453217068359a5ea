#include "query/NoSQLDatabaseResults.h"

#include <bit>
#include <numeric>
#include <utility>

#include "foundation/OutOfMemory.h"
#include "query/NoSQLDatabaseResultsSortManager.h"

namespace quillon {

int64_t CNoSQLDatabaseResults::RowIdAt(int64_t position) const {
    if (position < 0 || position >= Count()) return -1;
    return m_rows[static_cast<size_t>(position)];
}

bool CNoSQLDatabaseResults::ReadText(std::string_view column, int64_t position,
                                     CKeelString& value) const {
    return FalseWhenOutOfMemory([&] {
        const CTableRowUpdateInfoValue* read = Fetch(column, position, ColumnType::Text);
        if (!read) return false;
        if (read->isSet) {
            value = read->text;
        } else {
            value.ReleaseBuffer();
        }
        return true;
    });
}

bool CNoSQLDatabaseResults::ReadBoolean(std::string_view column, int64_t position,
                                        bool& value) const {
    const CTableRowUpdateInfoValue* read = Fetch(column, position, ColumnType::Boolean);
    if (read) value = read->boolean;
    return read != nullptr;
}

bool CNoSQLDatabaseResults::ReadInt32(std::string_view column, int64_t position,
                                      int32_t& value) const {
    const CTableRowUpdateInfoValue* read = Fetch(column, position, ColumnType::Int32);
    if (read) value = read->int32;
    return read != nullptr;
}

bool CNoSQLDatabaseResults::ReadInt64(std::string_view column, int64_t position,
                                      int64_t& value) const {
    const CTableRowUpdateInfoValue* read = Fetch(column, position, ColumnType::Int64);
    if (read) value = read->int64;
    return read != nullptr;
}

bool CNoSQLDatabaseResults::ReadDouble(std::string_view column, int64_t position,
                                       double& value) const {
    const CTableRowUpdateInfoValue* read = Fetch(column, position, ColumnType::Double);
    if (read) value = read->number;
    return read != nullptr;
}

bool CNoSQLDatabaseResults::ReadDateTime(std::string_view column, int64_t position,
                                         int64_t& value) const {
    const CTableRowUpdateInfoValue* read = Fetch(column, position, ColumnType::DateTime);
    if (read) value = read->dateTime;
    return read != nullptr;
}

// `valueOfKey(key)` makes a value of what an index keeps.
template <typename Value, typename ValueOfKey>
bool CNoSQLDatabaseResults::ReadAll(std::string_view column, ColumnType type,
                                    std::vector<Value>& values, ValueOfKey valueOfKey) const {
    values.clear();
    const bool read = FalseWhenOutOfMemory([&] {
        const CTableColumn* found = nullptr;
        if (m_table && column != kRowIdColumnName) found = FindColumn(column);
        if (!found || found->type != type) return false;
        std::vector<int64_t> keys;
        if (!m_table->ReadKeys(m_rows, *found, keys)) return false;
        values.reserve(keys.size());
        for (const int64_t key : keys) values.push_back(valueOfKey(key));
        return true;
    });
    if (!read) values.clear();
    return read;
}

bool CNoSQLDatabaseResults::ReadInt32s(std::string_view column,
                                       std::vector<int32_t>& values) const {
    return ReadAll(column, ColumnType::Int32, values,
                   [](int64_t key) { return static_cast<int32_t>(key); });
}

bool CNoSQLDatabaseResults::ReadInt64s(std::string_view column,
                                       std::vector<int64_t>& values) const {
    return ReadAll(column, ColumnType::Int64, values, [](int64_t key) { return key; });
}

bool CNoSQLDatabaseResults::ReadDoubles(std::string_view column,
                                        std::vector<double>& values) const {
    return ReadAll(column, ColumnType::Double, values,
                   [](int64_t key) { return std::bit_cast<double>(key); });
}

bool CNoSQLDatabaseResults::ReadDateTimes(std::string_view column,
                                          std::vector<int64_t>& values) const {
    return ReadAll(column, ColumnType::DateTime, values, [](int64_t key) { return key; });
}

bool CNoSQLDatabaseResults::ReadValue(std::string_view column, int64_t position,
                                      CTableRowUpdateInfoValue& value) const {
    const int64_t rowId = RowIdAt(position);
    if (!m_table || rowId < 0) return false;
    return FalseWhenOutOfMemory([&] {
        if (column == kRowIdColumnName) {
            value.type = ColumnType::Int64;
            value.isSet = true;
            value.int64 = rowId;
            return m_table->RowExists(rowId);
        }
        const CTableColumn* found = FindColumn(column);
        return found && FetchFrom(*found, rowId, value);
    });
}

// Callers read one column of many rows, or the same few of each.
const CTableColumn* CNoSQLDatabaseResults::FindColumn(std::string_view column) const {
    const auto& columns = m_table->Columns();
    for (size_t tries = 0; tries < columns.size(); ++tries) {
        if (m_columnHint >= columns.size()) m_columnHint = 0;
        if (columns[m_columnHint].name.View() == column) return &columns[m_columnHint];
        ++m_columnHint;
    }
    return nullptr;
}

const CTableRowUpdateInfoValue* CNoSQLDatabaseResults::Fetch(std::string_view column,
                                                             int64_t position,
                                                             ColumnType type) const {
    if (!ReadValue(column, position, m_value) || m_value.type != type) return nullptr;
    return &m_value;
}

bool CNoSQLDatabaseResults::FetchFrom(const CTableColumn& column, int64_t rowId,
                                      CTableRowUpdateInfoValue& value) const {
    if (column.index && column.type != ColumnType::Text && column.index->IsLoaded()) {
        return m_table->ReadValue(rowId, column, value);  // from memory
    }
    // The record and the count of changes that it belongs to.
    const CLockScope lock(m_database->Lock());
    const uint64_t changeCount = m_database->Journal().ChangeCount();
    if (m_recordRow != rowId || m_recordChangeCount != changeCount) {
        m_recordRow = -1;
        if (!m_table->ReadRecord(rowId, m_record)) return false;
        m_recordRow = rowId;
        m_recordChangeCount = changeCount;
    }
    return m_table->ValueFromRecord(m_record, column, value);
}

bool CNoSQLDatabaseResults::Sort(std::string_view column, SortDirection direction) {
    if (!m_table) return false;
    ColumnType type = ColumnType::Int64;
    if (column != kRowIdColumnName) {
        const CTableColumn* found = m_table->FindColumn(column);
        if (!found || !IsColumnType(found->type)) return false;
        type = found->type;
    }
    return FalseWhenOutOfMemory([&] {
        const CNoSQLDatabaseResultsSortManager order(*this, column, type);
        std::vector<size_t> positions(m_rows.size());
        std::iota(positions.begin(), positions.end(), size_t{0});
        order.Sort(positions, direction);
        std::vector<int64_t> sorted;
        sorted.reserve(m_rows.size());
        for (const size_t position : positions) sorted.push_back(m_rows[position]);
        m_rows = std::move(sorted);
        return true;
    });
}

void CNoSQLDatabaseResults::Release() {
    m_database = nullptr;
    m_table = nullptr;
    m_rows.clear();
    m_unreadableRows = 0;
    m_recordRow = -1;
}

void CNoSQLDatabaseResults::Assign(CDatabaseManager& database, const CTableManager& table,
                                   std::vector<int64_t> rows, int64_t unreadableRows) {
    m_database = &database;
    m_table = &table;
    m_rows = std::move(rows);
    m_unreadableRows = unreadableRows;
    m_recordRow = -1;
}

}  // namespace quillon
