#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// Character sets that the system converts, of files that are in no form of Unicode.
enum class SystemCharset : uint8_t { Windows1250, Iso8859_2, Iso8859_9, Iso8859_15, ShiftJis };

// Sets `converted` to `text` in UTF-8; a byte without a meaning becomes U+FFFD. False: the
// system lacks the character set, or could not convert. std::bad_alloc passes through.
[[nodiscard]] bool ConvertFromCharset(std::string_view text, SystemCharset charset,
                                      std::string& converted);

}  // namespace quillon
