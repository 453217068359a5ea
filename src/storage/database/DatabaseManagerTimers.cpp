#include "storage/database/DatabaseManagerTimers.h"

#include <utility>

#include "storage/database/DatabaseManager.h"

namespace quillon {

void CDatabaseManagerTimer::Run(int64_t nowMs) {
    if (m_dueMs < 0) m_dueMs = nowMs + m_periodMs;
    if (nowMs < m_dueMs) return;
    m_dueMs = nowMs + m_periodMs;
    if (std::exchange(m_armed, true)) Act();
}

void CDatabaseManagerTimer::Stop() {
    m_dueMs = -1;
    m_armed = false;
}

void CDatabaseManagerFlushTimer::Act() {
    (void)m_manager.Flush();
}

void CDatabaseManagerRemoveDeletedTimer::Act() {
    (void)m_manager.RemoveDeleted();
}

}  // namespace quillon
