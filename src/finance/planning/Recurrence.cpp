#include "finance/planning/Recurrence.h"

#include "foundation/CalendarDate.h"

namespace quillon {

namespace {

// 0 for a period that does not go by months.
int MonthsOf(PeriodType period) {
    switch (period) {
        case PeriodType::Monthly:
            return 1;
        case PeriodType::Quarterly:
            return 3;
        case PeriodType::SemiAnnual:
            return 6;
        case PeriodType::Annual:
            return 12;
        case PeriodType::BiAnnual:
            return 24;
        default:
            return 0;
    }
}

int64_t OrNone(int64_t date) {
    return date < 0 || date > kMaximumFileTime ? 0 : date;
}

int64_t AfterDays(int64_t date, int64_t days) {
    const int64_t next = AddDays(date, days);
    return next - date == days * kTicksPerDay ? OrNone(next) : 0;
}

int64_t AfterHalfMonth(int64_t date, TwiceAMonthType type) {
    const CivilDate civil = DateFromFileTime(date);
    const bool onFirst = type == TwiceAMonthType::FirstAndFifteenth;
    if (!onFirst && type != TwiceAMonthType::FifteenthAndLast) return 0;
    if (civil.day < 15) return FileTimeFromDate(civil.year, civil.month, 15);
    if (onFirst) return OrNone(AddMonths(date, 1, 1));
    const int last = DaysInMonth(civil.year, civil.month);
    if (civil.day < last) return FileTimeFromDate(civil.year, civil.month, last);
    return OrNone(AddMonths(date, 1, 15));
}

}  // namespace

int64_t NextOccurrence(int64_t last, PeriodType period, TwiceAMonthType twiceAMonth,
                       int32_t originalDay) {
    if (last < kMinimumFileTime || last > kMaximumFileTime) return 0;
    const int64_t date = StartOfDay(last);
    switch (period) {
        case PeriodType::Weekly:
            return AfterDays(date, 7);
        case PeriodType::BiWeekly:
            return AfterDays(date, 14);
        case PeriodType::TwicePerMonth:
            return AfterHalfMonth(date, twiceAMonth);
        default:
            break;
    }
    const int months = MonthsOf(period);
    if (months == 0) return 0;
    const bool known = originalDay >= 1 && originalDay <= 31;
    return OrNone(AddMonths(date, months, known ? originalDay : DateFromFileTime(date).day));
}

int64_t NextOccurrence(const CMemorizedTransactionEntry& memorized) {
    return NextOccurrence(memorized.lastServiceDate, memorized.periodType,
                          memorized.twiceAMonthType, memorized.originalDay);
}

void AdvanceTo(CMemorizedTransactionEntry& memorized, int64_t date) {
    const CivilDate before = DateFromFileTime(memorized.lastServiceDate);
    const int32_t meant = memorized.originalDay > 0 ? memorized.originalDay : before.day;
    const CivilDate after = DateFromFileTime(date);
    // Only a date that the month cut short says nothing about the day that is meant.
    const bool cutShort = MonthsOf(memorized.periodType) > 0 && after.day < meant &&
                          after.day == DaysInMonth(after.year, after.month);
    memorized.lastServiceDate = StartOfDay(date);
    memorized.originalDay = cutShort ? meant : 0;
}

}  // namespace quillon
