#include "cli/DatabaseMessages.h"

#include "cli/terminal/Failure.h"
#include "foundation/platform/LockHolder.h"
#include "storage/journal/JournalFormat.h"

namespace quillon {

namespace {

std::string HolderOf(const std::string& lockFile) {
    const std::string holder = LockHolder(lockFile);
    return "another program" + (holder.empty() ? holder : ", " + holder);
}

}  // namespace

std::string DatabaseMessage(DatabaseProblem problem, const std::string& folder,
                            const std::string& detail) {
    const std::string file = Quoted(detail.empty() ? folder : detail);
    switch (problem) {
        case DatabaseProblem::NoPath:
            return "No folder was given for the ledger; name one with --database DIR.";
        case DatabaseProblem::FolderMissing:
            return "The folder " + Quoted(folder) +
                   " is not there and cannot be made; check the path.";
        case DatabaseProblem::NoPermission:
            return "There are no rights to read and write " + file +
                   "; change the folder's permissions or choose another one with --database DIR.";
        case DatabaseProblem::InUse:
            return "The ledger in " + Quoted(folder) + " is open in " + HolderOf(detail) +
                   "; close it there and try again.";
        case DatabaseProblem::NotADatabase:
            return "The file " + file +
                   " is not a ledger's; check --database, or restore a backup with 'restore'.";
        case DatabaseProblem::NewerVersion:
            return "The file " + file +
                   " was written by a newer version of the program; update the program to open it.";
        case DatabaseProblem::DamagedFile:
            return "The file " + file +
                   " is damaged or missing, so the ledger was not opened; restore a backup with "
                   "'restore FILE --to DIR'.";
        case DatabaseProblem::DamagedJournal:
            if (FileNameOf(detail) == kJournalName) {
                return "The journal " + file +
                       " is missing; a new one was made. The last changes may be missing too: run "
                       "'verify', and restore a backup if something is lost.";
            }
            return "The journal of " + Quoted(folder) + " is damaged; it was kept as " + file +
                   ". The changes it held may be missing: run 'verify', and restore a backup if "
                   "something is lost.";
        case DatabaseProblem::DiskFull:
            return "The disk that holds " + Quoted(folder) +
                   " is full; nothing was changed, make room and try again.";
        case DatabaseProblem::ReadFailed:
            return "Reading " + file + " failed; check the disk, then try again.";
        case DatabaseProblem::WriteFailed:
            return "Writing " + file +
                   " failed; nothing was changed, check the disk and its permissions.";
        case DatabaseProblem::OutOfMemory:
            return "There is not enough memory for the ledger in " + Quoted(folder) +
                   "; nothing was changed, close other programs and try again.";
        case DatabaseProblem::None:
            break;
    }
    return "The ledger in " + Quoted(folder) +
           " could not be read or written; run 'verify' to look for damage.";
}

std::string RebuiltMessage(const std::vector<std::string>& files) {
    std::string message = files.size() == 1 ? "The index " : "The indexes ";
    for (const std::string& file : files) {
        message += (&file == &files.front() ? "" : ", ") + file;
    }
    return message +
           (files.size() == 1 ? " was missing or damaged and was"
                              : " were missing or damaged and were") +
           " made anew from the rows. Nothing is lost by that, but a disk that changes what it "
           "holds is failing: make a backup.";
}

std::string StoreMessage(const CQuillonDatabaseInterface& database) {
    const CDatabaseManager& store = database.Database();
    return DatabaseMessage(store.Problem(), store.Folder(), store.ProblemDetail());
}

void RequireDone(LedgerStatus status, const CQuillonDatabaseInterface& database) {
    switch (status) {
        case LedgerStatus::Ok:
            return;
        case LedgerStatus::NoSuchAccount:
            throw CFailure("The account is no longer there; 'account list' shows all.");
        case LedgerStatus::NoSuchTransaction:
            throw CFailure("There is no such transaction; 'transaction list ACCOUNT' shows them.");
        case LedgerStatus::NoSuchCategory:
            throw CFailure("The category is no longer there; 'category list' shows all.");
        case LedgerStatus::AccountClosed:
            throw CFailure("The account is closed; 'account reopen NAME' takes it into use again.");
        case LedgerStatus::FractionOfCent:
            throw CFailure("The amount has more than two decimals; write it in whole cents.");
        case LedgerStatus::CategoryKept:
        case LedgerStatus::CategoryReserved:
            throw CFailure("The program itself files rows under this category; choose another.");
        case LedgerStatus::CategoryUsed:
            throw CFailure("Rows are filed under this category; give another one for them.");
        case LedgerStatus::SameCategory:
            throw CFailure("Rows of a category go to another one; choose that.");
        case LedgerStatus::SameAccount:
            throw CFailure("A transfer needs two different accounts.");
        case LedgerStatus::BadAmount:
            throw CFailure("The amount is negative, no number, or too large for the ledger.");
        case LedgerStatus::NameMissing:
            throw CFailure("An account needs a name.");
        case LedgerStatus::NameTaken:
            throw CFailure("There is an account of that name already; choose another name.");
        case LedgerStatus::StoreFailed:
            break;
    }
    throw CFailure(StoreMessage(database));
}

void RequireFound(CLookup found, const CQuillonDatabaseInterface& database) {
    RequireStored(static_cast<bool>(found), database);
}

void RequireStored(bool done, const CQuillonDatabaseInterface& database) {
    if (!done) throw CFailure(StoreMessage(database));
}

}  // namespace quillon
