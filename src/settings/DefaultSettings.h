#pragma once

#include <string_view>

namespace quillon {

// What a new settings file holds: the check layout, the main window's place and the
// column widths of the list views.
std::string_view DefaultSettingsText();

}  // namespace quillon
