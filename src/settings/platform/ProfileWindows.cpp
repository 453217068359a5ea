#include <windows.h>

#include "foundation/platform/WideTextWindows.h"
#include "settings/Profile.h"

namespace quillon {
namespace {

// The narrow routines hand the file's bytes through as they are. The wide ones
// would take them to be in the code page of the machine.
//
// Absolute, because the routines look for a bare name in the system's folder. Our
// programs run with the UTF-8 code page, where the last step changes nothing.
std::string RoutinePath(const std::string& path) {
    std::wstring wide = ToWindows(path);
    const DWORD size = ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    if (size > 0) {
        std::wstring full(size, L'\0');
        full.resize(::GetFullPathNameW(wide.c_str(), size, full.data(), nullptr));
        wide.swap(full);
    }
    const int length = ::WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()),
                                             nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(length), '\0');
    ::WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), narrow.data(),
                          length, nullptr, nullptr);
    return narrow;
}

// Texts that each end with a zero. `fill` gets a buffer and its size and returns the
// bytes stored; two less than the size means that not all fitted.
template <typename Fill>
std::vector<std::string> TextsOf(Fill fill) {
    constexpr size_t kLargestList = size_t{1} << 24;
    std::string buffer(4096, '\0');
    size_t length = fill(buffer.data(), static_cast<DWORD>(buffer.size()));
    while (length + 2 >= buffer.size() && buffer.size() < kLargestList) {
        buffer.assign(buffer.size() * 4, '\0');
        length = fill(buffer.data(), static_cast<DWORD>(buffer.size()));
    }
    std::vector<std::string> texts;
    for (size_t start = 0; start < length;) {
        texts.emplace_back(buffer.c_str() + start);
        start += texts.back().size() + 1;
    }
    return texts;
}

class CWindowsProfile final : public CProfile {
public:
    bool Read(const std::string& path, const std::string& section, const std::string& name,
              std::string& value) override {
        char buffer[kLongestValue + 1] = {};
        if (::GetPrivateProfileStringA(section.c_str(), name.c_str(), "", buffer, sizeof(buffer),
                                       RoutinePath(path).c_str()) == 0) {
            return false;
        }
        value = buffer;
        return true;
    }

    bool Write(const std::string& path, const std::string& section, const std::string& name,
               const std::string& value) override {
        return ::WritePrivateProfileStringA(section.c_str(), name.c_str(), value.c_str(),
                                            RoutinePath(path).c_str());
    }

    bool Remove(const std::string& path, const std::string& section,
                const std::string& name) override {
        return ::WritePrivateProfileStringA(section.c_str(), name.c_str(), nullptr,
                                            RoutinePath(path).c_str());
    }

    std::vector<std::string> Sections(const std::string& path) override {
        const std::string file = RoutinePath(path);
        return TextsOf([&](char* buffer, DWORD size) {
            return ::GetPrivateProfileSectionNamesA(buffer, size, file.c_str());
        });
    }

    std::vector<std::string> Names(const std::string& path, const std::string& section) override {
        const std::string file = RoutinePath(path);
        return TextsOf([&](char* buffer, DWORD size) {
            return ::GetPrivateProfileStringA(section.c_str(), nullptr, "", buffer, size,
                                              file.c_str());
        });
    }
};

}  // namespace

CProfile& PlatformProfile() {
    static CWindowsProfile profile;
    return profile;
}

}  // namespace quillon
