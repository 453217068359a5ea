// What the clause refuses, how it treats odd texts and row identifiers, and how it behaves on a
// damaged store. What operators and connectors find is WhereClauseOracleTest.cpp's subject.
#include <string>

#include "QueryFixture.h"
#include "query/NoSQLEvaluator.h"
#include "support/SampleStore.h"

namespace quillon {
namespace {

constexpr int64_t kDay = 864'000'000'000;

// Payees 0 to 5 and one transaction a day.
class WhereClause : public QueryFixture {
protected:
    static constexpr const char* kPayees[] = {"Groceries", "Grocer's", "Café", "", "gros", "Fuel"};

    void SetUp() override {
        ASSERT_NE(database.CreateTable("Payees"), nullptr);
        ASSERT_TRUE(database.AddColumn("Payees", "Name", ColumnType::Text, true, true));
        for (const char* name : kPayees) {
            ASSERT_TRUE(database.BeginRow("Payees"));
            ASSERT_TRUE(database.SetText("Name", name));
            ASSERT_GE(database.CommitRow(), 0);
        }
        ASSERT_TRUE(database.BeginRow("Payees"));  // one without a name
        ASSERT_GE(database.CommitRow(), 0);

        ASSERT_NE(database.CreateTable("Transactions"), nullptr);
        ASSERT_TRUE(AddColumns(database, "Transactions", "AccountID/3/i ServiceDate/5/i+ Memo/0"));
        for (int64_t day = 0; day < 20; ++day) {
            ASSERT_TRUE(database.BeginRow("Transactions"));
            ASSERT_TRUE(database.SetInt64("AccountID", day % 2));
            ASSERT_TRUE(database.SetDateTime("ServiceDate", day * kDay));
            ASSERT_TRUE(database.SetText("Memo", "day " + std::to_string(day)));
            ASSERT_GE(database.CommitRow(), 0);
        }
    }
};

TEST_F(WhereClause, CallsOutOfOrderAreRefusedAndLeaveTheClauseAsItWas) {
    const auto addName = [&] { return query.AddText("Name", WhereOperator::Equal, "Fuel"); };
    EXPECT_FALSE(query.Execute());  // nothing set
    EXPECT_FALSE(addName());
    EXPECT_FALSE(query.SetTable("Payee"));
    EXPECT_FALSE(query.Execute());

    ASSERT_TRUE(query.SetTable("Payees"));
    EXPECT_FALSE(query.AddConnector(WhereConnector::And));  // no segment yet
    EXPECT_FALSE(query.AddText("Nam", WhereOperator::Equal, "Fuel"));
    EXPECT_FALSE(query.AddInt64("Name", WhereOperator::Equal, 1));  // of another type
    EXPECT_FALSE(query.AddInt64Set("Name", {1}));
    EXPECT_FALSE(query.AddInt32(kRowIdColumnName, WhereOperator::Equal, 1));
    ASSERT_TRUE(addName());
    EXPECT_FALSE(addName());  // no connector between
    ASSERT_TRUE(query.AddConnector(WhereConnector::Or));
    EXPECT_FALSE(query.AddConnector(WhereConnector::And));
    EXPECT_FALSE(query.Execute());  // a connector without its segment
    EXPECT_EQ(query.Results().Count(), 0);
    ASSERT_TRUE(query.AddText("Name", WhereOperator::Equal, "Café"));
    EXPECT_EQ(Run(), (Ids{2, 5}));

    // A failed start leaves nothing of the clause before it.
    EXPECT_FALSE(query.SetTable("Payee"));
    EXPECT_FALSE(query.Execute());
    EXPECT_EQ(query.Results().Count(), 0);
}

TEST_F(WhereClause, WithoutSegmentsEveryRowIsFound) {
    ASSERT_TRUE(query.SetTable("Payees"));
    EXPECT_EQ(Run(), (Ids{0, 1, 2, 3, 4, 5, 6}));
    ASSERT_TRUE(database.DeleteRow("Payees", 0));
    ASSERT_TRUE(database.DeleteRow("Payees", 4));
    EXPECT_EQ(Run(), (Ids{1, 2, 3, 5, 6}));
}

// Whether it is set or looked for, a text ends at its first zero character.
TEST_F(WhereClause, TextsEndAtTheirFirstZero) {
    const auto find = [&](WhereOperator operation, const CKeelString& name) {
        EXPECT_TRUE(query.SetTable("Payees"));
        EXPECT_TRUE(query.AddText("Name", operation, name));
        return Run();
    };
    const struct {
        CKeelString set;
        std::string reads;
    } rows[] = {
        {std::string_view("Baker\0y", 7), "Baker"},
        {CKeelString(std::u16string_view(u"Brötchen\0x", 10)), "Brötchen"},
        {std::string_view("\0hidden", 7), ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reads);
        const Ids before = find(WhereOperator::Equal, row.reads);
        ASSERT_TRUE(database.BeginRow("Payees"));
        ASSERT_TRUE(database.SetText("Name", "something else"));
        const int64_t id = database.CommitRow();
        ASSERT_TRUE(database.BeginRowUpdate("Payees", id) && database.SetText("Name", row.set));
        ASSERT_EQ(database.CommitRow(), id);

        Ids expected = before;
        expected.push_back(id);
        for (const bool reopened : {false, true}) {
            SCOPED_TRACE(reopened);
            if (reopened) Reopen();
            EXPECT_EQ(find(WhereOperator::Equal, row.set), expected);
            EXPECT_EQ(find(WhereOperator::Equal, row.reads), expected);
            EXPECT_EQ(find(WhereOperator::EqualIgnoringCase, row.set), expected);
            CKeelString read;
            ASSERT_TRUE(query.Results().ReadText("Name", query.Results().Count() - 1, read));
            EXPECT_EQ(read, row.reads);
            std::vector<TableIntegrity> tables;
            EXPECT_EQ(database.Verify(tables), IntegrityCode::Ok);
        }
    }
}

TEST_F(WhereClause, RowIdentifierIsAColumn) {
    const struct {
        WhereOperator operation;
        int64_t value;
        Ids rows;
    } rows[] = {
        {WhereOperator::Equal, 4, {4}},
        {WhereOperator::Equal, 2, {}},  // deleted
        {WhereOperator::Equal, 7, {}},
        {WhereOperator::Equal, -1, {}},
        {WhereOperator::Differs, 4, {0, 1, 3, 5, 6}},
        {WhereOperator::Less, 3, {0, 1}},
        {WhereOperator::LessOrEqual, 3, {0, 1, 3}},
        {WhereOperator::Greater, 4, {5, 6}},
        {WhereOperator::GreaterOrEqual, 4, {4, 5, 6}},
        {WhereOperator::Contains, 4, {}},
    };
    ASSERT_TRUE(database.DeleteRow("Payees", 2));
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(static_cast<int32_t>(row.operation)));
        ASSERT_TRUE(query.SetTable("Payees"));
        ASSERT_TRUE(query.AddInt64(kRowIdColumnName, row.operation, row.value));
        EXPECT_EQ(Run(), row.rows);
    }
    ASSERT_TRUE(query.SetTable("Payees"));
    ASSERT_TRUE(query.AddInt64Set(kRowIdColumnName, {5, 2, 1, 99, -1, 5}));
    EXPECT_EQ(Run(), (Ids{1, 5}));
    ASSERT_TRUE(query.AddConnector(WhereConnector::And));
    ASSERT_TRUE(query.AddText("Name", WhereOperator::Equal, "Fuel"));
    EXPECT_EQ(Run(), Ids{5});
}

