#include "foundation/ReentrantLock.h"

namespace quillon {

void CReentrantLock::Take() {
    if (IsOwnedByCaller()) {
        ++m_depth;
        return;
    }
    std::unique_lock guard(m_guard);
    while (m_owned) {
        ++m_waiting;
        ++s_waiting;
        m_released.wait(guard, [this] { return m_signalled; });
        --s_waiting;
        --m_waiting;
    }
    m_lock.lock();  // free: its owner left it before it cleared m_owned
    m_owned = true;
    m_owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    m_signalled = false;
    m_depth = 1;
}

void CReentrantLock::Release() {
    if (!IsOwnedByCaller()) return;
    if (--m_depth > 0) return;
    // Left before the guard is entered: the two are never waited for in both orders.
    m_lock.unlock();
    const std::lock_guard guard(m_guard);
    m_owner.store(std::thread::id(), std::memory_order_relaxed);
    m_owned = false;
    m_signalled = true;
    // Inside the guard: once outside, the next owner may already be destroying
    // the lock's object.
    if (m_waiting > 0) m_released.notify_all();
}

}  // namespace quillon
