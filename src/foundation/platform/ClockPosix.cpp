#include <ctime>

#include "foundation/platform/Clock.h"

namespace quillon::machine {

int64_t NowFileTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return kUnixEpochFileTime + static_cast<int64_t>(now.tv_sec) * kTicksPerSecond +
           static_cast<int64_t>(now.tv_nsec) / 100;
}

CivilDate TodayLocal() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

}  // namespace quillon::machine
