#pragma once

#include <cstdint>

#include "support/MemoryFileSystem.h"

namespace quillon {

// Lets the first, the second, the third ... call of a kind fail, until the work comes to its end
// without. Each time the disk is as it was at the beginning:
//
//   for (CEachFailure failure(disk, {.kind = Call::Write}); failure.Next();) {
//       ... get ready; failure.Arm(); ... work; failure.Disarm(); ... look
//   }
class CEachFailure {
public:
    struct Plan {
        CMemoryFileSystem::Call kind = CMemoryFileSystem::Call::AnyChangeOrSync;
        FileError error = FileError::NoSpace;
        CMemoryFileSystem::Times times = CMemoryFileSystem::Times::Once;
        size_t written = 0;  // by a failing write
        int64_t every = 1;   // of so many calls one fails
    };

    CEachFailure(CMemoryFileSystem& disk, const Plan& plan)
        : m_disk(disk), m_plan(plan), m_before(disk.Everything()) {}

    // False: the last work did not meet the failure, or there is no end to it.
    bool Next() {
        m_nth = m_nth == 0 ? 1 : m_nth + m_plan.every;
        m_disk.Restore(m_before);
        return m_failed && !IsEndless();
    }
    void Arm() { m_disk.FailNth(m_plan.kind, m_nth, m_plan.error, m_plan.times, m_plan.written); }
    // True: the failure was met.
    bool Disarm() {
        m_failed = m_disk.HasFailed();
        m_disk.StopFailing();
        return m_failed;
    }

    int64_t Nth() const { return m_nth; }
    bool IsEndless() const { return m_nth > kMost; }

private:
    static constexpr int64_t kMost = 5000;
    CMemoryFileSystem& m_disk;
    const Plan m_plan;
    const DiskImage m_before;
    int64_t m_nth = 0;
    bool m_failed = true;
};

}  // namespace quillon
