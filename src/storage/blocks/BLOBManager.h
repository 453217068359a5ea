#pragma once

#include "storage/blocks/BlockStore.h"

namespace quillon {

// BLOBs by id: byte blocks of any kind, stored as they are. All calls are CBlockStore's.
class CBLOBManager final : public CBlockStore {
public:
    explicit CBLOBManager(CJournal& journal) : CBlockStore(journal, kBlobFiles, Loading::AtOnce) {}
};

}  // namespace quillon
