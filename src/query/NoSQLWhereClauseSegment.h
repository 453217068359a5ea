#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "query/WhereOperator.h"
#include "storage/tables/TableManager.h"
#include "storage/tables/TableRowUpdateInfo.h"

namespace quillon {

// The typed value of a condition. A new one is a text and holds the empty text, false,
// zeros and the current time.
class CNoSQLWhereClauseSetColumnValue : public CTableRowUpdateInfoValue {
public:
    CNoSQLWhereClauseSetColumnValue();

    static CNoSQLWhereClauseSetColumnValue OfText(const CKeelString& value);  // as SetText
    static CNoSQLWhereClauseSetColumnValue OfBoolean(bool value);
    static CNoSQLWhereClauseSetColumnValue OfInt32(int32_t value);
    static CNoSQLWhereClauseSetColumnValue OfInt64(int64_t value);
    static CNoSQLWhereClauseSetColumnValue OfDouble(double value);
    static CNoSQLWhereClauseSetColumnValue OfDateTime(int64_t fileTime);
};

// A set of 64-bit values, kept as a sorted array.
class CInclusionMap {
public:
    CInclusionMap() = default;
    CInclusionMap(std::initializer_list<int64_t> values) : CInclusionMap(std::vector(values)) {}
    explicit CInclusionMap(std::span<const int64_t> values)
        : CInclusionMap(std::vector<int64_t>(values.begin(), values.end())) {}
    explicit CInclusionMap(std::vector<int64_t> values);

    bool Contains(int64_t value) const;
    bool IsEmpty() const { return m_values.empty(); }
    // Ascending, each value once.
    const std::vector<int64_t>& Values() const { return m_values; }

private:
    std::vector<int64_t> m_values;
};

// One condition on one column of a table. It knows its column by identifier, so it
// never points into a table whose columns have changed.
class CNoSQLWhereClauseSegment {
public:
    // What stands for the column: the row's own identifier, or nothing.
    static constexpr int64_t kRowIdColumn = -1;
    static constexpr int64_t kNoColumn = -2;

    CNoSQLWhereClauseSegment() = default;
    // `column` null: the row identifier.
    CNoSQLWhereClauseSegment(const CTableColumn* column, WhereOperator operation,
                             CNoSQLWhereClauseSetColumnValue value);
    // Operator InSet.
    CNoSQLWhereClauseSegment(const CTableColumn* column, CInclusionMap set);

    bool HasColumn() const { return m_columnId != kNoColumn; }
    bool IsRowId() const { return m_columnId == kRowIdColumn; }
    int64_t ColumnId() const { return m_columnId; }
    ColumnType Type() const { return m_columnType; }
    // Folded already when the column is boolean.
    WhereOperator Operator() const { return m_operator; }
    const CNoSQLWhereClauseSetColumnValue& Value() const { return m_value; }
    const CInclusionMap& Set() const { return m_set; }
    // The value's text with its case folded, for the operators that ignore it.
    const std::string& FoldedText() const { return m_foldedText; }

    // False: no row can pass, whatever its value, because there is no column, the value is of
    // another type, or the operator is outside the type's range.
    bool CanMatch() const { return m_canMatch; }

private:
    void Prepare();

    int64_t m_columnId = kNoColumn;
    ColumnType m_columnType = ColumnType::Int64;
    WhereOperator m_operator = WhereOperator::Equal;
    bool m_canMatch = false;
    CNoSQLWhereClauseSetColumnValue m_value;
    CInclusionMap m_set;
    std::string m_foldedText;
};

}  // namespace quillon
