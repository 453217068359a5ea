#include "cli/terminal/OutputFile.h"

#include "cli/terminal/Failure.h"

namespace quillon {

void RequireFreePath(CFileSystem& files, const std::string& path) {
    if (files.FolderExists(path)) {
        throw CFailure(Quoted(path) + " is a folder; give the path of a file.");
    }
    if (!files.Exists(path)) return;
    const std::unique_ptr<CFile> file = files.Open(path, OpenMode::Read);
    if (file && file->Size() == 0) return;
    throw CFailure("The file " + Quoted(path) +
                   " exists; choose another name, or replace it with --overwrite.");
}

}  // namespace quillon
