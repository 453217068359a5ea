#include "foundation/Path.h"

#include <utility>

#include <algorithm>

namespace quillon {

std::string JoinPath(const std::string& folder, const std::string& name) {
    return WithTrailingSeparator(folder) + name;
}

std::string WithTrailingSeparator(std::string folder) {
    if (!folder.empty() && !IsPathSeparator(folder.back())) folder += PathSeparator();
    return folder;
}

std::string WithoutTrailingSeparators(std::string folder) {
    while (folder.size() > 1 && IsPathSeparator(folder.back())) folder.pop_back();
    return folder;
}

bool IsSameFolder(std::string first, std::string second) {
    for (std::string* folder : {&first, &second}) {
        *folder = WithTrailingSeparator(std::move(*folder));
        std::replace_if(folder->begin(), folder->end(), IsPathSeparator, '/');
    }
    return first == second;
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
