#pragma once

#include <cstdint>
#include <vector>

#include "import/plan/ImportOptions.h"
#include "import/plan/ImportRecord.h"
#include "import/qif/QifRecords.h"
#include "import/text/AmountRounding.h"
#include "import/text/AmountText.h"
#include "import/text/TextFileManager.h"

namespace quillon {

// Reads the file as a person would: only what stands in registers is a transaction,
// splits and account blocks are understood, and the dialect is inferred from all of it.
// The text is walked several times and no record is kept.
//
//   Amounts    Whole cents.
//   Errors     std::bad_alloc passes through. What cannot be read gets a note.
//   Ownership  Borrows all that it is given. Views of a record live while the sink has it;
//              those that stand in the text as they are lie there.
//   Threads    One at a time.
class CInferredQif {
public:
    // `text` must hold UTF-8. All outlive this.
    CInferredQif(const CReadOnlyTextFileManager& text, int64_t today, const ImportOptions& options,
                 Dialect& dialect, CImportNotes& notes);

    // The first look: `dialect` is set, but for its character set.
    void Survey();
    const QifOutline& Outline() const { return m_outline; }
    // The accounts that the registers name; where one names none, its type stands for it.
    const std::vector<ImportSource>& Sources() const { return m_sources; }

    // Of the chosen ones of `sources`, which are those found.
    struct Counts {
        int64_t read = 0;         // records of registers
        int64_t records = 0;      // that can be entered
        int64_t dated = 0;        // of these, with a date that can be read
        int64_t investments = 0;  // actions that move none of the account's money
    };
    Counts Count(const std::vector<ImportSource>& sources);
    // Hands over the records of the chosen ones in file order, with their notes. Counted
    // before.
    void Read(const std::vector<ImportSource>& sources, const RecordSink& sink);

private:
    const CReadOnlyTextFileManager& m_text;
    int64_t m_today;
    const ImportOptions& m_options;
    Dialect& m_dialect;
    CImportNotes& m_notes;
    AmountMarks m_marks;
    QifOutline m_outline;
    std::vector<ImportSource> m_sources;
    std::vector<CAmountRounding> m_rounding;  // by source
};

}  // namespace quillon
