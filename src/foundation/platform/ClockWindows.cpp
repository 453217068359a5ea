#include <windows.h>

#include "foundation/platform/Clock.h"

namespace quillon::machine {

int64_t NowFileTime() {
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    return static_cast<int64_t>(static_cast<uint64_t>(now.dwHighDateTime) << 32 |
                                now.dwLowDateTime);
}

CivilDate TodayLocal() {
    SYSTEMTIME local{};
    GetLocalTime(&local);
    return {local.wYear, local.wMonth, local.wDay};
}

}  // namespace quillon::machine
