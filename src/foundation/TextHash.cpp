#include "foundation/TextHash.h"

#include <array>
#include <concepts>
#include <cstddef>

#include "foundation/ByteCodec.h"

namespace quillon {

namespace {

// Table k holds the register after one byte and k zero bytes, so that sixteen
// bytes cost sixteen independent look-ups instead of a chain of sixteen.
constexpr size_t kSlices = 16;

template <std::unsigned_integral Register>
using SliceTables = std::array<std::array<Register, 256>, kSlices>;

template <std::unsigned_integral Register>
constexpr SliceTables<Register> MakeTables(Register polynomial) {
    SliceTables<Register> tables{};
    for (size_t byte = 0; byte < 256; ++byte) {
        Register state = static_cast<Register>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            state = (state & 1) ? (state >> 1) ^ polynomial : state >> 1;
        }
        tables[0][byte] = state;
    }
    for (size_t slice = 1; slice < kSlices; ++slice) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const Register before = tables[slice - 1][byte];
            tables[slice][byte] = (before >> 8) ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr SliceTables<uint64_t> kCrc64 = MakeTables<uint64_t>(0x95AC9329AC4BC9B5U);
constexpr SliceTables<uint32_t> kCrc32c = MakeTables<uint32_t>(0x82F63B78U);

template <std::unsigned_integral Register>
Register Update(const SliceTables<Register>& tables, Register state,
                std::span<const uint8_t> bytes) {
    size_t at = 0;
    for (; at + kSlices <= bytes.size(); at += kSlices) {
        // The register is no wider than the first half of the sixteen bytes.
        const uint64_t first = LoadLE<uint64_t>(bytes, at) ^ state;
        const uint64_t second = LoadLE<uint64_t>(bytes, at + 8);
        state = 0;
        for (size_t i = 0; i < 8; ++i) {
            state ^= tables[15 - i][(first >> (8 * i)) & 0xFF];
            state ^= tables[7 - i][(second >> (8 * i)) & 0xFF];
        }
    }
    for (; at < bytes.size(); ++at) {
        state = (state >> 8) ^ tables[0][(state ^ bytes[at]) & 0xFF];
    }
    return state;
}

}  // namespace

uint64_t Crc64Update(uint64_t state, std::span<const uint8_t> bytes) {
    return Update(kCrc64, state, bytes);
}

uint64_t Crc64(std::span<const uint8_t> bytes) {
    return ~Crc64Update(kCrc64Start, bytes);
}

int64_t TextHash(std::string_view text) {
    return static_cast<int64_t>(
        Crc64({reinterpret_cast<const uint8_t*>(text.data()), text.size()}));
}

uint32_t Crc32cUpdate(uint32_t state, std::span<const uint8_t> bytes) {
    return Update(kCrc32c, state, bytes);
}

uint32_t Crc32c(std::span<const uint8_t> bytes) {
    return ~Crc32cUpdate(kCrc32cStart, bytes);
}

}  // namespace quillon
