#pragma once

#include <cstdint>

#include "import/plan/ImportRecord.h"
#include "import/text/Dialect.h"
#include "import/text/TextFileManager.h"

namespace quillon {

// The plain rules for QIF, line by line. `today` stands in for dates that cannot be read.
// std::bad_alloc passes through.
void ReadPlainQif(const CReadOnlyTextFileManager& text, int64_t today, DateOrder order,
                  const RecordSink& sink);

}  // namespace quillon
