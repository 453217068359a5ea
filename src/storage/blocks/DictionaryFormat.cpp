#include "storage/blocks/DictionaryFormat.h"

#include <algorithm>

#include "foundation/ByteCodec.h"

namespace quillon {

std::array<uint8_t, DictionaryHeader::kDiskSize> DictionaryHeader::Encode() const {
    std::array<uint8_t, kDiskSize> bytes{};
    kSignature.Store(bytes);
    StoreLE<int64_t>(bytes, 54, nextId);
    return bytes;
}

bool DictionaryHeader::Decode(std::span<const uint8_t> bytes, DictionaryHeader& out) {
    if (bytes.size() < kDiskSize || !kSignature.IsReadable(bytes)) return false;
    out.nextId = std::max<int64_t>(LoadLE<int64_t>(bytes, 54), 0);
    return true;
}

std::array<uint8_t, DictionaryRecord::kDiskSize> DictionaryRecord::Encode() const {
    std::array<uint8_t, kDiskSize> bytes{};
    StoreLE<int64_t>(bytes, 0, id);
    StoreLE<int64_t>(bytes, 8, fileOffset);
    StoreLE<int64_t>(bytes, kPlaceAt, position);
    StoreLE<int64_t>(bytes, kPlaceAt + 8, size);
    StoreLE<int32_t>(bytes, kDeletedAt, deleted ? 1 : 0);
    return bytes;
}

DictionaryRecord DictionaryRecord::Decode(std::span<const uint8_t> bytes) {
    return {.id = LoadLE<int64_t>(bytes, 0),
            .fileOffset = LoadLE<int64_t>(bytes, 8),
            .position = LoadLE<int64_t>(bytes, kPlaceAt),
            .size = LoadLE<int64_t>(bytes, kPlaceAt + 8),
            .deleted = LoadLE<int32_t>(bytes, kDeletedAt) != 0};
}

}  // namespace quillon
