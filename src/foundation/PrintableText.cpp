#include "foundation/PrintableText.h"

#include "foundation/Unicode.h"

namespace quillon {

std::string Printable(std::string_view text) {
    const std::string repaired = RepairUtf8(text);
    std::string printable;
    printable.reserve(repaired.size());
    for (size_t position = 0; position < repaired.size();) {
        const char32_t character = DecodeUtf8(repaired, position);
        const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
        AppendUtf8(printable, control ? U' ' : character);
    }
    return printable;
}

}  // namespace quillon
