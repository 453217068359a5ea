#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

// The keys of a date field:
//
//   + -  a day later, earlier          T    today
//   ]  [  a month later, earlier       M H  first and last day of the month
//                                      Y R  first and last day of the year
//
// Letters in either case. False: none of them, or a step out of the calendar; `date` stays.
bool ApplyDateKey(char key, int64_t today, int64_t& date);

// The date that was typed:
//
//   2024-05-17, 5/17/2024, 17.5.2024   in full; of two digits the year nearest to today
//   5/17, 5-17, 17.5, 17.5.            the nearest such day
//   17                                 the nearest day of that number
//
// Of two as near the earlier one. False: no such date; `date` stays.
[[nodiscard]] bool ReadTypedDate(std::string_view text, int64_t today, int64_t& date);

}  // namespace quillon
