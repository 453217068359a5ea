#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileSystem.h"
#include "foundation/KeelString.h"
#include "foundation/ReentrantLock.h"
#include "storage/backup/BackupWriter.h"
#include "storage/blocks/BLOBManager.h"
#include "storage/database/DatabaseManagerTimers.h"
#include "storage/journal/BracketScope.h"
#include "storage/journal/Journal.h"
#include "storage/tables/IntegrityCode.h"
#include "storage/tables/IntegrityDetail.h"
#include "storage/tables/TableManager.h"

namespace quillon {

class CRowRecorder;
struct DatabaseSchema;

// Why a database did not open, or stopped taking changes.
enum class DatabaseProblem {
    None,
    NoPath,         // no folder was given
    FolderMissing,  // the folder is not there and cannot be made
    NoPermission,
    InUse,           // another program holds the folder
    NotADatabase,    // the schema file is not one of ours
    NewerVersion,    // written by a newer version of the program
    DamagedFile,     // a file cannot be read as what it should be
    DamagedJournal,  // it holds a broken group with valid ones behind it, or is gone
    DiskFull,
    ReadFailed,
    WriteFailed,
    OutOfMemory,
};

struct TableIntegrity {
    std::string table;
    int64_t rows = 0;
    IntegrityCode code = IntegrityCode::Ok;
    IntegrityDetail detail;  // none when the code is Ok
};

// The record store as a whole: one folder with a schema file, the files of every
// table and one BLOB store.
//
//   Promise    A change that returned success is on disk; a bracket is all or
//              nothing. See docs/architecture.md.
//   Errors     false, -1, null or empty; Problem() and ProblemDetail() tell why.
//              Nothing here logs, prompts or throws; only the constructor,
//              FolderHoldsDatabase and SharedDataName may throw std::bad_alloc.
//   Ownership  Owns its tables and stores; pointers to tables live until Close
//              or a failed bracket's roll back.
//   Threads    Each public call holds the manager's own CReentrantLock; the
//              timers run where the host calls them. What is returned by
//              reference is the caller's to guard, who holds Lock() meanwhile.
class CDatabaseManager {
public:
    explicit CDatabaseManager(CFileSystem& files = PlatformFileSystem());
    ~CDatabaseManager();
    CDatabaseManager(const CDatabaseManager&) = delete;
    CDatabaseManager& operator=(const CDatabaseManager&) = delete;

    // --- folder
    // Opens the database in `folder`, making folder and schema file when missing.
    // Takes the folder's lock; replays the journal first.
    [[nodiscard]] bool Open(const std::string& folder);
    bool IsOpen() const;
    // Flushes and closes every file. False: something could not be written (the journal
    // still holds it, and the next Open brings it in).
    bool Close();
    // With a separator at its end; empty when closed.
    const std::string& Folder() const { return m_folder; }
    // May throw std::bad_alloc: without memory nobody knows.
    static bool FolderHoldsDatabase(CFileSystem& files, const std::string& folder);
    DatabaseProblem Problem() const;
    // File concerned, or empty.
    const std::string& ProblemDetail() const { return m_problemDetail; }
    // Files of indexes that were missing or damaged, at opening or when they were first used,
    // and were made anew from the rows: sorted, all since Open. Nothing of them is lost, but a
    // disk that changes what it holds is failing.
    [[nodiscard]] std::vector<std::string> RebuiltIndexes();
    // Set when Open kept a damaged journal aside.
    const std::string& SetAsideJournal() const { return m_journal.SetAsidePath(); }

    // --- schema
    CTableManager* FindTable(std::string_view name);
    const std::vector<std::unique_ptr<CTableManager>>& Tables() const { return m_tables; }
    // Null when the name exists already or a file cannot be written.
    CTableManager* CreateTable(std::string_view name);
    [[nodiscard]] bool AddColumn(std::string_view table, std::string_view column, ColumnType type,
                                 bool indexed, bool indexAttribute);
    bool HasColumn(std::string_view table, std::string_view column);
    [[nodiscard]] bool RemoveColumn(std::string_view table, std::string_view column);
    [[nodiscard]] bool RemoveTable(std::string_view table);
    // The name under which programs of one machine share data about the database with that
    // identifier. This program shares none; it is here so that whoever does uses the one name.
    static std::string SharedDataName(int64_t databaseId);
    // File time of the last change of the schema in this run; 0 when there was none.
    int64_t SchemaChangeTime() const;