TEST_F(WhereClause, ColumnRemovedBeforeTheClauseRunsMatchesNothing) {
    ASSERT_TRUE(query.SetTable("Transactions"));
    ASSERT_TRUE(query.AddText("Memo", WhereOperator::Contains, "day"));
    EXPECT_EQ(Run().size(), 20U);
    ASSERT_TRUE(database.RemoveColumn("Transactions", "Memo"));
    EXPECT_EQ(Run(), Ids{});
}

// The store rebuilds a lost index when it opens a table; should it not get to that, a clause must
// not read every row instead.
TEST_F(WhereClause, LostIndexMatchesNothing) {
    const CTableColumn* column = database.FindTable("Payees")->FindColumn("Name");
    const_cast<CTableColumn*>(column)->index = nullptr;
    for (const WhereOperator operation : {WhereOperator::Equal, WhereOperator::Contains}) {
        ASSERT_TRUE(query.SetTable("Payees"));
        ASSERT_TRUE(query.AddText("Name", operation, "Fuel"));
        EXPECT_EQ(Run(), Ids{});
        ASSERT_TRUE(query.AddConnector(WhereConnector::Or));
        ASSERT_TRUE(query.AddInt64(kRowIdColumnName, WhereOperator::Equal, 5));
        EXPECT_EQ(Run(), Ids{5});
    }
}

// None found and not known are two answers.
TEST_F(WhereClause, IndexThatCannotBeLoadedFails) {
    Reopen();
    ASSERT_TRUE(query.SetTable("Payees"));
    ASSERT_TRUE(query.AddText("Name", WhereOperator::Equal, "Fuel"));
    disk.FailNth(CMemoryFileSystem::Call::Read, 1, FileError::Other,
                 CMemoryFileSystem::Times::ForEver);
    EXPECT_FALSE(query.Execute());
    disk.StopFailing();
    EXPECT_EQ(Run().size(), 1U);
}

TEST_F(WhereClause, QueriesIntoOwnResultsLeaveTheOthersAlone) {
    ASSERT_TRUE(query.SetTable("Payees"));
    ASSERT_TRUE(query.AddText("Name", WhereOperator::Equal, "Fuel"));
    CNoSQLDatabaseResults fuel;
    ASSERT_TRUE(query.Execute(fuel));
    ASSERT_TRUE(query.SetTable("Transactions"));
    EXPECT_EQ(Run().size(), 20U);
    CKeelString name;
    EXPECT_TRUE(fuel.ReadText("Name", 0, name));
    EXPECT_EQ(name, "Fuel");
}

