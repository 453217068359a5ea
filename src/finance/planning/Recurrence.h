#pragma once

#include <cstdint>

#include "finance/records/FinanceRecords.h"

namespace quillon {

// When the next one of a recurring transaction is due.
//
//   Dates   File times; the time of day of what is passed in is dropped, results are
//           midnight UTC.
//   Rule    A month without the day uses its last day, and the occurrence after it
//           returns to the original day: 31 January, 28 February, 31 March.

// `originalDay` (1 to 31) is the day of the month the series is meant for; 0 means the
// day of `last`. Weekly periods and twice-a-month ones do not use it. 0 when the period
// is not a known one or the date leaves the calendar (year 9999).
int64_t NextOccurrence(int64_t last, PeriodType period, TwiceAMonthType twiceAMonth,
                       int32_t originalDay = 0);

// The date after the record's last one.
int64_t NextOccurrence(const CMemorizedTransactionEntry& memorized);

// Moves the record on to `date`, which NextOccurrence gave, and keeps its original day.
void AdvanceTo(CMemorizedTransactionEntry& memorized, int64_t date);

}  // namespace quillon
