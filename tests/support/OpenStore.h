#pragma once

#include <gtest/gtest.h>

#include <type_traits>

#include "support/MemoryFileSystem.h"
#include "support/Reopening.h"

namespace quillon {

// An open store, new, on a disk in memory. Database is what the tests are about: the record
// store itself, or the ledger on it.
template <class Database>
class COpenStore : public testing::Test {
protected:
    static constexpr const char* kFolder = "ledger";

    COpenStore() { Open(); }

    void Open() {
        const auto result = database.Open(kFolder);
        if constexpr (std::is_same_v<decltype(result), const bool>) {
            ASSERT_TRUE(result);
        } else {
            ASSERT_TRUE(result.opened);
        }
    }
    void Reopen() {
        ASSERT_TRUE(database.Close());
        Open();
    }
    void ReopenBetweenSteps() {
        if (ReopensBetweenSteps()) COpenStore::Reopen();
    }

    CMemoryFileSystem disk;
    Database database{disk};
};

}  // namespace quillon
