#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "storage/backup/BackupContainer.h"
#include "storage/backup/Encrypt.h"

namespace quillon {

struct BackupOptions {
    BackupKeyCost keyCost;
    // Bytes a chunk. A container is read with what it was written with; another size than the
    // format's is for tests, which cross it sooner.
    size_t chunkSize = kBackupChunkSize;
    // Called now and then with the bytes done and the bytes there are to do.
    std::function<void(int64_t done, int64_t total)> progress;
    // Of a backup: called with the name that the whole container has until it gets its own. False
    // takes it away again; the reason is NotProved.
    std::function<bool(const std::string& container)> prove;
};

}  // namespace quillon
