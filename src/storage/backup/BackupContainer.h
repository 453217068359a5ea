// The records of a backup container, as bytes. All numbers are little-endian.
//
//   Sizes      Bytes.
//   Errors     false or a RestoreCode; the result is untouched then.
//   Format     docs/backup-format.md
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "storage/backup/BackupCode.h"
#include "storage/database/DatabaseFiles.h"

namespace quillon {

constexpr size_t kBackupNonceSize = 12;
constexpr size_t kBackupTagSize = 16;
// A file is cut into chunks of this many bytes; only its last one may hold fewer.
constexpr size_t kBackupChunkSize = 20'480'000;
// In front of a compressed chunk, inside the encryption: its expanded size.
constexpr size_t kBackupExpandedSizeField = 4;

// offset  size  field
//      0    50  signature "BackupData", zero-filled
//     50     4  version, 1
//     54     8  identifier, random; salts the key
//     62     8  bytes of the encrypted directory that follows
//     70     4  number of files
struct BackupHeader {
    static constexpr size_t kDiskSize = 74;
    static constexpr int32_t kNewestVersion = 1;

    int32_t version = kNewestVersion;
    uint64_t identifier = 0;
    int64_t directorySize = 0;
    int32_t fileCount = 0;

    std::array<uint8_t, kDiskSize> Encode() const;
    // `bytes`: what the file begins with; `fileSize`: all of it. Done only when the
    // directory has the size its file count asks for and lies inside the file.
    [[nodiscard]] static RestoreCode Decode(std::span<const uint8_t> bytes, int64_t fileSize,
                                            BackupHeader& out);
    // Nonce, tag and one entry a file.
    static int64_t DirectorySizeFor(int32_t fileCount);
};

// offset  size  field
//      0   120  file name without folder, zero-filled
//    120     8  last write time, file time
//    128     8  bytes stored for the file: its chunks with their headers
//    136     4  number of chunks
struct BackupEntry {
    static constexpr size_t kDiskSize = 140;

    std::string name;
    int64_t fileTime = 0;
    int64_t storedSize = 0;
    int32_t chunkCount = 0;

    // `name` must fit; `bytes` holds kDiskSize.
    void Encode(std::span<uint8_t> bytes) const;
    // False: a name that is not a database file's, bytes behind the name's end, or
    // sizes that no file has.
    [[nodiscard]] static bool Decode(std::span<const uint8_t> bytes, BackupEntry& out);
};

// offset  size  field
//      0    12  nonce
//     12    16  tag
//     28     4  bits 0 to 27: encrypted bytes that follow; bit 31: compressed;
//               the others 0
struct BackupChunkHeader {
    static constexpr size_t kDiskSize = 32;

    std::array<uint8_t, kBackupNonceSize> nonce{};
    std::array<uint8_t, kBackupTagSize> tag{};
    uint32_t length = 0;
    bool compressed = false;

    // The last field as it is stored and authenticated.
    uint32_t LengthAndFlags() const;
    std::array<uint8_t, kDiskSize> Encode() const;
    // False: unknown flags, or a length of 0 or above a chunk's.
    [[nodiscard]] static bool Decode(std::span<const uint8_t> bytes, BackupChunkHeader& out);
};

}  // namespace quillon
