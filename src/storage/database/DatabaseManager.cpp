#include "storage/database/DatabaseManager.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <utility>

#include "foundation/OutOfMemory.h"
#include "storage/backup/BackupRestore.h"
#include "storage/blocks/DataFormat.h"
#include "storage/blocks/DictionaryFormat.h"
#include "storage/database/DatabaseFiles.h"
#include "storage/database/SchemaFile.h"
#include "storage/history/HistoryFormat.h"
#include "storage/index/IndexFormat.h"
#include "storage/journal/Checksums.h"

namespace quillon {
namespace {

// Makes what is missing of the folder's path and brings its names to the medium: commits
// in a folder that a power cut takes away would be lost. True when it is there already.
bool MakeFolderForGood(CFileSystem& files, const std::string& folder) {
    if (files.FolderExists(folder)) return true;
    const std::string parent = ParentFolder(folder);
    return (parent == "." || MakeFolderForGood(files, parent)) && files.MakeFolder(folder) &&
           files.SyncFolder(parent);
}

}  // namespace

CDatabaseManager::CDatabaseManager(CFileSystem& files) : m_baseFiles(files), m_journal(files) {}

CDatabaseManager::~CDatabaseManager() {
    (void)Close();
}

bool CDatabaseManager::Fail(DatabaseProblem problem, std::string_view detail) noexcept {
    m_problem = problem;
    try {
        m_problemDetail = detail;
    } catch (const std::bad_alloc&) {
        m_problemDetail.clear();
    }
    return false;
}

bool CDatabaseManager::FailFromFileError(DatabaseProblem fallback, const std::string& detail) {
    switch (m_baseFiles.LastError()) {
        case FileError::NoPermission:
            return Fail(DatabaseProblem::NoPermission, detail);
        case FileError::NoSpace:
            return Fail(DatabaseProblem::DiskFull, detail);
        case FileError::Locked:
            return Fail(DatabaseProblem::InUse, detail);
        case FileError::NoMemory:
            return Fail(DatabaseProblem::OutOfMemory, {});
        default:
            return Fail(fallback, detail);
    }
}

bool CDatabaseManager::FailFromDamage(const std::string& path) {
    constexpr FileSignature kKnown[] = {DatabaseSchema::kSignature,   TableDefinition::kSignature,
                                        DictionaryHeader::kSignature, DataHeader::kSignature,
                                        IndexHeader::kSignature,      JournalHeader::kSignature};
    std::array<uint8_t, FileSignature::kDiskSize> head{};
    const std::unique_ptr<CFile> file = m_baseFiles.Open(path, OpenMode::Read);
    if (!file && m_baseFiles.LastError() == FileError::NoPermission) {
        return Fail(DatabaseProblem::NoPermission, path);
    }
    const bool isNewer =
        file && file->ReadAt(0, head) == static_cast<int64_t>(head.size()) &&
        std::any_of(std::begin(kKnown), std::end(kKnown),
                    [&](const FileSignature& known) { return known.IsNewerIn(head); });
    return Fail(isNewer ? DatabaseProblem::NewerVersion : DatabaseProblem::DamagedFile, path);
}

bool CDatabaseManager::IsOpen() const {
    const CLockScope lock(m_lock);
    return m_open;
}

DatabaseProblem CDatabaseManager::Problem() const {
    const CLockScope lock(m_lock);
    return m_problem;
}

int64_t CDatabaseManager::SchemaChangeTime() const {
    const CLockScope lock(m_lock);
    return m_schemaChangeTime;
}

bool CDatabaseManager::InBatch() const {
    const CLockScope lock(m_lock);
    return m_journal.InBatch();
}

bool CDatabaseManager::FolderHoldsDatabase(CFileSystem& files, const std::string& folder) {
    return files.Exists(JoinPath(folder, kBlobFiles.Dictionary(kSchemaName)));
}

std::string CDatabaseManager::SharedDataName(int64_t databaseId) {
    return "ZEP_No_SQL_Database_" + std::to_string(databaseId) + "_Data";
}

bool CDatabaseManager::Open(const std::string& folder) {
    const CLockScope lock(m_lock);
    (void)Close();
    m_problem = DatabaseProblem::None;
    m_problemDetail.clear();
    m_rebuiltIndexes.clear();
    if (folder.empty()) return Fail(DatabaseProblem::NoPath, {});
    const bool opened = Guarded([&] {
        m_folder = WithTrailingSeparator(folder);
        return OpenLocked();
    });
    if (!opened) {
        if (m_problem == DatabaseProblem::None) (void)Fail(DatabaseProblem::ReadFailed, m_folder);
        NameDamagedFile();
        // Closing must not tidy up in a folder that somebody may have to rescue.
        m_journal.Break();
        CloseStores();
        m_schemaParticipant.stale = false;
        (void)m_journal.Detach();
        m_folderLock.reset();
        m_folder.clear();
    }
    m_open = opened;
    return opened;
}

// Two files that contradict each other are told apart by their checksums.
void CDatabaseManager::NameDamagedFile() {
    if (m_problem != DatabaseProblem::DamagedFile) return;
    (void)Guarded([&] {
        std::vector<PageDamage> damage;
        const std::string named = FileNameOf(m_problemDetail);
        const auto isNamed = [&](const PageDamage& page) { return page.file == named; };
        if (m_journal.CheckPages(damage) && !damage.empty() &&
            std::none_of(damage.begin(), damage.end(), isNamed)) {
            m_problemDetail = m_folder + damage.front().file;
        }
        return true;
    });
}

bool CDatabaseManager::OpenLocked() {
    if (!RecoverInterruptedRestore(m_baseFiles, m_folder)) {
        return FailFromFileError(DatabaseProblem::WriteFailed, m_folder);
    }
    if (!MakeFolderForGood(m_baseFiles, m_folder)) {
        return FailFromFileError(DatabaseProblem::FolderMissing, m_folder);
    }
    m_folderLock = m_baseFiles.Lock(m_folder + kDatabaseLockName);
    if (!m_folderLock) {
        return FailFromFileError(DatabaseProblem::WriteFailed, m_folder + kDatabaseLockName);
    }
    if (!AttachJournal() || !HistoryIsKnown()) return false;
    DatabaseSchema schema;
    if (!ReadSchema(schema) || !TidyDataFiles(schema)) return false;

    // A new database's first files are one commit, and so is what opening repairs.
    if (RunInBracket([&] { return OpenStores(schema); })) return true;
    if (m_problem == DatabaseProblem::None) {
        return FailFromFileError(DatabaseProblem::WriteFailed, m_folder);
    }
    return false;
}

// Whoever keeps the history reads it later; what a newer version wrote there is not to be lost.
bool CDatabaseManager::HistoryIsKnown() {
    const std::string path = m_folder + kHistoryName;
    if (!m_journal.Exists(path)) return true;
    std::array<uint8_t, FileSignature::kDiskSize> head{};
    const std::unique_ptr<CFile> file = m_journal.Open(path, OpenMode::Read);
    const int64_t count = file ? file->ReadAt(0, head) : -1;
    if (count < 0) return FailFromFileError(DatabaseProblem::ReadFailed, path);
    return !HistoryHeader::kSignature.IsNewerIn(head) || Fail(DatabaseProblem::NewerVersion, path);
}

bool CDatabaseManager::AttachJournal() {
    const std::string lockPath = m_folder + kDatabaseLockName;
    std::vector<uint8_t> bytes;
    DatabaseIdentity identity;
    if (!ReadWholeFile(m_baseFiles, lockPath, bytes)) {
        return FailFromFileError(DatabaseProblem::ReadFailed, lockPath);
    }
    const bool known = DatabaseIdentity::Decode(bytes, identity);
    // Made before the lock file is filled, and since then always there.
    const bool isLost = known && !m_baseFiles.Exists(m_folder + kJournalName) &&
                        FolderHoldsDatabase(m_baseFiles, m_folder);
    switch (m_journal.Attach(m_folder, known ? identity.id : 0)) {
        case CJournal::AttachResult::Ok:
            break;
        case CJournal::AttachResult::Damaged:
            return Fail(DatabaseProblem::DamagedJournal, m_journal.SetAsidePath());
        case CJournal::AttachResult::UnreadableChecksums:
            return FailFromFileError(DatabaseProblem::ReadFailed, m_folder + kChecksumsName);
        case CJournal::AttachResult::NewerVersion:
            return Fail(DatabaseProblem::NewerVersion, m_folder + kJournalName);
        case CJournal::AttachResult::Failed:
            return FailFromFileError(DatabaseProblem::WriteFailed, m_folder + kJournalName);
    }
    // Said once: now there is a new one, and the next opening goes on with what is left.
    if (isLost) return Fail(DatabaseProblem::DamagedJournal, m_folder + kJournalName);
    if (known) return true;
    // A new database, or the name in the lock file was damaged or lost to a power cut: the
    // journal knows it.
    identity.id = m_journal.DatabaseId();
    if (WriteWholeFile(m_baseFiles, lockPath, identity.Encode(), true)) return true;
    return FailFromFileError(DatabaseProblem::WriteFailed, lockPath);
}

// Removes copies that a compaction, a conversion or a checkpoint had not finished, and
// converts data files of version 1. Only files of this database are touched: others may lie in
// the folder, whatever their names end in. Before the stores open, since they open in one bracket
// and a bracket renames one file.
bool CDatabaseManager::TidyDataFiles(const DatabaseSchema& schema) {
    std::vector<std::string> names;
    if (!m_baseFiles.List(m_folder, names)) {
        return FailFromFileError(DatabaseProblem::ReadFailed, m_folder);
    }
    const std::set<std::string> present(names.begin(), names.end());
    const auto removeLeftover = [&](const std::string& name) {
        if (present.contains(name)) (void)m_baseFiles.Remove(m_folder + name);
    };
    removeLeftover(std::string(kChecksumsName) + kNewCopyEnding);
    for (const std::string& name : schema.DataFiles()) {
        removeLeftover(CopyPath(name));
        const std::string path = m_folder + name;
        if (!present.contains(name) || !CDataStore::IsVersion1(m_baseFiles, path)) continue;
        CDataStore store(m_journal);
        store.SetPath(CKeelString(path));
        if (!store.Open() || !store.IsOpen()) {
            return FailFromFileError(DatabaseProblem::WriteFailed, path);
        }
    }
    return true;
}

bool CDatabaseManager::ReadSchema(DatabaseSchema& schema) {
    const std::string schemaPath = m_folder + kSchemaName;
    if (m_journal.Exists(schemaPath)) {
        std::vector<uint8_t> bytes;
        if (!ReadWholeFile(m_journal, schemaPath, bytes)) {
            return FailFromFileError(DatabaseProblem::ReadFailed, schemaPath);
        }
        switch (DatabaseSchema::Decode(bytes, schema)) {
            case DatabaseSchema::DecodeResult::Ok:
                break;
            case DatabaseSchema::DecodeResult::NewerVersion:
                return Fail(DatabaseProblem::NewerVersion, schemaPath);
            case DatabaseSchema::DecodeResult::NotASchema:
                return Fail(DatabaseProblem::NotADatabase, schemaPath);
            case DatabaseSchema::DecodeResult::Damaged:
                return Fail(DatabaseProblem::DamagedFile, schemaPath);
        }
        // They were made together with the schema: new ones would hide the loss.
        for (const std::string& path :
             {kBlobFiles.Dictionary(schemaPath), kBlobFiles.Data(schemaPath)}) {
            if (!m_journal.Exists(path)) return Fail(DatabaseProblem::DamagedFile, path);
        }
    } else if (m_journal.Exists(kBlobFiles.Dictionary(schemaPath))) {
        // Tables without the list of them would look like an empty ledger.
        return Fail(DatabaseProblem::DamagedFile, schemaPath);
    }
    return true;
}

bool CDatabaseManager::OpenStores(const DatabaseSchema& schema) {
    const std::string schemaPath = m_folder + kSchemaName;
    m_nextTableNumber = schema.nextTableNumber;
    for (const DatabaseSchema::Table& table : schema.tables) {
        if (!OpenTable(table.number, table.name)) return false;
    }
    m_blobs = std::make_unique<CBLOBManager>(m_journal);
    m_blobs->SetBasePath(schemaPath);
    if (!m_blobs->Open()) {
        return FailFromDamage(m_blobs->Dictionary().IsOpen() ? kBlobFiles.Data(schemaPath)
                                                             : kBlobFiles.Dictionary(schemaPath));
    }
    return m_journal.Exists(schemaPath) || (SyncOwnName() && SaveSchema());
}

// The folder of a new database may have been made by somebody who did not get so far.
bool CDatabaseManager::SyncOwnName() {
    if (m_baseFiles.SyncFolder(ParentFolder(m_folder))) return true;
    return FailFromFileError(DatabaseProblem::WriteFailed, m_folder);
}

bool CDatabaseManager::OpenTable(int32_t number, const std::string& name) {
    auto table = std::make_unique<CTableManager>(m_journal, m_lock, m_folder, number);
    if (!table->Create(name)) return false;
    if (!table->Open()) return FailFromDamage(table->FailedFile());
    m_tables.push_back(std::move(table));
    return true;
}

void CDatabaseManager::CloseStores() {
    m_rowTable = nullptr;
    // The stores' last headers are one commit; when it fails they are rebuilt on opening.
    CBracketScope bracket(m_journal);
    for (const auto& table : m_tables) table->Close();
    if (m_blobs) m_blobs->Close();
    if (bracket.Begun()) (void)bracket.Commit();
    DropStores();
}

void CDatabaseManager::DropStores() {
    m_rowTable = nullptr;
    (void)FalseWhenOutOfMemory([this] {
        for (const auto& table : m_tables) {
            const std::vector<std::string>& names = table->RebuiltIndexes();
            m_rebuiltIndexes.insert(m_rebuiltIndexes.end(), names.begin(), names.end());
        }
        return true;
    });
    m_tables.clear();
    m_blobs.reset();
}

std::vector<std::string> CDatabaseManager::RebuiltIndexes() {
    const CLockScope lock(m_lock);
    std::vector<std::string> names;
    (void)Guarded([&] {
        names = m_rebuiltIndexes;
        for (const auto& table : m_tables) {
            const std::vector<std::string>& more = table->RebuiltIndexes();
            names.insert(names.end(), more.begin(), more.end());
        }
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        return true;
    });
    return names;
}

bool CDatabaseManager::Close() {
    const CLockScope lock(m_lock);
    if (!m_open) return false;
    while (m_journal.InBatch()) RollbackBatch();
    const bool flushed = Flush();
    CloseStores();
    const bool emptied = m_journal.Detach();
    m_folderLock.reset();
    m_folder.clear();
    m_open = false;
    m_flushTimer.Stop();
    m_removeDeletedTimer.Stop();
    return flushed && emptied;
}

}  // namespace quillon
