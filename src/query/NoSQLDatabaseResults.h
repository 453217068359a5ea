#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "query/SortManager.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

// The rows that a query found, and the way to read them.
//
//   Positions  0-based. Rows stand in ascending order of their identifiers until sorted.
//   Reading    Values are read when asked for, from the table as it is then. Reading several
//              columns of one row in a row reads its record once.
//   Errors     false with the target untouched: no such position or column, a column of another
//              type, a row deleted meanwhile, or bytes that cannot be read.
//   Ownership  Holds row identifiers and borrows the table, so it must be released or refilled
//              before the table goes (see CDatabaseManager).
//   Threads    None; the owner serialises.
class CNoSQLDatabaseResults {
public:
    CNoSQLDatabaseResults() = default;

    int64_t Count() const { return static_cast<int64_t>(m_rows.size()); }
    bool IsEmpty() const { return m_rows.empty(); }
    // -1 when there is no such position.
    int64_t RowIdAt(int64_t position) const;
    const std::vector<int64_t>& RowIds() const { return m_rows; }

    // Column kRowIdColumnName is of type int64. An absent text reads as the empty text.
    bool ReadText(std::string_view column, int64_t position, CKeelString& value) const;
    bool ReadBoolean(std::string_view column, int64_t position, bool& value) const;
    bool ReadInt32(std::string_view column, int64_t position, int32_t& value) const;
    bool ReadInt64(std::string_view column, int64_t position, int64_t& value) const;
    bool ReadDouble(std::string_view column, int64_t position, double& value) const;
    bool ReadDateTime(std::string_view column, int64_t position, int64_t& value) const;
    // One column of every row, by position: read from the index where it holds the values, and
    // loaded for that where the rows are many. False, with `values` empty: no such column, one
    // of another type, or a row that cannot be read.
    bool ReadInt32s(std::string_view column, std::vector<int32_t>& values) const;
    bool ReadInt64s(std::string_view column, std::vector<int64_t>& values) const;
    bool ReadDoubles(std::string_view column, std::vector<double>& values) const;
    bool ReadDateTimes(std::string_view column, std::vector<int64_t>& values) const;
    // Whatever type the column has; `value` is not defined after a failure.
    bool ReadValue(std::string_view column, int64_t position,
                   CTableRowUpdateInfoValue& value) const;

    // Orders the rows by one column, see CNoSQLDatabaseResultsSortManager. Rows with equal values
    // keep their order, so sorting by a second column first gives an order by two. False, with
    // the order as it was: no table or no such column.
    [[nodiscard]] bool Sort(std::string_view column,
                            SortDirection direction = SortDirection::Ascending);

    // Rows that a query had to test and could not read; they are not among the results.
    int64_t UnreadableRows() const { return m_unreadableRows; }

    // Forgets table and rows.
    void Release();
    // `rows`: ascending, without duplicates.
    void Assign(CDatabaseManager& database, const CTableManager& table, std::vector<int64_t> rows,
                int64_t unreadableRows);

private:
    const CTableRowUpdateInfoValue* Fetch(std::string_view column, int64_t position,
                                          ColumnType type) const;
    const CTableColumn* FindColumn(std::string_view column) const;
    template <typename Value, typename ValueOfKey>
    bool ReadAll(std::string_view column, ColumnType type, std::vector<Value>& values,
                 ValueOfKey valueOfKey) const;
    [[nodiscard]] bool FetchFrom(const CTableColumn& column, int64_t rowId,
                                 CTableRowUpdateInfoValue& value) const;

    CDatabaseManager* m_database = nullptr;  // borrowed
    const CTableManager* m_table = nullptr;  // borrowed; set when m_database is
    std::vector<int64_t> m_rows;
    int64_t m_unreadableRows = 0;
    mutable size_t m_columnHint = 0;           // where the last column was found
    mutable CTableRowUpdateInfoValue m_value;  // of the last typed read
    // The record read last, and the state of the files that it was read from.
    mutable std::vector<uint8_t> m_record;
    mutable int64_t m_recordRow = -1;
    mutable uint64_t m_recordChangeCount = 0;
};

}  // namespace quillon
