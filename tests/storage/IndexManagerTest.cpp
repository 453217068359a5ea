#include "storage/IndexManager.h"

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
        index.CollectEqual(key, rows);
        EXPECT_EQ(index.CountEqual(key), static_cast<int64_t>(rows.size()));
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
    ASSERT_TRUE(disk.index.Flush());
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

    ASSERT_TRUE(disk.index.Open(kFile));
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

TEST(Index, LoadsWhatIsSound) {
    const Bytes good = Join(Header(2, 2, 0), Record(4, -2, 0), Record(9, 6, 1), Record(1, 300, 0));
    const struct {
        const char* name;
        Bytes file;
        bool opens;
        int64_t count;
    } rows[] = {
        {"intact, deleted record skipped", good, true, 2},
        {"header alone", Header(0, 0, 0), true, 0},
        {"counts that are wrong", Join(Header(77, 99, 0), Slice(good, 72)), true, 2},
        {"any mark is deleted", WithByte(good, 72 + 19, 0x80), true, 1},
        {"version 0", WithByte(good, 50, 0), true, 2},
        {"version 2", WithByte(good, 50, 2), false, 0},
        {"version 3", WithByte(good, 50, 3), false, 0},
        {"other signature", WithByte(good, 5, 'x'), false, 0},
        {"cut header", Prefix(good, 71), false, 0},
        {"cut record", Prefix(good, good.size() - 1), false, 0},
        {"a row twice", Join(good, Record(4, 7, 0)), false, 0},
        {"empty file", {}, false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CIndexDisk disk;
        disk.files.Bytes(kFile) = row.file;
        EXPECT_EQ(disk.index.Open(kFile), row.opens);
        EXPECT_EQ(disk.index.Count(), row.count);
        EXPECT_EQ(disk.files.Bytes(kFile), row.file) << "opening writes nothing";
    }
}

TEST(Index, DoublesOrderAsNumbers) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kTiny = std::numeric_limits<double>::denorm_min();
    const double ordered[] = {-kInfinity, -1e300, -2.5, -1.0, -kTiny, -0.0,
                              0.0,        kTiny,  0.01, 1.0,  2.5,    kInfinity};
    const auto keyOf = [](double number) { return std::bit_cast<int64_t>(number); };
    for (const bool searchedFirst : {false, true}) {
        CIndexDisk disk(ColumnType::Double, true);
        ASSERT_TRUE(disk.index.Create(kFile));
        if (searchedFirst) {
            EXPECT_TRUE(disk.Equal(0).empty());
        }
        // Row ids against the order, so that it cannot come from them.
        for (int i = 0; i < 12; ++i) EXPECT_TRUE(disk.index.Add(100 - i, keyOf(ordered[i])));
        std::vector<int64_t> rows;
        disk.index.CollectRange(keyOf(-kInfinity), keyOf(kInfinity), rows);
        EXPECT_EQ(rows, (std::vector<int64_t>{100, 99, 98, 97, 96, 95, 94, 93, 92, 91, 90, 89}));
        for (int low = 0; low < 12; ++low) {
            for (int high = 0; high < 12; ++high) {
                EXPECT_EQ(disk.index.CountRange(keyOf(ordered[low]), keyOf(ordered[high])),
                          std::max(0, high - low + 1))
                    << ordered[low] << " to " << ordered[high];
            }
        }
    }
}

TEST(Index, AgreesWithATree) {
    for (const ColumnType type : {ColumnType::Int64, ColumnType::Double}) {
        std::mt19937 random(11);
        CIndexDisk disk(type, true);
        ASSERT_TRUE(disk.index.Create(kFile));
        std::map<int64_t, int64_t> oracle;  // row -> key
        const auto keyOf = [&]() -> int64_t {
            const int small = static_cast<int>(random() % 60) - 30;
            return type == ColumnType::Double ? std::bit_cast<int64_t>(small * 0.25) : small;
        };
        const auto valueOf = [&](int64_t key) {
            return type == ColumnType::Double ? std::bit_cast<double>(key)
                                              : static_cast<double>(key);
        };
        for (int step = 0; step < 3'000; ++step) {
            const int64_t row = random() % 200;
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
                        ASSERT_TRUE(disk.index.Open(kFile));
                    } else if (random() % 20 == 0) {
                        ASSERT_TRUE(disk.index.Compact());
                    } else if (random() % 4 == 0) {
                        ASSERT_TRUE(disk.journal.BeginBracket());
                        (void)disk.index.Update(row, key);
                        (void)disk.index.Remove(random() % 200);
                        disk.journal.RollbackBracket();
                    }
                    break;
                default:
                    break;
            }
            ASSERT_EQ(disk.index.Count(), static_cast<int64_t>(oracle.size()));
            if (step % 10 != 0) continue;
            std::vector<std::pair<double, int64_t>> expected;
            const int64_t high = keyOf();
            std::set<int64_t> keys;
            for (const auto& [oracleRow, oracleKey] : oracle) {
                keys.insert(oracleKey);
                if (valueOf(oracleKey) >= valueOf(key) && valueOf(oracleKey) <= valueOf(high)) {
                    expected.emplace_back(valueOf(oracleKey), oracleRow);
                }
            }
            std::sort(expected.begin(), expected.end());
            std::vector<int64_t> rows;
            disk.index.CollectRange(key, high, rows);
            ASSERT_EQ(rows.size(), expected.size());
            for (size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(rows[i], expected[i].second);
            ASSERT_EQ(disk.index.DistinctKeys(), static_cast<int64_t>(keys.size()));
            int64_t found = 0;
            ASSERT_EQ(disk.index.KeyOf(row, found), oracle.contains(row));
        }
    }
}

// An index is the rows over again: what is lost of it is made anew when the table opens.
TEST(Index, MadeAnewWhenLostOrDamaged) {
    const struct {
        const char* name;
        std::function<void(CMemoryFileSystem&)> damage;
    } rows[] = {
        {"missing", [](auto& files) { (void)files.Remove("db/Table_1_index_5.dat"); }},
        {"empty", [](auto& files) { files.Bytes("db/Table_1_index_5.dat").clear(); }},
        {"foreign", [](auto& files) { files.Bytes("db/Table_1_index_5.dat") = Text("hello"); }},
        {"cut record", [](auto& files) { files.Bytes("db/Table_1_index_5.dat").pop_back(); }},
        {"version 2", [](auto& files) { files.Bytes("db/Table_1_index_5.dat")[50] = 2; }},
        {"a row twice", [](auto& files) { files.Bytes("db/Table_1_index_5.dat")[72 + 20] = 0; }},
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
        CDatabaseManager database(files);
        ASSERT_TRUE(database.Open(kFolder));
        EXPECT_EQ(database.FindTable("Ledger")->RebuiltIndexes(),
                  std::vector<std::string>{"Table_1_index_5.dat"});
        EXPECT_EQ(CodeOf(database), 0);
        EXPECT_EQ(ContentOf(database), content);
        std::vector<int64_t> found;
        const auto* index = database.FindTable("Ledger")->FindColumn("Amount")->index;
        index->CollectRange(std::bit_cast<int64_t>(-4.5), std::bit_cast<int64_t>(-1.5), found);
        EXPECT_EQ(found, (std::vector<int64_t>{3, 2, 1}));
    }
}

}  // namespace
}  // namespace quillon
