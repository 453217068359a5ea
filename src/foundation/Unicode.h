#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// Character sets and comparison beyond ASCII. Nothing here depends on a locale.
//
// Folding is Unicode 14's simple case folding of every script: one character
// becomes one character, so É equals é and Σ equals both σ and ς, but ß does not
// equal "ss". Accents are not dropped. A byte that is no valid UTF-8 stands for
// itself and equals only itself.

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// The code point at `position`, which moves behind it. Of an ill-formed sequence
// the longest start of a well-formed one (at least a byte) becomes one U+FFFD.
// `position` must lie inside `text`.
char32_t DecodeUtf8(std::string_view text, size_t& position);
// No scalar value: U+FFFD is appended.
void AppendUtf8(std::string& text, char32_t codePoint);

bool IsValidUtf8(std::string_view text);
bool IsAscii(std::string_view text);
// Code points; every ill-formed sequence counts as one.
size_t CountCodePoints(std::string_view text);
// `text` with every ill-formed sequence replaced by U+FFFD.
std::string RepairUtf8(std::string_view text);

// Ill-formed sequences and unpaired surrogates become U+FFFD.
std::u16string Utf8ToUtf16(std::string_view text);
std::string Utf16ToUtf8(std::u16string_view text);

// Every byte has a meaning: the five that Windows-1252 leaves open become the
// control characters of the same number, as browsers read them.
std::string Windows1252ToUtf8(std::string_view text);
std::string Latin1ToUtf8(std::string_view text);

char32_t FoldCodePoint(char32_t codePoint);
// Two texts are equal ignoring case exactly when their folded forms are the same bytes.
std::string FoldCase(std::string_view text);

bool EqualsIgnoringCase(std::string_view a, std::string_view b);
// Negative, 0 or positive: by folded code points, ill-formed bytes behind all of them.
int CompareIgnoringCase(std::string_view a, std::string_view b);
// An empty needle is in every text.
bool ContainsIgnoringCase(std::string_view haystack, std::string_view needle);
// The whole value against `*` (any characters, also none) and `?` (one code
// point), ignoring case. There is no escape character. Time is at worst the
// product of the two lengths.
bool MatchesWildcard(std::string_view pattern, std::string_view value);

}  // namespace quillon
