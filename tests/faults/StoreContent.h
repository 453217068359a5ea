#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"
#include "support/PowerCutDisk.h"
#include "support/SampleStore.h"

namespace quillon {

// What a look at a store found.
struct StoreLook {
    std::string problem;   // not opened, or not in order: why; empty when all is well
    uint64_t content = 0;  // ContentHash
    bool IsSound() const { return problem.empty(); }
};

// Why it is not sound, or has none of the contents that it may have; empty when it has.
std::string WrongWith(const StoreLook& look, const std::vector<uint64_t>& allowed);

// Stamps of rows differ from run to run.
enum class Stamps { LeftOut, Kept };

// Of all that the store holds, as it reads.
uint64_t ContentHash(CDatabaseManager& database, Stamps stamps = Stamps::LeftOut);

// Verifies an open store, the balances too when there is a ledger in it.
StoreLook LookAtOpen(CDatabaseManager& database, CQuillonDatabaseInterface* finance,
                     Stamps stamps = Stamps::LeftOut);

inline constexpr const char* kLedgerFolder = "ledger";

// Opens the folder of the disk as the next start of the program does, looks, and closes it
// again.
StoreLook LookAtFolder(CFileSystem& files, bool isFinance, const char* folder = kLedgerFolder,
                       Stamps stamps = Stamps::LeftOut);
// The same on a copy, where the history of a ledger is tried too.
StoreLook LookAtImage(const DiskImage& image, bool isFinance);

// Makes the closed store in `folder` one of the first version of the data layout: eight bytes
// more of header, and no checksums.
bool MakeOldVersion(CFileSystem& files, const std::string& folder);

}  // namespace quillon
