// A computer that loses its power somewhere in a long life. Shorter work, cut before every
// change, is what quillon-faults does.

#include <gtest/gtest.h>

#include <random>

#include "StoreFixture.h"
#include "support/PowerCutDisk.h"

namespace quillon {
namespace {

// A database with free room, deleted entries, unflushed commits and something in the journal.
bool Prepare(CDatabaseManager& database) {
    bool done = database.Open(kFolder) && MakeLedgerTable(database);
    for (int i = 0; i < 6; ++i) {
        done = done &&
               AddLedgerRow(database, {"n" + std::to_string(i), i, i * 1.5, WordyText(i)}) == i;
    }
    done = done && database.AddBlob(Text(WordyText(1))) == 0 && database.AddBlob(Text("b")) == 1 &&
           database.AddBlob(Text("c")) == 2;
    done = done && database.DeleteRow("Ledger", 0) && database.Flush();
    return done && database.DeleteRow("Ledger", 2) &&
           ChangeLedgerRow(database, 5, {"five", 5, 5, "other"});
}

// What the commit would make of it shows inside the bracket.
bool Attempt(CDatabaseManager& database, std::mt19937& random, DatabaseContent& attempted) {
    const auto number = static_cast<int>(random() % 50);
    const auto kind = random() % 6;
    if (kind == 0) return database.Flush();
    if (kind == 1) return database.RemoveDeleted();
    if (!database.BeginBatch()) return false;
    (void)AddLedgerRow(database, {WordyText(number), number, 0.5, "m"});
    if (kind == 2) {
        (void)AddLedgerRow(database, {"batch", number, 2, ""});
        (void)database.DeleteRow("Ledger", number % 8);
    }
    attempted = ContentOf(database);
    return database.CommitBatch();
}

TEST(DatabaseCrash, PowerCutsInALongLife) {
    for (uint32_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        CPowerCutDisk disk;
        CDatabaseManager database(disk);
        ASSERT_TRUE(Prepare(database));
        DatabaseContent acknowledged = ContentOf(database);
        DatabaseContent attempted = acknowledged;
        int64_t callsLeft = 1 + static_cast<int64_t>(random() % 400);
        int64_t cuts = 0;
        const CutPlan plan{.mostSteps = 2, .subsets = 4, .everySubset = false, .seed = seed};
        disk.OnChange([&](const std::string& call) {
            if (--callsLeft != 0) return;
            disk.ForEachCut(plan, [&](const DiskImage& image, const std::string& what) {
                SCOPED_TRACE(call + ", " + what);
                ++cuts;
                int code = -1;
                const DatabaseContent found = ContentAfterCrash(image.files, code);
                EXPECT_EQ(code, 0);
                EXPECT_TRUE(found == acknowledged || found == attempted);
            });
        });
        for (int step = 0; step < 1000 && callsLeft > 0; ++step) {
            ASSERT_TRUE(Attempt(database, random, attempted));
            acknowledged = attempted;
        }
        EXPECT_GT(cuts, 0);
    }
}

}  // namespace
}  // namespace quillon
