#pragma once

#include <string_view>

namespace quillon {

// Room that a line of a plain sans-serif needs, in heights of the font. It is measured
// without the font, so it errs to the wide side: each character counts as much as in the
// wider of the usual typefaces.
double EstimatedTextWidth(std::string_view text);

}  // namespace quillon
