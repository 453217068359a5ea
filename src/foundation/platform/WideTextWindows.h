#pragma once

#include <string>
#include <string_view>

#include "foundation/Unicode.h"

namespace quillon {

// Windows calls take and give UTF-16 as wchar_t, which has 16 bits there.
static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline std::wstring ToWindows(std::string_view text) {
    const std::u16string wide = Utf8ToUtf16(text);
    return {wide.begin(), wide.end()};
}

inline std::string FromWindows(std::wstring_view text) {
    return Utf16ToUtf8(std::u16string(text.begin(), text.end()));
}

}  // namespace quillon
