#include <windows.h>
// Needs the types of windows.h.
#include <restartmanager.h>

#include <array>

#include "foundation/platform/LockHolder.h"
#include "foundation/platform/WideTextWindows.h"

namespace quillon {
namespace {

// A question to the system's restart manager, which knows who has a file open.
class CRestartSession {
public:
    CRestartSession() { m_open = ::RmStartSession(&m_session, 0, m_key.data()) == ERROR_SUCCESS; }
    ~CRestartSession() {
        if (m_open) ::RmEndSession(m_session);
    }
    CRestartSession(const CRestartSession&) = delete;
    CRestartSession& operator=(const CRestartSession&) = delete;
    bool IsOpen() const { return m_open; }
    DWORD Get() const { return m_session; }

private:
    DWORD m_session = 0;
    bool m_open = false;
    std::array<wchar_t, CCH_RM_SESSION_KEY + 1> m_key{};
};

}  // namespace

std::string LockHolder(const std::string& path) {
    const CRestartSession session;
    if (!session.IsOpen()) return {};
    const std::wstring wide = ToWindows(path);
    LPCWSTR files[] = {wide.c_str()};
    if (::RmRegisterResources(session.Get(), 1, files, 0, nullptr, 0, nullptr) != ERROR_SUCCESS) {
        return {};
    }
    std::array<RM_PROCESS_INFO, 8> processes{};
    UINT needed = 0;
    UINT count = static_cast<UINT>(processes.size());
    DWORD reasons = 0;
    const DWORD result = ::RmGetList(session.Get(), &needed, &count, processes.data(), &reasons);
    if ((result != ERROR_SUCCESS && result != ERROR_MORE_DATA) || count == 0) return {};
    for (UINT i = 0; i < count && i < processes.size(); ++i) {
        const DWORD process = processes[i].Process.dwProcessId;
        // Whoever asks has the file open for a moment, too.
        if (process == 0 || process == ::GetCurrentProcessId()) continue;
        const std::string name = FromWindows(processes[i].strAppName);
        return (name.empty() ? "a program" : name) + " (process " + std::to_string(process) + ")";
    }
    return {};
}

}  // namespace quillon
