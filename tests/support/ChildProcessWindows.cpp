#include <windows.h>

#include "foundation/platform/WideTextWindows.h"
#include "support/ChildProcess.h"
#include "support/RunningUnderWine.h"

namespace quillon {

namespace {

// A process of the system that Wine runs on has no handle; it ends when its files are gone.
constexpr intptr_t kWithoutHandle = -1;

// The same path as programs of the system below see it.
std::wstring PathBelow(const std::string& path) {
    using Translate = char*(__cdecl*)(const wchar_t*);
    const HMODULE library = ::GetModuleHandleW(L"kernel32.dll");
    // By way of a plain pointer: the two function types have nothing in common.
    const auto translate = reinterpret_cast<Translate>(
        reinterpret_cast<void*>(::GetProcAddress(library, "wine_get_unix_file_name")));
    char* const below = translate ? translate(ToWindows(path).c_str()) : nullptr;
    if (!below) return ToWindows(path);
    const std::wstring wide = ToWindows(below);
    ::HeapFree(::GetProcessHeap(), 0, below);
    return wide;
}

}  // namespace

bool CChildProcess::StartPython(const std::vector<std::string>& arguments,
                                const std::string& messages) {
    const bool wine = RunningUnderWine();
    std::wstring command = wine ? L"\"Z:\\usr\\bin\\python3\" -B" : L"python -B";
    for (const std::string& argument : arguments) {
        command += L" \"" + (wine ? PathBelow(argument) : ToWindows(argument)) + L"\"";
    }
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE file = ::CreateFileW(ToWindows(messages).c_str(), FILE_APPEND_DATA,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      &inherited, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    const HANDLE none = ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inherited, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = none;
    start.hStdOutput = file;
    start.hStdError = file;
    PROCESS_INFORMATION process{};
    const bool started = ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE,
                                          CREATE_NO_WINDOW, nullptr, nullptr, &start, &process);
    ::CloseHandle(file);
    ::CloseHandle(none);
    if (!started) return false;
    if (process.hThread) ::CloseHandle(process.hThread);
    m_process = process.hProcess ? reinterpret_cast<intptr_t>(process.hProcess) : kWithoutHandle;
    return true;
}

bool CChildProcess::HasEnded() {
    if (m_process == 0) return true;
    if (m_process == kWithoutHandle) return false;
    const auto handle = reinterpret_cast<HANDLE>(m_process);
    if (::WaitForSingleObject(handle, 0) != WAIT_OBJECT_0) return false;
    ::CloseHandle(handle);
    m_process = 0;
    return true;
}

void CChildProcess::Stop() {
    if (!HasEnded() && m_process != kWithoutHandle) {
        const auto handle = reinterpret_cast<HANDLE>(m_process);
        ::TerminateProcess(handle, 1);
        ::CloseHandle(handle);
    }
    m_process = 0;
}

}  // namespace quillon
