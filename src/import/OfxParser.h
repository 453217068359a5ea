#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "import/Dialect.h"
#include "import/ImportRecord.h"
#include "import/TextFileManager.h"
#include "import/TextScan.h"

namespace quillon {

// What the two OFX readers give back. Views in the records are valid as long as this and
// the text that was read.
struct OfxContents {
    int64_t read = 0;  // statement lines
    std::vector<ImportRecord> records;
    CTextArena arena;

    // The inferred reader only:
    bool hasBody = false;               // an <OFX> element or a statement line
    int64_t statements = 0;             // of bank, card and investment accounts
    int64_t investmentActions = 0;      // buys, sells, income and the like
    std::vector<std::string> accounts;  // identifiers of the statements' accounts, each once
    std::string problem;                // what the bank reports instead of a statement
};

// The plain rules, line by line, over normalised text. `today` stands in for dates that
// cannot be read.
void ReadPlainOfx(const CReadOnlyTextFileManager& text, int64_t today, OfxContents& contents);

// Reads elements wherever they stand: closed or not, several on a line, values on lines
// of their own, comments, CDATA and entities. `text` is UTF-8; line numbers are those of
// its line feeds. `dialect` is set, but for its character set.
void ReadInferredOfx(std::string_view text, int64_t today, const ImportOptions& options,
                     Dialect& dialect, CImportNotes& notes, OfxContents& contents);

// "&amp;" and its kin, "&#233;" and "&#xE9;". What is no entity stays as it is.
std::string DecodeEntities(std::string_view text);

// A statement identifier as a number: digits that fit 64 bits are the number itself,
// every other text its hash, never 0. 0 for an empty text and for digits that are 0.
int64_t StatementId(std::string_view text);

}  // namespace quillon
