#include "wording/BackupWords.h"

namespace quillon {

namespace {

// Of a container that is damaged.
std::string ContainerDetailText(const BackupDetail& detail) {
    switch (detail.reason) {
        case BackupReason::ForeignEntry:
            return "an entry of the directory is not a database's";
        case BackupReason::EntryTwice:
            return detail.name + " is there twice";
        case BackupReason::BadSizes:
            return "the sizes in the directory have no sense";
        case BackupReason::BytesBehindEnd:
            return "there are bytes behind its end";
        case BackupReason::NoSchema:
            return "it holds no " + detail.name;
        default:
            return detail.name;
    }
}

// What to do about a backup that failed, with a blank before it.
std::string BackupAdvice(BackupCode code, const std::string& path, Medium medium) {
    switch (code) {
        case BackupCode::NoPath:
            return For(medium, " Name a file or a folder; the next backup then needs no name.",
                       " Choose a file or a folder.");
        case BackupCode::IntegrityFailed:
            return For(medium, " Run 'verify' to see what is wrong.",
                       " Run the integrity check to see what is wrong.");
        case BackupCode::WriteFailed:
            return " Check the path " + Quoted(path) + ", its permissions and the free space.";
        default:
            return {};
    }
}

std::string NotEmptyMessage(const std::string& folder, Medium medium) {
    return "The folder " + Quoted(folder) +
           For(medium,
               " is not empty; choose another one, or replace the ledger in it with --overwrite.",
               " is not empty; choose another one or ask for it to be replaced.");
}

// Trouble with the folder that was to be restored into. `because` ends the sentence.
std::string TargetMessage(RestoreCode code, const std::string& folder, const std::string& because,
                          Medium medium) {
    switch (code) {
        case RestoreCode::NoTarget:
            return "Give the path of the folder to restore into; it ends with the folder's name.";
        case RestoreCode::TargetNotEmpty:
            return NotEmptyMessage(folder, medium);
        case RestoreCode::ForeignFiles:
            return "The folder " + Quoted(folder) +
                   " holds something that is not part of a database; move it away or choose "
                   "another folder" +
                   because;
        case RestoreCode::InTheWay:
            return "The restore needs a name that is taken; rename or move what has it" + because;
        case RestoreCode::InUse:
            return "The database in " + Quoted(folder) +
                   " is open in another program; close it and try again.";
        case RestoreCode::WriteFailed:
            return "The restore could not write beside " + Quoted(folder) +
                   "; check its rights and the free space" + because;
        default:
            return "There is not enough memory to restore the backup; close other programs.";
    }
}

}  // namespace

std::string BackupDetailText(const BackupDetail& detail) {
    switch (detail.reason) {
        case BackupReason::OutOfMemory:
            return "out of memory";
        case BackupReason::BracketOpen:
            return "changes are still being entered";
        case BackupReason::FlushFailed:
            return "the database's files could not be written: " + detail.name;
        case BackupReason::TableDamaged:
            return detail.name + ": " + IntegrityMessage(detail.integrity);
        case BackupReason::PagesUnchecked:
            return "the files cannot be checked";
        case BackupReason::PageChanged:
            return detail.name + " is not as it was written";
        case BackupReason::ContainerName:
            return "a backup cannot have the name of a database's file";
        case BackupReason::ForeignFile:
            return "not a database's file, or named twice: " + detail.name;
        case BackupReason::TooManyFiles:
            return "too many files";
        case BackupReason::FileUnreadable:
            return "cannot be read: " + detail.name;
        case BackupReason::NotProved:
            return "what was written is not the ledger";
        case BackupReason::FileTooLarge:
            return "too large: " + detail.name;
        default:
            return ContainerDetailText(detail);
    }
}

std::string BackupFailureMessage(BackupCode code, const std::string& path,
                                 const BackupDetail& detail, Medium medium) {
    std::string message = BackupMessage(code, path);
    if (!detail.IsEmpty()) {
        if (!message.ends_with(' ')) message += ' ';
        message += BackupDetailText(detail);
        if (!message.ends_with('.')) message += '.';
    }
    return message + BackupAdvice(code, path, medium);
}

namespace {

std::string ProofFinding(const BackupProof& proof) {
    switch (proof.step) {
        case BackupProofStep::NotReadable:
            return proof.restored == RestoreCode::Damaged ||
                           proof.restored == RestoreCode::Truncated
                       ? "what was read back is not what was written"
                       : "it cannot be read back";
        case BackupProofStep::NotOpened:
            return "what was read back does not open as a ledger";
        case BackupProofStep::Damaged:
            return "what was read back is damaged";
        case BackupProofStep::Differs:
            return (proof.difference.isAccount ? "what was read back differs in the account "
                                               : "what was read back differs in the table ") +
                   Quoted(proof.difference.name);
        default:
            return "the ledger itself could not be read";
    }
}

}  // namespace

std::string ProofFailureMessage(const BackupProof& proof, Medium medium) {
    if (proof.restored == RestoreCode::WriteFailed) {
        return "The backup was not kept, since there is no room beside the ledger to prove it; " +
               std::string(For(medium, "make some, or leave the proof out with --no-prove.",
                               "make some, or leave the proof out."));
    }
    return "The backup was not kept, since the proof failed: " + ProofFinding(proof) +
           "; try again, best on another disk.";
}

std::string ProvedBackupText(const LedgerTally& tally) {
    int64_t transactions = 0;
    for (const LedgerTally::Account& account : tally.accounts) transactions += account.transactions;
    return "Proved: read back and compared, with " +
           Counted(static_cast<int64_t>(tally.accounts.size()), "account", "accounts") + " and " +
           Counted(transactions, "transaction", "transactions") + ".";
}

std::string BackupInsideLedgerMessage() {
    return "A backup does not belong into the ledger's own folder; choose another place, best on "
           "another disk.";
}

std::string UnprotectedBackupNote() {
    return "The backup is not protected: the ledger has no password, so whoever has the file can "
           "read it.";
}

std::string RestoreMessage(RestoreCode code, const std::string& path, const std::string& folder,
                           const BackupDetail& detail, Medium medium) {
    const std::string because = detail.IsEmpty() ? "." : ": " + BackupDetailText(detail) + ".";
    const std::string backup = "The backup " + Quoted(path);
    switch (code) {
        case RestoreCode::Done:
            return backup + " was restored to " + Quoted(folder) + ".";
        case RestoreCode::NoSuchFile:
            return "There is no file " + Quoted(path) + "; check the path of the backup.";
        case RestoreCode::NotABackup:
            return Quoted(path) + " is not a backup of this program; choose another file.";
        case RestoreCode::NewerVersion:
            return backup + " was written by a newer version of the program; update to restore it.";
        case RestoreCode::WrongPassword:
            return "The password does not open the backup " + Quoted(path) +
                   ", or its directory is damaged; use the password the database had when it was "
                   "backed up.";
        case RestoreCode::Damaged:
            return backup + " is damaged or was changed; nothing was restored, use another copy" +
                   because;
        case RestoreCode::Truncated:
            return backup + " is cut off; nothing was restored, use another copy.";
        case RestoreCode::ReadFailed:
            return backup + " cannot be read; check its rights and the disk.";
        case RestoreCode::DecryptionFailed:
            return "The backup's encryption is not available on this machine.";
        default:
            return TargetMessage(code, folder, because, medium);
    }
}

}  // namespace quillon
