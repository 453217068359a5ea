#include "query/NoSQLWhereClauseSegment.h"

#include <algorithm>
#include <utility>

#include "foundation/Unicode.h"

namespace quillon {

CNoSQLWhereClauseSetColumnValue::CNoSQLWhereClauseSetColumnValue()
    : CTableRowUpdateInfoValue(ColumnType::DateTime) {
    type = ColumnType::Text;
    isSet = true;
}

CNoSQLWhereClauseSetColumnValue CNoSQLWhereClauseSetColumnValue::OfText(const CKeelString& value) {
    CNoSQLWhereClauseSetColumnValue result;
    result.SetText(value);
    return result;
}

CNoSQLWhereClauseSetColumnValue CNoSQLWhereClauseSetColumnValue::OfBoolean(bool value) {
    CNoSQLWhereClauseSetColumnValue result;
    result.type = ColumnType::Boolean;
    result.boolean = value;
    return result;
}

CNoSQLWhereClauseSetColumnValue CNoSQLWhereClauseSetColumnValue::OfInt32(int32_t value) {
    CNoSQLWhereClauseSetColumnValue result;
    result.type = ColumnType::Int32;
    result.int32 = value;
    return result;
}

CNoSQLWhereClauseSetColumnValue CNoSQLWhereClauseSetColumnValue::OfInt64(int64_t value) {
    CNoSQLWhereClauseSetColumnValue result;
    result.type = ColumnType::Int64;
    result.int64 = value;
    return result;
}

CNoSQLWhereClauseSetColumnValue CNoSQLWhereClauseSetColumnValue::OfDouble(double value) {
    CNoSQLWhereClauseSetColumnValue result;
    result.type = ColumnType::Double;
    result.number = value;
    return result;
}

CNoSQLWhereClauseSetColumnValue CNoSQLWhereClauseSetColumnValue::OfDateTime(int64_t fileTime) {
    CNoSQLWhereClauseSetColumnValue result;
    result.type = ColumnType::DateTime;
    result.dateTime = fileTime;
    return result;
}

CInclusionMap::CInclusionMap(std::vector<int64_t> values) : m_values(std::move(values)) {
    std::sort(m_values.begin(), m_values.end());
    m_values.erase(std::unique(m_values.begin(), m_values.end()), m_values.end());
}

bool CInclusionMap::Contains(int64_t value) const {
    return std::binary_search(m_values.begin(), m_values.end(), value);
}

CNoSQLWhereClauseSegment::CNoSQLWhereClauseSegment(const CTableColumn* column,
                                                   WhereOperator operation,
                                                   CNoSQLWhereClauseSetColumnValue value)
    : m_columnId(column ? column->id : kRowIdColumn),
      m_columnType(column ? column->type : ColumnType::Int64),
      m_operator(operation),
      m_value(std::move(value)) {
    Prepare();
}

CNoSQLWhereClauseSegment::CNoSQLWhereClauseSegment(const CTableColumn* column, CInclusionMap set)
    : m_columnId(column ? column->id : kRowIdColumn),
      m_columnType(column ? column->type : ColumnType::Int64),
      m_operator(WhereOperator::InSet),
      m_set(std::move(set)) {
    m_value.type = ColumnType::Int64;
    Prepare();
}

void CNoSQLWhereClauseSegment::Prepare() {
    m_canMatch = m_value.type == m_columnType && OperatorAppliesTo(m_operator, m_columnType);
    if (m_columnType == ColumnType::Boolean) m_operator = FoldForBoolean(m_operator);
    if (m_columnType == ColumnType::Text) m_foldedText = FoldCase(m_value.text.View());
}

}  // namespace quillon
