#pragma once

#include <string>

#include "finance/backup/BackupCopy.h"
#include "finance/backup/LedgerTally.h"

namespace quillon {

// How far the proof of a backup came.
enum class BackupProofStep {
    NotTried,     // there is no backup to prove, or the ledger itself could not be read
    NotReadable,  // the container, or room for the copy: `restored` tells
    NotOpened,    // the copy: `opened` tells
    Damaged,      // the copy: `integrity` tells, or rows that cannot be read
    Differs,      // the copy from the ledger: `difference` tells
    Proved,
};

struct BackupProof {
    BackupProofStep step = BackupProofStep::NotTried;
    RestoreCode restored = RestoreCode::Done;
    BackupDetail detail{};  // of `restored`
    DatabaseProblem opened = DatabaseProblem::None;
    IntegrityCode integrity = IntegrityCode::Ok;
    TallyDifference difference{};
    LedgerTally tally{};  // of the ledger, where it was counted

    bool IsProved() const { return step == BackupProofStep::Proved; }
};

// Writes a backup of the ledger and does not believe it: reads the container back into a folder
// beside the ledger (CBackupCopy), checks every table of the copy and compares its accounts,
// balances and rows with the ledger's. Only a proved one gets its name; where the proof fails
// (Other, NotProved) nothing new is left, and an earlier backup of that name is as it was.
// `progress` is called for the writing, then for the reading. The ledger takes no change
// meanwhile: its critical section is held. Nothing here throws.
[[nodiscard]] BackupCode WriteProvedBackup(CQuillonDatabaseInterface& ledger,
                                           const std::string& path, BackupReport& report,
                                           BackupProof& proof, const BackupOptions& options = {});

}  // namespace quillon
