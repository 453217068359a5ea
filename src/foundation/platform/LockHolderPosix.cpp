#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>

#include "foundation/platform/LockHolder.h"

namespace quillon {
namespace {

// Process of a line such as "1: FLOCK  ADVISORY  WRITE 4711 08:01:131090 0 EOF", when it
// is about the file; 0 otherwise. A process out of our sight has no number there.
long HolderIn(const std::string& line, const struct stat& file) {
    char kind[16];
    char access[16];
    long process = 0;
    unsigned major = 0;
    unsigned minor = 0;
    uint64_t node = 0;
    if (std::sscanf(line.c_str(), "%*[0-9]: %15s %*15s %15s %ld %x:%x:%" SCNu64, kind, access,
                    &process, &major, &minor, &node) != 6) {
        return 0;
    }
    const bool same = std::string(kind) == "FLOCK" && std::string(access) == "WRITE" &&
                      node == file.st_ino && major == gnu_dev_major(file.st_dev) &&
                      minor == gnu_dev_minor(file.st_dev);
    return same && process > 0 ? process : 0;
}

std::string NameOf(long process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

}  // namespace

std::string LockHolder(const std::string& path) {
    struct stat file {};
    if (::stat(path.c_str(), &file) != 0) return {};
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        const long process = HolderIn(line, file);
        if (process == 0) continue;
        const std::string name = NameOf(process);
        return (name.empty() ? "a program" : name) + " (process " + std::to_string(process) + ")";
    }
    return {};
}

}  // namespace quillon
