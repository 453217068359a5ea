#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "import/csv/CSVImportManager.h"
#include "settings/SettingsFile.h"

namespace quillon {

// Profiles in the settings, a section each. What cannot be read counts as not said.
// std::bad_alloc passes through.

std::vector<CsvProfile> ReadCsvProfiles(const CSettingsFile& settings);
// Without regard to case; nothing: there is none of the name.
std::optional<CsvProfile> ReadCsvProfile(const CSettingsFile& settings, const std::string& name);
// Replaces one of the same name. False: the settings cannot hold it or be written.
[[nodiscard]] bool WriteCsvProfile(const CSettingsFile& settings, const CsvProfile& profile);

// Everything that the reading of a file came to, to read the next one the same way.
CsvProfile ProfileOf(std::string name, const CsvFinding& finding, const CsvRequest& request);

// "date=1,payee=3,amount=7"; a field without a number is in no column. False: an unknown
// field, one said twice, or no number; `request` is then as it was.
[[nodiscard]] bool ReadCsvMapping(std::string_view text, CsvRequest& request);
// A character, or "tab", "comma", "semicolon", "pipe"; nothing for anything else.
std::optional<char> ReadCsvDelimiter(std::string_view text);

}  // namespace quillon
