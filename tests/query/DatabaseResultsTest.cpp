// Reading and sorting what a query found.
#include <limits>
#include <string>
#include <vector>

#include "QueryFixture.h"
#include "support/SampleStore.h"

namespace quillon {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Entry {
    const char* text;  // null: none
    bool boolean;
    int32_t int32;
    int64_t int64;
    double number;
    int64_t dateTime;
};

// Rows 0 to 6.
constexpr Entry kEntries[] = {
    {"Banana", true, 3, 5'000'000'000, 12.34, 300},
    {"apple", false, -3, -5'000'000'000, -0.0, 100},
    {"Éclair", true, 0, 0, kNaN, 200},
    {"Apple", false, INT32_MIN, INT64_MIN, kInf, 100},
    {nullptr, true, INT32_MAX, INT64_MAX, 0.0, INT64_MIN},  // the last of all file times
    {"éclair", false, 3, 1, -kInf, 0},
    {"a text of more than thirty-three bytes, which is compressed", true, 1, 2, -12.34, 250},
};

class DatabaseResults : public QueryFixture {
protected:
    void SetUp() override {
        ASSERT_NE(database.CreateTable("Sample"), nullptr);
        // Indexed and not, so that values come from memory and from the record.
        ASSERT_TRUE(
            AddColumns(database, "Sample",
                       "Text/0/i Boolean/1 Int32/2/i Int64/3 Double/4 DateTime/5/i Memo/0"));
        for (const Entry& entry : kEntries) {
            ASSERT_TRUE(database.BeginRow("Sample"));
            if (entry.text) {
                ASSERT_TRUE(database.SetText("Text", entry.text));
            }
            database.SetBoolean("Boolean", entry.boolean);
            database.SetInt32("Int32", entry.int32);
            database.SetInt64("Int64", entry.int64);
            database.SetDouble("Double", entry.number);
            database.SetDateTime("DateTime", entry.dateTime);
            ASSERT_GE(database.CommitRow(), 0);
        }
        ASSERT_TRUE(query.SetTable("Sample"));
        ASSERT_TRUE(query.Execute());
    }

    CNoSQLDatabaseResults& results = query.Results();
};

TEST_F(DatabaseResults, ReadsEveryTypeByNameAndPosition) {
    ASSERT_EQ(results.Count(), 7);
    for (int64_t position = 0; position < results.Count(); ++position) {
        SCOPED_TRACE(position);
        const Entry& entry = kEntries[position];
        CKeelString text = "before";
        bool boolean = !entry.boolean;
        int32_t int32 = 77;
        int64_t int64 = 77;
        int64_t rowId = 77;
        int64_t dateTime = 77;
        double number = 77;
        EXPECT_TRUE(results.ReadText("Text", position, text));
        EXPECT_EQ(text, entry.text ? entry.text : "");
        EXPECT_TRUE(results.ReadBoolean("Boolean", position, boolean));
        EXPECT_EQ(boolean, entry.boolean);
        EXPECT_TRUE(results.ReadInt32("Int32", position, int32));
        EXPECT_EQ(int32, entry.int32);
        EXPECT_TRUE(results.ReadInt64("Int64", position, int64));
        EXPECT_EQ(int64, entry.int64);
        EXPECT_TRUE(results.ReadDouble("Double", position, number));
        EXPECT_TRUE(number == entry.number || (number != number && entry.number != entry.number));
        EXPECT_TRUE(results.ReadDateTime("DateTime", position, dateTime));
        EXPECT_EQ(dateTime, entry.dateTime);
        EXPECT_TRUE(results.ReadInt64(kRowIdColumnName, position, rowId));
        EXPECT_EQ(rowId, position);
        EXPECT_EQ(results.RowIdAt(position), position);
    }
}

TEST_F(DatabaseResults, RefusedReadsLeaveTheTargetAlone) {
    int64_t int64 = 77;
    int32_t int32 = 77;
    CKeelString text = "before";
    EXPECT_FALSE(results.ReadInt64("Int64", -1, int64));
    EXPECT_FALSE(results.ReadInt64("Int64", 7, int64));
    EXPECT_FALSE(results.ReadInt64("Int65", 0, int64));
    EXPECT_FALSE(results.ReadInt64("Int32", 0, int64));
    EXPECT_FALSE(results.ReadInt64("DateTime", 0, int64));
    EXPECT_FALSE(results.ReadInt32(kRowIdColumnName, 0, int32));
    EXPECT_FALSE(results.ReadText("Int64", 0, text));
    EXPECT_EQ(results.RowIdAt(-1), -1);
    EXPECT_EQ(results.RowIdAt(7), -1);
    query.ReleaseResults();
    EXPECT_EQ(results.Count(), 0);
    EXPECT_FALSE(results.ReadInt64("Int64", 0, int64));
    EXPECT_FALSE(results.Sort("Int64"));
    EXPECT_EQ(int64, 77);
    EXPECT_EQ(int32, 77);
    EXPECT_EQ(text, "before");
}

// Whatever was read of the row before must not stand in the way.
TEST_F(DatabaseResults, ReadsSeeChangesAndDeletionsAtOnce) {
    CKeelString text;
    double number = 0;
    ASSERT_TRUE(results.ReadText("Text", 0, text));
    ASSERT_TRUE(results.ReadDouble("Double", 0, number));
    ASSERT_TRUE(database.BeginRowUpdate("Sample", 0));
    ASSERT_TRUE(database.SetText("Text", "Cherry") && database.SetDouble("Double", 1.25));
    ASSERT_EQ(database.CommitRow(), 0);
    EXPECT_TRUE(results.ReadText("Text", 0, text));
    EXPECT_EQ(text, "Cherry");
    EXPECT_TRUE(results.ReadDouble("Double", 0, number));
    EXPECT_EQ(number, 1.25);

    ASSERT_TRUE(database.BeginBatch());
    ASSERT_TRUE(database.BeginRowUpdate("Sample", 0));
    ASSERT_TRUE(database.SetDouble("Double", 99));
    ASSERT_EQ(database.CommitRow(), 0);
    EXPECT_TRUE(results.ReadDouble("Double", 0, number));
    EXPECT_EQ(number, 99);
    database.RollbackBatch();
    EXPECT_TRUE(results.ReadDouble("Double", 0, number));
    EXPECT_EQ(number, 1.25);

    ASSERT_TRUE(database.DeleteRow("Sample", 0));
    int64_t rowId = 77;
    int32_t int32 = 77;
    EXPECT_FALSE(results.ReadText("Text", 0, text));
    EXPECT_FALSE(results.ReadDouble("Double", 0, number));
    EXPECT_FALSE(results.ReadInt32("Int32", 0, int32));
    EXPECT_FALSE(results.ReadInt64(kRowIdColumnName, 0, rowId));
    EXPECT_EQ(results.Count(), 7);
    EXPECT_EQ(results.RowIdAt(0), 0);
    EXPECT_TRUE(results.ReadText("Text", 1, text));
    EXPECT_EQ(text, "apple");
}

TEST_F(DatabaseResults, SortsByEveryTypeAndKeepsEqualRowsInOrder) {
    const struct {
        const char* column;
        SortDirection direction;
        Ids rows;
    } rows[] = {
        {"Text", SortDirection::Ascending, {4, 6, 1, 3, 0, 2, 5}},
        {"Text", SortDirection::Descending, {2, 5, 0, 1, 3, 6, 4}},
        {"Boolean", SortDirection::Ascending, {1, 3, 5, 0, 2, 4, 6}},
        {"Boolean", SortDirection::Descending, {0, 2, 4, 6, 1, 3, 5}},
        {"Int32", SortDirection::Ascending, {3, 1, 2, 6, 0, 5, 4}},
        {"Int32", SortDirection::Descending, {4, 0, 5, 6, 2, 1, 3}},
        {"Int64", SortDirection::Ascending, {3, 1, 2, 5, 6, 0, 4}},
        {"Double", SortDirection::Ascending, {5, 6, 1, 4, 0, 3, 2}},  // -0.0 equals 0.0
        {"Double", SortDirection::Descending, {2, 3, 0, 1, 4, 6, 5}},
        {"DateTime", SortDirection::Ascending, {5, 1, 3, 2, 6, 0, 4}},
        {"Memo", SortDirection::Ascending, {0, 1, 2, 3, 4, 5, 6}},
        {kRowIdColumnName, SortDirection::Descending, {6, 5, 4, 3, 2, 1, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.column);
        ASSERT_TRUE(query.Execute());
        EXPECT_TRUE(results.Sort(row.column, row.direction));
        EXPECT_EQ(results.RowIds(), row.rows);
    }
    EXPECT_FALSE(results.Sort("Int65"));
    EXPECT_EQ(results.RowIds(), rows[std::size(rows) - 1].rows);
}

TEST_F(DatabaseResults, ReadsFollowTheSortedOrderAndSortingTwiceOrdersByTwoColumns) {
    ASSERT_TRUE(results.Sort("Int64", SortDirection::Descending));
    ASSERT_TRUE(results.Sort("Boolean"));
    EXPECT_EQ(results.RowIds(), (Ids{5, 1, 3, 4, 0, 6, 2}));
    CKeelString text;
    ASSERT_TRUE(results.ReadText("Text", 4, text));
    EXPECT_EQ(text, "Banana");
}

TEST_F(DatabaseResults, SortingSurvivesDeletedRows) {
    ASSERT_TRUE(database.DeleteRow("Sample", 0));
    ASSERT_TRUE(database.DeleteRow("Sample", 3));
    EXPECT_TRUE(results.Sort("Text"));
    // Deleted rows have no key; they stay in the result, in front.
    EXPECT_EQ(results.RowIds(), (Ids{0, 3, 4, 6, 1, 2, 5}));
}

TEST_F(DatabaseResults, SeveralColumnsOfARowCostOneReadOfItsRecord) {
    const auto reads = [&] { return disk.Count(CMemoryFileSystem::Call::Read); };
    bool boolean = false;
    int64_t int64 = 0;
    double number = 0;
    ASSERT_TRUE(results.ReadBoolean("Boolean", 2, boolean));
    const int64_t before = reads();
    EXPECT_TRUE(results.ReadInt64("Int64", 2, int64));
    EXPECT_TRUE(results.ReadDouble("Double", 2, number));
    EXPECT_TRUE(results.ReadBoolean("Boolean", 2, boolean));
    EXPECT_EQ(reads(), before);
}

}  // namespace
}  // namespace quillon
