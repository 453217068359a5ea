#include "foundation/platform/Clock.h"

#include <atomic>
#include <chrono>

namespace quillon {

namespace {

// No file time of ours is negative, so a negative one means "runs".
constexpr int64_t kRuns = -1;
std::atomic<int64_t> g_stoppedAt{kRuns};

}  // namespace

int64_t NowFileTime() {
    const int64_t stoppedAt = g_stoppedAt.load(std::memory_order_relaxed);
    return stoppedAt != kRuns ? stoppedAt : machine::NowFileTime();
}

CivilDate TodayLocal() {
    const int64_t stoppedAt = g_stoppedAt.load(std::memory_order_relaxed);
    return stoppedAt != kRuns ? DateFromFileTime(stoppedAt) : machine::TodayLocal();
}

int64_t TodayFileTime() {
    return FileTimeFromDate(TodayLocal());
}

int64_t MonotonicMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void SetClockForTesting(std::optional<int64_t> fileTime) {
    g_stoppedAt.store(fileTime.value_or(kRuns), std::memory_order_relaxed);
}

}  // namespace quillon
