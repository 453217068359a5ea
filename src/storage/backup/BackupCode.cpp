#include "storage/backup/BackupCode.h"

namespace quillon {
namespace {

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

}  // namespace

std::string BackupMessage(BackupCode code, const std::string& path) {
    switch (code) {
        case BackupCode::Done:
            return "The backup of the database to " + Quoted(path) + " completed successfully.";
        case BackupCode::NoPath:
            return "No output file was given for the backup.";
        case BackupCode::NoFiles:
            return "There are no files in the database.";
        case BackupCode::IntegrityFailed:
            return "The database integrity check failed. No backup was produced.";
        case BackupCode::WriteFailed:
            return "An error occurred writing to the backup file.";
        case BackupCode::EncryptionFailed:
            return "An error occurred processing the backup data.";
        case BackupCode::Other:
            break;
    }
    return "An error occurred performing the backup. ";
}

std::string RestoreMessage(RestoreCode code, const std::string& path, const std::string& folder,
                           const std::string& detail) {
    const std::string because = detail.empty() ? "." : ": " + detail + ".";
    switch (code) {
        case RestoreCode::Done:
            return "The backup " + Quoted(path) + " was restored to " + Quoted(folder) + ".";
        case RestoreCode::NoSuchFile:
            return "There is no file " + Quoted(path) + "; check the path of the backup.";
        case RestoreCode::NotABackup:
            return Quoted(path) + " is not a backup of this program; choose another file.";
        case RestoreCode::NewerVersion:
            return "The backup " + Quoted(path) +
                   " was written by a newer version of the program; update to restore it.";
        case RestoreCode::WrongPassword:
            return "The password does not open the backup " + Quoted(path) +
                   ", or its directory is damaged; use the password the database had when it was "
                   "backed up.";
        case RestoreCode::Damaged:
            return "The backup " + Quoted(path) +
                   " is damaged or was changed; nothing was restored, use another copy" + because;
        case RestoreCode::Truncated:
            return "The backup " + Quoted(path) +
                   " is cut off; nothing was restored, use another copy.";
        case RestoreCode::NoTarget:
            return "Give the path of the folder to restore into; it ends with the folder's name.";
        case RestoreCode::TargetNotEmpty:
            return "The folder " + Quoted(folder) +
                   " is not empty; choose another one or ask for it to be replaced.";
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
        case RestoreCode::ReadFailed:
            return "The backup " + Quoted(path) + " cannot be read; check its rights and the disk.";
        case RestoreCode::DecryptionFailed:
            return "The backup's encryption is not available on this machine.";
        case RestoreCode::OutOfMemory:
            break;
    }
    return "There is not enough memory to restore the backup; close other programs.";
}

}  // namespace quillon
