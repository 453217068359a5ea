// Replacing a database's folder in one step, and finishing after a stop.
//
// Beside a folder `ledger` a restore makes `ledger.restoring`, and while it replaces a
// database, `ledger.old`. The file "Restore.mark" in a folder tells what it is:
//
//   ledger.restoring  "incoming"  being written
//   ledger.restoring  "complete"  whole and on the medium
//   ledger            "outgoing"  about to become ledger.old
//   ledger.old        "outgoing"  replaced, or about to be
//   ledger            "complete"  the restored one; ledger.old may go
//   either sibling    "removing"  no longer whole
//
// Folders with those names but without the mark are somebody's own and left alone.
// The order of the steps: (1) fill ledger.restoring and mark it complete, (2) mark ledger
// outgoing, (3) ledger becomes ledger.old, (4) ledger.restoring becomes ledger, (5)
// ledger.old is removed, (6) the mark in ledger is removed. The medium is up to date
// after each, so wherever it stops, the old or the new folder is whole, and the
// marks tell which. The lock of each folder is held while it is worked on.
#pragma once

#include <memory>
#include <string>

#include "foundation/FileSystem.h"
#include "storage/backup/BackupCode.h"

namespace quillon {

// One replacement of one folder: Check or Begin, files into IncomingFolder(), Commit.
//
//   Errors     RestoreCode and false. Nothing here throws but std::bad_alloc.
//   Ownership  Borrows the file system, which must outlive the object. Holds the locks of both
//              folders from Begin to Commit or destruction.
//   Threads    One thread.
class CFolderReplacement {
public:
    // `target`: the folder to replace or make, with or without a separator at its end.
    CFolderReplacement(CFileSystem& files, const std::string& target);
    // Takes everything back unless Commit returned Done.
    ~CFolderReplacement();
    CFolderReplacement(const CFolderReplacement&) = delete;
    CFolderReplacement& operator=(const CFolderReplacement&) = delete;

    // Whether the target may be replaced at all, without changing anything.
    [[nodiscard]] RestoreCode Check(bool overwrite);
    // Finishes an interrupted replacement first. Locks the target when there is one and
    // makes the folder to fill.
    [[nodiscard]] RestoreCode Begin(bool overwrite);
    // Where the new files go, with a separator at its end. The caller syncs each file.
    const std::string& IncomingFolder() const { return m_incomingFiles; }
    [[nodiscard]] RestoreCode Commit();
    // The name or path concerned; may be empty.
    const std::string& Detail() const { return m_detail; }

private:
    RestoreCode Fail(RestoreCode code, const std::string& detail);
    RestoreCode FailedChange(const std::string& path);
    void TakeBack();

    CFileSystem& m_files;
    const std::string m_target;
    const std::string m_incoming;
    const std::string m_outgoing;
    const std::string m_parent;
    const std::string m_incomingFiles;
    std::unique_ptr<CFileLock> m_targetLock;    // of the folder that is replaced
    std::unique_ptr<CFileLock> m_incomingLock;  // of the one that replaces it
    bool m_incomingMade = false;
    bool m_targetMarked = false;
    bool m_targetMoved = false;
    bool m_incomingMoved = false;
    std::string m_detail;
};

// Brings a folder whose restore was stopped to the old or the new database, whole, and
// removes what is left beside it. Call before the folder is opened and locked; costs
// three look-ups when there is nothing to do. False: a lock is held (LastError() is
// Locked; a restore is going on or the database is open), or a name could not be
// changed, and both folders are as they were.
[[nodiscard]] bool RecoverInterruptedRestore(CFileSystem& files, const std::string& folder);

}  // namespace quillon
