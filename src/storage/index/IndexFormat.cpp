#include "storage/index/IndexFormat.h"

namespace quillon {

std::array<uint8_t, IndexHeader::kDiskSize> IndexHeader::Encode() const {
    std::array<uint8_t, kDiskSize> bytes{};
    kSignature.Store(bytes);
    StoreLE<int64_t>(bytes, 54, distinctKeys);
    StoreLE<int64_t>(bytes, 62, liveRecords);
    StoreLE<uint16_t>(bytes, 70, attribute ? 1 : 0);
    return bytes;
}

IndexHeader::DecodeResult IndexHeader::Decode(std::span<const uint8_t> bytes, int64_t fileSize,
                                              IndexHeader& out) {
    constexpr auto kRecord = static_cast<int64_t>(IndexRecord::kDiskSize);
    if (bytes.size() < kDiskSize || !kSignature.IsIn(bytes)) return DecodeResult::Damaged;
    if (kSignature.IsNewerIn(bytes)) return DecodeResult::NewerVersion;
    const int64_t recordBytes = fileSize - static_cast<int64_t>(kDiskSize);
    if (recordBytes < 0 || recordBytes % kRecord != 0 || recordBytes / kRecord > UINT32_MAX) {
        return DecodeResult::Damaged;
    }
    out.distinctKeys = LoadLE<int64_t>(bytes, 54);
    out.liveRecords = LoadLE<int64_t>(bytes, 62);
    out.attribute = LoadLE<uint16_t>(bytes, 70) != 0;
    out.records = static_cast<uint32_t>(recordBytes / kRecord);
    return DecodeResult::Ok;
}

}  // namespace quillon
