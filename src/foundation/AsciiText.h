#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon {

// Blanks and letter case of ASCII text: keywords, names of settings, fields of bank files. Text
// that people wrote compares by CKeelString, which folds beyond ASCII. Bytes outside ASCII pass
// as they are.

constexpr char LowerAscii(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

constexpr char UpperAscii(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
}

inline std::string LowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& character : lower) character = LowerAscii(character);
    return lower;
}

inline std::string UpperAscii(std::string_view text) {
    std::string upper(text);
    for (char& character : upper) character = UpperAscii(character);
    return upper;
}

constexpr bool EqualIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

inline constexpr std::string_view kAsciiBlanks = " \t\r\n";

// Views into `text` without the blanks in front, or at both ends.
constexpr std::string_view TrimBlanksLeft(std::string_view text,
                                          std::string_view blanks = kAsciiBlanks) {
    const size_t start = text.find_first_not_of(blanks);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

constexpr std::string_view TrimBlanks(std::string_view text,
                                      std::string_view blanks = kAsciiBlanks) {
    text = TrimBlanksLeft(text, blanks);
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

}  // namespace quillon
