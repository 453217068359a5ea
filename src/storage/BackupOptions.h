#pragma once

#include <cstdint>
#include <functional>

#include "storage/Encrypt.h"

namespace quillon {

struct BackupOptions {
    BackupKeyCost keyCost;
    // Called now and then with the bytes done and the bytes there are to do.
    std::function<void(int64_t done, int64_t total)> progress;
};

}  // namespace quillon
