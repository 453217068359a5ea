#pragma once

#include <string>

#include "foundation/FileSystem.h"

namespace quillon {

// Throws CFailure when `path` is a folder, or a file that holds something: it is somebody's.
void RequireFreePath(CFileSystem& files, const std::string& path);

}  // namespace quillon
