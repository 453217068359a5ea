#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "import/plan/ImportFormat.h"
#include "import/plan/ImportNotes.h"
#include "import/plan/ImportRefusal.h"
#include "import/plan/ImportSource.h"
#include "import/text/Dialect.h"

namespace quillon {

// What an importer is asked, and what came of it; values, that own what they hold.

// Called between batches, in the thread that imports, with the records done and all there
// are; false stops the import there. What was entered stays.
using ImportProgress = std::function<bool(int64_t done, int64_t total)>;

// Whether entries that people made are looked for among the lines of a statement. The plain
// rules never do.
enum class MatchMode : uint8_t { Auto, None };

struct ImportOptions {
    DialectMode dialect = DialectMode::Plain;
    // Set by the user, these win over what the file shows.
    std::optional<DateOrder> dateOrder;
    std::optional<DecimalMark> decimal;
    MatchMode match = MatchMode::Auto;
    // CImportManager::Import() plans only: it enters nothing and leaves the file as it is.
    bool dryRun = false;
    // The account of the file whose lines are entered, where it holds several. Empty: the
    // file's only one, or the one that the account carries.
    std::string source;
    bool allSources = false;  // all of them
    // Every note by itself, instead of one for many lines that say the same.
    bool everyNote = false;
    ImportProgress progress;
};

struct ImportResult {
    bool failed = false;
    ImportRefusal refusal;  // why; none unless failed
    ImportFormat format;    // of the file
    bool dryRun = false;    // nothing was entered: it was only tried
    bool cancelled = false;
    // Importing the file again adds what is missing and nothing twice.
    bool tellsHeld = false;
    // The file holds several accounts, and which one was meant is not clear: nothing was
    // entered. ImportOptions::source tells, or allSources.
    bool needsSource = false;

    int64_t read = 0;        // records or statement lines in the file
    int64_t imported = 0;    // of these, entered (in a dry run: to be entered)
    int64_t duplicates = 0;  // of these, known already
    int64_t matched = 0;     // of these, entries that the account had
    int64_t categoriesCreated = 0;
    int64_t payeesCreated = 0;

    Dialect dialect;
    std::vector<ImportSource> sources;  // the accounts of the file; none by the plain rules
    std::vector<ImportNote> notes;      // in file order; those of the whole file first
};

// Sets `result` to a failure for want of memory, of which it needs none.
inline void FailForMemory(ImportResult& result) noexcept {
    result.failed = true;
    result.refusal.code = ImportRefusalCode::OutOfMemory;
    result.refusal.values.clear();
}

}  // namespace quillon
