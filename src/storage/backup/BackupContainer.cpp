#include "storage/backup/BackupContainer.h"

#include <algorithm>

#include "foundation/ByteCodec.h"

namespace quillon {
namespace {

constexpr std::string_view kSignature = "BackupData";
constexpr size_t kSignatureSize = 50;
constexpr size_t kNameSize = 120;

constexpr uint32_t kLengthMask = 0x0FFF'FFFF;
constexpr uint32_t kCompressedFlag = 0x8000'0000;
static_assert(kBackupChunkSize <= kLengthMask);

bool AllZero(std::span<const uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte == 0; });
}

}  // namespace

int64_t BackupHeader::DirectorySizeFor(int32_t fileCount) {
    constexpr auto kEntry = static_cast<int64_t>(BackupEntry::kDiskSize);
    return static_cast<int64_t>(kBackupNonceSize + kBackupTagSize) + kEntry * fileCount;
}

std::array<uint8_t, BackupHeader::kDiskSize> BackupHeader::Encode() const {
    std::array<uint8_t, kDiskSize> bytes{};
    StoreText(bytes, 0, kSignatureSize, kSignature);
    StoreLE<int32_t>(bytes, 50, version);
    StoreLE<uint64_t>(bytes, 54, identifier);
    StoreLE<int64_t>(bytes, 62, directorySize);
    StoreLE<int32_t>(bytes, 70, fileCount);
    return bytes;
}

RestoreCode BackupHeader::Decode(std::span<const uint8_t> bytes, int64_t fileSize,
                                 BackupHeader& out) {
    if (!HasSignature(bytes, kSignature)) return RestoreCode::NotABackup;
    if (bytes.size() < kDiskSize) return RestoreCode::Truncated;
    if (!AllZero(bytes.subspan(kSignature.size(), kSignatureSize - kSignature.size()))) {
        return RestoreCode::NotABackup;
    }
    BackupHeader header;
    header.version = LoadLE<int32_t>(bytes, 50);
    header.identifier = LoadLE<uint64_t>(bytes, 54);
    header.directorySize = LoadLE<int64_t>(bytes, 62);
    header.fileCount = LoadLE<int32_t>(bytes, 70);
    if (header.version > kNewestVersion) return RestoreCode::NewerVersion;
    if (header.version < 1 || header.fileCount < 1) return RestoreCode::Damaged;
    if (header.directorySize != DirectorySizeFor(header.fileCount)) return RestoreCode::Damaged;
    if (header.directorySize > fileSize - static_cast<int64_t>(kDiskSize)) {
        return RestoreCode::Truncated;
    }
    out = header;
    return RestoreCode::Done;
}

void BackupEntry::Encode(std::span<uint8_t> bytes) const {
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    StoreText(bytes, 0, kNameSize, name);
    StoreLE<int64_t>(bytes, 120, fileTime);
    StoreLE<int64_t>(bytes, 128, storedSize);
    StoreLE<int32_t>(bytes, 136, chunkCount);
}

bool BackupEntry::Decode(std::span<const uint8_t> bytes, BackupEntry& out) {
    BackupEntry entry;
    entry.name = LoadText(bytes, 0, kNameSize);
    if (!IsDatabaseFileName(entry.name)) return false;
    if (!AllZero(bytes.subspan(entry.name.size(), kNameSize - entry.name.size()))) return false;
    entry.fileTime = LoadLE<int64_t>(bytes, 120);
    entry.storedSize = LoadLE<int64_t>(bytes, 128);
    entry.chunkCount = LoadLE<int32_t>(bytes, 136);
    // Each chunk stores its header and at least one byte, at most its plain size.
    constexpr auto kHeader = static_cast<int64_t>(BackupChunkHeader::kDiskSize);
    constexpr auto kLargest = kHeader + static_cast<int64_t>(kBackupChunkSize);
    if (entry.chunkCount < 0 || entry.storedSize < entry.chunkCount * (kHeader + 1) ||
        entry.storedSize > entry.chunkCount * kLargest) {
        return false;
    }
    out = std::move(entry);
    return true;
}

uint32_t BackupChunkHeader::LengthAndFlags() const {
    return length | (compressed ? kCompressedFlag : 0);
}

std::array<uint8_t, BackupChunkHeader::kDiskSize> BackupChunkHeader::Encode() const {
    std::array<uint8_t, kDiskSize> bytes{};
    std::copy(nonce.begin(), nonce.end(), bytes.begin());
    std::copy(tag.begin(), tag.end(), bytes.begin() + kBackupNonceSize);
    StoreLE<uint32_t>(bytes, kBackupNonceSize + kBackupTagSize, LengthAndFlags());
    return bytes;
}

bool BackupChunkHeader::Decode(std::span<const uint8_t> bytes, BackupChunkHeader& out) {
    BackupChunkHeader header;
    std::copy_n(bytes.begin(), kBackupNonceSize, header.nonce.begin());
    std::copy_n(bytes.begin() + kBackupNonceSize, kBackupTagSize, header.tag.begin());
    const auto field = LoadLE<uint32_t>(bytes, kBackupNonceSize + kBackupTagSize);
    if ((field & ~(kLengthMask | kCompressedFlag)) != 0) return false;
    header.length = field & kLengthMask;
    header.compressed = (field & kCompressedFlag) != 0;
    if (header.length == 0 || header.length > kBackupChunkSize) return false;
    out = header;
    return true;
}

}  // namespace quillon
