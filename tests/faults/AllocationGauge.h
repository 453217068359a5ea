#pragma once

#include <cstddef>
#include <cstdint>

namespace quillon {

// Counts what a thread allocates, and lets its allocations fail. The program that links
// this has operator new and delete replaced and its own malloc, calloc, realloc and free
// wrapped; what shared libraries allocate for themselves is not seen.
//
//   Scope      Counts from construction to destruction, on the constructing thread. One
//              at a time. Without one everything is as without this file.
//   Blocks     Only those allocated in the scope: freeing an older one changes nothing.
class CAllocationGauge {
public:
    enum class Times { Once, ForEver };

    CAllocationGauge();
    ~CAllocationGauge();
    CAllocationGauge(const CAllocationGauge&) = delete;
    CAllocationGauge& operator=(const CAllocationGauge&) = delete;

    struct Values {
        int64_t liveBytes = 0;  // not freed yet
        int64_t liveBlocks = 0;
        int64_t peakBytes = 0;     // the largest of liveBytes
        int64_t largestBlock = 0;  // that was asked for, also when it was refused
        int64_t allocations = 0;   // that were asked for
    };
    Values Counts() const;

    // Lets the `nth` allocation from now (1 is the next) fail, and with ForEver all later
    // ones. Replaces an earlier order.
    void FailNth(int64_t nth, Times times);
    void StopFailing();
    // An allocation was refused since the last FailNth.
    bool HasFailed() const;
};

// While it lives, allocations neither count nor fail; freeing a counted block still counts.
// For what a test does itself in the middle of what it measures, such as its disk.
class CAllocationPause {
public:
    CAllocationPause();
    ~CAllocationPause();
    CAllocationPause(const CAllocationPause&) = delete;
    CAllocationPause& operator=(const CAllocationPause&) = delete;
};

}  // namespace quillon
