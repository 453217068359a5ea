#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quillon {

// The form in which statement downloads are kept on disk: every element on a line of its
// own. Each "<" gets CR LF in front; then, in one pass, each pair of CR LF becomes one.
// Bytes of marked 16-bit text are taken two at a time. Repeating it changes nothing more
// in a file without blank lines.
std::vector<uint8_t> NormaliseStatement(std::span<const uint8_t> bytes);

}  // namespace quillon
