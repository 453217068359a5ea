#pragma once

#include <string>
#include <string_view>

namespace quillon {

// A text from bank files or people as one line that can be shown or written anywhere:
// control characters, which could move a terminal's cursor or end a line, become blanks, and
// bytes that are no UTF-8 a replacement mark.
std::string Printable(std::string_view text);

}  // namespace quillon
