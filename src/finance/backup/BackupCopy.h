#pragma once

#include <memory>
#include <string>

#include "finance/database/QuillonDatabaseInterface.h"
#include "storage/backup/BackupRestore.h"

namespace quillon {

// The ledger of a backup, taken out for a look into a folder that goes with the object.
//
//   Folder     `place` + ".look", or that with a number where the name is taken. A mark in it
//              says what it is, so that one that a stopped program left is removed by the next.
//   Ownership  Owns the folder and the ledger in it; borrows the file system, which must outlive
//              it.
//   Errors     RestoreCode and what the ledger's opening says. std::bad_alloc passes through.
//   Threads    One.
class CBackupCopy {
public:
    CBackupCopy(CFileSystem& files, std::string place)
        : m_files(files), m_place(std::move(place)) {}
    ~CBackupCopy();
    CBackupCopy(const CBackupCopy&) = delete;
    CBackupCopy& operator=(const CBackupCopy&) = delete;

    // Once. Reads every byte of the container, and checks each before it is written.
    [[nodiscard]] RestoreCode TakeOut(const std::string& path, const std::string& passwordHash,
                                      RestoreReport& report, const BackupOptions& options = {});
    // After TakeOut. The copy is opened as any ledger, brought up to date included.
    FinanceOpenResult Open();
    CQuillonDatabaseInterface& Ledger() { return *m_ledger; }

private:
    [[nodiscard]] bool MakeFolder();

    CFileSystem& m_files;
    std::string m_place;
    std::string m_folder;  // empty until it was made
    std::unique_ptr<CQuillonDatabaseInterface> m_ledger;
};

}  // namespace quillon
