#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "import/text/Dialect.h"

namespace quillon {

// The character set of a text with a byte for most letters, that is no UTF-8 and has no
// mark. A name of one in the text's beginning ("charset=iso-8859-2") decides where it is
// followed. Else it is Shift-JIS where all bytes form its characters, and otherwise the set
// in which most letters beyond ASCII are those of one language; Windows-1252 in a tie.
// std::bad_alloc passes through.
Charset EightBitCharset(std::span<const uint8_t> bytes);

// The character set of a name such as "windows-1250" or "cp1250"; Utf8 for one that is not
// known here.
Charset CharsetOfName(std::string_view name);

}  // namespace quillon
