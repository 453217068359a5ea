#include "storage/Backup.h"

#include <new>
#include <vector>

#include "storage/Checksums.h"
#include "storage/DatabaseManager.h"

namespace quillon {
namespace {

BackupCode BackUp(CDatabaseManager& database, const std::string& path,
                  const std::string& passwordHash, BackupReport& report,
                  const BackupOptions& options) {
    if (path.empty()) return BackupCode::NoPath;
    if (!database.IsOpen()) return BackupCode::NoFiles;
    if (database.InBatch()) {
        report.detail = "changes are still being entered";
        return BackupCode::Other;
    }
    // Afterwards the files hold every commit and the journal nothing.
    if (!database.Flush()) {
        report.detail = "the database's files could not be written: " + database.ProblemDetail();
        return BackupCode::Other;
    }
    std::vector<TableIntegrity> tables;
    if (database.Verify(tables) != IntegrityCode::Ok) {
        if (tables.empty()) throw std::bad_alloc();
        for (const TableIntegrity& table : tables) {
            if (table.code == IntegrityCode::Ok) continue;
            report.detail = table.table + ": " + IntegrityMessage(table.code);
            break;
        }
        return BackupCode::IntegrityFailed;
    }
    // A backup of a damaged page would look like a sound one.
    std::vector<PageDamage> pages;
    if (!database.VerifyPages(pages) || !pages.empty()) {
        report.detail = pages.empty() ? "the files cannot be checked"
                                      : pages.front().file + " is not as it was written";
        return BackupCode::IntegrityFailed;
    }
    std::vector<std::string> names;
    if (!database.ListFiles(names)) return BackupCode::NoFiles;
    return WriteBackupOfFiles(database.Files(), database.Folder(), names, path, passwordHash,
                              report, options);
}

}  // namespace

BackupCode WriteBackup(CDatabaseManager& database, const std::string& path,
                       const std::string& passwordHash, BackupReport& report,
                       const BackupOptions& options) {
    report = {};
    try {
        return BackUp(database, path, passwordHash, report, options);
    } catch (const std::bad_alloc&) {
        report.detail = "out of memory";
        return BackupCode::Other;
    }
}

}  // namespace quillon
