#include "foundation/CalendarDate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace quillon {
namespace {

TEST(CalendarDate, KnownFileTimes) {
    const struct {
        CivilDate date;
        int64_t fileTime;
        int dayOfWeek;
    } rows[] = {
        {{1601, 1, 1}, 0, 1},
        {{1601, 3, 1}, 59 * kTicksPerDay, 4},
        {{1970, 1, 1}, 116444736000000000, 4},
        {{2000, 2, 29}, 125962560000000000, 2},
        {{2021, 1, 2}, 132540192000000000, 6},
        {{9999, 12, 31}, kMaximumFileTime - kTicksPerDay + 1, 5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(FormatIsoDate(row.fileTime));
        EXPECT_EQ(FileTimeFromDate(row.date), row.fileTime);
        EXPECT_EQ(DateFromFileTime(row.fileTime), row.date);
        EXPECT_EQ(DateFromFileTime(row.fileTime + kTicksPerDay - 1), row.date);
        EXPECT_EQ(StartOfDay(row.fileTime + kTicksPerDay - 1), row.fileTime);
        EXPECT_EQ(DayOfWeek(row.fileTime), row.dayOfWeek);
    }
}

TEST(CalendarDate, EveryDayFollowsTheOneBefore) {
    int64_t fileTime = 0;
    for (int year = 1601; year <= 9999; ++year) {
        for (int month = 1; month <= 12; ++month) {
            const int days = DaysInMonth(year, month);
            for (int day = 1; day <= days; ++day, fileTime += kTicksPerDay) {
                const CivilDate date{year, month, day};
                if (FileTimeFromDate(date) != fileTime || DateFromFileTime(fileTime) != date) {
                    FAIL() << year << '-' << month << '-' << day;
                }
            }
        }
    }
    EXPECT_EQ(fileTime, kMaximumFileTime + 1);
}

TEST(CalendarDate, ParsesDates) {
    const struct {
        const char* text;
        const char* iso;  // empty: refused
    } rows[] = {
        {"1-2-2021", "2021-01-02"},
        {"01/02/2021", "2021-01-02"},
        {"  12/31/1999\t", "1999-12-31"},
        {"2021-01-02", "2021-01-02"},
        {"2021/1/2", "2021-01-02"},
        {"1-15-3915", "3915-01-15"},
        {"2-29-2024", "2024-02-29"},
        {"2-29-2023", ""},
        {"2-29-1900", ""},
        {"02-30-2024", ""},
        {"13-1-2021", ""},
        {"0-1-2021", ""},
        {"1-0-2021", ""},
        {"1-1-1600", ""},
        {"1-1-10000", ""},
        {"1-2-21", ""},  // which century?
        {"1-2-021", ""},
        {"21-01-02", ""},
        {"001-2-2021", ""},
        {"2021-01-2021", ""},
        {"2021-001-01", ""},
        {"1-2/2021", ""},  // one separator or the other
        {"1.2.2021", ""},
        {"1 2 2021", ""},
        {"1- 2-2021", ""},
        {"1-2", ""},
        {"1-2-", ""},
        {"1--2-2021", ""},
        {"-1-2-2021", ""},
        {"+1-2-2021", ""},
        {"1-2-2021x", ""},
        {"1-2-2021 10:00", ""},
        {"20210102", ""},
        {"", ""},
        {"   ", ""},
        {"99999999999999999999-1-1", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int64_t fileTime = -77;
        EXPECT_EQ(ParseCalendarDate(row.text, fileTime), *row.iso != '\0');
        if (*row.iso) {
            EXPECT_EQ(FormatIsoDate(fileTime), row.iso);
            EXPECT_EQ(StartOfDay(fileTime), fileTime);
        } else {
            EXPECT_EQ(fileTime, -77);
        }
    }
}

TEST(CalendarDate, RefusesWhatLiesOutside) {
    EXPECT_EQ(FileTimeFromDate(1600, 12, 31), -1);
    EXPECT_EQ(FileTimeFromDate(10000, 1, 1), -1);
    EXPECT_EQ(FileTimeFromDate(2021, 4, 31), -1);
    EXPECT_EQ(FileTimeFromDate(2021, -1, 1), -1);
    EXPECT_EQ(DaysInMonth(2021, 13), 0);
    for (const int64_t outside : {int64_t{-1}, INT64_MIN, kMaximumFileTime + 1, INT64_MAX}) {
        EXPECT_EQ(DateFromFileTime(outside), CivilDate{});
        EXPECT_EQ(FormatIsoDate(outside), "");
        EXPECT_EQ(FormatIsoTime(outside), "");
    }
    EXPECT_EQ(StartOfDay(-1), -kTicksPerDay);
    EXPECT_EQ(StartOfDay(INT64_MIN), INT64_MIN);
}

int64_t Day(int year, int month, int day) {
    return FileTimeFromDate(year, month, day);
}

TEST(CalendarDate, CountsDaysAndMonths) {
    EXPECT_EQ(AddDays(Day(2024, 2, 28) + 5, 2), Day(2024, 3, 1) + 5);
    EXPECT_EQ(AddDays(Day(2021, 1, 1), -1), Day(2020, 12, 31));
    EXPECT_EQ(AddDays(Day(2021, 1, 1), INT64_MAX), kMaximumFileTime);
    EXPECT_EQ(AddDays(Day(2021, 1, 1), INT64_MIN), kMinimumFileTime);
    EXPECT_EQ(DaysBetween(Day(2021, 1, 1) + kTicksPerDay - 1, Day(2021, 1, 2)), 1);
    EXPECT_EQ(DaysBetween(Day(2021, 3, 1), Day(2021, 1, 1)), -59);

    const struct {
        int months;
        int day;
        const char* iso;
    } rows[] = {
        {1, 31, "2024-02-29"},  {2, 31, "2024-03-31"},   {13, 31, "2025-02-28"},
        {-1, 15, "2023-12-15"}, {-12, 31, "2023-01-31"}, {0, 1, "2024-01-01"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FormatIsoDate(AddMonths(Day(2024, 1, 31), row.months, row.day)), row.iso);
    }
    EXPECT_EQ(AddMonths(Day(2024, 1, 31), 1, 32), -1);
    EXPECT_EQ(AddMonths(Day(9999, 12, 1), 1, 1), -1);
    EXPECT_EQ(AddMonths(Day(1601, 1, 1), -1, 1), -1);
    EXPECT_EQ(AddMonths(-5, 1, 1), -1);
}

TEST(CalendarDate, FormatsTimes) {
    EXPECT_EQ(FormatIsoTime(kUnixEpochFileTime), "1970-01-01T00:00:00Z");
    EXPECT_EQ(FormatIsoTime(Day(2024, 2, 29) + (3 * 3600 + 4 * 60 + 5) * kTicksPerSecond + 9),
              "2024-02-29T03:04:05Z");
    EXPECT_EQ(FormatIsoTime(kMaximumFileTime), "9999-12-31T23:59:59Z");
}

}  // namespace
}  // namespace quillon
