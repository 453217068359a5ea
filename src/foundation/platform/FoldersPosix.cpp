#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "foundation/Path.h"
#include "foundation/platform/Folders.h"

namespace quillon {

namespace {

// The variable as a path, when it is absolute: relative ones would depend on
// where the program was started.
std::string FolderVariable(const char* name) {
    const std::string path = EnvironmentVariable(name);
    return !path.empty() && path.front() == '/' ? WithoutTrailingSeparators(path) : std::string();
}

std::string HomeFolder() {
    std::string home = FolderVariable("HOME");
    if (!home.empty()) return home;
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_dir) {
        return WithoutTrailingSeparators(found->pw_dir);
    }
    return {};
}

}  // namespace

std::string ExecutableFolder() {
    std::vector<char> path(1024);
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0) return {};
        if (static_cast<size_t>(length) < path.size()) {
            const std::string program(path.data(), static_cast<size_t>(length));
            const size_t separator = program.rfind('/');
            if (separator == std::string::npos) return {};
            return separator == 0 ? "/" : program.substr(0, separator);
        }
        path.resize(path.size() * 2);
    }
}

std::string RoamingDataFolder() {
    std::string folder = FolderVariable("XDG_CONFIG_HOME");
    if (!folder.empty()) return folder;
    folder = HomeFolder();
    return folder.empty() ? folder : JoinPath(folder, ".config");
}

std::string TemporaryFolder() {
    const std::string folder = FolderVariable("TMPDIR");
    return folder.empty() ? "/tmp" : folder;
}

std::string CurrentFolder() {
    std::vector<char> path(1024);
    while (!getcwd(path.data(), path.size())) {
        if (errno != ERANGE) return {};
        path.resize(path.size() * 2);
    }
    return path.data();
}

std::string AbsolutePath(const std::string& path) {
    return path.starts_with('/') ? path : JoinPath(CurrentFolder(), path);
}

std::string EnvironmentVariable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value ? value : "";
}

}  // namespace quillon
