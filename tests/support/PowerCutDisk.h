#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "support/Bytes.h"

namespace quillon {

// What a disk holds: files by normalised path ("ledger/Journal.dat"), and folders.
struct DiskImage {
    std::map<std::string, Bytes> files;
    std::set<std::string> folders;

    // Equal for equal images; good enough to tell which were looked at before.
    uint64_t Hash() const;
};

// Which of the disks that a cut may leave are to be looked at.
struct CutPlan {
    size_t mostSteps = SIZE_MAX;  // of each kind that goes step by step: tears, lost writes, names
    size_t subsets = 64;          // seeded ones of the unsynced writes
    bool everySubset = true;      // where ten writes or fewer are unsynced
    uint64_t seed = 1;
};

// A disk in memory that keeps apart what was written and what is on the medium, contents
// and names alike: writes reach it when their file is synced, names when their folder is.
// It can be looked at before every change, and told to fail at any call.
//
//   Paths    As on the machine; both separators where the platform has both.
//   Names    Changes of one folder reach the medium in their order, those of two folders in
//            any. A rename is one change: no cut leaves both names or none.
//   Threads  One.
class CPowerCutDisk final : public CFileSystem {
public:
    CPowerCutDisk();
    explicit CPowerCutDisk(const DiskImage& image);  // all of it on the medium
    ~CPowerCutDisk() override;

    // Called before every change and every sync, with a short description of it.
    void OnChange(std::function<void(const std::string& what)> observer) {
        m_observer = std::move(observer);
    }

    // --- what a stop leaves
    // A kill: everything that was written.
    DiskImage Everything() const;
    // A power cut: nothing unsynced; everything; names without contents, contents without
    // names; each write lost; the last one torn between sectors; what a file has grown by
    // full of zeros or rubbish; subsets of the writes. `visit` gets what survived as a text.
    using Visitor = std::function<void(const DiskImage& image, const std::string& what)>;
    void ForEachCut(const CutPlan& plan, const Visitor& visit) const;

    // --- failing calls
    struct Failure {
        int64_t at = 0;  // the `at`-th call from now, the next is 1
        FileError error = FileError::Other;
        bool forEver = false;   // and all later ones: all changes and syncs, or all reads
        bool halfDone = false;  // a failing write leaves its first half
    };
    // A failed sync loses for good what it was to bring to the medium: it is still read, as
    // from a system's cache, and no later sync writes it.
    void FailAt(const Failure& failure);
    void StopFailing() { m_failure = {}; }
    // Calls since FailAt.
    int64_t Calls() const { return m_calls; }
    bool HasFailed() const { return m_hasFailed; }
    bool HasFailedToSync() const { return m_hasFailedToSync; }
    // What failed first.
    const std::string& FailedCall() const { return m_failedCall; }

    // --- CFileSystem
    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override;
    bool Exists(const std::string& path) override;
    bool FolderExists(const std::string& path) override;
    bool Remove(const std::string& path) override;
    bool Rename(const std::string& from, const std::string& to) override;
    bool List(const std::string& folder, std::vector<std::string>& names) override;
    bool MakeFolder(const std::string& path) override;
    bool RemoveFolder(const std::string& path) override;
    bool SyncFolder(const std::string& folder) override;
    std::unique_ptr<CFileLock> Lock(const std::string& path) override;
    int64_t ModificationTime(const std::string& path) override;
    FileError LastError() override { return m_lastError; }

private:
    struct Edit;
    struct FileNode;
    struct FolderNode;
    struct Entry;
    struct NameChange;
    struct Survival;
    class CDiskFile;
    class CDiskLock;
    class CCutter;
    enum class Kind { Read, Change, Sync };

    bool Passes(Kind kind, const char* call, const std::string& path);
    // Whether the call is to fail, without the observer.
    bool IsToFail(Kind kind, const std::string& call);
    bool Refuse(FileError error);
    FolderNode* FindFolder(const std::string& normalised) const;
    // The folder that holds the path, and its last name; null when there is none.
    FolderNode* ParentOf(const std::string& normalised, std::string& name) const;
    Entry Find(const std::string& path) const;
    // An empty file of that new name; null, and refused, without its folder.
    std::shared_ptr<FileNode> MakeFile(const std::string& path);
    void Change(FileNode& node, Edit edit);
    static void ChangeName(FolderNode& folder, NameChange change);

    std::shared_ptr<FolderNode> m_root;
    std::function<void(const std::string&)> m_observer;
    bool m_observing = false;
    Failure m_failure;
    int64_t m_calls = 0;  // since FailAt
    Kind m_failedKind = Kind::Change;
    bool m_hasFailed = false;
    bool m_hasFailedToSync = false;
    std::string m_failedCall;
    int64_t m_nextEdit = 0;
    FileError m_lastError = FileError::None;
};

}  // namespace quillon
