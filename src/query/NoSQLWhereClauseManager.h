#pragma once

#include <string_view>
#include <vector>

#include "query/NoSQLWhereClauseSegment.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

// Builds the clause of one query: a table, then a segment, then a connector and a segment
// for each further condition.
//
//   Errors     false: the call did not fit there, and the clause is as it was.
//   Ownership  Borrows the table; see CDatabaseManager for how long tables live.
//   Threads    None; the owner serialises.
class CNoSQLWhereClauseManager {
public:
    // No table, no segments.
    void Reset();

    // Starts a new clause on the table. False: the database has no such table; no clause is left.
    [[nodiscard]] bool SetTable(CDatabaseManager& database, std::string_view name);

    // False: no table, no such column, a column of another type than the value, or no connector
    // since the last segment. An operator outside the type's range is taken and matches nothing.
    // `column` may be kRowIdColumnName, which is of type int64.
    [[nodiscard]] bool AddSegment(std::string_view column, WhereOperator operation,
                                  const CNoSQLWhereClauseSetColumnValue& value);
    // Value is in the set; int64 columns only. An empty set matches nothing.
    [[nodiscard]] bool AddSetSegment(std::string_view column, CInclusionMap set);
    // False: no segment yet, or a connector waits for its segment.
    [[nodiscard]] bool AddConnector(WhereConnector connector);

    // Null until SetTable has succeeded.
    CDatabaseManager* Database() const { return m_database; }
    CTableManager* Table() const { return m_table; }
    const std::vector<CNoSQLWhereClauseSegment>& Segments() const { return m_segments; }
    // Connectors()[i] joins segment i + 1.
    const std::vector<WhereConnector>& Connectors() const { return m_connectors; }
    // A table is set and every connector has its segment. Without segments every row is meant.
    bool IsComplete() const;

private:
    [[nodiscard]] bool FindColumn(std::string_view name, ColumnType type,
                                  const CTableColumn*& column) const;

    CDatabaseManager* m_database = nullptr;  // borrowed
    CTableManager* m_table = nullptr;        // borrowed
    std::vector<CNoSQLWhereClauseSegment> m_segments;
    std::vector<WhereConnector> m_connectors;
};

}  // namespace quillon
