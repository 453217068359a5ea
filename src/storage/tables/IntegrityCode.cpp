#include "storage/tables/IntegrityCode.h"

namespace quillon {

const char* IntegrityMessage(IntegrityCode code) {
    switch (code) {
        case IntegrityCode::Ok:
            return "The database integrity check succeeded and found no errors.";
        case IntegrityCode::InvalidTextId:
            return "The database integrity check found an invalid text entry ID.";
        case IntegrityCode::MissingText:
            return "The database integrity check found a text ID that does not exist.";
        case IntegrityCode::UnreadableText:
            return "The database integrity check was unable to read a text value.";
        case IntegrityCode::TextMismatch:
            return "The database integrity check found a text value that does not match.";
        case IntegrityCode::ColumnTypeMismatch:
            return "The database integrity check found a column data type that does not match the "
                   "data in the column.";
        case IntegrityCode::UnreadableRecord:
            return "The database integrity check was unable to read a record from a table.";
        case IntegrityCode::DeletedEntriesRemain:
            return "The database integrity check found that deleted entries still exist after "
                   "processing.";
        case IntegrityCode::IndexIncomplete:
            return "The database integrity check found not all entries were in an index.";
        case IntegrityCode::IndexEntryUnknown:
            return "The database integrity check found an index entry that does not exist.";
        case IntegrityCode::IndexRecordUnreadable:
            return "The database integrity check was unable to read an index record.";
        case IntegrityCode::IndexColumnType:
            return "The database integrity check found an index record column type was incorrect.";
        case IntegrityCode::IndexValueMismatch:
            return "The database integrity check found an index record value container mismatch.";
        case IntegrityCode::General:
            break;
    }
    return "The database integrity check encountered a general error.";
}

}  // namespace quillon
