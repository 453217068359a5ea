#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// A disk in memory that can be told to fail.
//
//   Paths      As on the machine; "", "." and "/" are one root folder, which is
//              always there. Names tell upper from lower case.
//   Files      Handles of one file share its bytes; a removed or replaced file
//              lives on in its open handles.
//   Threads    Every call may come from any thread.
class CMemoryFileSystem final : public CFileSystem {
public:
    // Kinds of calls, for failing and counting them. Changes are Create (Open with
    // OpenMode::Create, and Lock of a missing file), Write, SetSize, Remove, Rename,
    // MakeFolder and RemoveFolder; syncs are Sync and SyncFolder.
    enum class Call {
        Open,  // without Create
        Create,
        Read,
        Write,
        SetSize,
        Sync,
        Remove,
        Rename,
        List,
        MakeFolder,
        RemoveFolder,
        SyncFolder,
        Lock,
        AnyChange,
        AnySync,
        AnyChangeOrSync,
    };
    enum class Times { Once, ForEver };

    CMemoryFileSystem();
    ~CMemoryFileSystem() override;

    // Lets the `nth` call of that kind from now (1 is the next) fail with `error`, and
    // with ForEver all later ones of the kind as well. A failing write leaves its first
    // `written` bytes behind. Replaces an earlier order for the same kind.
    void FailNth(Call kind, int64_t nth, FileError error = FileError::Other,
                 Times times = Times::Once, size_t written = 0);
    void StopFailing();
    // An ordered failure has happened since the last FailNth or StopFailing.
    bool HasFailed() const;
    // Calls of that kind so far, failed ones included.
    int64_t Count(Call kind) const;

    // The file's contents, to look at or to damage; makes the file and its folders
    // when missing. Not while another thread uses the disk.
    std::vector<uint8_t>& Bytes(const std::string& path);
    // Every file's normalised path ("folder/name") and contents.
    std::map<std::string, std::vector<uint8_t>> Snapshot() const;
    // Puts back what Snapshot gave: the files and the folders they need, no others.
    void Restore(const std::map<std::string, std::vector<uint8_t>>& files);
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

private:
    struct Node {
        std::vector<uint8_t> bytes;
        int64_t modified = 0;
        bool locked = false;
    };
    struct Order {
        int64_t callsBefore = -1;  // calls that still pass; -1: no order
        FileError error = FileError::Other;
        Times times = Times::Once;
        size_t written = 0;
    };
    static constexpr size_t kKinds = static_cast<size_t>(Call::AnyChangeOrSync) + 1;
    class CMemoryFile;
    class CMemoryLock;

    // Counts the call; the order it falls to, or null when it may go on.
    const Order* FailingOrder(Call kind);
    bool Passes(Call kind);
    bool HasChildren(const std::string& folder) const;
    void MakeFolders(const std::string& folder);
    void MoveFolder(const std::string& from, const std::string& to);

    mutable std::mutex m_mutex;
    std::map<std::string, std::shared_ptr<Node>> m_files;  // by normalised path
    std::set<std::string> m_folders;                       // normalised; "" is the root
    std::array<Order, kKinds> m_orders{};
    std::array<int64_t, kKinds> m_counts{};
    bool m_hasFailed = false;
    // No test needs more, and an offset out of a damaged file is caught here.
    int64_t m_largestFile = int64_t{1} << 31;
    int64_t m_clock = 133'000'000'000'000'000;
};

}  // namespace quillon
