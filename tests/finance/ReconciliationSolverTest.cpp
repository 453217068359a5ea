// The solver beside the plain search, which tries every set.

#include "finance/reconciliation/ReconciliationSolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "foundation/CalendarDate.h"
#include "support/PlainReconciliation.h"

namespace quillon {
namespace {

using Set = std::vector<int32_t>;
using Sets = std::vector<Set>;
using Candidates = std::vector<ReconciliationCandidate>;

constexpr int64_t kFirstDay = 400 * 365 * kTicksPerDay;

// Effects: negative out of the account, positive into it.
Candidates FromEffects(const std::vector<double>& effects) {
    Candidates candidates;
    for (const double effect : effects) {
        candidates.push_back({nullptr, std::fabs(effect), effect > 0 ? 1 : 0,
                              kFirstDay + std::ssize(candidates) * kTicksPerDay});
    }
    return candidates;
}

Sets Listed(const CReconciliationSets& found) {
    Sets sets;
    for (size_t i = 0; i < found.Count(); ++i) sets.emplace_back(found[i].begin(), found[i].end());
    return sets;
}

Sets Solve(const Candidates& candidates, double difference, int32_t maximum) {
    CReconciliationSets found;
    const SolverRequest request{
        .candidates = candidates, .difference = difference, .maximum = maximum};
    EXPECT_EQ(SolveReconciliation(request, found), SolverStatus::Complete);
    return Listed(found);
}

TEST(ReconciliationSolver, ListsWhatTheRulesList) {
    constexpr double kInfinite = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* name;
        std::vector<double> effects;
        double difference;
        int32_t maximum;
        Sets expected;
    } rows[] = {
        {"nothing to choose from", {}, 10, 10, {}},
        {"one withdrawal", {-10}, 10, 0, {{0}}},
        {"one deposit makes the bank lower", {10}, -10, 0, {{0}}},
        {"the wrong direction", {10}, 10, 10, {}},
        {"the last of two singles", {-10, -20, -10, -5}, 10, 10, {{2}}},
        {"a single match hides the pair", {-10, -4, -6}, 10, 10, {{0}}},
        {"pairs need a maximum of two", {-1, -4, -6}, 10, 1, {}},
        {"never all of them", {-4, -6}, 10, 10, {}},
        {"all sizes, not the first that fits", {-1, -2, -3, -4}, 6, 3, {{1, 3}, {0, 1, 2}}},
        {"highest members first",
         {-1, -1, -1, -1},
         2,
         3,
         {{2, 3}, {1, 3}, {0, 3}, {1, 2}, {0, 2}, {0, 1}}},
        {"small sets first, then highest",
         {-3, -1, -2, -3, -50},
         6,
         9,
         {{0, 3}, {1, 2, 3}, {0, 1, 2}}},
        {"deposits take from withdrawals", {-100, 30, -7, 41}, 70, 3, {{0, 1}}},
        {"cents that binary fractions lack", {-0.1, -0.2, -7}, 0.3, 2, {{0, 1}}},
        {"just below the tolerance", {-1, -1, -9}, 2.0000000099, 2, {{0, 1}}},
        {"just above it", {-1, -1, -9}, 2.0000000101, 2, {}},
        {"fractions of a cent", {-0.3333, -0.6667, -1.1}, 1, 2, {{0, 1}}},
        {"large amounts that differ by a cent",
         {-123456789.01, -123456789.02, -1, -3},
         123456790.02,
         3,
         {{1, 2}}},
        {"infinite amounts are in no set", {-kInfinite, -4, -6, kInfinite}, 10, 3, {{1, 2}}},
        {"an amount that is no number is in none", {-4, kNan, -6}, 10, 3, {{0, 2}}},
        {"infinite difference", {-4, -6, -1}, kInfinite, 3, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Candidates candidates = FromEffects(row.effects);
        EXPECT_EQ(Solve(candidates, row.difference, row.maximum), row.expected);
        EXPECT_EQ(CPlainReconciliation(candidates, row.difference, row.maximum).Solve(),
                  row.expected);
    }
}

// Whole days from the candidate to the first one, a part counted as one, below 20,000. Only
// single candidates are asked; the register's order makes the number negative in life.
TEST(ReconciliationSolver, SinglesFarBeforeTheFirstDoNotCount) {
    constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
    const struct {
        int64_t first;
        int64_t date;
        bool counts;
    } rows[] = {
        {kFirstDay, kFirstDay - 19'999 * kTicksPerDay, true},
        {kFirstDay, kFirstDay - 19'999 * kTicksPerDay - 1, false},
        {kFirstDay, kFirstDay - 20'000 * kTicksPerDay, false},
        {kFirstDay, kFirstDay + 90'000 * kTicksPerDay, true},
        {kLeast, kLeast, true},
        {std::numeric_limits<int64_t>::max(), kLeast, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.date);
        Candidates candidates = FromEffects({-1, -7, -3, -4});
        candidates[0].date = row.first;
        candidates[1].date = row.date;
        EXPECT_EQ(Solve(candidates, 7, 3), row.counts ? Sets{{1}} : (Sets{{2, 3}}));
    }
}

TEST(ReconciliationSolver, OtherDirectionsMultiplySets) {
    Candidates candidates = FromEffects({-4, -5, -6, -5});
    candidates[1].direction = 2;
    candidates[3].direction = -1;
    EXPECT_EQ(Solve(candidates, 10, 3), (Sets{{0, 2}, {0, 2, 3}, {0, 1, 2}}));
}

// --- beside the plain search

using Random = std::mt19937_64;

int64_t Below(Random& random, int64_t limit) {
    return static_cast<int64_t>(random() % static_cast<uint64_t>(limit));
}

// Ways to make up amounts, each with a trap of its own.
const struct {
    const char* name;
    double (*amount)(Random&);
} kAmounts[] = {
    {"few cents", [](Random& r) { return static_cast<double>(1 + Below(r, 30)) / 100; }},
    {"everyday", [](Random& r) { return static_cast<double>(1 + Below(r, 50'000)) / 100; }},
    {"round", [](Random& r) { return static_cast<double>(1 + Below(r, 20)) * 10; }},
    {"all equal", [](Random&) { return 12.34; }},
    {"a cent in the ninth digit",
     [](Random& r) { return 1'234'567.00 + static_cast<double>(Below(r, 6)) / 100; }},
    {"eighths of a cent", [](Random& r) { return static_cast<double>(Below(r, 400)) / 800; }},
    {"at the tolerance",
     [](Random& r) { return 5 + static_cast<double>(Below(r, 9) - 4) * 2.5e-9; }},
    {"below the tolerance", [](Random& r) { return static_cast<double>(Below(r, 9)) * 1e-9; }},
    {"shares", [](Random& r) { return static_cast<double>(Below(r, 1000)) / 7 * 1.1; }},
    {"zeros and cents", [](Random& r) { return static_cast<double>(Below(r, 4)) / 100; }},
    {"negative", [](Random& r) { return static_cast<double>(Below(r, 60) - 30) / 100; }},
    {"where cents are lost",
     [](Random& r) { return Below(r, 2) ? 4e13 + 0.25 : static_cast<double>(Below(r, 9)) / 8; }},
    {"far apart", [](Random& r) { return std::ldexp(1.0, static_cast<int>(Below(r, 90)) - 50); }},
    {"beyond all sense",
     [](Random& r) { return Below(r, 3) ? 1.5e308 : static_cast<double>(Below(r, 3)); }},
    {"next to nothing", [](Random& r) { return static_cast<double>(Below(r, 5)) * 1e-310; }},
};

Candidates MakeUp(Random& random, double (*amount)(Random&), int64_t count, bool oddDirections) {
    Candidates candidates;
    const int64_t deposits = Below(random, 4);  // in four
    for (int64_t i = 0; i < count; ++i) {
        ReconciliationCandidate candidate;
        candidate.amount = amount(random);
        candidate.direction = Below(random, 4) < deposits ? 1 : 0;
        if (oddDirections && Below(random, 5) == 0) candidate.direction = 7;
        candidate.date = kFirstDay + i * kTicksPerDay;
        candidates.push_back(candidate);
    }
    return candidates;
}

// The difference of a set picked at random, mostly summed in another order and sometimes
// pushed to the brink of the tolerance.
double MakeUpDifference(Random& random, const Candidates& candidates) {
    double difference = 0.0;
    for (const ReconciliationCandidate& candidate : candidates) {
        if (Below(random, 3) == 0) continue;
        difference += candidate.direction == 1 ? -candidate.amount : candidate.amount;
    }
    const double pushes[] = {0, 0, 0, 1e-8, -1e-8, 0.99e-8, 0.01, 1e-13};
    return difference + pushes[Below(random, std::ssize(pushes))];
}

TEST(ReconciliationSolver, ListsWhatThePlainSearchLists) {
    Random random(20240317);
    size_t listed = 0;
    for (const auto& kind : kAmounts) {
        for (int round = 0; round < 60; ++round) {
            SCOPED_TRACE(kind.name + (" " + std::to_string(round)));
            const int64_t count = round < 50 ? Below(random, 10) : 13;
            const Candidates candidates = MakeUp(random, kind.amount, count, round % 4 == 0);
            const double difference = MakeUpDifference(random, candidates);
            const auto maximum = static_cast<int32_t>(Below(random, 14));
            const Sets plain = CPlainReconciliation(candidates, difference, maximum).Solve();
            ASSERT_EQ(Solve(candidates, difference, maximum), plain);
            listed += plain.size();
        }
    }
    EXPECT_GT(listed, 10'000u);  // else the cases say nothing
}

// Many candidates and small sets: parts are looked up between members, not between halves.
TEST(ReconciliationSolver, ListsWhatThePlainSearchListsOfMany) {
    Random random(7);
    for (const int64_t count : {28, 45, 70}) {
        for (const auto& kind : kAmounts) {
            SCOPED_TRACE(kind.name + (" " + std::to_string(count)));
            const int32_t maximum = count < 30 ? 5 : count < 50 ? 4 : 3;
            const Candidates candidates = MakeUp(random, kind.amount, count, false);
            double difference = 0.0;
            for (size_t i = 2; i < 2 + static_cast<size_t>(maximum); ++i) {
                const ReconciliationCandidate& candidate = candidates[i * 3];
                difference += candidate.direction == 1 ? -candidate.amount : candidate.amount;
            }
            ASSERT_EQ(Solve(candidates, difference, maximum),
                      CPlainReconciliation(candidates, difference, maximum).Solve());
        }
    }
}

// --- limits

// Equal amounts: C(40, 10) and more sets. What is listed is the beginning of all.
TEST(ReconciliationSolver, StopsAtMoreThanFits) {
    const Candidates candidates = FromEffects(std::vector<double>(40, -25.0));
    CReconciliationSets found;
    SolverRequest request{.candidates = candidates, .difference = 250, .maximum = 11};
    request.mostRoom = 2'500 * 13 + 12;
    EXPECT_EQ(SolveReconciliation(request, found), SolverStatus::TooMany);
    ASSERT_EQ(found.Count(), 2'500u);

    Set set;
    for (int32_t i = 30; i < 40; ++i) set.push_back(i);
    for (size_t i = 0; i < found.Count(); ++i) {
        ASSERT_TRUE(std::ranges::equal(found[i], set)) << i;
        size_t j = 0;  // the next one in the order of listing
        while (set[j] == static_cast<int32_t>(j)) ++j;
        --set[j];
        for (; j > 0; --j) set[j - 1] = set[j] - 1;
    }
}

TEST(ReconciliationSolver, JustFits) {
    const Candidates candidates = FromEffects({-1, -1, -1, -1});
    SolverRequest request{.candidates = candidates, .difference = 2, .maximum = 3};
    CReconciliationSets found;
    request.mostRoom = 6 * 5;
    EXPECT_EQ(SolveReconciliation(request, found), SolverStatus::Complete);
    EXPECT_EQ(found.Count(), 6u);
    request.mostRoom = 6 * 5 - 1;
    EXPECT_EQ(SolveReconciliation(request, found), SolverStatus::TooMany);
    EXPECT_EQ(found.Count(), 5u);
}

TEST(ReconciliationSolver, LeavesOutTheExcluded) {
    const Candidates candidates = FromEffects({-4, -6, -7, -3, -10});
    SolverRequest request{.candidates = candidates, .difference = 10, .maximum = 9};
    CReconciliationSets found;
    request.excluded = {false, false, false, false, true};
    EXPECT_EQ(SolveReconciliation(request, found), SolverStatus::Complete);
    EXPECT_EQ(Listed(found), (Sets{{2, 3}, {0, 1}}));
    request.excluded[3] = true;
    SolveReconciliation(request, found);
    EXPECT_EQ(Listed(found), (Sets{{0, 1}}));
    request.excluded = {false, false, true, true, true};
    SolveReconciliation(request, found);
    EXPECT_EQ(Listed(found), (Sets{{0, 1}}));  // five candidates: two are not all of them
}

TEST(ReconciliationSolver, ReportsAndStops) {
    Random random(3);
    const Candidates candidates = MakeUp(random, kAmounts[1].amount, 120, false);
    std::vector<double> shares;
    SolverRequest request{.candidates = candidates, .difference = 123.45, .maximum = 6};
    request.progress = [&shares](double share) {
        shares.push_back(share);
        return shares.size() < 3;
    };
    CReconciliationSets found;
    EXPECT_EQ(SolveReconciliation(request, found), SolverStatus::Cancelled);
    EXPECT_TRUE(found.IsEmpty());
    ASSERT_EQ(shares.size(), 3u);
    EXPECT_TRUE(std::ranges::is_sorted(shares));
    EXPECT_GE(shares.front(), 0.0);
    EXPECT_LE(shares.back(), 1.0);
}

// --- the work bound

TEST(ReconciliationSolver, CountsSubsets) {
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    const struct {
        int64_t count;
        int32_t maximum;
        uint64_t expected;
    } rows[] = {
        {0, 5, 0},
        {5, 0, 0},
        {5, -1, 0},
        {5, 6, 0},
        {5, 5, 31},
        {5, 1, 5},
        {24, 12, 9'740'685},
        {40, 11, 3'533'047'571},
        {40, 12, 9'119'901'051},
        {60, 8, 3'000'876'822},
        {200, 5, 2'601'668'490},
        {62, 61, (uint64_t{1} << 62) - 2},
        // Where the running product would wrap around.
        {5'000, 60, kMost},
        {63, 62, kMost},
        {4'194'304, 3, kMost},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CountSubsets(row.count, row.maximum), row.expected)
            << row.count << " " << row.maximum;
    }
}

TEST(ReconciliationSolver, ReducesTheMaximum) {
    const struct {
        int64_t count;
        int32_t maximum;
        int32_t reduced;
    } rows[] = {
        {32, 31, 31},  // all of 2^32
        {33, 32, 16},  // about half of 2^33
        {40, 39, 11},  {40, 11, 11},   {60, 59, 8},   {60, 8, 8},
        {60, 3, 3},    {200, 60, 5},   {500, 60, 5},   // the floor is above the bound again
        {500, 4, 4},   {5'000, 60, 5}, {5'000, 3, 5},  // so is a maximum that was already below it
        {5'000, 2, 2},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ReducedMaximum(row.count, row.maximum), row.reduced)
            << row.count << " " << row.maximum;
    }
}

}  // namespace
}  // namespace quillon
