#include "storage/blocks/DictionaryManager.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "StoreFixture.h"
#include "storage/blocks/RowMap.h"
#include "storage/index/OrderedRows.h"

namespace quillon {
namespace {

const std::string kFile = std::string(kFolder) + "Table_3_dict.dat";

Bytes Header(int64_t nextId) {
    return Join(Signature("Dictionary"), Le32(1), Le64(nextId));
}

Bytes Entry(int64_t id, int64_t offset, int64_t position, int64_t size, int deleted) {
    return Join(Le64(id), Le64(offset), Le64(position), Le64(size), Le32(deleted));
}

struct CDictionaryDisk : CJournalDisk {
    CDictionaryManager dictionary{journal};
    CDictionaryDisk() { dictionary.SetPath(CKeelString(kFile)); }
};

TEST(Dictionary, FileByteForByte) {
    CDictionaryDisk disk;
    ASSERT_TRUE(disk.dictionary.Open());
    EXPECT_EQ(disk.files.Bytes(kFile), Header(0));
    EXPECT_EQ(disk.files.Bytes(kFile).size(), 62U);
    EXPECT_EQ(disk.dictionary.Add(100, 7), 0);
    EXPECT_EQ(disk.dictionary.Add(107, 300), 1);
    EXPECT_EQ(disk.dictionary.Add(-5, 0), 2);
    ASSERT_TRUE(disk.dictionary.Flush());
    const Bytes three = Join(Header(3), Entry(0, 62, 100, 7, 0), Entry(1, 98, 107, 300, 0),
                             Entry(2, 134, -5, 0, 0));
    EXPECT_EQ(disk.files.Bytes(kFile), three);

    ASSERT_TRUE(disk.dictionary.MarkDeleted(1));
    const Bytes marked = WithByte(three, 98 + 32, 1);
    EXPECT_EQ(disk.files.Bytes(kFile), marked) << "exactly the flag's 4 bytes";
    EXPECT_TRUE(disk.dictionary.Exists(1));
    EXPECT_EQ(disk.dictionary.FindLive(1), nullptr);
    EXPECT_EQ(disk.dictionary.LiveCount(), 2);
    EXPECT_FALSE(disk.dictionary.MarkDeleted(-1));
    EXPECT_FALSE(disk.dictionary.MarkDeleted(3));

    ASSERT_TRUE(disk.dictionary.Move(2, 9, 8));
    EXPECT_TRUE(disk.dictionary.NeedsCompaction());
    ASSERT_TRUE(disk.dictionary.Compact(false));
    EXPECT_EQ(disk.files.Bytes(kFile),
              Join(Header(3), Entry(0, 62, 100, 7, 0), Entry(2, 98, 9, 8, 0)));
    EXPECT_FALSE(disk.dictionary.NeedsCompaction());
    EXPECT_EQ(disk.dictionary.Add(1, 1), 3) << "ids are never used again";
    EXPECT_EQ(disk.dictionary.GetFileSize(), 62 + 3 * 36);

    ASSERT_TRUE(disk.dictionary.Reset());
    EXPECT_EQ(disk.files.Bytes(kFile), Header(0));
    EXPECT_EQ(disk.dictionary.Add(0, 1), 0);
    ASSERT_TRUE(disk.dictionary.SkipIdsBelow(5));
    ASSERT_TRUE(disk.dictionary.SkipIdsBelow(2));
    EXPECT_EQ(disk.dictionary.Add(1, 1), 5);
    ASSERT_TRUE(disk.dictionary.DeleteFile());
    EXPECT_FALSE(disk.files.Exists(kFile));
    EXPECT_EQ(disk.dictionary.Add(0, 1), -1) << "closed";
}

TEST(Dictionary, LoadsAndRepairs) {
    struct Row {
        const char* name;
        Bytes file;
        bool opens;
        std::vector<int64_t> liveIds;
        int64_t nextId;
        Bytes afterClose;
    };
    const Bytes five = Join(Header(5), Entry(9, 62, 0, 4, 0));
    const Bytes cut = Join(Header(1), Entry(0, 62, 0, 4, 0), Prefix(Entry(1, 98, 4, 4, 0), 35));
    const Row rows[] = {
        {"next id behind the largest", five, true, {9}, 10, Join(Header(10), Slice(five, 62))},
        {"next id ahead",
         Join(Header(50), Entry(9, 62, 0, 4, 0)),
         true,
         {9},
         50,
         Join(Header(50), Entry(9, 62, 0, 4, 0))},
        {"a deleted entry counts for the next id",
         Join(Header(0), Entry(3, 62, 0, 4, 1)),
         true,
         {},
         4,
         Join(Header(4), Entry(3, 62, 0, 4, 1))},
        {"duplicates are dropped, the first stays",
         Join(Header(3), Entry(1, 62, 0, 4, 0), Entry(1, 98, 50, 60, 0), Entry(2, 134, 4, 4, 0)),
         true,
         {1, 2},
         3,
         Join(Header(3), Entry(1, 62, 0, 4, 0), Entry(2, 98, 4, 4, 0))},
        {"unusable slots are passed over",
         Join(Header(1), Entry(-1, 62, 0, 4, 0), Entry(0, 98, 0, 4, 0)),
         true,
         {0},
         1,
         Join(Header(1), Entry(-1, 62, 0, 4, 0), Entry(0, 98, 0, 4, 0))},
        {"a cut entry is not one", cut, true, {0}, 1, cut},
        {"negative next id",
         Join(Header(-3), Entry(0, 62, 0, 4, 0)),
         true,
         {0},
         1,
         Join(Header(1), Entry(0, 62, 0, 4, 0))},
        {"version 2", WithByte(five, 50, 2), false, {}, 0, WithByte(five, 50, 2)},
        {"empty file", {}, false, {}, 0, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        CDictionaryDisk disk;
        disk.files.Bytes(kFile) = row.file;
        ASSERT_EQ(disk.dictionary.Open(), row.opens);
        EXPECT_FALSE(disk.dictionary.LoadFailed());
        std::vector<int64_t> live;
        disk.dictionary.Walk([&](int64_t id, const DictionaryEntry& entry) {
            if (!entry.deleted) live.push_back(id);
            return true;
        });
        EXPECT_EQ(live, row.liveIds);
        if (row.opens) {
            EXPECT_EQ(disk.dictionary.NextId(), row.nextId);
        }
        EXPECT_EQ(disk.dictionary.Close(), row.opens);
        EXPECT_EQ(disk.files.Bytes(kFile), row.afterClose);
    }
}

TEST(Dictionary, TheLastIdOfAllIsNotPassed) {
    CDictionaryDisk disk;
    disk.files.Bytes(kFile) = Join(Header(0), Entry(INT64_MAX - 1, 62, 0, 4, 0));
    ASSERT_TRUE(disk.dictionary.Open());
    EXPECT_EQ(disk.dictionary.Add(0, 1), -1);
    EXPECT_EQ(disk.dictionary.LiveCount(), 1);
}

TEST(Dictionary, EntriesAfterACutOneAreWrittenOverIt) {
    CDictionaryDisk disk;
    disk.files.Bytes(kFile) =
        Join(Header(1), Entry(0, 62, 0, 4, 0), Prefix(Entry(1, 98, 4, 4, 0), 20));
    ASSERT_TRUE(disk.dictionary.Open());
    EXPECT_EQ(disk.dictionary.Add(8, 9), 1);
    ASSERT_TRUE(disk.dictionary.Close());
    EXPECT_EQ(disk.files.Bytes(kFile),
              Join(Header(2), Entry(0, 62, 0, 4, 0), Entry(1, 98, 8, 9, 0)));
}

TEST(Dictionary, RollbackRestoresEntriesAndNextId) {
    CDictionaryDisk disk;
    ASSERT_TRUE(disk.dictionary.Open());
    EXPECT_EQ(disk.dictionary.Add(0, 4), 0);
    EXPECT_EQ(disk.dictionary.Add(4, 4), 1);
    const auto snapshot = disk.files.Snapshot();
    for (const bool compact : {false, true}) {
        ASSERT_TRUE(disk.journal.BeginBatch());
        EXPECT_EQ(disk.dictionary.Add(8, 4), 2);
        ASSERT_TRUE(disk.dictionary.MarkDeleted(0));
        ASSERT_TRUE(disk.dictionary.Move(1, 77, 7));
        ASSERT_TRUE(disk.dictionary.SkipIdsBelow(90));
        if (compact) {
            ASSERT_TRUE(disk.dictionary.Compact(true));
        }
        disk.journal.RollbackBatch();
        EXPECT_EQ(disk.dictionary.NextId(), 2);
        EXPECT_EQ(disk.dictionary.LiveCount(), 2);
        EXPECT_FALSE(disk.dictionary.Exists(2));
        ASSERT_NE(disk.dictionary.FindLive(0), nullptr);
        EXPECT_EQ(disk.dictionary.FindLive(1)->position, 4);
        EXPECT_EQ(disk.files.Snapshot(), snapshot);
    }
    EXPECT_EQ(disk.dictionary.Add(8, 4), 2);
}

// When the file cannot be read back, no id is given out from half a map.
TEST(Dictionary, RollbackThatCannotReadGivesNoIds) {
    CDictionaryDisk disk;
    ASSERT_TRUE(disk.dictionary.Open());
    EXPECT_EQ(disk.dictionary.Add(0, 4), 0);
    ASSERT_TRUE(disk.journal.BeginBatch());
    EXPECT_EQ(disk.dictionary.Add(4, 4), 1);
    disk.files.FailNth(CMemoryFileSystem::Call::Read, 2);
    disk.journal.RollbackBatch();
    disk.files.StopFailing();
    EXPECT_EQ(disk.dictionary.Add(4, 4), -1);
    EXPECT_EQ(disk.dictionary.Find(0), nullptr);
}

TEST(RowMap, AgreesWithATree) {
    struct Slot {
        uint32_t record = 0;
        int64_t value = 0;
    };
    std::mt19937 random(5);
    CRowMap<Slot> map;
    std::map<int64_t, int64_t> oracle;
    const auto randomId = [&]() -> int64_t {
        switch (random() % 6) {
            case 0:
                return -1 - static_cast<int64_t>(random() % 50);
            case 1:
                return INT64_MAX - static_cast<int64_t>(random() % 50);
            case 2:
                return 65'000 + static_cast<int64_t>(random() % 2'000);  // around the limit
            case 3:
                return 1'023 + static_cast<int64_t>(random() % 3);  // around a page's end
            default:
                return static_cast<int64_t>(random() % 3'000);
        }
    };
    for (int step = 0; step < 20'000; ++step) {
        const int64_t id = randomId();
        if (random() % 3 == 0) {
            EXPECT_EQ(map.Erase(id), oracle.erase(id) == 1);
        } else if (!map.Find(id)) {
            map.Insert(id, {1, step});
            EXPECT_TRUE(oracle.emplace(id, step).second);
        }
        const Slot* found = map.Find(id);
        ASSERT_EQ(found != nullptr, oracle.contains(id));
        if (found) {
            EXPECT_EQ(found->value, oracle[id]);
        }
    }
    EXPECT_EQ(map.Count(), static_cast<int64_t>(oracle.size()));
    std::vector<std::pair<int64_t, int64_t>> walked;
    map.Walk([&](int64_t id, const Slot& slot) {
        walked.emplace_back(id, slot.value);
        return true;
    });
    EXPECT_EQ(walked, (std::vector<std::pair<int64_t, int64_t>>(oracle.begin(), oracle.end())))
        << "ascending, ids outside the array in their place";
}

TEST(OrderedRows, AgreesWithASet) {
    std::mt19937 random(7);
    std::map<int64_t, int64_t> values;  // row -> value
    const auto valueOf = [&](int64_t row) { return values.at(row); };
    std::set<std::pair<int64_t, int64_t>> oracle;
    COrderedRows rows;
    for (int64_t row = 0; row < 6'000; ++row) {
        // Ascending first (full blocks), then mixed with many equal values.
        const int64_t value = row < 2'000 ? row : static_cast<int64_t>(random() % 300);
        values[row] = value;
        rows.Insert(value, row, valueOf);
        oracle.emplace(value, row);
        if (random() % 3 != 0) continue;
        const auto victim = std::next(oracle.begin(), static_cast<int>(random() % oracle.size()));
        const auto [gone, goneRow] = *victim;
        EXPECT_TRUE(rows.Erase(gone, goneRow, valueOf));
        oracle.erase(victim);
        EXPECT_FALSE(rows.Erase(gone, goneRow, valueOf));
    }
    ASSERT_EQ(rows.Count(), oracle.size());
    for (int64_t low = -1; low < 2'050; low += 7) {
        const int64_t high = low + static_cast<int64_t>(random() % 120);
        const auto from = rows.LowerBound(low, INT64_MIN, valueOf);
        const auto to = rows.LowerBound(high, INT64_MIN, valueOf);
        std::vector<int64_t> found;
        rows.Append(from, to, found);
        std::vector<int64_t> expected;
        for (auto it = oracle.lower_bound({low, INT64_MIN}); it != oracle.end() && it->first < high;
             ++it) {
            expected.push_back(it->second);
        }
        ASSERT_EQ(found, expected) << low << " to " << high;
        EXPECT_EQ(rows.CountBetween(from, to), static_cast<int64_t>(expected.size()));
    }
}

}  // namespace
}  // namespace quillon
