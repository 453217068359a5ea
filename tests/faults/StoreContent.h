#pragma once

#include <cstdint>
#include <string>

#include "finance/QuillonDatabaseInterface.h"
#include "support/PowerCutDisk.h"

namespace quillon {

// What a look at a store found.
struct StoreLook {
    std::string problem;   // not opened, or not in order: why; empty when all is well
    uint64_t content = 0;  // hash of ContentOf
    bool IsSound() const { return problem.empty(); }
};

enum class Stamps { LeftOut, Kept };

// Everything that the database holds, its columns among it; tables by name, since one that
// could not be made at first comes later than others. Stamps of rows differ from run to run.
std::string ContentOf(CDatabaseManager& database, Stamps stamps = Stamps::LeftOut);

// Verifies an open store, the balances too when there is a ledger in it.
StoreLook LookAtOpen(CDatabaseManager& database, CQuillonDatabaseInterface* finance);

// Opens the folder "ledger" of the disk as the next start of the program does, looks, and
// closes it again.
StoreLook LookAtFolder(CFileSystem& files, bool isFinance);
StoreLook LookAtImage(const DiskImage& image, bool isFinance);

// Makes the closed store in `folder` one of the first version of the data layout: eight bytes
// more of header, and no checksums.
bool MakeOldVersion(CFileSystem& files, const std::string& folder);

inline constexpr const char* kLedgerFolder = "ledger";

}  // namespace quillon
