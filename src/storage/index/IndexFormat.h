#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/ByteCodec.h"
#include "storage/database/FileSignature.h"

namespace quillon {

// The header of an index file. Its counts are hints: they may be behind the records.
//
// offset  size  field
//      0    50  signature "Index", zero-filled
//     50     4  version, written 1
//     54     8  number of distinct keys of live records
//     62     8  number of live records
//     70     2  index attribute of the column, not zero when set
//     72    20  each: a record, in the order of writing, to the end of the file
struct IndexHeader {
    static constexpr size_t kDiskSize = 72;
    static constexpr FileSignature kSignature{"Index", 1};

    int64_t distinctKeys = 0;
    int64_t liveRecords = 0;
    bool attribute = false;
    uint32_t records = 0;  // in the file, deleted ones included; not stored

    std::array<uint8_t, kDiskSize> Encode() const;
    enum class DecodeResult { Ok, Damaged, NewerVersion };
    // `fileSize`: bytes of the whole file. Damaged also when it does not end with a whole record.
    // `out` is untouched unless Ok.
    [[nodiscard]] static DecodeResult Decode(std::span<const uint8_t> bytes, int64_t fileSize,
                                             IndexHeader& out);
};

// offset  size  field
//      0     8  row id
//      8     8  key
//     16     4  0 when live, anything else when deleted
struct IndexRecord {
    static constexpr size_t kDiskSize = 20;
    static constexpr size_t kDeletedAt = 16;  // the part that changes in place

    int64_t rowId = 0;
    int64_t key = 0;
    bool deleted = false;

    // `bytes` holds kDiskSize or more.
    void Encode(std::span<uint8_t> bytes) const {
        StoreLE<int64_t>(bytes, 0, rowId);
        StoreLE<int64_t>(bytes, 8, key);
        StoreLE<int32_t>(bytes, kDeletedAt, deleted ? 1 : 0);
    }
    // Any bytes are a record.
    static IndexRecord Decode(std::span<const uint8_t> bytes) {
        return {LoadLE<int64_t>(bytes, 0), LoadLE<int64_t>(bytes, 8),
                LoadLE<int32_t>(bytes, kDeletedAt) != 0};
    }
    // Where the record of that number, from 1, stands in the file.
    static constexpr int64_t OffsetOf(uint32_t number) {
        return static_cast<int64_t>(IndexHeader::kDiskSize) +
               static_cast<int64_t>(kDiskSize) * (int64_t{number} - 1);
    }
};

}  // namespace quillon
