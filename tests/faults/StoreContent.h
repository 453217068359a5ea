#pragma once

#include <cstdint>
#include <string>

#include "finance/database/QuillonDatabaseInterface.h"
#include "support/PowerCutDisk.h"
#include "support/SampleStore.h"

namespace quillon {

// What a look at a store found.
struct StoreLook {
    std::string problem;   // not opened, or not in order: why; empty when all is well
    uint64_t content = 0;  // hash of ContentText
    bool IsSound() const { return problem.empty(); }
};

// Stamps of rows differ from run to run.
enum class Stamps { LeftOut, Kept };

// ContentOf as one text.
std::string ContentText(CDatabaseManager& database, Stamps stamps = Stamps::LeftOut);

// Verifies an open store, the balances too when there is a ledger in it.
StoreLook LookAtOpen(CDatabaseManager& database, CQuillonDatabaseInterface* finance);

inline constexpr const char* kLedgerFolder = "ledger";

// Opens the folder of the disk as the next start of the program does, looks, and closes it
// again.
StoreLook LookAtFolder(CFileSystem& files, bool isFinance, const char* folder = kLedgerFolder);
StoreLook LookAtImage(const DiskImage& image, bool isFinance);

// Makes the closed store in `folder` one of the first version of the data layout: eight bytes
// more of header, and no checksums.
bool MakeOldVersion(CFileSystem& files, const std::string& folder);

}  // namespace quillon
