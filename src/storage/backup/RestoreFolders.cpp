#include "storage/backup/RestoreFolders.h"

#include <algorithm>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/OutOfMemory.h"
#include "storage/database/DatabaseFiles.h"

namespace quillon {
namespace {

constexpr std::string_view kIncoming = "incoming";
constexpr std::string_view kComplete = "complete";
constexpr std::string_view kOutgoing = "outgoing";
constexpr std::string_view kRemoving = "removing";

std::string LockPath(const std::string& folder) {
    return JoinPath(folder, kDatabaseLockName);
}

std::string MarkPath(const std::string& folder) {
    return JoinPath(folder, kRestoreMarkName);
}

// Empty when there is none or it is unreadable.
std::string ReadMark(CFileSystem& files, const std::string& folder) {
    constexpr int64_t kLongestMark = 16;
    const auto file = files.Open(MarkPath(folder), OpenMode::Read);
    // Asked once: a disk may answer otherwise the next time.
    const int64_t size = file ? file->Size() : -1;
    if (size < 0 || size > kLongestMark) return {};
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (file->ReadAt(0, bytes) != static_cast<int64_t>(bytes.size())) return {};
    return std::string(bytes.begin(), bytes.end());
}

bool WriteMark(CFileSystem& files, const std::string& folder, std::string_view mark) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(mark.data());
    return ReplaceStoreFile(files, MarkPath(folder), std::span(bytes, mark.size()));
}

bool RemoveIfThere(CFileSystem& files, const std::string& path) {
    return !files.Exists(path) || files.Remove(path);
}

bool RemoveMark(CFileSystem& files, const std::string& folder) {
    const std::string mark = MarkPath(folder);
    return RemoveIfThere(files, mark + kNewCopyEnding) && RemoveIfThere(files, mark);
}

bool IsLockOrMark(std::string_view name) {
    return name == kDatabaseLockName || name.starts_with(kRestoreMarkName);
}

// What a folder holds besides lock and mark.
enum class Contents { Nothing, Database, Foreign, Unknown };

Contents ContentsOf(CFileSystem& files, const std::string& folder, std::string* foreign = nullptr) {
    std::vector<std::string> names;
    if (!files.List(folder, names)) return Contents::Unknown;
    Contents contents = Contents::Nothing;
    for (const std::string& name : names) {
        const bool isFile = files.Exists(JoinPath(folder, name));
        if (!isFile || !BelongsToDatabaseFolder(name)) {
            if (foreign) *foreign = name;
            return Contents::Foreign;
        }
        if (!IsLockOrMark(name)) contents = Contents::Database;
    }
    return contents;
}

// A folder that a restore made or moved here, and not one that only has such a name:
// one with the mark `own`, or one about to be removed.
bool IsOurs(CFileSystem& files, const std::string& folder,
            std::initializer_list<std::string_view> own) {
    if (!files.FolderExists(folder)) return false;
    const std::string mark = ReadMark(files, folder);
    return mark == kRemoving || std::find(own.begin(), own.end(), mark) != own.end() ||
           ContentsOf(files, folder) == Contents::Nothing;
}

// Removes a folder of ours. First the mark stops calling it whole; then go the files,
// the mark, by which it is known as ours until then, and the lock, which `lock` may
// hold. Foreign files keep the folder in place.
bool RemoveOurFolder(CFileSystem& files, const std::string& folder,
                     std::unique_ptr<CFileLock> lock) {
    std::vector<std::string> names;
    if (ContentsOf(files, folder) > Contents::Database || !files.List(folder, names)) return false;
    const std::string mark = ReadMark(files, folder);
    const bool calledWhole = mark == kComplete || mark == kOutgoing;
    if (calledWhole && !WriteMark(files, folder, kRemoving)) return false;
    for (const std::string& name : names) {
        if (!IsLockOrMark(name) && !files.Remove(JoinPath(folder, name))) {
            return false;
        }
    }
    if (!RemoveMark(files, folder)) return false;
    lock.reset();
    return RemoveIfThere(files, LockPath(folder)) && files.RemoveFolder(folder);
}

// Windows renames no folder in which a file is open, and the lock is one. There the
// system itself refuses when somebody else slips in.
bool RenameWithLock(CFileSystem& files, const std::string& from, const std::string& to,
                    std::unique_ptr<CFileLock>& lock) {
    if (files.Rename(from, to)) return true;
    if (!lock || !files.FolderExists(from) || files.FolderExists(to)) return false;
    lock.reset();
    const bool renamed = files.Rename(from, to);
    // Whoever reads the answer must learn that the name changed.
    (void)FalseWhenOutOfMemory([&] {
        lock = files.Lock(LockPath(renamed ? to : from));
        return true;
    });
    return renamed;
}

}  // namespace

