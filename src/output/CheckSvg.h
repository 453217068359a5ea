#pragma once

#include <string>

#include "output/CheckPage.h"

namespace quillon {

// The page as an SVG document (UTF-8) in its real size.
std::string CheckSvg(const CheckPage& page);

}  // namespace quillon
