// Every operator on every type against the oracle, over columns with and without an index, then
// random clauses, before and after changes and reopening.
#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "QueryFixture.h"
#include "WhereOracle.h"

namespace quillon {
namespace {

using oracle::Cell;
using oracle::Condition;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin64 = std::numeric_limits<int64_t>::min();
constexpr int64_t kDay = 864'000'000'000;
constexpr int64_t kSomeDay = 132'223'104'000'000'000;  // 2020-01-01

const std::vector<std::optional<std::string>> kTexts = [] {
    std::istringstream words("a A ab aB b Groceries gro Gro Café CAFÉ cafés * g*s caf? ? é z");
    std::vector<std::optional<std::string>> texts = {std::nullopt, "",
                                                     "a much longer text of over 33 bytes"};
    for (std::string word; words >> word;) texts.emplace_back(word);
    return texts;
}();
const std::vector<int32_t> kInts = {
    std::numeric_limits<int32_t>::min(), -70000, -2, -1, 0, 1, 2, 3, 70000,
    std::numeric_limits<int32_t>::max()};
const std::vector<int64_t> kLongs = {kMin64, kMin64 + 1, -5'000'000'000, -1,    0, 1,
                                     2,      7,          5'000'000'000,  kMax64};
constexpr double kLeast = std::numeric_limits<double>::denorm_min();
const std::vector<double> kDoubles = {
    kNaN,   -kNaN,  -kInf,   kInf,   0.0,
    -0.0,   kLeast, -kLeast, -1.5,   1.5,
    -12.34, 12.34,  1e300,   -1e300, std::numeric_limits<double>::max()};
// The last two are after all others: file times have no sign.
const std::vector<int64_t> kDates = {0,      1,      kSomeDay - 1,    kSomeDay, kSomeDay + 1,
                                     kMax64, kMin64, kSomeDay + kDay, -1};

// Three columns of each type, all holding the row's one value of that type.
struct Access {
    const char* prefix;
    bool indexed;
    bool attribute;
};
constexpr Access kAccesses[] = {
    {"Plain", false, false}, {"Indexed", true, false}, {"Ordered", true, true}};
constexpr const char* kTypeNames[] = {"Text", "Boolean", "Int32", "Int64", "Double", "DateTime"};

std::string ColumnName(const Access& access, ColumnType type) {
    return std::string(access.prefix) + kTypeNames[static_cast<size_t>(type)];
}

class WhereClauseOracle : public QueryFixture {
protected:
    void SetUp() override {
        ASSERT_NE(database.CreateTable("Sample"), nullptr);
        for (const Access& access : kAccesses) {
            for (int32_t code = 0; code <= 5; ++code) {
                const auto type = static_cast<ColumnType>(code);
                ASSERT_TRUE(database.AddColumn("Sample", ColumnName(access, type), type,
                                               access.indexed, access.attribute));
            }
        }
    }

    template <typename T>
    const T& Pick(const std::vector<T>& pool) {
        return pool[m_random() % pool.size()];
    }

    Cell RandomCell() {
        Cell cell;
        cell.text = Pick(kTexts);
        cell.boolean = m_random() % 2 == 0;
        cell.int32 = Pick(kInts);
        cell.int64 = Pick(kLongs);
        cell.number = Pick(kDoubles);
        cell.dateTime = Pick(kDates);
        return cell;
    }

    void SetColumns(const Cell& cell) {
        for (const Access& access : kAccesses) {
            const auto name = [&](ColumnType type) { return ColumnName(access, type); };
            if (cell.text) {
                EXPECT_TRUE(database.SetText(name(ColumnType::Text), *cell.text));
            }
            EXPECT_TRUE(database.SetBoolean(name(ColumnType::Boolean), cell.boolean));
            EXPECT_TRUE(database.SetInt32(name(ColumnType::Int32), cell.int32));
            EXPECT_TRUE(database.SetInt64(name(ColumnType::Int64), cell.int64));
            EXPECT_TRUE(database.SetDouble(name(ColumnType::Double), cell.number));
            EXPECT_TRUE(database.SetDateTime(name(ColumnType::DateTime), cell.dateTime));
        }
    }

    void AddRows(int count) {
        CBracketScope batch(database);
        for (int i = 0; i < count; ++i) {
            const Cell cell = RandomCell();
            ASSERT_TRUE(database.BeginRow("Sample"));
            SetColumns(cell);
            const int64_t rowId = database.CommitRow();
            ASSERT_GE(rowId, 0);
            m_rows[rowId] = cell;
        }
        ASSERT_TRUE(batch.Commit());
    }

    // Deletes every third row and rewrites every third of the others.
    void ChangeRows() {
        CBracketScope batch(database);
        int turn = 0;
        for (auto row = m_rows.begin(); row != m_rows.end();) {
            ++turn;
            if (turn % 3 == 0) {
                ASSERT_TRUE(database.DeleteRow("Sample", row->first));
                row = m_rows.erase(row);
                continue;
            }
            if (turn % 3 == 1) {
                const std::optional<std::string> before = row->second.text;
                row->second = RandomCell();
                if (!row->second.text) row->second.text = before;  // not set: not changed
                ASSERT_TRUE(database.BeginRowUpdate("Sample", row->first));
                SetColumns(row->second);
                ASSERT_EQ(database.CommitRow(), row->first);
            }
            ++row;
        }
        ASSERT_TRUE(batch.Commit());
    }

    Ids Expected(const Condition& condition) const {
        Ids rows;
        for (const auto& [rowId, cell] : m_rows) {
            if (Passes(cell, condition)) rows.push_back(rowId);
        }
        return rows;
    }

    bool AddTo(CNoSQLDatabaseInterface& target, const Access& access, const Condition& condition) {
        const std::string name = ColumnName(access, condition.type);
        const WhereOperator operation = condition.operation;
        switch (condition.type) {
            case ColumnType::Text:
                return target.AddText(name, operation, condition.value.text.value_or(""));
            case ColumnType::Boolean:
                return target.AddBoolean(name, operation, condition.value.boolean);
            case ColumnType::Int32:
                return target.AddInt32(name, operation, condition.value.int32);
            case ColumnType::Int64:
                if (operation == WhereOperator::InSet) {
                    return target.AddInt64Set(name, CInclusionMap(condition.set));
                }
                return target.AddInt64(name, operation, condition.value.int64);
            case ColumnType::Double:
                return target.AddDouble(name, operation, condition.value.number);
            case ColumnType::DateTime:
                return target.AddDateTime(name, operation, condition.value.dateTime);
        }
        return false;
    }

    static std::string Describe(const Access& access, const Condition& condition) {
        const Cell& value = condition.value;
        const std::string values[] = {value.text.value_or(""),      std::to_string(value.boolean),
                                      std::to_string(value.int32),  std::to_string(value.int64),
                                      std::to_string(value.number), std::to_string(value.dateTime)};
        return ColumnName(access, condition.type) + " " +
               std::to_string(static_cast<int32_t>(condition.operation)) + " " +
               values[static_cast<size_t>(condition.type)];
    }

    // One value of the pool a condition; the pool of booleans has two.
    static std::vector<Condition> ConditionsOf(ColumnType type) {
        std::vector<Condition> conditions;
        const auto add = [&](auto Cell::*member, const auto& pool) {
            for (const auto& value : pool) {
                Condition condition;
                condition.type = type;
                condition.value.*member = value;
                conditions.push_back(condition);
            }
        };
        if (type == ColumnType::Text) add(&Cell::text, kTexts);
        if (type == ColumnType::Boolean) add(&Cell::boolean, std::array{false, true});
        if (type == ColumnType::Int32) add(&Cell::int32, kInts);
        if (type == ColumnType::Int64) add(&Cell::int64, kLongs);
        if (type == ColumnType::Double) add(&Cell::number, kDoubles);
        if (type == ColumnType::DateTime) add(&Cell::dateTime, kDates);
        return conditions;
    }

    void CheckEveryOperator() {
        for (int32_t typeCode = 0; typeCode <= 5; ++typeCode) {
            for (Condition condition : ConditionsOf(static_cast<ColumnType>(typeCode))) {
                // -1 and 14 are no operators; 13 with a single value has an empty set.
                for (int32_t code = -1; code <= 14; ++code) {
                    condition.operation = static_cast<WhereOperator>(code);
                    const Ids expected = Expected(condition);
                    for (const Access& access : kAccesses) {
                        ASSERT_TRUE(query.SetTable("Sample"));
                        ASSERT_TRUE(AddTo(query, access, condition));
                        ASSERT_EQ(Run(), expected) << Describe(access, condition);
                    }
                }
            }
        }
    }

    Condition RandomCondition() {
        const auto type = static_cast<ColumnType>(m_random() % 6);
        const std::vector<Condition> pool = ConditionsOf(type);
        Condition condition = Pick(pool);
        condition.operation = static_cast<WhereOperator>(m_random() % 14);
        if (condition.operation == WhereOperator::InSet) {
            for (size_t i = m_random() % 5; i > 0; --i) condition.set.push_back(Pick(kLongs));
        }
        return condition;
    }

    // Segment after segment on plain sets, as the clause reads.
    void CheckRandomClauses(int count) {
        for (int round = 0; round < count; ++round) {
            ASSERT_TRUE(query.SetTable("Sample"));
            std::set<int64_t> expected;
            std::string clause;
            const size_t length = 1 + m_random() % 5;
            const unsigned orsInEight = m_random() % 2 == 0 ? 0 : 3;
            for (size_t i = 0; i < length; ++i) {
                bool isOr = true;
                if (i > 0) {
                    isOr = m_random() % 8 < orsInEight;
                    ASSERT_TRUE(
                        query.AddConnector(isOr ? WhereConnector::Or : WhereConnector::And));
                    clause += isOr ? " or " : " and ";
                }
                const Condition condition = RandomCondition();
                const Access& access = kAccesses[m_random() % 3];
                ASSERT_TRUE(AddTo(query, access, condition));
                clause += Describe(access, condition);
                const Ids rows = Expected(condition);
                if (isOr) {
                    expected.insert(rows.begin(), rows.end());
                } else {
                    const std::set<int64_t> keep(rows.begin(), rows.end());
                    std::erase_if(expected, [&](int64_t row) { return keep.count(row) == 0; });
                }
            }
            ASSERT_EQ(Run(), Ids(expected.begin(), expected.end())) << clause;
        }
    }

    std::mt19937 m_random{20240229};
    std::map<int64_t, Cell> m_rows;
};

TEST_F(WhereClauseOracle, EveryOperatorOnEveryTypeWithAndWithoutIndex) {
    AddRows(250);
    CheckEveryOperator();
}

TEST_F(WhereClauseOracle, ChangesShowAtOnceAndAfterReopening) {
    AddRows(200);
    CheckRandomClauses(50);  // the indexes have been searched before they change
    ChangeRows();
    CheckEveryOperator();
    Reopen();
    CheckEveryOperator();
}

TEST_F(WhereClauseOracle, RandomClauses) {
    AddRows(400);
    CheckRandomClauses(1500);
    ChangeRows();
    CheckRandomClauses(500);
}

TEST_F(WhereClauseOracle, RolledBackChangesLeaveNoTrace) {
    AddRows(100);
    const std::map<int64_t, Cell> before = m_rows;
    ASSERT_TRUE(database.BeginBatch());
    ASSERT_TRUE(database.BeginRow("Sample"));
    SetColumns(RandomCell());
    ASSERT_GE(database.CommitRow(), 0);
    ASSERT_TRUE(database.DeleteRow("Sample", m_rows.begin()->first));
    database.RollbackBatch();
    m_rows = before;
    CheckRandomClauses(300);
}

}  // namespace
}  // namespace quillon
