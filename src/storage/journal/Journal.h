#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "storage/journal/BracketParticipant.h"
#include "storage/journal/BracketScope.h"
#include "storage/journal/JournalFormat.h"
#include "storage/journal/JournalledFile.h"

namespace quillon {

class CChecksums;
struct PageDamage;

// How much room the journal keeps, in bytes, each a multiple of kJournalAlignment. The usual
// sizes are right for everybody but tests, which cross smaller ones sooner.
struct JournalRooms {
    // Added at once, so that most commits change no file size and one sync of the data is
    // enough.
    int64_t step = int64_t{1} << 20;
    // Emptying a journal leaves so much of it.
    int64_t kept = int64_t{4} << 20;
    // A longer one is emptied at the next commit.
    int64_t checkpoint = int64_t{64} << 20;
};

// CJournal makes the changes of several files one commit. It is a file system
// that the stores use in place of the machine's: inside a bracket their writes,
// creates and removes stay in memory and are seen by their reads; committing
// appends them to Journal.dat as one checksummed redo group, syncs it, and only
// then writes the files.
//
//   1  No byte reaches a file of the folder before its group is synced: neither in a
//      commit, nor when a start replays a group that it can read, which may be so
//      far in the system's memory alone.
//   2  The journal is emptied only after the files and the folder are synced.
//      A new header empties it; until that is on the medium nothing of the old
//      groups is cut or overwritten, and behind it none of them counts.
//   3  Groups chain: sequence number, and the checksum of the group before,
//      starting from a random salt that changes each time the journal is emptied.
//      Replay takes the chain from its start and to its end: no group is applied
//      without those before it, and files are never ahead of the last one.
//   4  The header names the database; a journal of another one is set aside.
//   5  Replaying twice gives what replaying once gives: a group that renames is
//      alone between two checkpoints.
//   6  After a failed sync nothing is acknowledged until the folder is opened again.
//
// Without a folder attached, calls go straight to the base file system and
// brackets do nothing.
//
//   Errors     false or null; nothing throws but std::bad_alloc, and that only from the
//              calls of CFileSystem and Join: a bracket ends one way or the other without it.
//   Threads    One at a time; CDatabaseManager holds its lock.
class CJournal final : public CFileSystem {
public:
    explicit CJournal(CFileSystem& base);
    ~CJournal() override;
    CJournal(const CJournal&) = delete;
    CJournal& operator=(const CJournal&) = delete;

    enum class AttachResult { Ok, Failed, Damaged, NewerVersion, UnreadableChecksums };

    // Takes charge of the files in `folder` (with separator at its end), replays
    // complete groups and empties the journal. A torn tail is dropped. Damaged: a
    // valid group lies behind a broken one, the header is broken or names another
    // database (an identifier of 0 stands for whatever it names); the journal is
    // kept under SetAsidePath() and the complete groups before the break are applied.
    AttachResult Attach(const std::string& folder, uint64_t databaseId);
    // Empties the journal when it can and lets go of the folder. Files must be closed.
    bool Detach();
    bool IsAttached() const { return !m_folder.empty(); }
    // Not while a folder is attached.
    void SetRooms(const JournalRooms& rooms) { m_rooms = rooms; }
    uint64_t DatabaseId() const { return m_header.databaseId; }
    const std::string& SetAsidePath() const { return m_setAsidePath; }
    CFileSystem& Base() { return m_base; }

    // --- brackets; they nest, the outermost commits. Every owner of brackets calls these so, for
    // CBracketScope.
    [[nodiscard]] bool BeginBatch();
    // False: nothing of the bracket is kept, and participants have rolled back.
    [[nodiscard]] bool CommitBatch();
    void RollbackBatch() noexcept;
    bool InBatch() const { return m_depth > 0; }
    // The next CommitBatch ends the outermost bracket, and nothing in it was rolled back.
    bool IsAboutToCommit() const { return m_depth == 1 && !m_doomed; }
    // Moves whenever the files' contents may have changed, so that what was read
    // under the same count is still true.
    uint64_t ChangeCount() const { return m_changeCount; }
    // Call before the first change inside a bracket; repeated calls do nothing.
    void Join(CBracketParticipant& participant);
    void Leave(CBracketParticipant& participant);

