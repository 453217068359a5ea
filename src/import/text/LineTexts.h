#pragma once

#include <cstdint>
#include <string_view>

#include "import/text/TextFileManager.h"
#include "import/text/TextScan.h"

namespace quillon {

// The lines of a text in UTF-8, as the plain rules read them: 16-bit units are converted,
// and a text that is no UTF-8 is code page 1252.
//
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows both. Views are into the text where it is UTF-8 already, else into
//              the arena.
class CLineTexts {
public:
    CLineTexts(const CReadOnlyTextFileManager& text, CTextArena& arena);

    // `index` from 0.
    std::string_view At(int64_t index);

private:
    const CReadOnlyTextFileManager& m_text;
    CTextArena& m_arena;
    bool m_isWide = false;
    bool m_isForeign = false;
};

}  // namespace quillon