    // --- brackets: changes between Begin and Commit are one commit. They nest; the
    // outermost decides, and a roll back inside makes the outer commit fail.
    [[nodiscard]] bool BeginBatch();
    [[nodiscard]] bool CommitBatch();
    void RollbackBatch();
    bool InBatch() const;

    // --- rows: begin, set by column name, commit. One row at a time.
    [[nodiscard]] bool BeginRow(std::string_view table);
    // False when the row does not exist.
    [[nodiscard]] bool BeginRowUpdate(std::string_view table, int64_t rowId);
    // False: no row begun, no such column, or a column of another type.
    bool SetText(std::string_view column, const CKeelString& value);
    bool SetBoolean(std::string_view column, bool value);
    bool SetInt32(std::string_view column, int32_t value);
    bool SetInt64(std::string_view column, int64_t value);
    bool SetDouble(std::string_view column, double value);
    bool SetDateTime(std::string_view column, int64_t value);
    // The row's id; -1 when a setter or the write failed, and then nothing is changed.
    int64_t CommitRow();
    void AbandonRow();
    [[nodiscard]] bool DeleteRow(std::string_view table, int64_t rowId);

    // Borrowed, null for none; set while no bracket is open.
    void SetRecorder(CRowRecorder* recorder);

    // --- BLOBs
    int64_t AddBlob(std::span<const uint8_t> bytes);  // id; -1 on failure
    [[nodiscard]] bool ReadBlob(int64_t id, std::vector<uint8_t>& bytes);
    [[nodiscard]] bool ReplaceBlob(int64_t id, std::span<const uint8_t> bytes);
    [[nodiscard]] bool DeleteBlob(int64_t id);

    // --- upkeep
    // Writes headers and free lists, syncs every file and empties the journal.
    [[nodiscard]] bool Flush();
    // Rewrites every store that has deleted entries without them.
    [[nodiscard]] bool RemoveDeleted();
    // The first code that is not Ok, and one entry a table; one more, "BLOBs", when
    // the BLOB store is damaged. No entries at all: there was no memory to look with.
    IntegrityCode Verify(std::vector<TableIntegrity>& tables);
    // Reads every file and lists the pages that are not as they were written, and files
    // that are not there or are longer or shorter. A file may well be sound in its format
    // while a page of it changed. False: that cannot be told; a file cannot be read, or a bracket
    // is open.
    [[nodiscard]] bool VerifyPages(std::vector<PageDamage>& damage);
    // Takes what the files hold now for what was written: after a repair whose result was
    // checked. Damage is reported until then.
    [[nodiscard]] bool AcceptPages();
    // Makes every index anew from the rows, then flushes.
    [[nodiscard]] bool RebuildIndexes();
    // Names without folder of every file that makes up the database, sorted.
    bool ListFiles(std::vector<std::string>& names);

    // --- backup
    // Flushes and checks the database, then writes all of its files into the container at
    // `path`, as WriteBackupOfFiles does; the lock is held all the while. Nothing is written
    // unless the check finds everything in order. `passwordHash` is the digest text the
    // database stores; when it is empty the report's isProtected is false, and the caller has
    // to say so. RestoreBackup (BackupRestore.h) reads the container back.
    [[nodiscard]] BackupCode Backup(const std::string& path, const std::string& passwordHash,
                                    BackupReport& report, const BackupOptions& options = {});

    // --- timers, driven by the host's event loop
    // Call often; `nowMs` is any steady clock. Flush and RemoveDeleted run when due, but not
    // inside a bracket. Close() stops the timers.
    void RunTimers(int64_t nowMs);

