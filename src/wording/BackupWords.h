#pragma once

#include <string>

#include "finance/backup/ProvedBackup.h"
#include "storage/backup/BackupCode.h"
#include "wording/Words.h"

namespace quillon {

// What is known beyond a code, as a clause without full stop; empty for nothing.
std::string BackupDetailText(const BackupDetail& detail);

// BackupMessage of a backup that failed, what is known beyond it, and what to do. `path` is
// the container's.
std::string BackupFailureMessage(BackupCode code, const std::string& path,
                                 const BackupDetail& detail, Medium medium);
// Why the proof of a backup failed, and what to do.
std::string ProofFailureMessage(const BackupProof& proof, Medium medium);
// What a proof compared.
std::string ProvedBackupText(const LedgerTally& tally);
// That a backup would lie in the folder that it is of.
std::string BackupInsideLedgerMessage();
// That anybody can read the backup.
std::string UnprotectedBackupNote();

// One line that says what was wrong and what to do, or what was done. `path` is the
// container's, `folder` the target.
std::string RestoreMessage(RestoreCode code, const std::string& path, const std::string& folder,
                           const BackupDetail& detail, Medium medium);

}  // namespace quillon
