#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quillon {

// CRC-64, reflected polynomial 0x95AC9329AC4BC9B5, register starting at all ones
// and complemented at the end.
//
// The pieces, for data that comes in parts: start at kCrc64Start, feed the raw
// register through Crc64Update(), complement the last one.
inline constexpr uint64_t kCrc64Start = ~uint64_t{0};
uint64_t Crc64Update(uint64_t state, std::span<const uint8_t> bytes);
uint64_t Crc64(std::span<const uint8_t> bytes);

// The CRC-64 of a text's UTF-8 bytes without the zero: the one hash of index
// keys, line checksums and statement identifiers. It narrows a search and never
// decides it.
int64_t TextHash(std::string_view text);

// CRC-32C (Castagnoli), the same way: kCrc32cStart, raw register, complement.
inline constexpr uint32_t kCrc32cStart = ~uint32_t{0};
uint32_t Crc32cUpdate(uint32_t state, std::span<const uint8_t> bytes);
uint32_t Crc32c(std::span<const uint8_t> bytes);

}  // namespace quillon
