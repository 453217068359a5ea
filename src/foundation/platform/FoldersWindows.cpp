#include <windows.h>
// Needs the types of windows.h.
#include <shlobj.h>

#include <cstddef>
#include <vector>

#include "foundation/Path.h"
#include "foundation/platform/Folders.h"
#include "foundation/platform/WideTextWindows.h"

namespace quillon {

namespace {

std::string WithoutEndSeparator(std::string path) {
    // "C:\" is a root folder; "C:" would be something else.
    while (path.size() > 3 && IsPathSeparator(path.back())) path.pop_back();
    return path;
}

// Calls a function of the kind that returns the length, or the needed size when
// the buffer is too small, and 0 when it fails.
template <typename Call>
std::string TextOf(Call call) {
    std::vector<wchar_t> buffer(MAX_PATH + 1);
    for (;;) {
        const DWORD length = call(buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return {};
        if (length < buffer.size()) return FromWindows({buffer.data(), length});
        buffer.resize(static_cast<size_t>(length) + 1);
    }
}

}  // namespace

std::string ExecutableFolder() {
    std::vector<wchar_t> buffer(MAX_PATH + 1);
    for (;;) {
        // Too small a buffer is filled to its end.
        const DWORD length =
            GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return {};
        if (length < buffer.size()) {
            const std::string program = FromWindows({buffer.data(), length});
            const size_t separator = program.find_last_of("\\/");
            if (separator == std::string::npos) return {};
            return WithoutEndSeparator(program.substr(0, separator + 1));
        }
        buffer.resize(buffer.size() * 2);
    }
}

std::string RoamingDataFolder() {
    wchar_t path[MAX_PATH] = {};
    if (SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path) != S_OK) {
        return {};
    }
    return WithoutEndSeparator(FromWindows(path));
}

std::string TemporaryFolder() {
    return WithoutEndSeparator(
        TextOf([](wchar_t* text, DWORD size) { return GetTempPathW(size, text); }));
}

std::string CurrentFolder() {
    return WithoutEndSeparator(
        TextOf([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); }));
}

std::string AbsolutePath(const std::string& path) {
    const std::wstring wide = ToWindows(path);
    const std::string full = TextOf([&](wchar_t* text, DWORD size) {
        return GetFullPathNameW(wide.c_str(), size, text, nullptr);
    });
    return full.empty() ? path : full;
}

std::string EnvironmentVariable(const std::string& name) {
    const std::wstring wideName = ToWindows(name);
    return TextOf([&](wchar_t* text, DWORD size) {
        return GetEnvironmentVariableW(wideName.c_str(), text, size);
    });
}

}  // namespace quillon
