#include "wording/DatabaseWords.h"

#include "foundation/platform/LockHolder.h"
#include "storage/journal/JournalFormat.h"

namespace quillon {

namespace {

std::string HolderOf(const std::string& lockFile) {
    const std::string holder = LockHolder(lockFile);
    return "another program" + (holder.empty() ? holder : ", " + holder);
}

const char* Verify(Medium medium) {
    return For(medium, "run 'verify'", "run the integrity check");
}

std::string JournalMessage(const std::string& folder, const std::string& detail,
                           const std::string& file, Medium medium) {
    const std::string check =
        std::string(Verify(medium)) + ", and restore a backup if something is lost.";
    if (FileNameOf(detail) == kJournalName) {
        return "The journal " + file +
               " is missing; a new one was made. The last changes may be missing too: " + check;
    }
    return "The journal of " + Quoted(folder) + " is damaged; it was kept as " + file +
           ". The changes it held may be missing: " + check;
}

// Trouble with the files as they were found.
std::string OpeningMessage(DatabaseProblem problem, const std::string& folder,
                           const std::string& detail, Medium medium) {
    const std::string file = Quoted(detail.empty() ? folder : detail);
    switch (problem) {
        case DatabaseProblem::NoPath:
            return std::string("No folder was given for the ledger; ") +
                   For(medium, "name one with --database DIR.", "choose one.");
        case DatabaseProblem::FolderMissing:
            return "The folder " + Quoted(folder) +
                   " is not there and cannot be made; check the path.";
        case DatabaseProblem::NoPermission:
            return "There are no rights to read and write " + file +
                   "; change the folder's permissions or choose another one" +
                   For(medium, " with --database DIR.", ".");
        case DatabaseProblem::InUse:
            return "The ledger in " + Quoted(folder) + " is open in " + HolderOf(detail) +
                   "; close it there and try again.";
        case DatabaseProblem::NotADatabase:
            return "The file " + file + " is not a ledger's; " +
                   For(medium, "check --database, or restore a backup with 'restore'.",
                       "choose another folder, or restore a backup.");
        case DatabaseProblem::NewerVersion:
            return "The file " + file +
                   " was written by a newer version of the program; update the program to open it.";
        case DatabaseProblem::DamagedFile:
            return "The file " + file +
                   " is damaged or missing, so the ledger was not opened; restore a backup" +
                   For(medium, " with 'restore FILE --to DIR'.", ".");
        case DatabaseProblem::DamagedJournal:
            return JournalMessage(folder, detail, file, medium);
        default:
            return {};
    }
}

}  // namespace

std::string DatabaseMessage(DatabaseProblem problem, const std::string& folder,
                            const std::string& detail, Medium medium) {
    const std::string file = Quoted(detail.empty() ? folder : detail);
    switch (problem) {
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
            return "The ledger in " + Quoted(folder) + " could not be read or written; " +
                   Verify(medium) + " to look for damage.";
        default:
            return OpeningMessage(problem, folder, detail, medium);
    }
}

std::string StoreMessage(const CQuillonDatabaseInterface& database, Medium medium) {
    return DatabaseMessage(database.Problem(), database.Folder(), database.ProblemDetail(), medium);
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

std::string HistoryLostMessage() {
    return "The history was damaged and begins anew: what was done so far cannot be undone. The "
           "ledger itself is not concerned.";
}

std::string IncompleteSchemaText(const SchemaOutcome& schema) {
    std::string names;
    for (const char* table : schema.tablesFailed) {
        names += (names.empty() ? "" : ", ") + std::string(table);
    }
    if (names.empty()) names = std::to_string(schema.upgradesFailed.size()) + " upgrade steps";
    return names;
}

}  // namespace quillon
