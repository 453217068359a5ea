#include "storage/blocks/FreeListFormat.h"

#include <algorithm>
#include <utility>

#include "foundation/ByteCodec.h"

namespace quillon {
namespace {

bool AnyOverlap(std::vector<DeletedBlockEntry> blocks) {
    std::sort(blocks.begin(), blocks.end(),
              [](const auto& a, const auto& b) { return a.position < b.position; });
    for (size_t i = 1; i < blocks.size(); ++i) {
        if (blocks[i - 1].position + blocks[i - 1].size > blocks[i].position) return true;
    }
    return false;
}

}  // namespace

std::vector<uint8_t> FreeListFile::Encode() const {
    std::vector<uint8_t> bytes(kHeaderSize + DeletedBlockEntry::kDiskSize * blocks.size());
    kSignature.Store(bytes);
    StoreLE<int32_t>(bytes, 54, static_cast<int32_t>(blocks.size()));
    size_t at = kHeaderSize;
    for (const DeletedBlockEntry& block : blocks) {
        StoreLE<int64_t>(bytes, at, block.position);
        StoreLE<int64_t>(bytes, at + 8, block.size);
        at += DeletedBlockEntry::kDiskSize;
    }
    return bytes;
}

bool FreeListFile::Decode(std::span<const uint8_t> bytes, int64_t dataSize, FreeListFile& out) {
    if (bytes.size() < kHeaderSize || !kSignature.IsReadable(bytes)) return false;
    const auto count = static_cast<size_t>(std::max(LoadLE<int32_t>(bytes, 54), 0));
    const size_t held = (bytes.size() - kHeaderSize) / DeletedBlockEntry::kDiskSize;
    FreeListFile list;
    for (size_t i = 0; i < std::min(count, held); ++i) {
        const size_t at = kHeaderSize + i * DeletedBlockEntry::kDiskSize;
        const DeletedBlockEntry block{LoadLE<int64_t>(bytes, at), LoadLE<int64_t>(bytes, at + 8)};
        if (block.size <= 0 || block.position < 0 || block.position > dataSize - block.size) {
            return false;
        }
        list.blocks.push_back(block);
    }
    if (AnyOverlap(list.blocks)) return false;
    out = std::move(list);
    return true;
}

}  // namespace quillon
