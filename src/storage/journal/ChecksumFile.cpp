#include "storage/journal/ChecksumFile.h"

#include <utility>

#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"

namespace quillon {
namespace {

constexpr size_t kEndSize = 4;

void AppendFile(std::vector<uint8_t>& bytes, const std::string& name, const FileSums& sums) {
    size_t at = bytes.size();
    bytes.resize(at + FileSums::kFixedSize + name.size() + sums.pages.size() * 4);
    StoreLE<uint16_t>(bytes, at, static_cast<uint16_t>(name.size()));
    StoreLE<int64_t>(bytes, at + 2, sums.size);
    at += FileSums::kFixedSize;
    for (const char letter : name) bytes[at++] = static_cast<uint8_t>(letter);
    for (const uint32_t sum : sums.pages) {
        StoreLE<uint32_t>(bytes, at, sum);
        at += 4;
    }
}

// Takes one record from the front of `rest`.
bool TakeFile(std::span<const uint8_t>& rest, SumsByName& files) {
    if (rest.size() < FileSums::kFixedSize) return false;
    const auto nameSize = LoadLE<uint16_t>(rest, 0);
    FileSums sums;
    sums.size = LoadLE<int64_t>(rest, 2);
    rest = rest.subspan(FileSums::kFixedSize);
    if (sums.size < 0 || rest.size() < nameSize) return false;
    std::string name(reinterpret_cast<const char*>(rest.data()), nameSize);
    rest = rest.subspan(nameSize);
    const auto pages = static_cast<uint64_t>(PagesOf(sums.size));
    if (!IsDatabaseFileName(name) || pages > rest.size() / 4) return false;
    sums.pages.resize(static_cast<size_t>(pages));
    sums.seen.resize(sums.pages.size());
    for (size_t i = 0; i < sums.pages.size(); ++i) sums.pages[i] = LoadLE<uint32_t>(rest, i * 4);
    rest = rest.subspan(sums.pages.size() * 4);
    return files.emplace(std::move(name), std::move(sums)).second;
}

}  // namespace

std::vector<uint8_t> ChecksumFile::Encode(uint64_t databaseId, const SumsByName& files) {
    std::vector<uint8_t> bytes(kHeaderSize);
    kSignature.Store(bytes);
    StoreLE<uint64_t>(bytes, 54, databaseId);
    StoreLE<int32_t>(bytes, 62, static_cast<int32_t>(kChecksumPage));
    int32_t count = 0;
    for (const auto& [name, sums] : files) {
        if (sums.size < 0) continue;
        AppendFile(bytes, name, sums);
        ++count;
    }
    StoreLE<int32_t>(bytes, 66, count);
    const size_t end = bytes.size();
    const uint32_t sum = Crc32c(bytes);
    bytes.resize(end + kEndSize);
    StoreLE<uint32_t>(bytes, end, sum);
    return bytes;
}

ChecksumFile::DecodeResult ChecksumFile::Decode(std::span<const uint8_t> bytes,
                                                uint64_t& databaseId, SumsByName& files) {
    if (bytes.size() < kHeaderSize + kEndSize || !kSignature.IsIn(bytes)) {
        return DecodeResult::Damaged;
    }
    const auto contents = bytes.first(bytes.size() - kEndSize);
    if (LoadLE<uint32_t>(bytes, contents.size()) != Crc32c(contents)) return DecodeResult::Damaged;
    if (FileSignature::VersionIn(bytes) != kSignature.version) return DecodeResult::NewerVersion;
    const auto count = LoadLE<int32_t>(bytes, 66);
    if (count < 0 || LoadLE<int32_t>(bytes, 62) != kChecksumPage) return DecodeResult::Damaged;
    SumsByName found;
    auto rest = contents.subspan(kHeaderSize);
    for (int32_t i = 0; i < count; ++i) {
        if (!TakeFile(rest, found)) return DecodeResult::Damaged;
    }
    if (!rest.empty()) return DecodeResult::Damaged;
    databaseId = LoadLE<uint64_t>(bytes, 54);
    files = std::move(found);
    return DecodeResult::Ok;
}

}  // namespace quillon
