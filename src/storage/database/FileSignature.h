#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "foundation/ByteCodec.h"

namespace quillon {

// What every file of a database begins with.
//
// offset  size  field
//      0    50  signature: ASCII text, zero-filled
//     50     4  version, signed
struct FileSignature {
    static constexpr size_t kTextSize = 50;
    static constexpr size_t kDiskSize = 54;

    std::string_view text;
    int32_t version = 1;  // the one that is written, and the highest that is read

    // `bytes` holds kDiskSize or more.
    void Store(std::span<uint8_t> bytes) const {
        StoreText(bytes, 0, kTextSize, text);
        StoreLE<int32_t>(bytes, kTextSize, version);
    }
    // Whether a file that begins with `bytes` is of this kind, in whatever version.
    bool IsIn(std::span<const uint8_t> bytes) const {
        return bytes.size() >= kDiskSize && HasSignature(bytes, text);
    }
    bool IsNewerIn(std::span<const uint8_t> bytes) const {
        return IsIn(bytes) && VersionIn(bytes) > version;
    }
    // Of this kind, and in a version that is read.
    bool IsReadable(std::span<const uint8_t> bytes) const {
        return IsIn(bytes) && VersionIn(bytes) <= version;
    }
    // `bytes` holds kDiskSize or more.
    static int32_t VersionIn(std::span<const uint8_t> bytes) {
        return LoadLE<int32_t>(bytes, kTextSize);
    }
};

}  // namespace quillon
