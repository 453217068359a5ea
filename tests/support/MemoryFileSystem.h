#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
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

// A disk in memory that can be told to fail. CPowerCutDisk (support/PowerCutDisk.h) is one
// that also knows what of it has reached the medium.
//
//   Paths      As on the machine; "", "." and "/" are one root folder, which is
//              always there. Names tell upper from lower case.
//   Files      Handles of one file share its bytes; a removed or replaced file
//              lives on in its open handles.
//   Threads    Every call may come from any thread.
class CMemoryFileSystem : public CFileSystem {
public:
    // Kinds of calls, for failing and counting them. Reads are Open, Read, Size, List and
    // Lock; changes are Create (Open with OpenMode::Create, and Lock of a missing file),
    // Write, SetSize, Remove, Rename, MakeFolder and RemoveFolder; syncs are Sync and
    // SyncFolder.
    enum class Call {
        Open,  // without Create
        Read,
        Size,
        List,
        Lock,
        Create,
        Write,
        SetSize,
        Remove,
        Rename,
        MakeFolder,
        RemoveFolder,
        Sync,
        SyncFolder,
        AnyRead,
        AnyChange,
        AnySync,
        AnyChangeOrSync,
        Any,
    };
    enum class Times { Once, ForEver };
    static constexpr size_t kHalf = SIZE_MAX;

    CMemoryFileSystem() : CMemoryFileSystem(false) {}
    ~CMemoryFileSystem() override;

    // Lets the `nth` call of that kind from now (1 is the next) fail with `error`, and
    // with ForEver all later ones of the kind as well; of Any, all later reads or all later
    // changes and syncs, as the first to fail was. A failing write leaves its first
    // `written` bytes behind. Replaces an earlier order for the same kind.
    void FailNth(Call kind, int64_t nth, FileError error = FileError::Other,
                 Times times = Times::Once, size_t written = 0);
    void StopFailing();
    // An ordered failure has happened since the last FailNth or StopFailing; the first of
    // them, as "write ledger/Journal.dat".
    bool HasFailed() const;
    std::string FailedCall() const;
    // Calls of that kind so far, failed ones included.
    int64_t Count(Call kind) const;
    // Called before every change and every sync, with a short description of it.
    void OnChange(std::function<void(const std::string& what)> observer);

    // The file's contents, to look at or to damage; makes the file and its folders
    // when missing. Not while another thread uses the disk.
    quillon::Bytes& Bytes(const std::string& path);
    // All that is read, as a kill leaves it.
    DiskImage Everything() const;
    std::map<std::string, quillon::Bytes> Snapshot() const { return Everything().files; }
    // Puts back what Snapshot gave: the files and the folders they need, no others.
    void Restore(const std::map<std::string, quillon::Bytes>& files);
    void Restore(const DiskImage& image);
    // A file that would grow beyond this many bytes fails as on a full disk.
    void SetLargestFile(int64_t bytes) { m_largestFile = bytes; }
    // File time that later changes get as their modification time.
    void SetClock(int64_t fileTime);

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
    FileError LastError() override;

protected:
    // A write, or a new size.
    struct Edit {
        int64_t offset = -1;  // -1: a new size
        size_t size = 0;
        quillon::Bytes bytes = {};
        int64_t number = 0;  // in the order of all writes of the disk

        void ApplyTo(quillon::Bytes& target) const { ApplyTo(target, 0, bytes.size()); }
        // Only the bytes from `from` to `to` are written.
        void ApplyTo(quillon::Bytes& target, size_t from, size_t to) const;
    };
    struct FileNode {
        quillon::Bytes bytes;
        int64_t modified = 0;
        bool locked = false;
        // With a medium only: what is on it, and what was done since.
        quillon::Bytes synced = {};
        std::vector<Edit> edits = {};
    };
    struct FolderNode;
    struct Entry {
        std::shared_ptr<FileNode> file;
        std::shared_ptr<FolderNode> folder;
        explicit operator bool() const { return file || folder; }
    };
    using Entries = std::map<std::string, Entry>;
    struct NameChange {
        std::string name;
        Entry entry;               // none: the name goes
        std::string oldName = {};  // goes at the same time

        void ApplyTo(Entries& entries) const;
    };
    struct FolderNode {
        Entries entries;
        // With a medium only, as for files.
        Entries synced;
        std::vector<NameChange> pending;
    };

    explicit CMemoryFileSystem(bool keepsMedium);
    // All there is has reached the medium.
    void Settle(FolderNode& folder);

    std::shared_ptr<FolderNode> m_root;
    int64_t m_nextEdit = 0;
    mutable std::recursive_mutex m_mutex;  // an observer looks at the disk

private:
    struct Order {
        int64_t callsBefore = -1;  // calls that still pass; -1: no order
        FileError error = FileError::Other;
        Times times = Times::Once;
        size_t written = 0;
    };
    // Where a path leads; no parent: the folder that would hold it is missing.
    struct Place {
        FolderNode* parent = nullptr;
        std::string name;
        Entry entry;
    };
    static constexpr size_t kKinds = static_cast<size_t>(Call::Any) + 1;
    class CMemoryFile;
    class CMemoryLock;

    // Counts the call; the order it falls to, or none when it may go on.
    std::optional<Order> Failing(Call kind, const std::string& path);
    bool Passes(Call kind, const std::string& path);
    Place Find(const std::string& path) const;
    FolderNode* FindFolder(const std::string& path) const { return Find(path).entry.folder.get(); }
    // An empty file of that new name; the parent is there.
    std::shared_ptr<FileNode> MakeFile(const Place& place);
    void Write(FileNode& node, int64_t offset, std::span<const uint8_t> bytes);
    void Resize(FileNode& node, size_t size);
    void ChangeName(FolderNode& folder, NameChange change) const;

    const bool m_keepsMedium;
    std::array<Order, kKinds> m_orders{};
    std::array<int64_t, kKinds> m_counts{};
    bool m_hasFailed = false;
    std::string m_failedCall;
    std::function<void(const std::string&)> m_observer;
    bool m_observing = false;
    // No test needs more, and an offset out of a damaged file is caught here.
    int64_t m_largestFile = int64_t{1} << 31;
    int64_t m_clock = 133'000'000'000'000'000;
};

}  // namespace quillon
