// The backup of CDatabaseManager.

#include <new>
#include <vector>

#include "storage/database/DatabaseManager.h"
#include "storage/journal/Checksums.h"

namespace quillon {

BackupCode CDatabaseManager::Backup(const std::string& path, const std::string& passwordHash,
                                    BackupReport& report, const BackupOptions& options) {
    const CLockScope lock(m_lock);
    report = {};
    try {
        return BackupLocked(path, passwordHash, report, options);
    } catch (const std::bad_alloc&) {
        report.detail = {BackupReason::OutOfMemory};
        return BackupCode::Other;
    }
}

BackupCode CDatabaseManager::BackupLocked(const std::string& path, const std::string& passwordHash,
                                          BackupReport& report, const BackupOptions& options) {
    if (path.empty()) return BackupCode::NoPath;
    if (!m_open) return BackupCode::NoFiles;
    if (InBatch()) {
        report.detail = {BackupReason::BracketOpen};
        return BackupCode::Other;
    }
    // Afterwards the files hold every commit and the journal nothing.
    if (!Flush()) {
        report.detail = {BackupReason::FlushFailed, m_problemDetail};
        return BackupCode::Other;
    }
    std::vector<TableIntegrity> tables;
    if (Verify(tables) != IntegrityCode::Ok) {
        if (tables.empty()) throw std::bad_alloc();
        for (const TableIntegrity& table : tables) {
            if (table.code == IntegrityCode::Ok) continue;
            report.detail = {BackupReason::TableDamaged, table.table, table.code};
            break;
        }
        return BackupCode::IntegrityFailed;
    }
    // A backup of a damaged page would look like a sound one.
    std::vector<PageDamage> pages;
    if (!VerifyPages(pages) || !pages.empty()) {
        report.detail = pages.empty() ? BackupDetail{BackupReason::PagesUnchecked}
                                      : BackupDetail{BackupReason::PageChanged, pages.front().file};
        return BackupCode::IntegrityFailed;
    }
    std::vector<std::string> names;
    if (!ListFiles(names)) return BackupCode::NoFiles;
    return WriteBackupOfFiles(m_baseFiles, m_folder, names, path, passwordHash, report, options);
}

}  // namespace quillon
