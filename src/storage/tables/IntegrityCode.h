#pragma once

#include <cstdint>

namespace quillon {

// Outcomes of the integrity check, in the order of the messages users see.
enum class IntegrityCode : int32_t {
    Ok = 0,
    InvalidTextId = 1,         // a row holds a text id that no text can have
    MissingText = 2,           // a row's text id is unknown or deleted
    UnreadableText = 3,        // a text's bytes cannot be read or expanded
    TextMismatch = 4,          // two rows share one text, or a text has no row
    ColumnTypeMismatch = 5,    // a row's bytes cannot be a value of the column's type
    UnreadableRecord = 6,      // a row record cannot be read
    DeletedEntriesRemain = 7,  // deleted entries are still there after compaction
    IndexIncomplete = 8,       // an index has more or fewer entries than the table rows
    IndexEntryUnknown = 9,     // an index entry points at no live row
    IndexRecordUnreadable = 10,
    IndexColumnType = 11,
    IndexValueMismatch = 12,  // an index entry's key is not the row's value
    General = 13,             // anything else, a table without columns among it
};

// One sentence for people, ending with a full stop.
const char* IntegrityMessage(IntegrityCode code);

}  // namespace quillon
