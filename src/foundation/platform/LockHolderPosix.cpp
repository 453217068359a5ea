#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "foundation/platform/LockHolder.h"

namespace quillon {
namespace {

// As the list of locks names a file.
std::string PlaceOf(const struct stat& file) {
    char device[32];
    std::snprintf(device, sizeof device, "%02x:%02x:", gnu_dev_major(file.st_dev),
                  gnu_dev_minor(file.st_dev));
    return device + std::to_string(file.st_ino);
}

// Process of a line such as "1: FLOCK  ADVISORY  WRITE 4711 08:01:131090 0 EOF", when it
// is about the file; 0 otherwise. A process out of our sight has no number there.
long HolderIn(const std::string& line, const std::string& place) {
    std::istringstream words(line);
    std::string number;
    std::string kind;
    std::string manner;
    std::string access;
    std::string file;
    long process = 0;
    words >> number >> kind >> manner >> access >> process >> file;
    const bool same = words && kind == "FLOCK" && access == "WRITE" && file == place;
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
    const std::string place = PlaceOf(file);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        const long process = HolderIn(line, place);
        if (process == 0) continue;
        const std::string name = NameOf(process);
        return (name.empty() ? "a program" : name) + " (process " + std::to_string(process) + ")";
    }
    return {};
}

}  // namespace quillon
