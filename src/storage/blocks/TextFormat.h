#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/ByteCodec.h"

namespace quillon {

// What a stored text begins with. Behind it lies the text, UTF-8 and one zero, or the imploded
// stream of these bytes.
//
// offset  size  field
//      0     1  0: stored as it is, 1: imploded
//      1     1  not defined, written 0
//      2     8  length before compression in bytes, the zero included
struct TextHeader {
    static constexpr size_t kDiskSize = 10;

    enum class Kind : uint8_t { Stored = 0, Imploded = 1 };
    Kind kind = Kind::Stored;
    int64_t length = 0;

    std::array<uint8_t, kDiskSize> Encode() const {
        std::array<uint8_t, kDiskSize> bytes{};
        bytes[0] = static_cast<uint8_t>(kind);
        StoreLE<int64_t>(bytes, 2, length);
        return bytes;
    }
    // `block`: all of a stored text. False: nothing behind the header, an unknown kind, or a
    // length that is not the payload's, or that no text has; `out` is untouched. Whether a stream
    // expands to its length, expanding tells.
    [[nodiscard]] static bool Decode(std::span<const uint8_t> block, TextHeader& out) {
        if (block.size() <= kDiskSize || block[0] > static_cast<uint8_t>(Kind::Imploded)) {
            return false;
        }
        const TextHeader header{static_cast<Kind>(block[0]), LoadLE<int64_t>(block, 2)};
        const auto payload = static_cast<int64_t>(block.size() - kDiskSize);
        if (header.length <= 0) return false;
        if (header.kind == Kind::Stored && header.length != payload) return false;
        out = header;
        return true;
    }
};

}  // namespace quillon
