#pragma once

#include <string>
#include <string_view>

#include "foundation/KeelString.h"
#include "import/plan/ImportOptions.h"

namespace quillon {

// A format of bank files, as far as plans and reports ask.
struct ImportFormat {
    std::string_view name;  // "QIF"; lives as long as the program
    // Its lines have identifiers: what the account holds is told by them, and importing a
    // file again adds the rest.
    bool hasIdentifiers = false;
    bool hasCategories = false;
};

// The sentences of an import; `path` as it was given. Nothing but memory can fail.

// "An error occurred importing the QIF data file 'x.qif'.", and `reason` behind it.
std::string FailureMessage(const ImportFormat& format, std::string_view path,
                           std::string_view reason = {});
// The report of an import that came to its end or was stopped before, in several lines.
std::string ReportMessage(const ImportFormat& format, std::string_view path,
                          const ImportResult& result);
// The same of one that was only tried.
std::string TriedMessage(std::string_view path, const ImportResult& result);
// Why the ledger took no more, and that the `result.imported` records before stay.
std::string StoreFailure(const ImportFormat& format, bool diskFull, const ImportResult& result);
// Sets `result` to a failure for want of memory; the words take as much as there is.
void FailForMemory(ImportResult& result, const CKeelString& path) noexcept;

}  // namespace quillon
