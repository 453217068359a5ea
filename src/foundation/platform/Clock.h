#pragma once

#include <cstdint>
#include <optional>

#include "foundation/CalendarDate.h"

namespace quillon {

// The present moment as a file time: 100 ns ticks since 1601, UTC.
int64_t NowFileTime();

// The day on the user's calendar, in the machine's time zone.
CivilDate TodayLocal();
// The same as midnight UTC, the form in which calendar dates are kept.
int64_t TodayFileTime();

// Milliseconds since some moment; never goes back. For timers, and not
// affected by the testing clock.
int64_t MonotonicMilliseconds();

// Stops the clock at `fileTime` for the whole process, the calendar included
// (read as UTC); without a value it runs again.
void SetClockForTesting(std::optional<int64_t> fileTime);

// Stops the clock for the life of the object.
class CStoppedClock {
public:
    explicit CStoppedClock(int64_t fileTime) { SetClockForTesting(fileTime); }
    ~CStoppedClock() { SetClockForTesting(std::nullopt); }
    CStoppedClock(const CStoppedClock&) = delete;
    CStoppedClock& operator=(const CStoppedClock&) = delete;

    void Set(int64_t fileTime) { SetClockForTesting(fileTime); }
};

// The machine's own answers, made by the platform's file.
namespace machine {
int64_t NowFileTime();
CivilDate TodayLocal();
}  // namespace machine

}  // namespace quillon
