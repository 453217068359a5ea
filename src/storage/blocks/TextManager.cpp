#include "storage/blocks/TextManager.h"

#include "foundation/VLStringManager.h"
#include "storage/blocks/TextFormat.h"
#include "storage/compression/Compression.h"

namespace quillon {
namespace {

constexpr size_t kSmallestCompressed = 33;

}  // namespace

std::vector<uint8_t> CTextManager::Encode(const CKeelString& text) {
    const std::vector<uint8_t> plain = CVLStringManager::Serialise(text);
    std::vector<uint8_t> compressed;
    const bool isSmaller = plain.size() >= kSmallestCompressed &&
                           Implode(plain, compressed, plain.size()) &&
                           compressed.size() < plain.size();
    const TextHeader header{isSmaller ? TextHeader::Kind::Imploded : TextHeader::Kind::Stored,
                            static_cast<int64_t>(plain.size())};
    const auto head = header.Encode();
    const std::vector<uint8_t>& payload = isSmaller ? compressed : plain;
    std::vector<uint8_t> block;
    block.reserve(head.size() + payload.size());
    block.assign(head.begin(), head.end());
    block.insert(block.end(), payload.begin(), payload.end());
    return block;
}

int64_t CTextManager::Add(const CKeelString& text) {
    return CBlockStore::Add(Encode(text));
}

bool CTextManager::Read(int64_t id, CKeelString& text) const {
    std::vector<uint8_t> block;
    TextHeader header;
    if (!CBlockStore::Read(id, block) || !TextHeader::Decode(block, header)) return false;
    const auto payload = std::span<const uint8_t>(block).subspan(TextHeader::kDiskSize);
    if (header.kind == TextHeader::Kind::Stored)
        return CVLStringManager::Deserialise(payload, text);
    std::vector<uint8_t> plain;
    return Explode(payload, static_cast<size_t>(header.length), plain) &&
           CVLStringManager::Deserialise(plain, text);
}

bool CTextManager::Replace(int64_t id, const CKeelString& text) {
    return CBlockStore::Replace(id, Encode(text));
}

}  // namespace quillon
