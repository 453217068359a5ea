#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Builders for literal bytes in tests.

namespace quillon {

using Bytes = std::vector<uint8_t>;

inline Bytes Join(const Bytes& a, const Bytes& b, const Bytes& c = {}, const Bytes& d = {},
                  const Bytes& e = {}, const Bytes& f = {}, const Bytes& g = {},
                  const Bytes& h = {}, const Bytes& i = {}, const Bytes& j = {}) {
    Bytes joined;
    for (const Bytes* part : {&a, &b, &c, &d, &e, &f, &g, &h, &i, &j}) {
        joined.insert(joined.end(), part->begin(), part->end());
    }
    return joined;
}

// The first `count` bytes, or all there are.
inline Bytes Prefix(const Bytes& bytes, size_t count) {
    return Bytes(bytes.begin(),
                 bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size())));
}

// The bytes from `offset` on, at most `count`.
inline Bytes Slice(const Bytes& bytes, size_t offset, size_t count = SIZE_MAX) {
    if (offset > bytes.size()) return {};
    return Prefix(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end()), count);
}

// A copy in which the byte at `offset`, which must exist, is `value`.
inline Bytes WithByte(Bytes bytes, size_t offset, int value) {
    bytes.at(offset) = static_cast<uint8_t>(value);
    return bytes;
}

inline Bytes Zeros(size_t count) {
    return Bytes(count, 0);
}

// The characters of `text`, no zero at the end.
inline Bytes Text(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

// The characters of `text` and a zero.
inline Bytes TextZ(std::string_view text) {
    return Join(Text(text), {0});
}

inline std::string ToString(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// The 50 bytes that engine files start with: `text`, zero-filled.
inline Bytes Signature(std::string_view text) {
    Bytes bytes = Text(text);
    bytes.resize(50);
    return bytes;
}

// Little-endian, `size` bytes.
inline Bytes LittleEndian(uint64_t value, size_t size) {
    Bytes bytes(size);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(value & 0xFF);
        value >>= 8;
    }
    return bytes;
}
inline Bytes Le16(int value) {
    return LittleEndian(static_cast<uint64_t>(value), 2);
}
inline Bytes Le32(int64_t value) {
    return LittleEndian(static_cast<uint64_t>(value), 4);
}
inline Bytes Le64(int64_t value) {
    return LittleEndian(static_cast<uint64_t>(value), 8);
}

// "00 82 04" or "008204"; anything but hexadecimal digits is passed over.
inline Bytes FromHex(std::string_view digits) {
    Bytes bytes;
    int high = -1;
    for (const char digit : digits) {
        const size_t value = std::string_view("0123456789abcdefABCDEF").find(digit);
        if (value == std::string_view::npos) continue;
        const int nibble = static_cast<int>(value < 16 ? value : value - 6);
        if (high < 0) {
            high = nibble;
        } else {
            bytes.push_back(static_cast<uint8_t>(high * 16 + nibble));
            high = -1;
        }
    }
    return bytes;
}

}  // namespace quillon
