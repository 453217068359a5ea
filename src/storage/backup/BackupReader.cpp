#include "storage/backup/BackupReader.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "foundation/ByteCodec.h"
#include "storage/compression/Compression.h"

namespace quillon {

RestoreCode CBackupReader::Fail(RestoreCode code, BackupDetail detail) {
    m_detail = std::move(detail);
    return code;
}

RestoreCode CBackupReader::ReadExactly(int64_t offset, std::span<uint8_t> bytes) {
    const int64_t got = m_file->ReadAt(offset, bytes);
    if (got < 0) return RestoreCode::ReadFailed;
    return got == static_cast<int64_t>(bytes.size()) ? RestoreCode::Done : RestoreCode::Truncated;
}

RestoreCode CBackupReader::Open(const std::string& path, const std::string& passwordHash,
                                const BackupOptions& options) {
    m_chunkSize = options.chunkSize;
    m_file = m_files.Open(path, OpenMode::Read);
    if (!m_file) {
        return path.empty() || m_files.LastError() == FileError::NotFound ? RestoreCode::NoSuchFile
                                                                          : RestoreCode::ReadFailed;
    }
    m_size = m_file->Size();
    if (m_size < 0) return RestoreCode::ReadFailed;
    constexpr auto kHeaderSize = static_cast<int64_t>(BackupHeader::kDiskSize);
    std::vector<uint8_t> header(static_cast<size_t>(std::min(m_size, kHeaderSize)));
    RestoreCode code = ReadExactly(0, header);
    if (code == RestoreCode::Done) code = BackupHeader::Decode(header, m_size, m_header);
    return code == RestoreCode::Done ? ReadDirectory(passwordHash, options.keyCost) : code;
}

RestoreCode CBackupReader::ReadDirectory(const std::string& passwordHash,
                                         const BackupKeyCost& cost) {
    if (!m_cipher.Start(m_header, passwordHash, cost)) return RestoreCode::DecryptionFailed;
    // Its size was held against the file's when the header was decoded.
    std::vector<uint8_t> directory(static_cast<size_t>(m_header.directorySize));
    const RestoreCode code = ReadExactly(BackupHeader::kDiskSize, directory);
    if (code != RestoreCode::Done) return code;
    const std::span<uint8_t> all(directory);
    const auto entries = all.subspan(kBackupNonceSize + kBackupTagSize);
    if (!m_cipher.Open({}, entries, all.subspan<0, kBackupNonceSize>(),
                       all.subspan<kBackupNonceSize, kBackupTagSize>())) {
        return RestoreCode::WrongPassword;
    }
    return TakeEntries(entries);
}

RestoreCode CBackupReader::TakeEntries(std::span<const uint8_t> directory) {
    std::set<std::string> names;
    int64_t position = static_cast<int64_t>(BackupHeader::kDiskSize) + m_header.directorySize;
    const int64_t start = position;
    m_entries.clear();
    m_starts.clear();
    for (size_t at = 0; at < directory.size(); at += BackupEntry::kDiskSize) {
        BackupEntry entry;
        if (!BackupEntry::Decode(directory.subspan(at, BackupEntry::kDiskSize), entry)) {
            return Fail(RestoreCode::Damaged, {BackupReason::ForeignEntry});
        }
        if (!names.insert(entry.name).second) {
            return Fail(RestoreCode::Damaged, {BackupReason::EntryTwice, entry.name});
        }
        if (entry.storedSize > std::numeric_limits<int64_t>::max() - position) {
            return Fail(RestoreCode::Damaged, {BackupReason::BadSizes});
        }
        m_starts.push_back(position);
        position += entry.storedSize;
        m_entries.push_back(std::move(entry));
    }
    m_storedSize = position - start;
    if (position > m_size) return RestoreCode::Truncated;
    if (position < m_size) return Fail(RestoreCode::Damaged, {BackupReason::BytesBehindEnd});
    if (!names.contains(kSchemaName)) {
        return Fail(RestoreCode::Damaged, {BackupReason::NoSchema, kSchemaName});
    }
    return RestoreCode::Done;
}

RestoreCode CBackupReader::ReadFile(size_t index, const Sink& sink) {
    const BackupEntry& entry = m_entries[index];
    m_position = m_starts[index];
    int64_t left = entry.storedSize;
    BackupPlace place;
    place.kind = BackupPlace::Kind::Chunk;
    place.file = static_cast<uint32_t>(index);
    const auto chunks = static_cast<uint32_t>(entry.chunkCount);
    for (; place.chunk < chunks; ++place.chunk) {
        RestoreCode code = ReadChunk(place, place.chunk + 1 == chunks, left);
        if (code == RestoreCode::Damaged) m_detail = {.name = entry.name};
        if (code == RestoreCode::Done) code = sink(m_plain);
        if (code != RestoreCode::Done) return code;
    }
    return left == 0 ? RestoreCode::Done : Fail(RestoreCode::Damaged, {.name = entry.name});
}

RestoreCode CBackupReader::ReadChunk(const BackupPlace& place, bool isLast, int64_t& left) {
    std::array<uint8_t, BackupChunkHeader::kDiskSize> headerBytes{};
    constexpr auto kHeaderSize = static_cast<int64_t>(BackupChunkHeader::kDiskSize);
    if (left < kHeaderSize) return RestoreCode::Damaged;
    RestoreCode code = ReadExactly(m_position, headerBytes);
    if (code != RestoreCode::Done) return code;
    BackupChunkHeader header;
    if (!BackupChunkHeader::Decode(headerBytes, header)) return RestoreCode::Damaged;
    left -= kHeaderSize + header.length;
    if (left < 0) return RestoreCode::Damaged;

    m_stored.resize(header.length);
    code = ReadExactly(m_position + kHeaderSize, m_stored);
    if (code != RestoreCode::Done) return code;
    m_position += kHeaderSize + header.length;
    BackupPlace sealed = place;
    sealed.lengthAndFlags = header.LengthAndFlags();
    if (!m_cipher.Open(sealed, m_stored, header.nonce, header.tag)) return RestoreCode::Damaged;

    if (header.compressed) {
        if (m_stored.size() <= kBackupExpandedSizeField) return RestoreCode::Damaged;
        const auto expanded = LoadLE<uint32_t>(m_stored, 0);
        const auto stream = std::span(m_stored).subspan(kBackupExpandedSizeField);
        if (expanded > m_chunkSize || !Explode(stream, expanded, m_plain)) {
            return RestoreCode::Damaged;
        }
    } else {
        std::swap(m_plain, m_stored);
    }
    const bool isFull = m_plain.size() == m_chunkSize;
    return isFull || (isLast && !m_plain.empty()) ? RestoreCode::Done : RestoreCode::Damaged;
}

}  // namespace quillon
