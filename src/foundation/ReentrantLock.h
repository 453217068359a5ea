#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace quillon {

// CReentrantLock keeps one object to one thread at a time; the thread that has
// it may take it again. Every public operation of an engine object holds the
// object's lock from its first line to its last, through CLockScope.
//
// A guard section protects the fields, the lock section is the lock proper, and
// a manual-reset event (set while nobody owns the lock) wakes those who wait.
// Taking it again costs no system call and no section; taking it free costs two
// uncontended sections.
class CReentrantLock {
public:
    CReentrantLock() = default;
    CReentrantLock(const CReentrantLock&) = delete;
    CReentrantLock& operator=(const CReentrantLock&) = delete;
    virtual ~CReentrantLock() = default;

    // Returns when the calling thread owns the lock; waits without limit.
    virtual void Take();
    // Undoes one Take(). Of a thread that is not the owner: nothing.
    virtual void Release();

    // Threads of the program that wait in Take() at this moment, for any lock: by it a test
    // sees that a call has to wait.
    static int32_t WaitingThreads() { return s_waiting.load(); }

    bool IsOwnedByCaller() const {
        return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }

private:
    static inline std::atomic<int32_t> s_waiting{0};

    std::mutex m_guard;  // the fields below
    std::mutex m_lock;   // the lock proper, held by the owner
    std::condition_variable m_released;
    bool m_signalled = true;  // the event's state
    int32_t m_waiting = 0;
    bool m_owned = false;
    // Written under the guard; an owner recognises itself without it, because
    // only a thread itself ever enters or clears its own id.
    std::atomic<std::thread::id> m_owner{};
    int32_t m_depth = 0;  // the owner's alone
};

class [[nodiscard]] CLockScope {
public:
    explicit CLockScope(CReentrantLock& lock) : m_lock(lock) { m_lock.Take(); }
    ~CLockScope() { m_lock.Release(); }
    CLockScope(const CLockScope&) = delete;
    CLockScope& operator=(const CLockScope&) = delete;

private:
    CReentrantLock& m_lock;
};

}  // namespace quillon
