#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// One file of a journalled folder: what the disk holds (the base), and over it what the open
// bracket has changed. Shared by every open handle of the file.
//
//   Sizes      Bytes, signed 64-bit. A file that is not there has size -1.
//   Order      Touch comes before any change of a bracket; Apply or Forget ends it. Until then
//              nothing of the change reaches the disk.
//   Errors     false or -1; the base's LastError() tells the kind. std::bad_alloc passes through
//              from reading and changing; Forget, OnReplaced and CloseBase need no memory.
//   Ownership  Owned by the journal, which keeps it while `handles` is above 0 or it is touched;
//              borrows the base file system.
//   Threads    None; callers hold the journal's owner's lock.
class CJournalledFile {
public:
    CJournalledFile(CFileSystem& base, std::string path);

    const std::string& Path() const { return m_path; }
    bool Exists() const { return m_touched ? m_exists : m_baseSize >= 0; }
    int64_t Size() const { return m_touched ? m_size : m_baseSize; }
    bool IsTouched() const { return m_touched; }
    // There, but its size could not be had: good for nothing but to be replaced.
    bool IsUnreadable() const { return m_unreadable && !m_touched; }
    // Bytes read, fewer only at the end; -1 on failure.
    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes);

    // --- changes of the bracket, in memory
    void Touch();
    void CreateEmpty();
    void Remove();
    // Past the end the gap reads as zeros.
    void WriteAt(int64_t offset, std::span<const uint8_t> bytes);
    void SetSize(int64_t size);
    void Forget();  // drops the changes

    // --- changes as they go to journal and disk
    bool BaseExists() const { return m_baseSize >= 0; }
    bool NeedsCreate() const { return m_exists && (m_recreated || m_baseSize < 0); }
    // Bytes of the old contents that stay; the rest is cut before writing.
    int64_t KeptBase() const { return m_keptBase; }
    int64_t BaseSize() const { return m_baseSize; }
    // Bytes of the old contents, all or failure.
    [[nodiscard]] bool ReadBaseAt(int64_t offset, std::span<uint8_t> bytes);
    int64_t NewSize() const { return m_size; }
    using ExtentMap = std::map<int64_t, std::vector<uint8_t>>;
    const ExtentMap& Extents() const { return m_extents; }
    size_t ExtentBytes() const;
    // Brings the disk to the bracket's state and forgets the bracket. False: the disk may hold
    // part of it; trying again does all of it.
    [[nodiscard]] bool Apply();
    // The file behind `Path` was replaced by a rename.
    void OnReplaced();
    void CloseBase() { m_baseFile.reset(); }
    // What was applied is on the medium. False also when the file cannot be opened.
    [[nodiscard]] bool SyncBase();

    int handles = 0;  // open handles

private:
    CFile* BaseFile();
    void ReadBase(int64_t offset, std::span<uint8_t> bytes, bool& failed);

    CFileSystem& m_base;
    std::string m_path;
    std::unique_ptr<CFile> m_baseFile;  // opened when first needed
    int64_t m_baseSize = -1;            // -1: not there
    bool m_unreadable = false;

    bool m_touched = false;
    bool m_exists = false;
    bool m_recreated = false;
    int64_t m_keptBase = 0;
    int64_t m_size = 0;
    [[nodiscard]] bool WriteRun(CFile& file, ExtentMap::const_iterator& extent);

    ExtentMap m_extents;  // neither overlapping nor touching
};

}  // namespace quillon