    // Syncs what was written since the last one and empties the journal.
    [[nodiscard]] bool Checkpoint();
    // True after a failed sync: no bracket begins any more.
    bool IsBroken() const { return m_broken; }
    // True when a participant could not follow the end of a bracket. No bracket begins until
    // its owner, having thrown such participants away, says so.
    bool HasLostParticipant() const { return m_lostParticipant; }
    void ForgetLostParticipants() { m_lostParticipant = false; }
    // Lets no bracket begin until the folder is attached again: for an owner whose memory
    // no longer mirrors the files.
    void Break();
    // Reads every file of the database and lists what is not as it was written. Not inside
    // a bracket. False: that cannot be told.
    [[nodiscard]] bool CheckPages(std::vector<PageDamage>& damage);
    // Empties the journal and takes what the files hold for what they should.
    [[nodiscard]] bool AcceptPages();
    // Kind of the failure that made the last bracket fail.
    FileError FailureKind() const { return m_failureKind; }

    // --- CFileSystem. Removing, renaming and creating follow the bracket; the
    // source of a rename must be a file that the bracket did not touch.
    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override;
    bool Exists(const std::string& path) override;
    bool FolderExists(const std::string& path) override { return m_base.FolderExists(path); }
    bool Remove(const std::string& path) override;
    bool Rename(const std::string& from, const std::string& to) override;
    bool List(const std::string& folder, std::vector<std::string>& names) override {
        return m_base.List(folder, names);
    }
    bool MakeFolder(const std::string& path) override { return m_base.MakeFolder(path); }
    bool RemoveFolder(const std::string& path) override { return m_base.RemoveFolder(path); }
    bool SyncFolder(const std::string& folder) override { return m_base.SyncFolder(folder); }
    std::unique_ptr<CFileLock> Lock(const std::string& path) override { return m_base.Lock(path); }
    int64_t ModificationTime(const std::string& path) override {
        return m_base.ModificationTime(path);
    }
    FileError LastError() override { return m_base.LastError(); }

private:
    friend class CJournalledHandle;

    bool IsOurs(const std::string& path) const;
    CJournalledFile& FileFor(const std::string& path);
    void ForgetIfIdle(CJournalledFile& file) noexcept;
    // Puts the file among those that the bracket changes; false when no bracket can begin.
    void Touch(CJournalledFile& file);

    [[nodiscard]] bool CommitOutermost();
    [[nodiscard]] bool PrepareRename();
    [[nodiscard]] bool WriteGroup(std::set<std::string>& written, bool& nothing);
    [[nodiscard]] bool BuildGroup(JournalGroupBuilder& group);
    // What brings the file from the disk's state to the bracket's.
    static void AddOperations(const CJournalledFile& file, JournalGroupBuilder& group);
    [[nodiscard]] bool AppendGroup(JournalGroupBuilder& group);
    [[nodiscard]] bool ApplyTouched();
    [[nodiscard]] bool ApplyAll();
    [[nodiscard]] bool ApplyRename();
    void DropBracket() noexcept;
    // How the bracket ended; who cannot follow breaks the journal.
    void TellParticipants(bool (CBracketParticipant::*outcome)()) noexcept;

    [[nodiscard]] bool SyncDirty();

    void ForgetFolder();
    [[nodiscard]] bool MakeJournalFile(uint64_t databaseId);
    [[nodiscard]] bool OpenJournalFile();
    [[nodiscard]] bool StartNewJournal();
    AttachResult ReplayExisting(uint64_t databaseId);
    bool Replay(const std::vector<uint8_t>& bytes, const JournalHeader& header, bool& damaged);
    [[nodiscard]] bool SettleGroup(int64_t offset, std::span<const uint8_t> bytes);
    [[nodiscard]] bool ReplayOperation(const JournalOperation& operation);
    [[nodiscard]] bool SyncReplayed();
    bool SetAside();

    CFileSystem& m_base;
    JournalRooms m_rooms;
    std::string m_folder;  // with separator; empty when not attached
    std::string m_setAsidePath;
    std::unique_ptr<CFile> m_file;  // Journal.dat
    JournalHeader m_header;
    uint64_t m_nextSequence = 1;
    uint64_t m_lastChecksum = 0;
    int64_t m_end = 0;        // where the next group goes
    int64_t m_allocated = 0;  // bytes of Journal.dat

    uint64_t m_changeCount = 0;
    int m_depth = 0;
    bool m_doomed = false;  // rolled back inside
    bool m_broken = false;
    bool m_lostParticipant = false;
    bool m_checkpointDue = false;  // before another group may follow
    bool m_applyPending = false;   // committed, but not all written to the files yet
    FileError m_failureKind = FileError::None;
    std::map<std::string, std::unique_ptr<CJournalledFile>> m_files;
    std::vector<CJournalledFile*> m_touched;
    std::string m_renameFrom;
    std::string m_renameTo;
    std::vector<CBracketParticipant*> m_participants;
    std::set<std::string> m_dirty;  // paths written since the last checkpoint
    bool m_namesDirty = false;      // files made, removed or renamed since then
    std::unique_ptr<CChecksums> m_checksums;
};

}  // namespace quillon
