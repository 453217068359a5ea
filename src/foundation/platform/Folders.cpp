#include "foundation/platform/Folders.h"

namespace quillon {

std::string JoinPath(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    const bool separated = folder.back() == '/' || folder.back() == FolderSeparator();
    return separated ? folder + name : folder + FolderSeparator() + name;
}

}  // namespace quillon
