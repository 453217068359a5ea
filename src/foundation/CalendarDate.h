#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// Calendar dates and file times.
//
// A file time is a number of 100-nanosecond ticks since 1 January 1601, UTC. A
// calendar date is the file time of its midnight UTC and is never converted to
// another time zone, so it stays the same day wherever its owner travels.
// Dates lie in the years 1601 to 9999.

inline constexpr int64_t kTicksPerSecond = 10'000'000;
inline constexpr int64_t kTicksPerDay = 864'000'000'000;
// 1 January 1970.
inline constexpr int64_t kUnixEpochFileTime = 116'444'736'000'000'000;
// The first tick and the last of the supported years.
inline constexpr int64_t kMinimumFileTime = 0;
inline constexpr int64_t kMaximumFileTime = 2'650'467'743'999'999'999;

struct CivilDate {
    int year = 0;
    int month = 0;  // 1..12
    int day = 0;    // 1..31

    friend auto operator<=>(const CivilDate&, const CivilDate&) = default;
};

bool IsLeapYear(int year);
// 0 when there is no such month.
int DaysInMonth(int year, int month);
bool IsValidDate(int year, int month, int day);
inline bool IsValidDate(const CivilDate& date) {
    return IsValidDate(date.year, date.month, date.day);
}

// Midnight UTC of the date; -1 when there is no such date.
int64_t FileTimeFromDate(int year, int month, int day);
inline int64_t FileTimeFromDate(const CivilDate& date) {
    return FileTimeFromDate(date.year, date.month, date.day);
}
// The UTC date of any time of that day; all zeros outside the supported years.
CivilDate DateFromFileTime(int64_t fileTime);

// Midnight UTC of the same day.
int64_t StartOfDay(int64_t fileTime);
// Keeps the time of day; stops at the ends of the supported years.
int64_t AddDays(int64_t fileTime, int64_t days);
// Whole months later (or earlier), on `day` of that month or on its last day
// when it has fewer. -1 outside the supported years, or when `day` is not 1..31.
int64_t AddMonths(int64_t fileTime, int months, int day);
// Days from one date to another, negative when `to` is earlier.
int64_t DaysBetween(int64_t from, int64_t to);
// 0 Sunday to 6 Saturday.
int DayOfWeek(int64_t fileTime);

// Reads month-day-year (1/5/2021, 01-05-2021) and year-month-day (2021-01-05,
// 2021/1/5: the first number has four digits), both separators the same.
// Months and days have one or two digits and years four; a two-digit year says
// no century and is refused here, so importers settle it first. Blanks and tabs
// around the date are allowed, anything else is not, nor is a day that the
// month does not have. False leaves `fileTime` untouched.
[[nodiscard]] bool ParseCalendarDate(std::string_view text, int64_t& fileTime);

// YYYY-MM-DD; empty outside the supported years.
std::string FormatIsoDate(int64_t fileTime);
// YYYY-MM-DDTHH:MM:SSZ; empty outside the supported years.
std::string FormatIsoTime(int64_t fileTime);

}  // namespace quillon
