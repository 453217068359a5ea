// Format of Checksums.dat: what every page of the database's files holds, as a CRC-32C.
//
//   Sizes      Bytes. All numbers are little-endian.
//   Format     docs/file-formats.md
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "storage/database/DatabaseFiles.h"
#include "storage/database/FileSignature.h"

namespace quillon {

inline constexpr int64_t kChecksumPage = 4096;

// How many pages a file of `size` bytes has; the last may be shorter than the others.
constexpr int64_t PagesOf(int64_t size) {
    return size / kChecksumPage + (size % kChecksumPage != 0 ? 1 : 0);
}

// offset  size  field
//      0     2  length n of the name
//      2     8  size of the file
//     10     n  name, without folder
//   10+n  4 each  CRC-32C of each page
struct FileSums {
    static constexpr size_t kFixedSize = 10;

    // What was found out about a page since the last checkpoint; not stored.
    enum class Seen : uint8_t { No, Sound, Damaged };

    int64_t size = -1;  // -1: there is no such file
    std::vector<uint32_t> pages;
    std::vector<Seen> seen;  // as many
};

using SumsByName = std::map<std::string, FileSums, std::less<>>;

// offset  size  field
//      0    50  signature "Checksums", zero-filled
//     50     4  version, written 1
//     54     8  identifier of the database
//     62     4  bytes a page, written 4096
//     66     4  number of files
//     70     …  one record per file, in the order of their names
//    end     4  CRC-32C of everything before
struct ChecksumFile {
    static constexpr size_t kHeaderSize = 70;
    static constexpr FileSignature kSignature{"Checksums", 1};

    enum class DecodeResult { Ok, Damaged, NewerVersion };

    // Files that are not there are left out.
    static std::vector<uint8_t> Encode(uint64_t databaseId, const SumsByName& files);
    // Untouched results unless Ok.
    static DecodeResult Decode(std::span<const uint8_t> bytes, uint64_t& databaseId,
                               SumsByName& files);
};

}  // namespace quillon
