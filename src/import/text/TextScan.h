#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/AsciiText.h"

namespace quillon {

// Small readers over text in memory. What returns a view or a number neither fails nor
// allocates; what returns a string lets std::bad_alloc pass.

inline bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
// Of ASCII, or any byte above it.
inline bool IsLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}
inline bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}
bool HasDigit(std::string_view text);
bool HasLetter(std::string_view text);
size_t DigitsAtStart(std::string_view text);
bool IsDigits(std::string_view text);  // at least one, and nothing else
// The beginning of `text`, `most` bytes or less, that cuts no character.
std::string_view CutUtf8(std::string_view text, size_t most);

// A decimal number at the start of `text`: blanks, a sign, digits. What follows is
// left in `rest` (may be null). False: no digit there, or it does not fit 64 bits.
[[nodiscard]] bool ScanLong(std::string_view text, int64_t& value,
                            std::string_view* rest = nullptr);
// The same for a number with decimals or an exponent. False also for one that is not
// finite.
[[nodiscard]] bool ScanDouble(std::string_view text, double& value,
                              std::string_view* rest = nullptr);

// Digits alone, that fit 31 bits; nothing else is a check number.
std::optional<int32_t> ReadCheckNumber(std::string_view text);

// Keeps texts made while reading a file for as long as the views into them are used.
class CTextArena {
public:
    // A copy of `text`; valid until the arena is reset or goes.
    std::string_view Keep(std::string_view text);
    // All texts go; a block of memory stays for the next ones.
    void Reset();

private:
    static constexpr size_t kBlock = 256 * 1024;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_free = nullptr;
    size_t m_left = 0;
};

}  // namespace quillon
