// The imploded format: what its writer and its reader share.
//
//   offset  size  field
//        0     1  literals: 0 as plain bytes, 1 as the prefix codes below
//        1     1  n = 4, 5, 6: matches reach back 64 << n = 1,024, 2,048, 4,096 bytes
//        2     -  tokens, taken from each byte lowest bit first:
//                   0, literal      8 bits, or a literal code
//                   1, length code, its extra bits, distance code, low distance bits
//                   1, the length code of 519 with its extra bits: the end
//
// Numbers are stored lowest bit first, prefix codes first bit first. A match copies
// `length` (2 to 518) bytes from `distance` bytes back, and the two may overlap. Its
// distance is 1 + (distance symbol << k | low bits), where k is 2 for a match of two
// bytes and n otherwise: short matches reach back only 256 bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quillon::implode {

inline constexpr size_t kHeaderSize = 2;
inline constexpr uint8_t kBinaryLiterals = 0;
inline constexpr uint8_t kAsciiLiterals = 1;
inline constexpr unsigned kMinDictionaryBits = 4;
inline constexpr unsigned kMaxDictionaryBits = 6;
inline constexpr unsigned kShortMatchDistanceBits = 2;
inline constexpr size_t kMinMatch = 2;
inline constexpr size_t kMaxMatch = 518;
inline constexpr size_t kEndLength = 519;
inline constexpr size_t kDistanceSymbols = 64;

// A length symbol stands for baseLength + (its extra bits as a number).
struct LengthSymbol {
    uint16_t baseLength;
    uint8_t extraBits;
};
inline constexpr std::array<LengthSymbol, 16> kLengthSymbols = {{
    {3, 0},
    {2, 0},
    {4, 0},
    {5, 0},
    {6, 0},
    {7, 0},
    {8, 0},
    {9, 0},
    {10, 1},
    {12, 2},
    {16, 3},
    {24, 4},
    {40, 5},
    {72, 6},
    {136, 7},
    {264, 8},
}};

// The bit lengths of the prefix codes, by symbol; they fix the codes (AssignCodes).
// clang-format off
inline constexpr std::array<uint8_t, 16> kLengthCodeLengths = {
    2, 3, 3, 3, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 7, 7,
};
inline constexpr std::array<uint8_t, kDistanceSymbols> kDistanceCodeLengths = {
    2, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 6, 6, 6, 6, 6,
    6, 6, 6, 6, 6, 6, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7,
    7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7,
    8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8,
};
inline constexpr std::array<uint8_t, 256> kLiteralCodeLengths = {
    11, 12, 12, 12, 12, 12, 12, 12, 12,  8,  7, 12, 12,  7, 12, 12,  // 0x00
    12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 13, 12, 12, 12, 12, 12,  // 0x10
     4, 10,  8, 12, 10, 12, 10,  8,  7,  7,  8,  9,  7,  6,  7,  8,  // 0x20
     7,  6,  7,  7,  7,  7,  8,  7,  7,  8,  8, 12, 11,  7,  9, 11,  // 0x30
    12,  6,  7,  6,  6,  5,  7,  8,  8,  6, 11,  9,  6,  7,  6,  6,  // 0x40
     7, 11,  6,  6,  6,  7,  9,  8,  9,  9, 11,  8, 11,  9, 12,  8,  // 0x50
    12,  5,  6,  6,  6,  5,  6,  6,  6,  5, 11,  7,  5,  6,  5,  5,  // 0x60
     6, 10,  5,  5,  5,  5,  8,  7,  8,  8, 10, 11, 11, 12, 12, 12,  // 0x70
    13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13,  // 0x80
    13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13,  // 0x90
    13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13,  // 0xA0
    12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12,  // 0xB0
    12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12,  // 0xC0
    12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12,  // 0xD0
    13, 12, 13, 13, 13, 12, 13, 13, 13, 12, 13, 13, 13, 13, 12, 13,  // 0xE0
    13, 13, 12, 12, 12, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13,  // 0xF0
};
// clang-format on
inline constexpr unsigned kMaxLengthCode = 7;
inline constexpr unsigned kMaxDistanceCode = 8;
inline constexpr unsigned kMaxLiteralCode = 13;

// The bits of one prefix code; the first bit of the stream is the lowest.
struct PrefixCode {
    uint16_t bits;
    uint8_t length;
};

// Codes go to the symbols from the shortest to the longest, in symbol order within a
// length, counting down from all ones.
template <size_t N>
constexpr std::array<PrefixCode, N> AssignCodes(const std::array<uint8_t, N>& lengths) {
    std::array<PrefixCode, N> codes{};
    unsigned next = 0;  // counts up; the code is its complement
    for (unsigned length = 1; length <= kMaxLiteralCode; ++length) {
        next <<= 1;
        for (size_t symbol = 0; symbol < N; ++symbol) {
            if (lengths[symbol] != length) continue;
            unsigned bits = 0;
            for (unsigned bit = 0; bit < length; ++bit) {
                if ((next >> bit & 1U) == 0) bits |= 1U << (length - 1 - bit);
            }
            codes[symbol] = {static_cast<uint16_t>(bits), static_cast<uint8_t>(length)};
            ++next;
        }
    }
    return codes;
}

// Every bit pattern decodes to exactly one symbol: what lets the reader look a code
// up without a test for unknown ones.
template <size_t N>
constexpr bool IsComplete(const std::array<uint8_t, N>& lengths) {
    unsigned used = 0;
    for (const uint8_t length : lengths) used += 1U << (kMaxLiteralCode - length);
    return used == 1U << kMaxLiteralCode;
}
static_assert(IsComplete(kLengthCodeLengths));
static_assert(IsComplete(kDistanceCodeLengths));
static_assert(IsComplete(kLiteralCodeLengths));

// Eight bytes, lowest first. Spelled out because compilers turn this form, and not a
// loop, into a single load.
inline uint64_t LoadWord(const uint8_t* bytes) {
    return uint64_t{bytes[0]} | uint64_t{bytes[1]} << 8 | uint64_t{bytes[2]} << 16 |
           uint64_t{bytes[3]} << 24 | uint64_t{bytes[4]} << 32 | uint64_t{bytes[5]} << 40 |
           uint64_t{bytes[6]} << 48 | uint64_t{bytes[7]} << 56;
}

}  // namespace quillon::implode
