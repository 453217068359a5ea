#pragma once

#include <cstdint>
#include <vector>

#include "query/NoSQLDatabaseInterface.h"
#include "storage/database/DatabaseManager.h"
#include "support/OpenStore.h"

namespace quillon {

using Ids = std::vector<int64_t>;

// An empty database on a disk in memory, and a query of it.
class QueryFixture : public COpenStore<CDatabaseManager> {
protected:
    ~QueryFixture() override { database.Close(); }

    void Reopen() {
        query.Reset();
        COpenStore::Reopen();
    }

    // The rows that the clause built so far finds.
    Ids Run() {
        ReopenBetweenSteps();
        EXPECT_TRUE(query.Execute());
        return query.Results().RowIds();
    }

    CNoSQLDatabaseInterface query{database};
};

}  // namespace quillon
