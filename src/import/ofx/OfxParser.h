#pragma once

#include <cstdint>

#include "import/plan/ImportRecord.h"
#include "import/text/TextFileManager.h"

namespace quillon {

// The plain rules for statements, line by line, over normalised text. `today` stands in
// for dates that cannot be read. std::bad_alloc passes through.
void ReadPlainOfx(const CReadOnlyTextFileManager& text, int64_t today, const RecordSink& sink);

}  // namespace quillon
