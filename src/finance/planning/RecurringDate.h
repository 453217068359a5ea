#pragma once

#include <cstdint>

namespace quillon {

// "LastServiceDate" as stored. A series that is meant for the 31st and last fell on
// 28 February must still know the 31st when it is read again, and no column of its own
// holds it. So a date that was cut short carries the day it is meant for (29 to 31) as
// that many ticks past midnight, less than four microseconds; every other date is
// midnight as all calendar dates are.
int64_t PackRecurringDate(int64_t date, int32_t originalDay);
// `originalDay` becomes 0 when the stored date carries none.
void UnpackRecurringDate(int64_t stored, int64_t& date, int32_t& originalDay);

}  // namespace quillon
