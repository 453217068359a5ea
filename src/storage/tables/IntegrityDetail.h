#pragma once

#include <cstdint>
#include <string>

namespace quillon {

// What stands behind an integrity code, and where: of the values, those that the kind names.
struct IntegrityDetail {
    enum class Kind {
        None,
        NoColumns,       // the table has none
        NoDictionary,    // the one of `file` cannot be read
        NoIndex,         // `file` can be neither read nor made anew
        EntryCount,      // `number` entries in the index `file`, or none of `column`, for `rows`
        AttributeFlag,   // in the header of `file`; the column has the other one
        NoSuchRow,       // `file` has an entry of `row`
        UnreadableRow,   // `file`, `row`
        ForeignKey,      // `file`, `row`: no value of the column's type has the key `number`
        OtherValue,      // `file`, `row`: the key is another value's
        NeitherBoolean,  // `row`, `column`
        BadText,         // `row`, `column`: the text `number`, in `file` if that is known
        SharedText,      // the text `number` belongs to two rows
        OrphanText,      // the text `number` belongs to no row
        OutsideFile,     // the entry `number` of `file`
        FreeBlockInUse,  // at the byte `number` of `file`
        SharedBlock,     // by two entries, at the byte `number` of `file`
    };

    Kind kind = Kind::None;
    std::string file{};  // without folder
    std::string column{};
    int64_t row = 0;
    int64_t number = 0;
    int64_t rows = 0;

    bool operator==(const IntegrityDetail&) const = default;
};

}  // namespace quillon
