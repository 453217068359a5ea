#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "import/plan/ImportNotes.h"
#include "import/text/Dialect.h"

namespace quillon {

// Character sets of bank files. Bytes are borrowed; texts that are made let std::bad_alloc
// pass, and nothing else fails.

// What the bytes of a file say about their character set.
struct CharsetFinding {
    Charset charset = Charset::Utf8;
    size_t markLength = 0;  // bytes of the mark at the start
    int64_t line = 0;       // the first line that proves it; 0: pure ASCII
    int64_t badBytes = 0;   // in UTF-8: sequences that are not valid and were replaced
    bool binary = false;    // no text at all
};

// Marks first, then the pattern of zero bytes, then whether all bytes above 0x7F form
// UTF-8. Anything else is Windows-1252, which gives every byte a letter of its own. Only
// what a program cut off, a sequence at the end of the file or (one among ten or more) of
// a line, does not make UTF-8 another character set.
CharsetFinding DetectCharset(std::span<const uint8_t> bytes);

// The text without its mark, in UTF-8. Empty when it is UTF-8 already: then the bytes
// behind the mark are the text.
std::string ConvertToUtf8(std::span<const uint8_t> bytes, const CharsetFinding& finding);
bool NeedsConversion(const CharsetFinding& finding);

// Notes the line that proves the character set, and what the file's header says otherwise.
void NoteCharset(const CharsetFinding& finding, CImportNotes& notes,
                 std::string_view declared = {});

// Where CRs end the lines and LFs do not, CRs become LFs: true. A CR in front of an LF
// stays. `text` has bytes for units.
bool BreakAtReturns(std::span<uint8_t> text);

// The line (from 1) of the first character beyond ASCII; 0: there is none.
int64_t FirstLineBeyondAscii(std::span<const uint8_t> text);

// Lines (from 1) that begin before `offset`.
int64_t LineAt(std::string_view text, size_t offset);

}  // namespace quillon
