#include "query/NoSQLWhereClauseManager.h"

#include <utility>

#include "foundation/OutOfMemory.h"

namespace quillon {

void CNoSQLWhereClauseManager::Reset() {
    m_database = nullptr;
    m_table = nullptr;
    m_segments.clear();
    m_connectors.clear();
}

bool CNoSQLWhereClauseManager::SetTable(CDatabaseManager& database, std::string_view name) {
    Reset();
    m_table = database.FindTable(name);
    if (m_table) m_database = &database;
    return m_table != nullptr;
}

bool CNoSQLWhereClauseManager::AddSegment(std::string_view column, WhereOperator operation,
                                          const CNoSQLWhereClauseSetColumnValue& value) {
    return FalseWhenOutOfMemory([&] {
        const CTableColumn* found = nullptr;
        if (!FindColumn(column, value.type, found)) return false;
        m_segments.emplace_back(found, operation, value);
        return true;
    });
}

bool CNoSQLWhereClauseManager::AddSetSegment(std::string_view column, CInclusionMap set) {
    return FalseWhenOutOfMemory([&] {
        const CTableColumn* found = nullptr;
        if (!FindColumn(column, ColumnType::Int64, found)) return false;
        m_segments.emplace_back(found, std::move(set));
        return true;
    });
}

bool CNoSQLWhereClauseManager::AddConnector(WhereConnector connector) {
    if (m_segments.empty() || m_connectors.size() >= m_segments.size()) return false;
    return FalseWhenOutOfMemory([&] {
        m_connectors.push_back(connector);
        return true;
    });
}

bool CNoSQLWhereClauseManager::IsComplete() const {
    if (!m_table) return false;
    return m_segments.empty() || m_connectors.size() + 1 == m_segments.size();
}

// False as well when no segment may follow here. `column` is null for the row identifier.
bool CNoSQLWhereClauseManager::FindColumn(std::string_view name, ColumnType type,
                                          const CTableColumn*& column) const {
    if (!m_table || m_connectors.size() != m_segments.size()) return false;
    if (name == kRowIdColumnName) {
        column = nullptr;
        return type == ColumnType::Int64;
    }
    column = m_table->FindColumn(name);
    return column && column->type == type;
}

}  // namespace quillon