CFolderReplacement::CFolderReplacement(CFileSystem& files, const std::string& target)
    : m_files(files),
      m_target(WithoutTrailingSeparators(target)),
      m_incoming(m_target + ".restoring"),
      m_outgoing(m_target + ".old"),
      m_parent(ParentFolder(m_target)),
      m_incomingFiles(WithTrailingSeparator(m_incoming)) {}

CFolderReplacement::~CFolderReplacement() {
    (void)FalseWhenOutOfMemory([this] {
        TakeBack();
        return true;
    });
}

RestoreCode CFolderReplacement::Fail(RestoreCode code, const std::string& detail) {
    m_detail = detail;
    return code;
}

RestoreCode CFolderReplacement::FailedChange(const std::string& path) {
    const FileError error = m_files.LastError();
    return Fail(error == FileError::Locked ? RestoreCode::InUse : RestoreCode::WriteFailed, path);
}

RestoreCode CFolderReplacement::Check(bool overwrite) {
    const std::string name = FileNameOf(m_target);
    if (name.empty() || name == "." || name == "..") return RestoreCode::NoTarget;
    if (m_files.Exists(m_target)) return Fail(RestoreCode::InTheWay, m_target);
    if (!m_files.FolderExists(m_target)) return RestoreCode::Done;
    std::string foreign;
    switch (ContentsOf(m_files, m_target, &foreign)) {
        case Contents::Nothing:
            return RestoreCode::Done;
        case Contents::Database:
            return overwrite ? RestoreCode::Done : RestoreCode::TargetNotEmpty;
        case Contents::Foreign:
            if (!overwrite) return RestoreCode::TargetNotEmpty;
            return Fail(RestoreCode::ForeignFiles, foreign);
        case Contents::Unknown:
            break;
    }
    return Fail(RestoreCode::WriteFailed, m_target);
}

RestoreCode CFolderReplacement::Begin(bool overwrite) {
    if (!RecoverInterruptedRestore(m_files, m_target)) return FailedChange(m_target);
    for (const std::string& needed : {m_incoming, m_outgoing}) {
        if (m_files.FolderExists(needed) || m_files.Exists(needed)) {
            return Fail(RestoreCode::InTheWay, needed);
        }
    }
    const RestoreCode checked = Check(overwrite);
    if (checked != RestoreCode::Done) return checked;
    if (m_files.FolderExists(m_target)) {
        m_targetLock = m_files.Lock(LockPath(m_target));
        if (!m_targetLock) return FailedChange(m_target);
        // Now nobody adds to it any more.
        const RestoreCode again = Check(overwrite);
        if (again != RestoreCode::Done) return again;
    }
    m_incomingMade = m_files.MakeFolder(m_incoming);
    if (!m_incomingMade) return FailedChange(m_incoming);
    m_incomingLock = m_files.Lock(LockPath(m_incoming));
    if (!m_incomingLock || !WriteMark(m_files, m_incoming, kIncoming)) {
        return FailedChange(m_incoming);
    }
    return RestoreCode::Done;
}

RestoreCode CFolderReplacement::Commit() {
    if (!m_files.SyncFolder(m_incoming) || !m_files.SyncFolder(m_parent) ||
        !WriteMark(m_files, m_incoming, kComplete)) {
        return FailedChange(m_incoming);
    }
    if (m_targetLock) {
        m_targetMarked = true;
        if (!WriteMark(m_files, m_target, kOutgoing)) return FailedChange(m_target);
        m_targetMoved = RenameWithLock(m_files, m_target, m_outgoing, m_targetLock);
        if (!m_targetMoved) return FailedChange(m_target);
        if (!m_files.SyncFolder(m_parent)) return FailedChange(m_parent);
    }
    m_incomingMoved = RenameWithLock(m_files, m_incoming, m_target, m_incomingLock);
    if (!m_incomingMoved) return FailedChange(m_incoming);
    if (!m_files.SyncFolder(m_parent)) return FailedChange(m_parent);

    // The restore has happened. What cannot be cleared away now is cleared away when
    // the database is opened; nothing is taken back any more.
    const bool oldIsBeside = m_targetMoved;
    m_targetMarked = m_targetMoved = m_incomingMoved = m_incomingMade = false;
    (void)FalseWhenOutOfMemory([&] {
        const bool cleared =
            !oldIsBeside || RemoveOurFolder(m_files, m_outgoing, std::move(m_targetLock));
        return cleared && m_files.SyncFolder(m_parent) && RemoveMark(m_files, m_target);
    });
    m_incomingLock.reset();
    m_targetLock.reset();
    return RestoreCode::Done;
}