    // Shared with the tables. Whoever holds it makes one of several calls, as a query does.
    CReentrantLock& Lock() const { return m_lock; }
    CFileSystem& Files() { return m_baseFiles; }
    CJournal& Journal() { return m_journal; }

private:
    // Hears of brackets that changed the schema and were rolled back.
    class CSchemaParticipant final : public CBracketParticipant {
    public:
        bool OnBracketCommitted() override { return true; }
        bool OnBracketRolledBack() override { return stale = true; }
        bool stale = false;
    };

    [[nodiscard]] bool OpenLocked();
    [[nodiscard]] bool AttachJournal();
    [[nodiscard]] bool HistoryIsKnown();
    // A new folder gives an empty schema.
    [[nodiscard]] bool ReadSchema(DatabaseSchema& schema);
    [[nodiscard]] bool TidyDataFiles(const DatabaseSchema& schema);
    [[nodiscard]] bool OpenStores(const DatabaseSchema& schema);
    [[nodiscard]] bool SyncOwnName();
    [[nodiscard]] bool OpenTable(int32_t number, const std::string& name);
    void CloseStores();
    void DropStores();
    // After a roll back of schema changes, or one that a store could not follow, makes the
    // tables anew from the files. Without them nothing is read and nothing written.
    void ReloadIfStale();
    [[nodiscard]] bool SaveSchema();
    [[nodiscard]] bool WriteStoreStates();
    BackupCode BackupLocked(const std::string& path, const std::string& passwordHash,
                            BackupReport& report, const BackupOptions& options);
    // Runs a call; running out of memory is a failure like any other at the engine's door.
    template <typename Call>
    bool Guarded(Call call) noexcept;
    // Runs a change as one bracket; false rolls it back.
    template <typename Change>
    bool RunInBracket(Change change);
    // Lets the recorder write what the outermost bracket changed, before its end.
    [[nodiscard]] bool RecordBracket();
    void NoteBracketFailure();
    void NoteSchemaChange();
    bool Fail(DatabaseProblem problem, std::string_view detail) noexcept;
    bool FailFromFileError(DatabaseProblem fallback, const std::string& detail);
    // NewerVersion when the file is one of ours with a higher version.
    bool FailFromDamage(const std::string& path);
    void NameDamagedFile();
    CTableRowUpdateInfoValue* RowValue(std::string_view column, ColumnType type);
    template <typename Set>
    bool SetValue(std::string_view column, ColumnType type, Set set);

    CFileSystem& m_baseFiles;
    mutable CReentrantLock m_lock;
    CJournal m_journal;
    std::string m_folder;
    bool m_open = false;
    DatabaseProblem m_problem = DatabaseProblem::None;
    std::string m_problemDetail;
    int32_t m_nextTableNumber = 1;
    int64_t m_schemaChangeTime = 0;
    std::vector<std::unique_ptr<CTableManager>> m_tables;
    std::vector<std::string> m_rebuiltIndexes;  // of tables that were dropped since
    std::unique_ptr<CBLOBManager> m_blobs;
    CTableManager* m_rowTable = nullptr;  // of the row begun
    CTableRowUpdateInfo m_row;
    bool m_rowFailed = false;
    CDatabaseManagerFlushTimer m_flushTimer{*this};
    CDatabaseManagerRemoveDeletedTimer m_removeDeletedTimer{*this};
    CSchemaParticipant m_schemaParticipant;
    std::unique_ptr<CFileLock> m_folderLock;
    CRowRecorder* m_recorder = nullptr;
};

template <typename Call>
bool CDatabaseManager::Guarded(Call call) noexcept {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return Fail(DatabaseProblem::OutOfMemory, {});
    }
}

template <typename Change>
bool CDatabaseManager::RunInBracket(Change change) {
    if (!BeginBatch()) return false;
    const bool changed = Guarded(change);
    if (!changed) {
        RollbackBatch();
        return false;
    }
    return CommitBatch();
}

}  // namespace quillon
