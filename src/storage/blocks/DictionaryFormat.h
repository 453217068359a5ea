#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "storage/database/FileSignature.h"

namespace quillon {

// The header of a dictionary file.
//
// offset  size  field
//      0    50  signature "Dictionary", zero-filled
//     50     4  version, written 1
//     54     8  next id; may lag behind the ids of the entries
//     62    36  each: an entry, in the order of creation, to the end of the file
struct DictionaryHeader {
    static constexpr size_t kDiskSize = 62;
    static constexpr FileSignature kSignature{"Dictionary", 1};

    int64_t nextId = 0;

    std::array<uint8_t, kDiskSize> Encode() const;
    // False: no dictionary, too new, or cut off; `out` is untouched. A negative next id reads as 0.
    [[nodiscard]] static bool Decode(std::span<const uint8_t> bytes, DictionaryHeader& out);
};

// An entry as the file holds it. Any 36 bytes are one: whoever reads it knows no position and no
// size for true until the data file is seen to hold them.
//
// offset  size  field
//      0     8  id, from 0; a negative one marks an entry that means nothing
//      8     8  offset of this entry in the file when it was written
//     16     8  position of the block in the data file's block area
//     24     8  size of the block in bytes
//     32     4  0 when live, anything else when deleted
struct DictionaryRecord {
    static constexpr size_t kDiskSize = 36;
    // The parts that change in place.
    static constexpr size_t kPlaceAt = 16;
    static constexpr size_t kPlaceSize = 16;
    static constexpr size_t kDeletedAt = 32;

    int64_t id = 0;
    int64_t fileOffset = 0;
    int64_t position = 0;
    int64_t size = 0;
    bool deleted = false;

    std::array<uint8_t, kDiskSize> Encode() const;
    // `bytes` holds kDiskSize or more.
    static DictionaryRecord Decode(std::span<const uint8_t> bytes);
    // Where the entry of that number, from 1, stands in the file.
    static constexpr int64_t OffsetOf(uint32_t number) {
        return static_cast<int64_t>(DictionaryHeader::kDiskSize) +
               static_cast<int64_t>(kDiskSize) * (int64_t{number} - 1);
    }
    // Entries in a file of `fileSize` bytes. A rest of fewer bytes at the end is none.
    static constexpr int64_t CountIn(int64_t fileSize) {
        return (fileSize - static_cast<int64_t>(DictionaryHeader::kDiskSize)) /
               static_cast<int64_t>(kDiskSize);
    }
};

}  // namespace quillon