TEST_F(WhereClause, UnreadableRowsAreLeftOutAndCounted) {
    const std::string texts =
        FileNameOf(WithSuffix(database.FindTable("Transactions")->DefinitionPath(), "_textdata"));
    ASSERT_TRUE(database.Flush());
    disk.Bytes(std::string(kFolder) + "/" + texts).resize(80);
    ASSERT_TRUE(query.SetTable("Transactions"));
    ASSERT_TRUE(query.AddText("Memo", WhereOperator::Differs, "none"));
    const auto found = static_cast<int64_t>(Run().size());
    EXPECT_LT(found, 20);
    EXPECT_EQ(query.Results().UnreadableRows(), 20 - found);
    // What stands in memory is found all the same.
    ASSERT_TRUE(query.SetTable("Transactions"));
    ASSERT_TRUE(query.AddInt64("AccountID", WhereOperator::Equal, 1));
    EXPECT_EQ(Run().size(), 10U);
    EXPECT_EQ(query.Results().UnreadableRows(), 0);
}

TEST_F(WhereClause, SeeksReadNoRows) {
    const auto reads = [&] { return disk.Count(CMemoryFileSystem::Call::Read); };
    ASSERT_TRUE(query.SetTable("Transactions"));
    ASSERT_TRUE(query.AddInt64("AccountID", WhereOperator::Equal, 1));
    ASSERT_TRUE(query.AddConnector(WhereConnector::And));
    ASSERT_TRUE(query.AddDateTime("ServiceDate", WhereOperator::Less, 10 * kDay));
    const int64_t before = reads();
    EXPECT_EQ(Run().size(), 5U);
    EXPECT_EQ(reads(), before);

    // Only the text that the hash points at is read to confirm it.
    ASSERT_TRUE(query.SetTable("Payees"));
    ASSERT_TRUE(query.AddText("Name", WhereOperator::Equal, "no such payee"));
    EXPECT_EQ(Run(), Ids{});
    EXPECT_EQ(reads(), before);
    ASSERT_TRUE(query.AddConnector(WhereConnector::Or));
    ASSERT_TRUE(query.AddText("Name", WhereOperator::Equal, "Fuel"));
    EXPECT_EQ(Run(), Ids{5});
    EXPECT_GT(reads(), before);
    EXPECT_LE(reads(), before + 4);
}

TEST(Evaluator, ValuesOfAnotherTypeAndSegmentsWithoutColumnMatchNothing) {
    CTableColumn column;
    column.id = 1;
    column.type = ColumnType::Int32;
    const CNoSQLWhereClauseSegment segment(&column, WhereOperator::Equal,
                                           CNoSQLWhereClauseSetColumnValue::OfInt32(5));
    CTableRowUpdateInfoValue value(ColumnType::Int32);
    value.int32 = 5;
    EXPECT_TRUE(CNoSQLEvaluator::Matches(segment, value));
    value.type = ColumnType::Int64;
    value.int64 = 5;
    EXPECT_FALSE(CNoSQLEvaluator::Matches(segment, value));
    EXPECT_FALSE(CNoSQLEvaluator::Matches(CNoSQLWhereClauseSegment(), value));
    const CNoSQLWhereClauseSegment mistyped(&column, WhereOperator::Equal,
                                            CNoSQLWhereClauseSetColumnValue::OfInt64(5));
    EXPECT_FALSE(CNoSQLEvaluator::Matches(mistyped, value));
    EXPECT_FALSE(CNoSQLEvaluator::MatchesKey(mistyped, 5));
}

TEST(Evaluator, SetsOfRows) {
    constexpr int64_t kMin = INT64_MIN;
    constexpr int64_t kMax = INT64_MAX;
    const struct {
        const char* name;
        Ids rows;
        Ids set;
    } rows[] = {
        {"empty", {}, {}},
        {"in order", {1, 2, 9}, {1, 2, 9}},
        {"repeated", {5, 5, 5}, {5}},
        {"dense", {3, 1, 2, 3, 0, 64, 63, 65, 128, 127}, {0, 1, 2, 3, 63, 64, 65, 127, 128}},
        {"dense below zero", {-1, -64, -65, 0, -1}, {-65, -64, -1, 0}},
        {"far apart", {kMax, kMin, 0, kMax, -1}, {kMin, -1, 0, kMax}},
        {"at the end", {kMax, kMax - 2, kMax - 1, kMax}, {kMax - 2, kMax - 1, kMax}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Ids made = row.rows;
        CNoSQLEvaluator::MakeSet(made);
        EXPECT_EQ(made, row.set);
    }
    Ids result = {1, 3, 5, 7};
    CNoSQLEvaluator::Unite(result, {0, 3, 8});
    EXPECT_EQ(result, (Ids{0, 1, 3, 5, 7, 8}));
    CNoSQLEvaluator::Intersect(result, {1, 2, 7, 8, 9});
    EXPECT_EQ(result, (Ids{1, 7, 8}));
    CNoSQLEvaluator::Intersect(result, {});
    EXPECT_EQ(result, Ids{});
}

}  // namespace
}  // namespace quillon
