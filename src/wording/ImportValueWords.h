#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "import/plan/ImportSource.h"
#include "import/plan/ImportValue.h"

namespace quillon {

// How the values of notes and refusals are shown; for the other files of this folder.

// In quotation marks; of a long text the beginning.
std::string InQuotes(std::string_view text);

// `sentence` with values in place of what stands in braces: "{0}" is the first, "{0q}" the
// same in quotation marks. Amounts are shown as everywhere, "{0r}" without separators and
// "{0d}" with all their decimals. A value that is missing is nothing.
std::string Filled(std::string_view sentence, std::span<const ImportValue> values);

// "'123' (3 lines), '456' (1 line)"; of many the first twenty. With `chosen` only those that
// are, or are not, and have lines.
std::string ListOfSources(const std::vector<ImportSource>& sources,
                          std::optional<bool> chosen = {});

}  // namespace quillon
