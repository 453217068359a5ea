#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "import/plan/ImportNoteCode.h"

namespace quillon {

// The form in which statement downloads are kept on disk: every element on a line of its
// own. Each "<" gets CR LF in front; then, in one pass, each pair of CR LF becomes one.
// Bytes of marked 16-bit text are taken two at a time. Repeating it changes nothing more
// in a file without blank lines. std::bad_alloc passes through, here and below.
std::vector<uint8_t> NormaliseStatement(std::span<const uint8_t> bytes);

// Puts the file that held `bytes` when it was read into that form, by a new file and a
// rename. A note when it was left as it is: it holds something else by now, or it cannot be
// written.
std::optional<ImportNoteCode> KeepNormalForm(CFileSystem& files, const std::string& path,
                                             std::span<const uint8_t> bytes);
// The same for a file that was just read: `normal` is its form.
std::optional<ImportNoteCode> ReplaceByNormalForm(CFileSystem& files, const std::string& path,
                                                  std::span<const uint8_t> normal);

}  // namespace quillon
