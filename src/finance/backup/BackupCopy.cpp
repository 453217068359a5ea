#include "finance/backup/BackupCopy.h"

#include <new>
#include <vector>

#include "storage/database/DatabaseFiles.h"

namespace quillon {

namespace {

std::string MarkOf(const std::string& folder) {
    return JoinPath(folder, kLookMarkName);
}

// Removes the folder of a look that is over, the mark last. What has no mark, or is at work,
// stays.
void RemoveLook(CFileSystem& files, const std::string& folder) {
    if (!files.Exists(MarkOf(folder))) return;
    std::unique_ptr<CFileLock> lock = files.Lock(JoinPath(folder, kDatabaseLockName));
    std::vector<std::string> names;
    if (!lock || !files.List(folder, names)) return;
    for (const std::string& name : names) {
        const bool isLast = name == kLookMarkName || name == kDatabaseLockName;
        if (!isLast && BelongsToDatabaseFolder(name)) (void)files.Remove(JoinPath(folder, name));
    }
    lock.reset();
    (void)files.Remove(JoinPath(folder, kDatabaseLockName));
    (void)files.Remove(MarkOf(folder));
    (void)files.RemoveFolder(folder);
}

}  // namespace

CBackupCopy::~CBackupCopy() {
    try {
        m_ledger.reset();
        if (!m_folder.empty()) RemoveLook(m_files, m_folder);
    } catch (const std::bad_alloc&) {
        // The next look removes it.
    }
}

bool CBackupCopy::MakeFolder() {
    const std::string usual = m_place + ".look";
    if (m_files.FolderExists(usual)) RemoveLook(m_files, usual);
    const bool isFree = !m_files.FolderExists(usual) && !m_files.Exists(usual);
    const std::string folder = isFree ? usual : FreeNameBeside(m_files, usual);
    if (folder.empty() || !m_files.MakeFolder(folder)) return false;
    if (!WriteWholeFile(m_files, MarkOf(folder), {}, true)) {
        (void)m_files.RemoveFolder(folder);
        return false;
    }
    m_folder = folder;
    return true;
}

RestoreCode CBackupCopy::TakeOut(const std::string& path, const std::string& passwordHash,
                                 RestoreReport& report, const BackupOptions& options) {
    report = {};
    if (!m_files.Exists(path)) return RestoreCode::NoSuchFile;
    if (!MakeFolder()) {
        report.detail.name = m_place;
        return RestoreCode::WriteFailed;
    }
    return ExtractBackup(m_files, path, m_folder, passwordHash, report, options);
}

FinanceOpenResult CBackupCopy::Open() {
    m_ledger = std::make_unique<CQuillonDatabaseInterface>(m_files);
    return m_ledger->Open(m_folder);
}

}  // namespace quillon
