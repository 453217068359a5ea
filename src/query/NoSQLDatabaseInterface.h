#pragma once

#include <cstdint>
#include <string_view>

#include "query/NoSQLDatabaseResults.h"
#include "query/NoSQLWhereClauseManager.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

// The way into one database for queries: set the table, add segments with connectors between
// them, execute, read the results.
//
//     query.SetTable("Transactions") &&
//         query.AddInt64("AccountID", WhereOperator::Equal, account) &&
//         query.AddConnector(WhereConnector::And) &&
//         query.AddDateTime("ServiceDate", WhereOperator::GreaterOrEqual, start) &&
//         query.Execute();
//
//   Errors     false: give the query up and start again with SetTable. Nothing throws, logs or
//              prompts. An operator that does not apply to the column's type is no failure: it
//              matches no rows.
//   Ownership  Borrows the database manager, which must outlive it.
//   Threads    None; the owner serialises from SetTable until the results have been read.
class CNoSQLDatabaseInterface {
public:
    explicit CNoSQLDatabaseInterface(CDatabaseManager& database) : m_database(database) {}

    // Forgets clause and results.
    void Reset();

    // Starts a new clause and releases the results of the last one. False: no such table.
    [[nodiscard]] bool SetTable(std::string_view table);

    // One segment. False: no table, no such column, a column of another type, or no connector
    // since the last segment. `column` may be kRowIdColumnName (int64).
    [[nodiscard]] bool AddText(std::string_view column, WhereOperator operation,
                               const CKeelString& value);
    [[nodiscard]] bool AddBoolean(std::string_view column, WhereOperator operation, bool value);
    [[nodiscard]] bool AddInt32(std::string_view column, WhereOperator operation, int32_t value);
    [[nodiscard]] bool AddInt64(std::string_view column, WhereOperator operation, int64_t value);
    [[nodiscard]] bool AddDouble(std::string_view column, WhereOperator operation, double value);
    // File time.
    [[nodiscard]] bool AddDateTime(std::string_view column, WhereOperator operation, int64_t value);
    // Value is in the set.
    [[nodiscard]] bool AddInt64Set(std::string_view column, CInclusionMap set);

    [[nodiscard]] bool AddConnector(WhereConnector connector);

    // Runs the clause; the results hold the rows found, ascending by row identifier. False: no
    // table, a connector without its segment, or an index that cannot be loaded. Finding nothing
    // is a success.
    [[nodiscard]] bool Execute();
    // The same into results of the caller's own, which another query leaves alone.
    [[nodiscard]] bool Execute(CNoSQLDatabaseResults& results);

    CNoSQLDatabaseResults& Results() { return m_results; }
    const CNoSQLDatabaseResults& Results() const { return m_results; }
    void ReleaseResults() { m_results.Release(); }

    const CNoSQLWhereClauseManager& Clause() const { return m_clause; }
    CDatabaseManager& Database() { return m_database; }

private:
    CDatabaseManager& m_database;  // borrowed
    CNoSQLWhereClauseManager m_clause;
    CNoSQLDatabaseResults m_results;
};

}  // namespace quillon
