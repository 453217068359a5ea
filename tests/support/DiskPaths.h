#pragma once

#include <string>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// How the disks in memory name a place: "ledger/Journal.dat", whichever separators the
// path has, and how many.
inline std::vector<std::string> PartsOf(const std::string& path) {
    std::vector<std::string> parts(1);
    for (const char character : path) {
        if (IsPathSeparator(character)) {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    std::erase_if(parts, [](const std::string& part) { return part.empty() || part == "."; });
    return parts;
}

inline std::string Normalised(const std::string& path) {
    std::string normalised;
    for (const std::string& part : PartsOf(path)) {
        if (!normalised.empty()) normalised += '/';
        normalised += part;
    }
    return normalised;
}

}  // namespace quillon
