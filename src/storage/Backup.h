// The backup of an open database. BackupRestore.h reads it back.
#pragma once

#include <cstdint>
#include <string>

#include "storage/BackupCode.h"
#include "storage/BackupOptions.h"
#include "storage/BackupWriter.h"

namespace quillon {

class CDatabaseManager;

// Flushes and checks the database, then writes all of its files into the container at
// `path`, as WriteBackupOfFiles does. Nothing is written unless the check finds
// everything in order. `passwordHash` is the digest text the database stores; when it
// is empty the report's isProtected is false, and the caller has to say so.
[[nodiscard]] BackupCode WriteBackup(CDatabaseManager& database, const std::string& path,
                                     const std::string& passwordHash, BackupReport& report,
                                     const BackupOptions& options = {});

}  // namespace quillon
