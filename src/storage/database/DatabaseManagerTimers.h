#pragma once

#include <cstdint>

namespace quillon {

class CDatabaseManager;

// A periodic timer of the database manager, driven by the host's event loop. It starts at the
// first Run; its first expiry only arms it, and every later one performs its action.
//
//   Units    Milliseconds of any steady clock.
//   Errors   An action that fails is tried again at the next expiry.
//   Threads  Callers hold the manager's lock.
class CDatabaseManagerTimer {
public:
    virtual ~CDatabaseManagerTimer() = default;
    CDatabaseManagerTimer(const CDatabaseManagerTimer&) = delete;
    CDatabaseManagerTimer& operator=(const CDatabaseManagerTimer&) = delete;

    // Acts when the timer is armed and has expired.
    void Run(int64_t nowMs);
    // The next Run starts it anew, not armed.
    void Stop();

protected:
    CDatabaseManagerTimer(CDatabaseManager& manager, int32_t periodMs)
        : m_manager(manager), m_periodMs(periodMs) {}
    virtual void Act() = 0;

    CDatabaseManager& m_manager;

private:
    int32_t m_periodMs;
    int64_t m_dueMs = -1;  // -1: not started
    bool m_armed = false;
};

// Writes what the stores still hold back: twice a minute.
class CDatabaseManagerFlushTimer final : public CDatabaseManagerTimer {
public:
    static constexpr int32_t kPeriodMs = 30'000;
    explicit CDatabaseManagerFlushTimer(CDatabaseManager& manager)
        : CDatabaseManagerTimer(manager, kPeriodMs) {}

private:
    void Act() override;
};

// Gives the room of deleted entries back: three times an hour.
class CDatabaseManagerRemoveDeletedTimer final : public CDatabaseManagerTimer {
public:
    static constexpr int32_t kPeriodMs = 1'200'000;
    explicit CDatabaseManagerRemoveDeletedTimer(CDatabaseManager& manager)
        : CDatabaseManagerTimer(manager, kPeriodMs) {}

private:
    void Act() override;
};

}  // namespace quillon
