#pragma once

#include <cstdint>
#include <vector>

#include "query/NoSQLDatabaseResults.h"
#include "query/NoSQLWhereClauseManager.h"

namespace quillon {

// Runs a clause against its table. The outcome is that of applying the segments in the order
// they were added, the first and those after an `or` adding their rows, those after an `and`
// keeping only theirs; the way there is the cheapest known: seeks and binary searches where an
// index allows them, tests on keys in memory next, and reading rows last.
class CNoSQLProcessor {
public:
    explicit CNoSQLProcessor(const CNoSQLWhereClauseManager& clause) : m_clause(clause) {}

    // Fills `results` with the rows, ascending by row identifier; the database's lock is held
    // meanwhile, so that they belong to one state of it. False: the clause is not complete, or
    // an index that it needs cannot be loaded; `results` is empty then. A row that cannot be
    // read passes no test and is counted in results.UnreadableRows().
    [[nodiscard]] bool Run(CNoSQLDatabaseResults& results);

private:
    const CNoSQLWhereClauseManager& m_clause;
};

}  // namespace quillon
