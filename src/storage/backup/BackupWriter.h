// Writes the container of a backup from the files of one folder.
//
//   Promise    The container appears under its name whole and on the medium, or a
//              container already there stays as it is.
//   Memory     A few chunks, however large the files are.
//   Errors     BackupCode; running out of memory is Other. Nothing here throws.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "storage/backup/BackupCode.h"
#include "storage/backup/BackupOptions.h"

namespace quillon {

struct BackupReport {
    int64_t files = 0;
    int64_t sourceBytes = 0;   // of the files
    int64_t bytes = 0;         // of the container
    bool isProtected = false;  // by a password
    uint64_t identifier = 0;   // of the container
    BackupDetail detail;       // what went wrong and where; may be empty
};

// `names` are files in `folder` that carry a database's names, each once. They must not
// change meanwhile. The container is written under a free name beside `path` first.
[[nodiscard]] BackupCode WriteBackupOfFiles(CFileSystem& files, const std::string& folder,
                                            const std::vector<std::string>& names,
                                            const std::string& path,
                                            const std::string& passwordHash, BackupReport& report,
                                            const BackupOptions& options = {});

}  // namespace quillon
