#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "storage/database/FileSignature.h"

namespace quillon {

// A free block of a data file. Positions count from the start of its block area.
//
// offset  size  field
//      0     8  position
//      8     8  size in bytes
struct DeletedBlockEntry {
    static constexpr size_t kDiskSize = 16;

    int64_t position = 0;
    int64_t size = 0;
    friend bool operator==(const DeletedBlockEntry&, const DeletedBlockEntry&) = default;
};

// The free list of a data file, as a whole.
//
// offset  size  field
//      0    50  signature "DeletedBlock", zero-filled
//     50     4  version, written 1
//     54     4  number of entries
//     58    16  each: an entry, by ascending size
struct FreeListFile {
    static constexpr size_t kHeaderSize = 58;
    static constexpr FileSignature kSignature{"DeletedBlock", 1};

    std::vector<DeletedBlockEntry> blocks;

    std::vector<uint8_t> Encode() const;
    // `dataSize`: bytes of the data file's block area. False: no free list, too new, or damaged,
    // which is a block that does not lie in there (a new one would overwrite something else) and
    // two that overlap (the same bytes would be handed out twice); `out` is untouched. A list that
    // is cut off gives the entries that are whole.
    [[nodiscard]] static bool Decode(std::span<const uint8_t> bytes, int64_t dataSize,
                                     FreeListFile& out);
};

}  // namespace quillon
