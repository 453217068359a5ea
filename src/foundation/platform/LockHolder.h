#pragma once

#include <string>

namespace quillon {

// The program that holds the lock file `path` (UTF-8), for a message: "quillon-cli
// (process 4711)". Empty when nobody does or the machine does not tell; never fails
// otherwise, and takes no lock itself.
std::string LockHolder(const std::string& path);

}  // namespace quillon
