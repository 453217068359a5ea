#include "finance/planning/RecurringDate.h"

#include "foundation/CalendarDate.h"

namespace quillon {

namespace {

constexpr int32_t kShortestMonth = 28;
constexpr int32_t kLongestMonth = 31;

}  // namespace

int64_t PackRecurringDate(int64_t date, int32_t originalDay) {
    const bool carries = originalDay > kShortestMonth && originalDay <= kLongestMonth &&
                         date >= kMinimumFileTime && date <= kMaximumFileTime &&
                         DateFromFileTime(date).day < originalDay;
    return carries ? StartOfDay(date) + originalDay : date;
}

void UnpackRecurringDate(int64_t stored, int64_t& date, int32_t& originalDay) {
    date = stored;
    originalDay = 0;
    if (stored < kMinimumFileTime || stored > kMaximumFileTime) return;
    const int64_t past = stored - StartOfDay(stored);
    if (past <= kShortestMonth || past > kLongestMonth) return;
    date = StartOfDay(stored);
    originalDay = static_cast<int32_t>(past);
}

}  // namespace quillon
