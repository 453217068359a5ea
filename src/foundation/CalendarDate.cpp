#include "foundation/CalendarDate.h"

#include <algorithm>
#include <cstdio>

namespace quillon {

namespace {

constexpr int kFirstYear = 1601;
constexpr int kLastYear = 9999;
constexpr int64_t kLastDay = kMaximumFileTime / kTicksPerDay;

// Days from 1 January 1601. Years are counted from March, so that the leap day
// comes last; 1 March 1600 begins a cycle of 400 years.
int64_t DayNumber(int year, int month, int day) {
    const int64_t years = year - 1600 - (month <= 2 ? 1 : 0);
    const int64_t cycle = (years >= 0 ? years : years - 399) / 400;
    const int64_t yearOfCycle = years - cycle * 400;
    const int64_t monthFromMarch = (month + 9) % 12;
    const int64_t dayOfYear = (153 * monthFromMarch + 2) / 5 + day - 1;
    const int64_t dayOfCycle = yearOfCycle * 365 + yearOfCycle / 4 - yearOfCycle / 100 + dayOfYear;
    return cycle * 146097 + dayOfCycle - 306;  // 1 March 1600 to 1 January 1601
}

CivilDate DateOfDay(int64_t dayNumber) {
    const int64_t days = dayNumber + 306;  // from 1 March 1600, never negative here
    const int64_t cycle = days / 146097;
    const int64_t dayOfCycle = days % 146097;
    const int64_t yearOfCycle =
        (dayOfCycle - dayOfCycle / 1460 + dayOfCycle / 36524 - dayOfCycle / 146096) / 365;
    const int64_t dayOfYear =
        dayOfCycle - (365 * yearOfCycle + yearOfCycle / 4 - yearOfCycle / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const int64_t year = 1600 + cycle * 400 + yearOfCycle + (month <= 2 ? 1 : 0);
    return {static_cast<int>(year), static_cast<int>(month),
            static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1)};
}

// Whole days, rounded down.
int64_t DayOf(int64_t fileTime) {
    const int64_t day = fileTime / kTicksPerDay;
    return fileTime % kTicksPerDay < 0 ? day - 1 : day;
}

bool IsSupported(int64_t fileTime) {
    return fileTime >= kMinimumFileTime && fileTime <= kMaximumFileTime;
}

struct Digits {
    int value = 0;
    size_t count = 0;
};

// Takes the digits that `text` begins with; more than four are no part of a date.
bool TakeDigits(std::string_view& text, Digits& digits) {
    digits = {};
    while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
        if (++digits.count > 4) return false;
        digits.value = digits.value * 10 + (text.front() - '0');
        text.remove_prefix(1);
    }
    return digits.count > 0;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

}  // namespace

bool IsLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int DaysInMonth(int year, int month) {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

bool IsValidDate(int year, int month, int day) {
    return year >= kFirstYear && year <= kLastYear && day >= 1 && day <= DaysInMonth(year, month);
}

int64_t FileTimeFromDate(int year, int month, int day) {
    if (!IsValidDate(year, month, day)) return -1;
    return DayNumber(year, month, day) * kTicksPerDay;
}

CivilDate DateFromFileTime(int64_t fileTime) {
    return IsSupported(fileTime) ? DateOfDay(fileTime / kTicksPerDay) : CivilDate{};
}

int64_t StartOfDay(int64_t fileTime) {
    const int64_t ticks = fileTime % kTicksPerDay;
    if (ticks >= 0) return fileTime - ticks;
    // The day that holds the smallest number of all has no beginning.
    const int64_t back = ticks + kTicksPerDay;
    return fileTime < INT64_MIN + back ? INT64_MIN : fileTime - back;
}

int64_t AddDays(int64_t fileTime, int64_t days) {
    const int64_t step = std::clamp(days, -2 * kLastDay, 2 * kLastDay) * kTicksPerDay;
    return std::clamp(std::clamp(fileTime, kMinimumFileTime, kMaximumFileTime) + step,
                      kMinimumFileTime, kMaximumFileTime);
}

int64_t AddMonths(int64_t fileTime, int months, int day) {
    const CivilDate date = DateFromFileTime(fileTime);
    if (date.year == 0 || day < 1 || day > 31) return -1;
    const int64_t month = int64_t{date.year} * 12 + date.month - 1 + months;
    if (month < int64_t{kFirstYear} * 12 || month >= int64_t{kLastYear + 1} * 12) return -1;
    const int year = static_cast<int>(month / 12);
    const int monthOfYear = static_cast<int>(month % 12) + 1;
    return FileTimeFromDate(year, monthOfYear, std::min(day, DaysInMonth(year, monthOfYear)));
}

int64_t DaysBetween(int64_t from, int64_t to) {
    return DayOf(to) - DayOf(from);
}

int DayOfWeek(int64_t fileTime) {
    const int64_t day = (DayOf(fileTime) + 1) % 7;  // 1 January 1601 was a Monday
    return static_cast<int>(day < 0 ? day + 7 : day);
}

bool ParseCalendarDate(std::string_view text, int64_t& fileTime) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);

    Digits parts[3];
    char separator = '\0';
    for (int i = 0; i < 3; ++i) {
        if (i > 0) {
            if (text.empty() || (text.front() != '-' && text.front() != '/')) return false;
            if (i == 2 && text.front() != separator) return false;
            separator = text.front();
            text.remove_prefix(1);
        }
        if (!TakeDigits(text, parts[i])) return false;
    }
    if (!text.empty()) return false;

    const bool yearFirst = parts[0].count == 4;
    const Digits& year = yearFirst ? parts[0] : parts[2];
    const Digits& month = yearFirst ? parts[1] : parts[0];
    const Digits& day = yearFirst ? parts[2] : parts[1];
    if (year.count != 4 || month.count > 2 || day.count > 2) return false;
    const int64_t read = FileTimeFromDate(year.value, month.value, day.value);
    if (read < 0) return false;
    fileTime = read;
    return true;
}

std::string FormatIsoDate(int64_t fileTime) {
    const CivilDate date = DateFromFileTime(fileTime);
    if (date.year == 0) return {};
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
    return text;
}

std::string FormatIsoTime(int64_t fileTime) {
    std::string text = FormatIsoDate(fileTime);
    if (text.empty()) return text;
    const int seconds = static_cast<int>(fileTime % kTicksPerDay / kTicksPerSecond);
    char time[48];
    std::snprintf(time, sizeof time, "T%02d:%02d:%02dZ", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    return text + time;
}

}  // namespace quillon
