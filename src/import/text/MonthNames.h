#pragma once

#include <string>
#include <string_view>

namespace quillon {

// The names of months as banks write them: English, German, French, Spanish, Portuguese,
// Italian, Dutch, Danish, Norwegian, Swedish, Czech and Polish. std::bad_alloc passes through.

// 1 to 12; 0: no month, or one that cannot be told ("jui" is June or July). `word` is
// UTF-8 in any case, with or without its accents, whole or cut to three letters or more,
// without the dot of an abbreviation.
int MonthFromName(std::string_view word);

// Letters in lower case and without their accents; anything that is no letter of these
// languages becomes '?'.
std::string PlainLetters(std::string_view word);

}  // namespace quillon
