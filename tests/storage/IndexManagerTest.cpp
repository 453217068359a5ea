#include "storage/index/IndexManager.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>

#include "StoreFixture.h"

namespace quillon {
namespace {

const std::string kFile = std::string(kFolder) + "Table_3_index_5.dat";

Bytes Header(int64_t keys, int64_t live, int attribute) {
    return Join(Signature("Index"), Le32(1), Le64(keys), Le64(live), Le16(attribute));
}

Bytes Record(int64_t row, int64_t key, int deleted) {
    return Join(Le64(row), Le64(key), Le32(deleted));
}

struct CIndexDisk : CJournalDisk {
    CIndexManager index;
    explicit CIndexDisk(ColumnType type = ColumnType::Int64, bool attribute = false)
        : index(journal, type, attribute) {}
    std::vector<int64_t> Equal(int64_t key) {
        std::vector<int64_t> rows;
        EXPECT_GE(index.EstimateEqual(key), 0);
        index.CollectEqual(key, rows);
        std::sort(rows.begin(), rows.end());
        return rows;
    }
};

TEST(Index, FileByteForByte) {
    CIndexDisk disk(ColumnType::Int64, true);
    ASSERT_TRUE(disk.index.Create(kFile));
    EXPECT_EQ(disk.files.Bytes(kFile), Header(0, 0, 1));
    EXPECT_EQ(disk.files.Bytes(kFile).size(), 72U);
    EXPECT_TRUE(disk.index.Add(4, -2));
    EXPECT_TRUE(disk.index.Add(1, 300));
    EXPECT_TRUE(disk.index.Add(7, 300));
    EXPECT_FALSE(disk.index.Add(7, 5)) << "one key a row";
    ASSERT_TRUE(disk.index.SaveHeader());
    EXPECT_EQ(disk.files.Bytes(kFile),
              Join(Header(2, 3, 1), Record(4, -2, 0), Record(1, 300, 0), Record(7, 300, 0)));

    // Another key for a row: the old record is marked, a new one appended.
    EXPECT_TRUE(disk.index.Update(1, 8));
    EXPECT_TRUE(disk.index.Update(7, 300));
    EXPECT_TRUE(disk.index.Remove(4));
    EXPECT_FALSE(disk.index.Remove(4));
    ASSERT_TRUE(disk.index.Close());
    const Bytes grown = Join(Header(2, 2, 1), Record(4, -2, 1), Record(1, 300, 1),
                             Record(7, 300, 0), Record(1, 8, 0));
    EXPECT_EQ(disk.files.Bytes(kFile), grown);

    ASSERT_EQ(disk.index.Open(kFile), IndexLoad::Ok);
    EXPECT_EQ(disk.index.Count(), 2);
    EXPECT_EQ(disk.Equal(300), std::vector<int64_t>{7});
    EXPECT_EQ(disk.Equal(-2), std::vector<int64_t>{});
    EXPECT_TRUE(disk.index.NeedsCompaction());
    ASSERT_TRUE(disk.index.Compact());
    EXPECT_EQ(disk.files.Bytes(kFile), Join(Header(2, 2, 1), Record(1, 8, 0), Record(7, 300, 0)));
    EXPECT_EQ(disk.Equal(8), std::vector<int64_t>{1});
    EXPECT_TRUE(disk.index.Remove(1)) << "records know their new places";
    EXPECT_EQ(Slice(disk.files.Bytes(kFile), 72, 20), Record(1, 8, 1));
}

constexpr IndexLoad kOk = IndexLoad::Ok;
constexpr IndexLoad kDamaged = IndexLoad::Damaged;

TEST(Index, LoadsWhatIsSound) {
    const Bytes good = Join(Header(2, 2, 0), Record(4, -2, 0), Record(9, 6, 1), Record(1, 300, 0));
    const struct {
        const char* name;
        Bytes file;
        IndexLoad opened;
        IndexLoad loaded;
        int64_t count;
    } rows[] = {
        {"intact, deleted record skipped", good, kOk, kOk, 2},
        {"header alone", Header(0, 0, 0), kOk, kOk, 0},
        {"counts that are wrong", Join(Header(77, 99, 0), Slice(good, 72)), kOk, kOk, 2},
        {"any mark is deleted", WithByte(good, 72 + 19, 0x80), kOk, kOk, 1},
        {"version 2", WithByte(good, 50, 2), IndexLoad::NewerVersion, kDamaged, 0},
        {"cut record", Prefix(good, good.size() - 1), kDamaged, kDamaged, 0},
        {"a row twice", Join(good, Record(4, 7, 0)), kOk, kDamaged, 0},
        {"empty file", {}, kDamaged, kDamaged, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CIndexDisk disk;
        disk.files.Bytes(kFile) = row.file;
        EXPECT_EQ(disk.index.Open(kFile), row.opened);
        EXPECT_EQ(disk.index.Load(), row.loaded);
        EXPECT_EQ(disk.index.Count(), row.count);
        EXPECT_EQ(disk.index.Add(77, 7), row.loaded == kOk) << "what is not loaded is not changed";
        EXPECT_EQ(disk.files.Bytes(kFile).size(), row.file.size() + (row.loaded == kOk ? 20 : 0));
    }
}

TEST(Index, DoublesOrderAsNumbers) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kTiny = std::numeric_limits<double>::denorm_min();
    const double ordered[] = {-kInfinity, -1e300, -2.5, -1.0, -kTiny, -0.0,
                              0.0,        kTiny,  0.01, 1.0,  2.5,    kInfinity};
    const auto keyOf = [](double number) { return std::bit_cast<int64_t>(number); };
    CIndexDisk disk(ColumnType::Double, true);
    ASSERT_TRUE(disk.index.Create(kFile));
    // Row ids against the order, so that it cannot come from them.
    for (int i = 0; i < 12; ++i) EXPECT_TRUE(disk.index.Add(100 - i, keyOf(ordered[i])));
    for (int search = 0; search < 2 * 144; ++search) {
        if (search == 144) disk.index.SortAfter(0);
        const int low = search % 12;
        const int high = search / 12 % 12;
        std::vector<int64_t> expected;
        for (int i = high; i >= low; --i) expected.push_back(100 - i);
        std::vector<int64_t> rows;
        disk.index.CollectRange(keyOf(ordered[low]), keyOf(ordered[high]), rows);
        std::sort(rows.begin(), rows.end());
        EXPECT_EQ(rows, expected) << ordered[low] << " to " << ordered[high];
        EXPECT_GE(disk.index.EstimateRange(keyOf(ordered[low]), keyOf(ordered[high])),
                  static_cast<int64_t>(rows.size()));
    }
}

// Rows on several pages, keys of every width, whole days and cents and others, both without
// and with the order built; the header's counts, however they were come by.
TEST(Index, AgreesWithATree) {
    const struct {
        ColumnType type;
        double unit;     // of doubles, or ticks
        int exceptions;  // one key of so many is no whole number of units
        int64_t sortAfter;
    } rows[] = {
        {ColumnType::Int64, 1.0, 1'000'000, 16},
        {ColumnType::Double, 0.25, 1'000'000, 16},
        {ColumnType::Double, 0.01, 1'000'000, 1'000'000},
        {ColumnType::Double, 0.01, 20, 1'000'000},
        {ColumnType::DateTime, 864e9, 1'000'000, 1'000'000},
        {ColumnType::DateTime, 864e9, 20, 0},
    };
    for (const auto& kind : rows) {
        const ColumnType type = kind.type;
        SCOPED_TRACE(testing::Message() << static_cast<int>(type) << ", 1 of " << kind.exceptions);
        std::mt19937 random(11);
        CIndexDisk disk(type, true);
        disk.index.SortAfter(kind.sortAfter);
        ASSERT_TRUE(disk.index.Create(kFile));
        std::map<int64_t, int64_t> oracle;  // row -> key
        const auto keyOf = [&]() -> int64_t {
            const int64_t small = static_cast<int64_t>(random() % 60) - 30;
            const bool whole = random() % static_cast<unsigned>(kind.exceptions) != 0;
            const double number = (static_cast<double>(small) + (whole ? 0.0 : 0.3)) * kind.unit;
            if (type == ColumnType::Double) return std::bit_cast<int64_t>(number);
            if (type == ColumnType::DateTime) return static_cast<int64_t>(number);
            return small * (int64_t{1} << random() % 4 * 16);
        };
        const auto valueOf = [&](int64_t key) {
            return type == ColumnType::Double ? std::bit_cast<double>(key)
                                              : static_cast<double>(key);
        };
        for (int step = 0; step < 3'000; ++step) {
            const int64_t row = random() % 200 * 17;
            const int64_t key = keyOf();
            switch (random() % 6) {
                case 0:
                case 1:
                    EXPECT_EQ(disk.index.Add(row, key), oracle.emplace(row, key).second);
                    break;
                case 2:
                    EXPECT_TRUE(disk.index.Update(row, key));
                    oracle[row] = key;
                    break;
                case 3:
                    EXPECT_EQ(disk.index.Remove(row), oracle.erase(row) == 1);
                    break;
                case 4:
                    if (random() % 20 == 0) {
                        ASSERT_TRUE(disk.index.Close());
                        std::set<int64_t> keys;
                        for (const auto& [oracleRow, oracleKey] : oracle) keys.insert(oracleKey);
                        const auto live = static_cast<int64_t>(oracle.size());
                        ASSERT_EQ(Slice(disk.files.Bytes(kFile), 0, 72),
                                  Header(static_cast<int64_t>(keys.size()), live, 1));
                        ASSERT_EQ(disk.index.Open(kFile), IndexLoad::Ok);
                    } else if (random() % 20 == 0) {
                        ASSERT_TRUE(disk.index.Compact());
                    } else if (random() % 4 == 0) {
                        ASSERT_TRUE(disk.journal.BeginBatch());
                        (void)disk.index.Update(row, key);
                        (void)disk.index.Remove(random() % 200 * 17);
                        disk.journal.RollbackBatch();
                    }
                    break;
                default:
                    break;
            }
            if (step % 10 != 0) continue;
            std::vector<int64_t> expected;
            const int64_t high = keyOf();
            std::set<int64_t> keys;
            for (const auto& [oracleRow, oracleKey] : oracle) {
                keys.insert(oracleKey);
                if (valueOf(oracleKey) >= valueOf(key) && valueOf(oracleKey) <= valueOf(high)) {
                    expected.push_back(oracleRow);
                }
            }
            std::vector<int64_t> rows;
            disk.index.CollectRange(key, high, rows);
            std::sort(rows.begin(), rows.end());
            ASSERT_EQ(rows, expected);
            ASSERT_EQ(disk.index.Count(), static_cast<int64_t>(oracle.size()));
            ASSERT_EQ(disk.index.DistinctKeys(), static_cast<int64_t>(keys.size()));
            int64_t found = 0;
            ASSERT_EQ(disk.index.KeyOf(row, found), oracle.contains(row));
        }
    }
}

TEST(Index, CountsInAHeaderAreBelievedOnlyIfTheRecordsCanHaveThem) {
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    for (const auto& counts : {std::pair{kMost, kMost}, {-1, 1}, {2, 1}, {1, 2}, {0, -kMost}}) {
        SCOPED_TRACE(testing::Message() << counts.first << " keys, " << counts.second << " rows");
        CIndexDisk disk;
        disk.files.Bytes(kFile) = Join(Header(counts.first, counts.second, 0), Record(7, 70, 0));
        ASSERT_EQ(disk.index.Open(kFile), IndexLoad::Ok);
        ASSERT_TRUE(disk.index.Update(7, 71) && disk.index.Close());
        EXPECT_EQ(Slice(disk.files.Bytes(kFile), 0, 72), Header(1, 1, 0));
    }
}

// An index is the rows over again: what is lost of it is made anew, and told.
TEST(Index, MadeAnewWhenLostOrDamaged) {
    constexpr const char* kPath = "db/Table_1_index_5.dat";
    enum class Found { AtOpening, AtFirstUse, Refused };
    const struct {
        const char* name;
        std::function<void(CMemoryFileSystem&)> damage;
        Found found = Found::AtOpening;
    } rows[] = {
        {"missing", [](auto& files) { (void)files.Remove(kPath); }},
        {"empty", [](auto& files) { files.Bytes(kPath).clear(); }},
        {"foreign", [](auto& files) { files.Bytes(kPath) = Text("hello"); }},
        {"cut record", [](auto& files) { files.Bytes(kPath).pop_back(); }},
        {"version 2", [](auto& files) { files.Bytes(kPath)[50] = 2; }, Found::Refused},
        {"a row twice", [](auto& files) { files.Bytes(kPath)[72 + 20] = 0; }, Found::AtFirstUse},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem files;
        DatabaseContent content;
        {
            CDatabaseManager database(files);
            ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
            for (int i = 0; i < 5; ++i) {
                ASSERT_EQ(AddLedgerRow(database, {"n", i, i * -1.5, ""}), i);
            }
            content = ContentOf(database);
        }
        row.damage(files);
        const Bytes damaged = files.Exists(kPath) ? files.Bytes(kPath) : Bytes();
        CDatabaseManager database(files);
        ASSERT_EQ(database.Open(kFolder), row.found != Found::Refused);
        if (row.found == Found::Refused) {
            EXPECT_EQ(database.Problem(), DatabaseProblem::NewerVersion);
            EXPECT_EQ(database.ProblemDetail(), kPath);
            EXPECT_EQ(files.Bytes(kPath), damaged);
            continue;
        }
        const std::vector<std::string> told{"Table_1_index_5.dat"};
        EXPECT_EQ(database.RebuiltIndexes() == told, row.found == Found::AtOpening);
        const CTableManager& table = *database.FindTable("Ledger");
        const CTableColumn& amount = *table.FindColumn("Amount");
        ASSERT_TRUE(table.LoadIndex(amount));
        EXPECT_EQ(database.RebuiltIndexes(), told);
        std::vector<int64_t> rowIds;
        amount.index->CollectRange(std::bit_cast<int64_t>(-4.5), std::bit_cast<int64_t>(-1.5),
                                   rowIds);
        EXPECT_EQ(rowIds, (std::vector<int64_t>{1, 2, 3}));
        EXPECT_EQ(CodeOf(database), 0);
        EXPECT_EQ(ContentOf(database), content);
        EXPECT_TRUE(database.Close());
        EXPECT_TRUE(database.Open(kFolder) && CodeOf(database) == 0);
        EXPECT_TRUE(database.RebuiltIndexes().empty()) << "made anew for good";
    }
}

}  // namespace
}  // namespace quillon