// Where a step back fails, the marks let RecoverInterruptedRestore finish forwards.
void CFolderReplacement::TakeBack() {
    if (m_incomingMoved) {
        if (!RenameWithLock(m_files, m_target, m_incoming, m_incomingLock)) return;
    }
    if (m_targetMoved) {
        if (!RenameWithLock(m_files, m_outgoing, m_target, m_targetLock)) return;
    }
    if (m_incomingMoved || m_targetMoved) (void)m_files.SyncFolder(m_parent);
    if (m_targetMarked) (void)RemoveMark(m_files, m_target);
    if (m_incomingLock) {
        (void)RemoveOurFolder(m_files, m_incoming, std::move(m_incomingLock));
    } else if (m_incomingMade) {
        (void)m_files.RemoveFolder(m_incoming);  // unless another restore fills it
    }
}

namespace {

// One run of RecoverInterruptedRestore over a folder that has something beside it.
class CRecovery {
public:
    CRecovery(CFileSystem& files, const std::string& target)
        : m_files(files),
          m_target(target),
          m_incoming(target + ".restoring"),
          m_outgoing(target + ".old") {}

    // Folders of somebody's own with those names are no reason to touch anything.
    bool IsNeeded() const {
        return IncomingIsOurs() || OutgoingIsOurs() || m_files.Exists(MarkPath(m_target));
    }

    bool Run() {
        // Whoever restores or has the database open holds one of these.
        if (!LockIf(m_files.FolderExists(m_target), m_target, m_targetLock) ||
            !LockIf(IncomingIsOurs(), m_incoming, m_incomingLock) ||
            !LockIf(OutgoingIsOurs(), m_outgoing, m_outgoingLock)) {
            return false;
        }
        const bool isWhole = m_targetLock && ContentsOf(m_files, m_target) != Contents::Nothing;
        if (!isWhole) return BringBack();
        ClearAway();
        return true;
    }

private:
    bool IncomingIsOurs() const { return IsOurs(m_files, m_incoming, {kIncoming, kComplete}); }
    bool OutgoingIsOurs() const { return IsOurs(m_files, m_outgoing, {kOutgoing}); }

    // The target is whole; what is beside it may be superseded. Whatever cannot be
    // removed now does no harm.
    void ClearAway() {
        // A restored folder stays marked until the old one is gone. Without the mark
        // somebody put a database here after the stop: then nothing is ours to remove.
        if (m_outgoingLock) {
            if (ReadMark(m_files, m_target) != kComplete) return;
            if (!RemoveOurFolder(m_files, m_outgoing, std::move(m_outgoingLock)) ||
                !m_files.SyncFolder(ParentFolder(m_target))) {
                return;
            }
        }
        // A mark that was not finished goes first: only the sibling tells of it.
        (void)RemoveIfThere(m_files, MarkPath(m_target) + ".new");
        if (m_incomingLock) (void)RemoveOurFolder(m_files, m_incoming, std::move(m_incomingLock));
        (void)RemoveMark(m_files, m_target);
    }

    // There is no target: forwards when the new folder is whole, else back.
    bool BringBack() {
        if (m_incomingLock && ReadMark(m_files, m_incoming) == kComplete) {
            if (!PutInPlace(m_incoming, m_incomingLock)) return false;
            ClearAway();
            return true;
        }
        if (m_outgoingLock && ReadMark(m_files, m_outgoing) == kOutgoing &&
            !PutInPlace(m_outgoing, m_outgoingLock)) {
            return false;
        }
        if (m_incomingLock) (void)RemoveOurFolder(m_files, m_incoming, std::move(m_incomingLock));
        if (m_targetLock) (void)RemoveMark(m_files, m_target);
        return true;
    }

    // `lock` becomes the target's.
    bool PutInPlace(const std::string& folder, std::unique_ptr<CFileLock>& lock) {
        if (m_targetLock && !RemoveOurFolder(m_files, m_target, std::move(m_targetLock))) {
            return false;
        }
        if (!RenameWithLock(m_files, folder, m_target, lock)) return false;
        m_targetLock = std::move(lock);
        return m_files.SyncFolder(ParentFolder(m_target));
    }

    bool LockIf(bool needed, const std::string& folder, std::unique_ptr<CFileLock>& lock) {
        if (needed) lock = m_files.Lock(LockPath(folder));
        return !needed || lock;
    }

    CFileSystem& m_files;
    const std::string m_target;
    const std::string m_incoming;
    const std::string m_outgoing;
    std::unique_ptr<CFileLock> m_targetLock;
    std::unique_ptr<CFileLock> m_incomingLock;
    std::unique_ptr<CFileLock> m_outgoingLock;
};

}  // namespace

bool RecoverInterruptedRestore(CFileSystem& files, const std::string& folder) {
    const std::string target = WithoutTrailingSeparators(folder);
    const std::string name = FileNameOf(target);
    if (name.empty() || name == "." || name == "..") return true;
    CRecovery recovery(files, target);
    return !recovery.IsNeeded() || recovery.Run();
}

}  // namespace quillon
