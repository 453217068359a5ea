#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "import/plan/ImportRecord.h"
#include "import/text/TextFileManager.h"

namespace quillon {

// The plain rules for statements, line by line, over normalised text. `today` stands in
// for dates that cannot be read.
void ReadPlainOfx(const CReadOnlyTextFileManager& text, int64_t today, const RecordSink& sink);

// "&amp;" and its kin, "&#233;" and "&#xE9;". What is no entity stays as it is.
std::string DecodeEntities(std::string_view text);

// A statement identifier as a number: digits that fit 64 bits are the number itself,
// every other text its hash, never 0. 0 for an empty text and for digits that are 0.
int64_t StatementId(std::string_view text);

}  // namespace quillon
