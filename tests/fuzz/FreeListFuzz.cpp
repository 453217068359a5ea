// Free lists: a file that is read must never hand out a byte twice or one outside the
// store. Input: size of the store, one byte for how many bytes of operations follow, the
// operations, then the file.

#include <algorithm>

#include "Fuzz.h"
#include "storage/blocks/DeletedBlockManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kPath = "T_data_del.dat";
using Blocks = std::vector<DeletedBlockEntry>;  // as the list walks them

Blocks BlocksOf(const CDeletedBlockManager& list) {
    Blocks blocks;
    list.Walk([&](const DeletedBlockEntry& block) { blocks.push_back(block); });
    FUZZ_CHECK(list.Count() == static_cast<int32_t>(blocks.size()), "the count is right");
    return blocks;
}

bool AreApartAndInside(Blocks blocks, int64_t dataSize) {
    std::ranges::sort(blocks, {}, &DeletedBlockEntry::position);
    int64_t end = 0;
    for (const DeletedBlockEntry& block : blocks) {
        if (block.size <= 0 || block.position < end || block.size > dataSize - block.position) {
            return false;
        }
        end = block.position + block.size;
    }
    return true;
}

// In front of the blocks of its size.
void Insert(Blocks& model, const DeletedBlockEntry& block) {
    model.insert(std::ranges::lower_bound(model, block.size, {}, &DeletedBlockEntry::size), block);
}

void TakeFrom(CDeletedBlockManager& list, Blocks& model, int64_t size) {
    const auto best = std::ranges::lower_bound(model, size, {}, &DeletedBlockEntry::size);
    int64_t position = -1;
    const bool taken = list.Take(size, position);
    FUZZ_CHECK(taken == (size > 0 && best != model.end()), "what is large enough is taken");
    if (!taken) return;
    const DeletedBlockEntry block = *best;
    FUZZ_CHECK(position == block.position, "the best fit, from its front");
    model.erase(best);
    if (block.size > size) Insert(model, {position + size, block.size - size});
}

void Apply(CInput& input, CDeletedBlockManager& list, Blocks& model, int64_t dataSize) {
    switch (input.Byte() % 5) {
        case 0: {
            // The owner frees blocks of its own only.
            const DeletedBlockEntry block{input.Number(), input.Number()};
            if (block.position > dataSize || block.size > dataSize) return;
            const bool added = list.Add(block.position, block.size);
            FUZZ_CHECK(added == (block.position >= 0 && block.size > 0), "blocks have a size");
            if (added) Insert(model, block);
            return;
        }
        case 1:
            TakeFrom(list, model, input.Number());
            return;
        case 2: {
            FUZZ_CHECK(list.Save(), "a list is saved");
            const bool sound = !model.empty() && AreApartAndInside(model, dataSize);
            FUZZ_CHECK(list.Load(dataSize) == sound, "a sound list is read back");
            FUZZ_CHECK(BlocksOf(list) == (sound ? model : Blocks()), "as it was, or nothing");
            if (!sound) model.clear();
            return;
        }
        case 3: {
            list.Mark();
            Blocks changed = model;
            for (int i = input.Byte() % 8; i > 0; --i) {
                if (input.Byte() % 2 == 0) {
                    TakeFrom(list, changed, input.Byte());
                } else if (const int64_t size = input.Byte(); size > 0) {
                    const DeletedBlockEntry block{input.Byte(), size};
                    FUZZ_CHECK(list.Add(block.position, block.size), "a block is freed");
                    Insert(changed, block);
                }
            }
            FUZZ_CHECK(BlocksOf(list) == changed, "changes are seen");
            list.UndoToMark();
            return;
        }
        default:
            list.Clear();
            model.clear();
            return;
    }
}

void Check(CInput input) {
    const int64_t dataSize = std::abs(input.Number() >> 1);
    CInput steps = input.Steps();
    const Bytes file = CopyOf(input.Rest());

    CMemoryFileSystem files;
    files.Bytes(kPath) = file;
    CDeletedBlockManager list(files);
    list.SetPath(kPath);
    const bool loaded = list.Load(dataSize);
    FUZZ_CHECK(files.Bytes(kPath) == file, "reading changes no file");
    Blocks model = BlocksOf(list);
    FUZZ_CHECK(loaded || model.empty(), "a bad file leaves nothing");
    FUZZ_CHECK(AreApartAndInside(model, dataSize), "no byte is free twice, or outside the store");
    FUZZ_CHECK(std::ranges::is_sorted(model, {}, &DeletedBlockEntry::size), "smallest first");
    for (int i = 0; i < 64 && !steps.IsEmpty(); ++i) {
        Apply(steps, list, model, dataSize);
        FUZZ_CHECK(BlocksOf(list) == model, "the list is what the operations make of it");
    }
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
