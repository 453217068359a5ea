#pragma once

#include <vector>

#include "import/plan/ImportValue.h"

namespace quillon {

// Why an import came to nothing, or ended before its time. Behind each code its values.
enum class ImportRefusalCode {
    None,
    // The file.
    NoSuchFile,
    NotReadable,   // by the plain rules, which tell no more
    NoPermission,  // to read it
    ReadFailed,
    Empty,
    NotText,
    NoLines,  // it cannot be split into them
    // Its accounts; those found stand in ImportResult::sources.
    SourceUnclear,  // several, and which one is meant is not clear
    SourceUnknown,  // the name that was asked for
    // What stands in it instead of transactions.
    NoDates,         // none can be read
    QifInvestments,  // how many actions, none of which moves the account's own money
    QifIncomplete,   // how many records, none of which has a date and an amount
    QifNoRecords,    // registers without transactions
    QifOnlyLists,    // the types of the lists, a text each
    QifNoRegister,
    QifIsOfx,
    NotQif,
    NotOfx,
    OfxNoCompleteLine,
    OfxBankReports,  // the bank's error number and, where there is one, its message
    OfxInvestments,  // how many actions on securities
    OfxNoLines,
    CsvIsOther,       // what it is instead
    CsvHeadingAlone,  // without any rows
    CsvNoSuchColumn,  // that was asked for
    // Of both: a text that is written like a date but is none, or an empty one; then what was
    // tried, five values each: the delimiter, how many rows and columns, the columns of dates
    // and of amounts, or 0.
    CsvNoDates,
    CsvNoRows,
    // The ledger.
    AccountUnreadable,
    NoSuchAccount,
    AccountClosed,
    SpentPlan,  // it was carried out before
    DiskFull,   // of this and the next, ImportResult tells what stays
    StoreFailed,
    OutOfMemory,
};

struct ImportRefusal {
    ImportRefusalCode code = ImportRefusalCode::None;
    std::vector<ImportValue> values = {};

    bool operator==(const ImportRefusal&) const = default;
};

}  // namespace quillon
