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
        std::string name = path + "." + std::to_string(number) + ".new";
        if (!files.Exists(name) && !files.FolderExists(name)) return name;
    }
    return {};
}

bool ReplaceWholeFile(CFileSystem& files, const std::string& path, std::span<const uint8_t> bytes) {
    const std::string temporary = FreeNameBeside(files, path);
    return !temporary.empty() && ReplaceThrough(files, temporary, path, bytes);
}

bool ReplaceStoreFile(CFileSystem& files, const std::string& path, std::span<const uint8_t> bytes) {
    return ReplaceThrough(files, path + ".new", path, bytes);
}

std::string WithTrailingSeparator(std::string folder) {
    if (!folder.empty() && !IsPathSeparator(folder.back())) folder += PathSeparator();
    return folder;
}

std::string WithoutTrailingSeparators(std::string folder) {
    while (folder.size() > 1 && IsPathSeparator(folder.back())) folder.pop_back();
    return folder;
}

std::string ParentFolder(const std::string& path) {
    const std::string parent = FolderOf(WithoutTrailingSeparators(path));
    return parent.empty() ? "." : parent;
}

std::string FolderOf(const std::string& path) {
    size_t end = path.size();
    while (end > 0 && !IsPathSeparator(path[end - 1])) --end;
    return path.substr(0, end);
}

std::string FileNameOf(const std::string& path) {
    return path.substr(FolderOf(path).size());
}

std::string WithSuffix(const std::string& path, const std::string& suffix) {
    const size_t folderEnd = FolderOf(path).size();
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot < folderEnd) return {};
    return path.substr(0, dot) + suffix + path.substr(dot);
}

}  // namespace quillon
