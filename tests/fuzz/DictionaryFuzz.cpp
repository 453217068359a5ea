// Dictionary files: opened, changed in brackets that are committed or rolled back, and
// held against a plain map. Input: one byte for how many bytes of operations follow, the
// operations, then the file.

#include <algorithm>
#include <tuple>

#include "Brackets.h"
#include "Fuzz.h"
#include "foundation/ByteCodec.h"
#include "storage/blocks/DictionaryManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kPath = "db/T_dict.dat";

struct Block {
    int64_t position = 0;
    int64_t size = 0;
    bool deleted = false;
    friend bool operator==(const Block&, const Block&) = default;
};
using Model = std::map<int64_t, Block>;

Model ContentOf(const CDictionaryManager& dictionary) {
    Model model;
    int64_t last = -1;
    dictionary.Walk([&](int64_t id, const DictionaryEntry& entry) {
        FUZZ_CHECK(id > last, "ids are walked upwards, each once");
        last = id;
        model[id] = {entry.position, entry.size, entry.deleted};
        return true;
    });
    return model;
}

Model LiveOf(Model model) {
    std::erase_if(model, [](const auto& item) { return item.second.deleted; });
    return model;
}

// Read from the page on file formats: the first entry of an id counts.
Model ExpectedOf(std::span<const uint8_t> file) {
    Model model;
    for (size_t at = 62; at + 36 <= file.size(); at += 36) {
        const auto id = LoadLE<int64_t>(file, at);
        if (id < 0 || id == std::numeric_limits<int64_t>::max()) continue;
        model.try_emplace(id, Block{LoadLE<int64_t>(file, at + 16), LoadLE<int64_t>(file, at + 24),
                                    LoadLE<int32_t>(file, at + 32) != 0});
    }
    return model;
}

int64_t PickId(CInput& input, const Model& model) {
    const uint8_t choice = input.Byte();
    if (choice >= 0xF0 || model.empty()) return input.Number();
    return PickFrom(model, choice).first;
}

void Apply(CInput& input, CDictionaryManager& dictionary, Model& model) {
    switch (input.Byte() % 6) {
        case 0: {
            const Block block{input.Number(), input.Number()};
            const int64_t next = dictionary.NextId();
            const int64_t id = dictionary.Add(block.position, block.size);
            if (next == std::numeric_limits<int64_t>::max()) {
                FUZZ_CHECK(id == -1, "the ids are used up");
                return;
            }
            FUZZ_CHECK(id == next && !model.contains(id), "a new id is new");
            model[id] = block;
            return;
        }
        case 1: {
            const int64_t id = PickId(input, model);
            const bool marked = dictionary.MarkDeleted(id);
            FUZZ_CHECK(marked == model.contains(id), "what is there can be deleted");
            if (marked) model[id].deleted = true;
            return;
        }
        case 2: {
            const int64_t id = PickId(input, model);
            const Block block{input.Number(), input.Number()};
            if (!dictionary.FindLive(id)) return;
            FUZZ_CHECK(dictionary.Move(id, block.position, block.size), "a live entry moves");
            model[id] = block;
            return;
        }
        case 3: {
            FUZZ_CHECK(dictionary.Compact(input.Byte() % 2 == 0), "compacting works");
            model = LiveOf(model);
            return;
        }
        case 4: {
            const int64_t below = input.Number();
            FUZZ_CHECK(dictionary.SkipIdsBelow(below), "ids can be skipped");
            FUZZ_CHECK(dictionary.NextId() >= below, "and are not given");
            return;
        }
        default:
            FUZZ_CHECK(dictionary.Flush(), "flushing works");
            return;
    }
}

void CheckAgainst(const CDictionaryManager& dictionary, const Model& model) {
    FUZZ_CHECK(ContentOf(dictionary) == model, "memory is what was committed");
    FUZZ_CHECK(dictionary.LiveCount() == static_cast<int64_t>(LiveOf(model).size()),
               "the count is right");
    FUZZ_CHECK(model.empty() || dictionary.NextId() > model.rbegin()->first,
               "the next id is above all ids");
}

void Check(CInput input) {
    CInput steps = input.Steps();
    const Bytes file = CopyOf(input.Rest());

    CMemoryFileSystem files;
    files.Bytes(kPath) = file;
    CJournal journal(files);
    FUZZ_CHECK(journal.Attach("db/", 7) == CJournal::AttachResult::Ok, "a journal is made");
    CDictionaryManager dictionary(journal);
    dictionary.SetPath(CKeelString(kPath));
    if (!dictionary.Open()) {
        FUZZ_CHECK(files.Bytes(kPath) == file, "what is no dictionary stays as it is");
        return;
    }
    FUZZ_CHECK(!dictionary.LoadFailed(), "a file in memory is read whole");
    Model model = ContentOf(dictionary);
    FUZZ_CHECK(LiveOf(model) == LiveOf(ExpectedOf(file)), "every live entry was read");
    CheckAgainst(dictionary, model);
    RunBrackets(
        journal, steps, model, [&] { Apply(steps, dictionary, model); },
        [&] { CheckAgainst(dictionary, model); });
    FUZZ_CHECK(dictionary.Close(), "it closes");
    const int64_t fileSize = static_cast<int64_t>(files.Bytes(kPath).size());
    FUZZ_CHECK(fileSize <= static_cast<int64_t>(std::max(file.size(), size_t{62})) + 64 * 36,
               "the file grows by what was added");
    FUZZ_CHECK(dictionary.Open(), "it opens again");
    CheckAgainst(dictionary, model);
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
