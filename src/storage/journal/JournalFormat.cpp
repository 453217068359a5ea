#include "storage/journal/JournalFormat.h"

#include <array>
#include <limits>

#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"
#include "storage/journal/ChecksumFile.h"

namespace quillon {
namespace {

constexpr uint32_t kGroupMagic = 0x50524751;  // "QGRP"

// Names in a group are plain file names: replay never leaves the folder.
bool IsPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\\:\0", 4)) == std::string_view::npos;
}

// Whole pages that lie inside the file.
bool HoldsPageSums(const JournalOperation& operation) {
    const std::span<const uint8_t> data = operation.data;
    if (data.size() < 8 || data.size() % 4 != 0 || operation.offset % kChecksumPage != 0) {
        return false;
    }
    const auto size = LoadLE<int64_t>(data, 0);
    const auto pages = static_cast<int64_t>(data.size() / 4 - 2);
    return size >= 0 && operation.offset / kChecksumPage + pages <= PagesOf(size);
}

}  // namespace

uint64_t JournalChecksum(uint64_t salt, std::span<const uint8_t> bytes) {
    std::array<uint8_t, 8> seed{};
    StoreLE<uint64_t>(seed, 0, salt);
    uint64_t state = Crc64Update(~uint64_t{0}, seed);
    state = Crc64Update(state, bytes);
    return ~state;
}

std::vector<uint8_t> JournalHeader::Encode() const {
    std::vector<uint8_t> bytes(kDiskSize);
    kSignature.Store(bytes);
    StoreLE<uint64_t>(bytes, 54, databaseId);
    StoreLE<uint64_t>(bytes, 62, salt);
    StoreLE<uint64_t>(bytes, 70, Crc64(std::span(bytes).first(70)));
    return bytes;
}

JournalHeader::DecodeResult JournalHeader::Decode(std::span<const uint8_t> bytes,
                                                  JournalHeader& out) {
    if (bytes.size() < kDiskSize || !kSignature.IsIn(bytes)) return DecodeResult::Broken;
    if (LoadLE<uint64_t>(bytes, 70) != Crc64(bytes.first(70))) return DecodeResult::Broken;
    if (FileSignature::VersionIn(bytes) != kSignature.version) return DecodeResult::NewerVersion;
    out.databaseId = LoadLE<uint64_t>(bytes, 54);
    out.salt = LoadLE<uint64_t>(bytes, 62);
    return DecodeResult::Ok;
}

bool JournalGroupHeader::Decode(std::span<const uint8_t> bytes, uint64_t salt,
                                JournalGroupHeader& out) {
    if (bytes.size() < kDiskSize || LoadLE<uint32_t>(bytes, 0) != kGroupMagic) return false;
    JournalGroupHeader header;
    header.operations = LoadLE<uint32_t>(bytes, 4);
    header.sequence = LoadLE<uint64_t>(bytes, 8);
    header.length = LoadLE<uint64_t>(bytes, 16);
    header.previous = LoadLE<uint64_t>(bytes, 24);
    header.payloadChecksum = LoadLE<uint64_t>(bytes, 32);
    header.checksum = LoadLE<uint64_t>(bytes, 40);
    if (header.checksum != JournalChecksum(salt, bytes.first(40))) return false;
    out = header;
    return true;
}

void JournalGroupBuilder::Add(JournalOperationType type, std::string_view name, int64_t offset,
                              std::span<const uint8_t> data) {
    const size_t start = m_bytes.size();
    m_bytes.resize(start + JournalOperation::kFixedSize);
    StoreLE<uint8_t>(m_bytes, start, static_cast<uint8_t>(type));
    StoreLE<uint16_t>(m_bytes, start + 1, static_cast<uint16_t>(name.size()));
    StoreLE<int64_t>(m_bytes, start + 3, offset);
    StoreLE<uint64_t>(m_bytes, start + 11, data.size());
    m_bytes.insert(m_bytes.end(), name.begin(), name.end());
    m_bytes.insert(m_bytes.end(), data.begin(), data.end());
    ++m_operations;
}

std::span<const uint8_t> JournalGroupBuilder::Finish(uint64_t salt, uint64_t sequence,
                                                     uint64_t previous) {
    constexpr size_t kHead = JournalGroupHeader::kDiskSize;
    const auto payload = std::span<const uint8_t>(m_bytes).subspan(kHead);
    StoreLE<uint32_t>(m_bytes, 0, kGroupMagic);
    StoreLE<uint32_t>(m_bytes, 4, m_operations);
    StoreLE<uint64_t>(m_bytes, 8, sequence);
    StoreLE<uint64_t>(m_bytes, 16, payload.size());
    StoreLE<uint64_t>(m_bytes, 24, previous);
    StoreLE<uint64_t>(m_bytes, 32, JournalChecksum(salt, payload));
    m_checksum = JournalChecksum(salt, std::span<const uint8_t>(m_bytes).first(40));
    StoreLE<uint64_t>(m_bytes, 40, m_checksum);
    return m_bytes;
}

bool ParseJournalOperations(std::span<const uint8_t> payload, uint32_t count,
                            std::vector<JournalOperation>& operations) {
    operations.clear();
    size_t at = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (payload.size() - at < JournalOperation::kFixedSize) return false;
        JournalOperation operation;
        const auto type = LoadLE<uint8_t>(payload, at);
        if (type < 1 || type > 6) return false;
        operation.type = static_cast<JournalOperationType>(type);
        const auto nameLength = LoadLE<uint16_t>(payload, at + 1);
        operation.offset = LoadLE<int64_t>(payload, at + 3);
        const auto dataLength = LoadLE<uint64_t>(payload, at + 11);
        at += JournalOperation::kFixedSize;
        if (operation.offset < 0 || payload.size() - at < nameLength ||
            payload.size() - at - nameLength < dataLength) {
            return false;
        }
        operation.name = {reinterpret_cast<const char*>(payload.data() + at), nameLength};
        at += nameLength;
        operation.data = payload.subspan(at, static_cast<size_t>(dataLength));
        at += static_cast<size_t>(dataLength);
        if (!IsPlainName(operation.name)) return false;
        if (operation.type == JournalOperationType::Rename &&
            !IsPlainName(
                {reinterpret_cast<const char*>(operation.data.data()), operation.data.size()})) {
            return false;
        }
        if (operation.type == JournalOperationType::PageSums && !HoldsPageSums(operation)) {
            return false;
        }
        operations.push_back(operation);
    }
    return at == payload.size();
}

}  // namespace quillon
