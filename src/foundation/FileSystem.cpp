#include "foundation/FileSystem.h"

namespace quillon {

bool ReadWholeFile(CFileSystem& files, const std::string& path, std::vector<uint8_t>& bytes) {
    bytes.clear();
    const std::unique_ptr<CFile> file = files.Open(path, OpenMode::Read);
    if (!file) return false;
    const int64_t size = file->Size();
    if (size < 0) return false;
    bytes.resize(static_cast<size_t>(size));
    if (size == 0) return true;
    if (file->ReadAt(0, bytes) == size) return true;
    bytes.clear();
    return false;
}

bool WriteWholeFile(CFileSystem& files, const std::string& path, std::span<const uint8_t> bytes,
                    bool sync) {
    const std::unique_ptr<CFile> file = files.Open(path, OpenMode::Create);
    if (!file) return false;
    if (!bytes.empty() && !file->WriteAt(0, bytes)) return false;
    return !sync || file->Sync();
}

namespace {

bool ReplaceThrough(CFileSystem& files, const std::string& temporary, const std::string& path,
                    std::span<const uint8_t> bytes) {
    if (!WriteWholeFile(files, temporary, bytes, true) || !files.Rename(temporary, path)) {
        if (files.Exists(temporary)) (void)files.Remove(temporary);
        return false;
    }
    return files.SyncFolder(ParentFolder(path));
}

}  // namespace

std::string FreeNameBeside(CFileSystem& files, const std::string& path) {
    for (int number = 1; number <= 1000; ++number) {
        std::string name = path + "." + std::to_string(number) + kNewCopyEnding;
        if (!files.Exists(name) && !files.FolderExists(name)) return name;
    }
    return {};
}

bool ReplaceWholeFile(CFileSystem& files, const std::string& path, std::span<const uint8_t> bytes) {
    const std::string temporary = FreeNameBeside(files, path);
    return !temporary.empty() && ReplaceThrough(files, temporary, path, bytes);
}

bool ReplaceStoreFile(CFileSystem& files, const std::string& path, std::span<const uint8_t> bytes) {
    return ReplaceThrough(files, path + kNewCopyEnding, path, bytes);
}

}  // namespace quillon
