#include <windows.h>

#include <atomic>
#include <cstddef>

#include "foundation/platform/Console.h"
#include "foundation/platform/WideTextWindows.h"

namespace quillon {

namespace {

constexpr size_t kMaximumPassword = 4096;

class CConsoleHandle {
public:
    explicit CConsoleHandle(const wchar_t* name)
        : m_handle(CreateFileW(name, GENERIC_READ | GENERIC_WRITE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                               nullptr)) {}
    ~CConsoleHandle() {
        if (IsOpen()) CloseHandle(m_handle);
    }
    CConsoleHandle(const CConsoleHandle&) = delete;
    CConsoleHandle& operator=(const CConsoleHandle&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

void Write(HANDLE console, const std::wstring& text) {
    DWORD written = 0;
    WriteConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

// One line without its end. False: end of input, cancelled, or too long.
bool ReadLine(HANDLE console, std::wstring& line) {
    for (;;) {
        wchar_t c = 0;
        DWORD got = 0;
        if (!ReadConsoleW(console, &c, 1, &got, nullptr) || got != 1) return false;
        if (c == L'\n') return true;
        if (c == L'\r') continue;
        if (c == 0x1A || line.size() == kMaximumPassword) return false;
        line.push_back(c);
    }
}

// The console's mode outlives the program, so one that is ended by Ctrl-C or a
// closed window puts the echo back first. Windows calls this on a thread of its own.
std::atomic<HANDLE> g_silentConsole{nullptr};
std::atomic<DWORD> g_usualMode{0};

BOOL WINAPI RestoreEcho(DWORD) {
    const HANDLE console = g_silentConsole.load();
    if (console) SetConsoleMode(console, g_usualMode.load());
    return FALSE;  // the next handler goes on as usual
}

HANDLE StandardHandle(int descriptor) {
    constexpr DWORD kHandles[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    return descriptor >= 0 && descriptor <= 2 ? GetStdHandle(kHandles[descriptor])
                                              : INVALID_HANDLE_VALUE;
}

}  // namespace

bool IsTerminal(int descriptor) {
    DWORD mode = 0;
    return GetConsoleMode(StandardHandle(descriptor), &mode) != 0;
}

bool ReadPassword(const char* prompt, std::string& out) {
    out.clear();
    const CConsoleHandle input(L"CONIN$");
    const CConsoleHandle output(L"CONOUT$");
    DWORD mode = 0;
    if (!input.IsOpen() || !output.IsOpen() || !GetConsoleMode(input.Get(), &mode)) return false;
    const DWORD silent = (mode | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) &
                         ~static_cast<DWORD>(ENABLE_ECHO_INPUT);
    g_usualMode = mode;
    g_silentConsole = input.Get();
    SetConsoleCtrlHandler(RestoreEcho, TRUE);
    std::wstring line;
    bool read = false;
    if (SetConsoleMode(input.Get(), silent)) {
        Write(output.Get(), ToWindows(prompt));
        read = ReadLine(input.Get(), line);
        SetConsoleMode(input.Get(), mode);
        Write(output.Get(), L"\n");
    }
    SetConsoleCtrlHandler(RestoreEcho, FALSE);
    g_silentConsole = nullptr;
    if (read) out = FromWindows(line);
    return read;
}

int TerminalColumns() {
    for (const int descriptor : {2, 1}) {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        if (GetConsoleScreenBufferInfo(StandardHandle(descriptor), &info)) {
            const int columns = info.srWindow.Right - info.srWindow.Left + 1;
            if (columns > 0) return columns;
        }
    }
    return 80;
}

}  // namespace quillon
