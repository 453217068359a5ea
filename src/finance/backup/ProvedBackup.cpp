#include "finance/backup/ProvedBackup.h"

#include <new>

namespace quillon {

namespace {

BackupProofStep Compare(const LedgerTally& ledger, CQuillonDatabaseInterface& copy,
                        BackupProof& proof) {
    std::vector<TableIntegrity> tables;
    proof.integrity = copy.Store().Verify(tables);
    LedgerTally tally;
    if (proof.integrity != IntegrityCode::Ok || !TallyLedger(copy, tally)) {
        return BackupProofStep::Damaged;
    }
    const auto difference = FirstDifference(ledger, tally);
    if (!difference) return BackupProofStep::Proved;
    proof.difference = *difference;
    return BackupProofStep::Differs;
}

// The copy goes beside the ledger, whose disk holds the same in the clear already; the backup's
// may be somebody else's.
BackupProofStep Prove(CQuillonDatabaseInterface& ledger, const std::string& container,
                      BackupProof& proof, const BackupOptions& options) {
    CKeelString hash;
    if (!ledger.ReadPasswordHash(hash)) return BackupProofStep::NotTried;
    CBackupCopy copy(ledger.Store().Files(), WithoutTrailingSeparators(ledger.Folder()));
    RestoreReport report;
    proof.restored = copy.TakeOut(container, hash.ToUtf8(), report, options);
    proof.detail = report.detail;
    if (proof.restored != RestoreCode::Done) return BackupProofStep::NotReadable;
    proof.opened = copy.Open().problem;
    if (proof.opened != DatabaseProblem::None) return BackupProofStep::NotOpened;
    return Compare(proof.tally, copy.Ledger(), proof);
}

}  // namespace

BackupCode WriteProvedBackup(CQuillonDatabaseInterface& ledger, const std::string& path,
                             BackupReport& report, BackupProof& proof,
                             const BackupOptions& options) try {
    proof = {};
    report = {};
    const CFinanceSection section(ledger);
    if (!TallyLedger(ledger, proof.tally)) return BackupCode::Other;
    BackupOptions proving = options;
    proving.prove = [&](const std::string& container) {
        proof.step = Prove(ledger, container, proof, options);
        return proof.IsProved();
    };
    const BackupCode code = ledger.Backup(path, report, proving);
    if (code != BackupCode::Done && proof.IsProved()) proof.step = BackupProofStep::NotTried;
    return code;
} catch (const std::bad_alloc&) {
    report.detail = {.reason = BackupReason::OutOfMemory};
    proof.step = BackupProofStep::NotTried;
    return BackupCode::Other;
}

}  // namespace quillon
