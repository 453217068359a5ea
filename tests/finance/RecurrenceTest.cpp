#include "finance/planning/Recurrence.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "FinanceFixture.h"
#include "finance/planning/RecurringDate.h"

namespace quillon {
namespace {

CMemorizedTransactionEntry Series(PeriodType period, int64_t last,
                                  TwiceAMonthType twice = TwiceAMonthType::FirstAndFifteenth) {
    CMemorizedTransactionEntry series;
    series.periodType = period;
    series.lastServiceDate = last;
    series.twiceAMonthType = twice;
    return series;
}

// A start, and the dates that follow when every occurrence is entered.
TEST(Recurrence, Series) {
    using enum PeriodType;
    constexpr auto kLast = TwiceAMonthType::FifteenthAndLast;
    const struct {
        const char* name;
        PeriodType period;
        const char* dates;
        TwiceAMonthType twice = TwiceAMonthType::FirstAndFifteenth;
    } rows[] = {
        {"the 31st", Monthly, "2023-01-31 2023-02-28 2023-03-31 2023-04-30 2023-05-31"},
        {"the 30th in a leap year", Monthly, "2024-01-30 2024-02-29 2024-03-30"},
        {"the 28th stays there", Monthly, "2023-02-28 2023-03-28 2023-04-28"},
        {"monthly over the year", Monthly, "2023-12-05 2024-01-05"},
        {"quarterly on the 30th", Quarterly, "2023-11-30 2024-02-29 2024-05-30"},
        {"half-yearly on the 31st", SemiAnnual, "2023-08-31 2024-02-29 2024-08-31"},
        {"29 February", Annual, "2024-02-29 2025-02-28 2026-02-28 2027-02-28 2028-02-29"},
        {"29 February each second year", BiAnnual, "2024-02-29 2026-02-28 2028-02-29"},
        {"no leap year in 2100", Annual, "2099-02-28 2100-02-28"},
        {"weekly", Weekly, "2024-02-26 2024-03-04 2024-03-11"},
        {"every two weeks", BiWeekly, "2023-12-25 2024-01-08 2024-01-22"},
        {"1st and 15th", TwicePerMonth, "2023-12-01 2023-12-15 2024-01-01 2024-01-15"},
        {"1st and 15th from another day", TwicePerMonth, "2024-02-20 2024-03-01"},
        {"15th and last", TwicePerMonth,
         "2024-01-31 2024-02-15 2024-02-29 2024-03-15 2024-03-31 2024-04-15 2024-04-30", kLast},
        {"15th and last from another day", TwicePerMonth, "2024-02-14 2024-02-15", kLast},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::istringstream dates(row.dates);
        std::string expected;
        dates >> expected;
        int64_t start = 0;
        ASSERT_TRUE(ParseCalendarDate(expected, start));
        constexpr int64_t kTime = 36'000'000'000;  // is dropped
        CMemorizedTransactionEntry series = Series(row.period, start + kTime, row.twice);
        while (dates >> expected) {
            const int64_t next = NextOccurrence(series);
            EXPECT_EQ(FormatIsoDate(next), expected);
            EXPECT_EQ(next, StartOfDay(next));
            AdvanceTo(series, next);
        }
    }
}

TEST(Recurrence, NoNextDate) {
    EXPECT_EQ(NextOccurrence(Series(static_cast<PeriodType>(8), Day(2024, 1, 1))), 0);
    EXPECT_EQ(NextOccurrence(Series(PeriodType::TwicePerMonth, Day(2024, 1, 1),
                                    static_cast<TwiceAMonthType>(2))),
              0);
    for (int32_t code = 0; code < kPeriodTypeCount; ++code) {
        SCOPED_TRACE(code);
        EXPECT_EQ(NextOccurrence(Series(static_cast<PeriodType>(code), Day(9999, 12, 31))), 0);
        EXPECT_EQ(NextOccurrence(Series(static_cast<PeriodType>(code), -1)), 0);
        EXPECT_EQ(NextOccurrence(Series(static_cast<PeriodType>(code), INT64_MAX)), 0);
    }
}

// A date that the user picked instead of the one that was due starts a series of its own,
// unless it is a month's last day.
TEST(Recurrence, AdvancingToAnotherDate) {
    CMemorizedTransactionEntry series = Series(PeriodType::Monthly, Day(2023, 1, 31));
    AdvanceTo(series, Day(2023, 2, 27));
    EXPECT_EQ(series.originalDay, 0);
    AdvanceTo(series, Day(2023, 3, 30));
    EXPECT_EQ(NextOccurrence(series), Day(2023, 4, 30));

    CMemorizedTransactionEntry weekly = Series(PeriodType::Weekly, Day(2023, 1, 31));
    AdvanceTo(weekly, Day(2023, 2, 28));
    EXPECT_EQ(weekly.originalDay, 0);
}

TEST(Recurrence, StoredDates) {
    const struct {
        int64_t date;
        int32_t originalDay;
        int64_t stored;
    } rows[] = {
        {Day(2023, 2, 28), 0, Day(2023, 2, 28)},
        {Day(2023, 2, 28), 31, Day(2023, 2, 28) + 31},
        {Day(2024, 2, 29), 30, Day(2024, 2, 29) + 30},
        {Day(2023, 2, 28), 29, Day(2023, 2, 28) + 29},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(PackRecurringDate(row.date, row.originalDay), row.stored);
        int64_t date = 0;
        int32_t originalDay = -1;
        UnpackRecurringDate(row.stored, date, originalDay);
        EXPECT_EQ(date, row.date);
        EXPECT_EQ(originalDay, row.originalDay);
    }
    // The day itself, or no day at all, needs no mark; a time of day is none.
    EXPECT_EQ(PackRecurringDate(Day(2023, 3, 31), 31), Day(2023, 3, 31));
    EXPECT_EQ(PackRecurringDate(Day(2023, 3, 5), 12), Day(2023, 3, 5));
    EXPECT_EQ(PackRecurringDate(Day(2023, 3, 5), 32), Day(2023, 3, 5));
    int64_t date = 0;
    int32_t originalDay = -1;
    UnpackRecurringDate(Day(2023, 3, 5) + kTicksPerSecond, date, originalDay);
    EXPECT_EQ(date, Day(2023, 3, 5) + kTicksPerSecond);
    EXPECT_EQ(originalDay, 0);
}

class RecurrenceStore : public FinanceFixture {};

TEST_F(RecurrenceStore, TheOriginalDaySurvivesReopening) {
    CMemorizedTransactionEntry rent = Series(PeriodType::Monthly, Day(2023, 1, 31));
    rent.notes = "Rent";
    ASSERT_TRUE(database.Add(rent));
    for (const int64_t expected : {Day(2023, 2, 28), Day(2023, 3, 31), Day(2023, 4, 30)}) {
        Reopen();
        COwnedList<CMemorizedTransactionEntry> list;
        ASSERT_TRUE(database.List(list));
        ASSERT_EQ(list.Count(), 1);
        AdvanceTo(*list.Front(), NextOccurrence(*list.Front()));
        EXPECT_EQ(list.Front()->lastServiceDate, expected);
        ASSERT_TRUE(database.UpdateMemorizedServiceDate(*list.Front()));
    }
}

}  // namespace
}  // namespace quillon
