// Brings a backup back as a database's folder.
//
//   Promise    The whole container is read and checked before anything is changed.
//              Wherever a restore stops, the folder is the old one or the new one,
//              whole; RecoverInterruptedRestore (RestoreFolders.h) brings it to light.
//   Memory     A few chunks, and the container's directory.
//   Errors     RestoreCode, and in the report what is known beyond it. Nothing here throws.
#pragma once

#include <cstdint>
#include <string>

#include "foundation/FileSystem.h"
#include "storage/backup/BackupCode.h"
#include "storage/backup/BackupOptions.h"
#include "storage/backup/RestoreFolders.h"

namespace quillon {

struct RestoreReport {
    int64_t files = 0;
    int64_t bytes = 0;  // of the files
    BackupDetail detail;
};

// The identifier of the container at `path`, which no other has; 0: it cannot be read, or is none.
[[nodiscard]] uint64_t ReadBackupIdentifier(CFileSystem& files, const std::string& path);

// Reads the container at `path` and checks all of it; writes nothing.
[[nodiscard]] RestoreCode CheckBackup(CFileSystem& files, const std::string& path,
                                      const std::string& passwordHash, RestoreReport& report,
                                      const BackupOptions& options = {});

// Writes the files of the container at `path` into `folder`, which must be there, for a look at
// them. Nothing is synced, and a failure leaves what was written so far: the caller clears up.
[[nodiscard]] RestoreCode ExtractBackup(CFileSystem& files, const std::string& path,
                                        const std::string& folder, const std::string& passwordHash,
                                        RestoreReport& report, const BackupOptions& options = {});

// Puts the database of the container at `path` into `folder`, which is made when it is
// missing. One that is not empty is replaced only with `overwrite`, only when nobody has
// its database open, and only when it holds nothing but a database. `passwordHash` is
// the digest text that the database had when it was backed up, empty for none. The
// progress counts the container's bytes twice: they are checked, then restored.
[[nodiscard]] RestoreCode RestoreBackup(CFileSystem& files, const std::string& path,
                                        const std::string& folder, const std::string& passwordHash,
                                        bool overwrite, RestoreReport& report,
                                        const BackupOptions& options = {});

}  // namespace quillon
