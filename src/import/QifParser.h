#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "import/Dialect.h"
#include "import/ImportRecord.h"
#include "import/TextFileManager.h"
#include "import/TextScan.h"

namespace quillon {

// What the two QIF readers give back. Views in the records are valid as long as this
// and the text file manager that was read.
struct QifContents {
    int64_t read = 0;  // records counted: plain, every "^" that counts; else registers'
    std::vector<ImportRecord> records;
    CTextArena arena;

    // The inferred reader only:
    bool hasHeader = false;             // a line that begins with "!"
    std::vector<std::string> lists;     // sections that are no registers, each once
    std::vector<std::string> accounts;  // named by !Account blocks in front of registers
    int64_t registers = 0;              // headers of sections that count
    int64_t skippedInvestments = 0;     // actions that move shares, not money
};

// The plain rules, line by line. `today` stands in for dates that cannot be read.
void ReadPlainQif(const CReadOnlyTextFileManager& text, int64_t today, DateOrder order,
                  QifContents& contents);

// Reads the file as a person would: only what stands in registers is a transaction,
// splits and account blocks are understood, and the dialect is inferred from all of it.
// `text` must hold UTF-8. `dialect` is set, but for its character set.
void ReadInferredQif(const CReadOnlyTextFileManager& text, int64_t today,
                     const ImportOptions& options, Dialect& dialect, CImportNotes& notes,
                     QifContents& contents);

}  // namespace quillon
