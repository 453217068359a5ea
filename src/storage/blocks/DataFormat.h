#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "storage/database/FileSignature.h"

namespace quillon {

// The header of a data file. Behind it lie blocks, with nothing between them.
//
// offset  size  field
//      0    50  signature "Data", zero-filled
//     50     4  version, written 2; 0 reads the same
//     54     …  blocks; from offset 62 on in version 1
struct DataHeader {
    static constexpr size_t kDiskSize = 54;
    static constexpr size_t kVersion1Size = 62;
    static constexpr FileSignature kSignature{"Data", 2};

    int32_t version = kSignature.version;

    // Of the newest version.
    static std::array<uint8_t, kDiskSize> Encode();
    // False: no data file, too new, or cut off; `out` is untouched.
    [[nodiscard]] static bool Decode(std::span<const uint8_t> bytes, DataHeader& out);
};

inline std::array<uint8_t, DataHeader::kDiskSize> DataHeader::Encode() {
    std::array<uint8_t, kDiskSize> bytes{};
    kSignature.Store(bytes);
    return bytes;
}

inline bool DataHeader::Decode(std::span<const uint8_t> bytes, DataHeader& out) {
    if (!kSignature.IsReadable(bytes)) return false;
    out.version = FileSignature::VersionIn(bytes);
    return true;
}

}  // namespace quillon
