#include "foundation/TextHash.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <utility>

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

// Eight bytes as a little-endian number: one load where the machine is that way.
uint64_t LoadEight(const uint8_t* bytes) {
    if constexpr (std::endian::native == std::endian::little) {
        uint64_t bits;
        std::memcpy(&bits, bytes, sizeof bits);
        return bits;
    } else {
        return LoadLE<uint64_t>({bytes, 8}, 0);
    }
}

// The register after the eight bytes of `bits` and `Behind` bytes more.
template <size_t Behind, std::unsigned_integral Register, size_t... I>
Register Fold(const SliceTables<Register>& tables, uint64_t bits, std::index_sequence<I...>) {
    return (tables[Behind + 7 - I][(bits >> (8 * I)) & 0xFF] ^ ...);
}

template <std::unsigned_integral Register>
Register Update(const SliceTables<Register>& tables, Register state,
                std::span<const uint8_t> bytes) {
    constexpr std::make_index_sequence<8> kEight;
    const uint8_t* at = bytes.data();
    size_t left = bytes.size();
    for (; left >= kSlices; left -= kSlices, at += kSlices) {
        // The register is no wider than the first half of the sixteen bytes.
        state = Fold<8>(tables, LoadEight(at) ^ state, kEight) ^
                Fold<0>(tables, LoadEight(at + 8), kEight);
    }
    for (; left > 0; --left, ++at) {
        state = (state >> 8) ^ tables[0][(state ^ *at) & 0xFF];
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
