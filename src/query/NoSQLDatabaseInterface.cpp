#include "query/NoSQLDatabaseInterface.h"

#include <utility>

#include "foundation/OutOfMemory.h"
#include "query/NoSQLProcessor.h"

namespace quillon {

using Value = CNoSQLWhereClauseSetColumnValue;

void CNoSQLDatabaseInterface::Reset() {
    m_clause.Reset();
    m_results.Release();
}

bool CNoSQLDatabaseInterface::SetTable(std::string_view table) {
    m_results.Release();
    return m_clause.SetTable(m_database, table);
}

bool CNoSQLDatabaseInterface::AddText(std::string_view column, WhereOperator operation,
                                      const CKeelString& value) {
    return FalseWhenOutOfMemory(
        [&] { return m_clause.AddSegment(column, operation, Value::OfText(value)); });
}

bool CNoSQLDatabaseInterface::AddBoolean(std::string_view column, WhereOperator operation,
                                         bool value) {
    return m_clause.AddSegment(column, operation, Value::OfBoolean(value));
}

bool CNoSQLDatabaseInterface::AddInt32(std::string_view column, WhereOperator operation,
                                       int32_t value) {
    return m_clause.AddSegment(column, operation, Value::OfInt32(value));
}

bool CNoSQLDatabaseInterface::AddInt64(std::string_view column, WhereOperator operation,
                                       int64_t value) {
    return m_clause.AddSegment(column, operation, Value::OfInt64(value));
}

bool CNoSQLDatabaseInterface::AddDouble(std::string_view column, WhereOperator operation,
                                        double value) {
    return m_clause.AddSegment(column, operation, Value::OfDouble(value));
}

bool CNoSQLDatabaseInterface::AddDateTime(std::string_view column, WhereOperator operation,
                                          int64_t value) {
    return m_clause.AddSegment(column, operation, Value::OfDateTime(value));
}

bool CNoSQLDatabaseInterface::AddInt64Set(std::string_view column, CInclusionMap set) {
    return m_clause.AddSetSegment(column, std::move(set));
}

bool CNoSQLDatabaseInterface::AddConnector(WhereConnector connector) {
    return m_clause.AddConnector(connector);
}

bool CNoSQLDatabaseInterface::Execute() {
    return Execute(m_results);
}

bool CNoSQLDatabaseInterface::Execute(CNoSQLDatabaseResults& results) {
    return CNoSQLProcessor(m_clause).Run(results);
}

}  // namespace quillon
