#pragma once

#include <cstdint>
#include <vector>

#include "foundation/KeelString.h"
#include "storage/blocks/BlockStore.h"

namespace quillon {

// Texts by id: blocks that hold a TextHeader and the text's bytes, compressed where a text of 33
// serialised bytes or more gets smaller by it. Opening loads no entries: the first question does.
//
//   Errors   false or -1. std::bad_alloc passes through, but not from Close. Nothing is prompted
//            or logged.
//   Threads  Each public call holds the store's own CReentrantLock.
//   Others   As CBlockStore says: brackets, compaction, ownership.
class CTextManager final : private CBlockStore {
public:
    static constexpr int64_t kNoText = -1;

    explicit CTextManager(CJournal& journal)
        : CBlockStore(journal, kTextFiles, Loading::WhenNeeded) {}

    using CBlockStore::Close;
    using CBlockStore::Compact;
    using CBlockStore::Data;
    using CBlockStore::Delete;
    using CBlockStore::DeleteFiles;
    using CBlockStore::Dictionary;
    using CBlockStore::Flush;
    using CBlockStore::NeedsCompaction;
    using CBlockStore::Open;
    using CBlockStore::Reset;
    using CBlockStore::SetBasePath;

    int64_t Add(const CKeelString& text);  // id; -1 on failure
    // False: no such text, or its bytes are unreadable.
    [[nodiscard]] bool Read(int64_t id, CKeelString& text) const;
    [[nodiscard]] bool Replace(int64_t id, const CKeelString& text);

private:
    static std::vector<uint8_t> Encode(const CKeelString& text);
};

}  // namespace quillon
