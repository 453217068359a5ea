#pragma once

#include <cstdint>
#include <vector>

#include "import/Dialect.h"
#include "import/ImportRecord.h"
#include "import/QifRecords.h"
#include "import/TextFileManager.h"
#include "import/TextScan.h"

namespace quillon {

// What the inferred reader gives back. Views in the records are valid as long as this and
// the text file manager that was read.
struct QifContents {
    int64_t read = 0;  // records of registers
    std::vector<ImportRecord> records;
    CTextArena arena;

    QifOutline outline;
    int64_t skippedInvestments = 0;  // actions that move none of the account's money
};

// The plain rules, line by line. `today` stands in for dates that cannot be read.
void ReadPlainQif(const CReadOnlyTextFileManager& text, int64_t today, DateOrder order,
                  const RecordSink& sink);

// Reads the file as a person would: only what stands in registers is a transaction,
// splits and account blocks are understood, and the dialect is inferred from all of it.
// Amounts come out as whole cents. `text` must hold UTF-8. `dialect` is set, but for its
// character set.
void ReadInferredQif(const CReadOnlyTextFileManager& text, int64_t today,
                     const ImportOptions& options, Dialect& dialect, CImportNotes& notes,
                     QifContents& contents);

}  // namespace quillon
