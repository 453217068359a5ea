#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/Path.h"

namespace quillon {

// The one seam between the program's files and the machine. The platform's file
// system is the usual one; the record store puts its journal in between, and
// tests put a disk in memory or a failing one there.
//
//   Paths      UTF-8; both separators are understood on Windows.
//   Errors     false, null or -1. Nothing here throws but std::bad_alloc. LastError()
//              tells the kind of the calling thread's last failure.
//   Ownership  A file belongs to its holder and closes on destruction; it must
//              not outlive its file system.

enum class FileError { None, NotFound, NoPermission, NoSpace, Locked, NotEmpty, NoMemory, Other };

class CFile {
public:
    virtual ~CFile() = default;

    // Bytes read, which is less than asked for only at the end of the file; -1 on failure.
    virtual int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) = 0;
    // All or failure; writing past the end fills the gap with zeros.
    [[nodiscard]] virtual bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) = 0;
    [[nodiscard]] virtual bool SetSize(int64_t size) = 0;
    // Size in bytes; -1 on failure.
    virtual int64_t Size() = 0;
    // The contents are on the medium when this returns true.
    [[nodiscard]] virtual bool Sync() = 0;
};

// Holding one keeps every other process and every other handle out.
class CFileLock {
public:
    virtual ~CFileLock() = default;
};

enum class OpenMode {
    Read,       // existing file, reading
    ReadWrite,  // existing file, reading and writing
    Create,     // new or emptied file, reading and writing
};

class CFileSystem {
public:
    virtual ~CFileSystem() = default;

    // Null when the file cannot be opened that way.
    virtual std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) = 0;
    // A file of that name (not a folder).
    virtual bool Exists(const std::string& path) = 0;
    virtual bool FolderExists(const std::string& path) = 0;
    // True when the file is gone afterwards and was there before.
    [[nodiscard]] virtual bool Remove(const std::string& path) = 0;
    // Replaces `to` when it exists.
    [[nodiscard]] virtual bool Rename(const std::string& from, const std::string& to) = 0;
    // Names (without folder) of the files and folders in `folder`, in no order. False, with no
    // names: it cannot be read, or not to its end.
    [[nodiscard]] virtual bool List(const std::string& folder, std::vector<std::string>& names) = 0;
    // Makes the folder and what is missing above it; true when it is there already, also when
    // another program made it meanwhile.
    [[nodiscard]] virtual bool MakeFolder(const std::string& path) = 0;
    // An empty folder.
    [[nodiscard]] virtual bool RemoveFolder(const std::string& path) = 0;
    // Names created, removed and renamed in `folder` are on the medium afterwards.
    [[nodiscard]] virtual bool SyncFolder(const std::string& folder) = 0;
    // Makes the file when it is missing. Null when another holds it (LastError() Locked)
    // or it cannot be made. Never waits.
    virtual std::unique_ptr<CFileLock> Lock(const std::string& path) = 0;
    // Last write time as a file time (100 ns since 1601 UTC); 0 when unknown.
    virtual int64_t ModificationTime(const std::string& path) = 0;
    virtual FileError LastError() = 0;
};

// The machine's own files.
CFileSystem& PlatformFileSystem();

// Whole-file helpers over any file system.
[[nodiscard]] bool ReadWholeFile(CFileSystem& files, const std::string& path,
                                 std::vector<uint8_t>& bytes);
// Writes a new file, or empties and writes an old one; synced when asked.
[[nodiscard]] bool WriteWholeFile(CFileSystem& files, const std::string& path,
                                  std::span<const uint8_t> bytes, bool sync = false);
// A name beside `path` that no file and no folder has: `path` + ".1.new" and upwards. Empty when a
// thousand are taken.
std::string FreeNameBeside(CFileSystem& files, const std::string& path);
// Writes a new file under a free name beside `path`, syncs it and renames it over `path`: the old
// contents or the new, and no neighbour is touched.
[[nodiscard]] bool ReplaceWholeFile(CFileSystem& files, const std::string& path,
                                    std::span<const uint8_t> bytes);
// What the file is called until then.
inline constexpr const char* kNewCopyEnding = ".new";
// The same through `path` + kNewCopyEnding alone, whatever has that name: for files of the store,
// in folders of its own, whose opening knows a copy that was not finished by that name.
[[nodiscard]] bool ReplaceStoreFile(CFileSystem& files, const std::string& path,
                                    std::span<const uint8_t> bytes);

}  // namespace quillon
