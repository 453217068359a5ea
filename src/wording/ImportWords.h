#pragma once

#include <string>

#include "import/plan/ImportOptions.h"

namespace quillon {

// The sentences of an import; `path` of its file as it was given.

// Why a failed import came to nothing, or what it left; one line.
std::string ImportRefusalMessage(const ImportResult& result, const std::string& path);
// What a note of `result` says, and of how many lines.
std::string ImportNoteText(const ImportNote& note, const ImportResult& result);
// The report of an import that came to its end, was stopped before, or was only tried, in
// several lines.
std::string ImportReport(const ImportResult& result, const std::string& path);

}  // namespace quillon
