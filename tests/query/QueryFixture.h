#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "query/NoSQLDatabaseInterface.h"
#include "storage/DatabaseManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

using Ids = std::vector<int64_t>;

// An empty database on a disk in memory.
class QueryFixture : public testing::Test {
protected:
    static constexpr const char* kFolder = "ledger";

    QueryFixture() { EXPECT_TRUE(database.Open(kFolder)); }
    ~QueryFixture() override { database.Close(); }

    void Reopen() {
        query.Reset();
        ASSERT_TRUE(database.Close());
        ASSERT_TRUE(database.Open(kFolder));
    }

    // The rows that the clause built so far finds.
    Ids Run() {
        EXPECT_TRUE(query.Execute());
        return query.Results().RowIds();
    }

    CMemoryFileSystem disk;
    CDatabaseManager database{disk};
    CNoSQLDatabaseInterface query{database};
};

}  // namespace quillon
