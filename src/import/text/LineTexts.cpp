#include "import/text/LineTexts.h"

#include "foundation/Unicode.h"

namespace quillon {

CLineTexts::CLineTexts(const CReadOnlyTextFileManager& text, CTextArena& arena)
    : m_text(text), m_arena(arena) {
    m_isWide = text.Kind() == TextKind::Marked && text.Encoding() != TextEncoding::Utf8;
    m_isForeign = !m_isWide && !IsValidUtf8(TextOf(text));
}

std::string_view CLineTexts::At(int64_t index) {
    if (m_isWide) return m_arena.Keep(m_text.LineText(index));
    const std::string_view bytes = m_text.LineBytes(index);
    if (m_isForeign && !IsAscii(bytes)) return m_arena.Keep(Windows1252ToUtf8(bytes));
    return bytes;
}

}  // namespace quillon
