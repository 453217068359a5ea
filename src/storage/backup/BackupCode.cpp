#include "storage/backup/BackupCode.h"

namespace quillon {

std::string BackupMessage(BackupCode code, const std::string& path) {
    switch (code) {
        case BackupCode::Done:
            return "The backup of the database to '" + path + "' completed successfully.";
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

}  // namespace quillon
