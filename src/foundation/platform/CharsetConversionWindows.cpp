#include <windows.h>

#include <utility>

#include "foundation/platform/CharsetConversion.h"
#include "foundation/platform/WideTextWindows.h"

namespace quillon {

namespace {

UINT CodePage(SystemCharset charset) {
    switch (charset) {
        case SystemCharset::Windows1250:
            return 1250;
        case SystemCharset::Iso8859_2:
            return 28592;
        case SystemCharset::Iso8859_9:
            return 28599;
        case SystemCharset::Iso8859_15:
            return 28605;
        case SystemCharset::ShiftJis:
            break;
    }
    return 932;
}

bool ConvertPiece(std::string_view piece, UINT codePage, std::string& made) {
    const int size = static_cast<int>(piece.size());
    const int length = MultiByteToWideChar(codePage, 0, piece.data(), size, nullptr, 0);
    if (length <= 0) return false;
    std::wstring wide(static_cast<size_t>(length), L'\0');
    if (MultiByteToWideChar(codePage, 0, piece.data(), size, wide.data(), length) != length) {
        return false;
    }
    made += FromWindows(wide);
    return true;
}

}  // namespace

bool ConvertFromCharset(std::string_view text, SystemCharset charset, std::string& converted) {
    // The call counts in int: pieces that end with a line, so that none cuts a character.
    constexpr size_t kPiece = size_t{1} << 26;
    std::string made;
    while (!text.empty()) {
        size_t size = text.size();
        if (size > kPiece) {
            const size_t end = text.rfind('\n', kPiece);
            size = end == std::string_view::npos ? kPiece : end + 1;
        }
        if (!ConvertPiece(text.substr(0, size), CodePage(charset), made)) return false;
        text.remove_prefix(size);
    }
    converted = std::move(made);
    return true;
}

}  // namespace quillon
