#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

namespace quillon {

// Little-endian fields in byte blocks: the same bytes on every machine, at any
// alignment. The caller guarantees that the field lies inside the block.

template <std::integral T>
constexpr T LoadLE(std::span<const uint8_t> bytes, size_t offset) {
    using U = std::make_unsigned_t<T>;
    U bits = 0;
    // The loop is what it means; where the machine agrees one load does it.
    if (std::endian::native == std::endian::little && !std::is_constant_evaluated()) {
        std::memcpy(&bits, bytes.data() + offset, sizeof(T));
        return static_cast<T>(bits);
    }
    for (size_t i = sizeof(T); i-- > 0;) {
        if constexpr (sizeof(T) == 1) {
            bits = bytes[offset];
        } else {
            bits = static_cast<U>((bits << 8) | bytes[offset + i]);
        }
    }
    return static_cast<T>(bits);
}

template <std::integral T>
constexpr void StoreLE(std::span<uint8_t> bytes, size_t offset, T value) {
    using U = std::make_unsigned_t<T>;
    U bits = static_cast<U>(value);
    if (std::endian::native == std::endian::little && !std::is_constant_evaluated()) {
        std::memcpy(bytes.data() + offset, &bits, sizeof(T));
        return;
    }
    for (size_t i = 0; i < sizeof(T); ++i) {
        bytes[offset + i] = static_cast<uint8_t>(bits & 0xFFU);
        if constexpr (sizeof(T) > 1) bits = static_cast<U>(bits >> 8);
    }
}

inline double LoadDoubleLE(std::span<const uint8_t> bytes, size_t offset) {
    return std::bit_cast<double>(LoadLE<uint64_t>(bytes, offset));
}

inline void StoreDoubleLE(std::span<uint8_t> bytes, size_t offset, double value) {
    StoreLE<uint64_t>(bytes, offset, std::bit_cast<uint64_t>(value));
}

// True when `bytes` begins with `text` followed by a zero byte.
inline bool HasSignature(std::span<const uint8_t> bytes, std::string_view text) {
    return bytes.size() > text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0 &&
           bytes[text.size()] == 0;
}

// Writes `text` into a field of `size` bytes, zero-filled, cut so that a zero
// byte always ends it.
inline void StoreText(std::span<uint8_t> bytes, size_t offset, size_t size, std::string_view text) {
    std::memset(bytes.data() + offset, 0, size);
    std::memcpy(bytes.data() + offset, text.data(), text.size() < size ? text.size() : size - 1);
}

// The text of a zero-filled field; at most `size` bytes when the zero is missing.
inline std::string_view LoadText(std::span<const uint8_t> bytes, size_t offset, size_t size) {
    const char* start = reinterpret_cast<const char*>(bytes.data() + offset);
    return {start, strnlen(start, size)};
}

}  // namespace quillon
