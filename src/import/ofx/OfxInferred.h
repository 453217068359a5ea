#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "import/ofx/OfxIdentifiers.h"
#include "import/ofx/OfxStatements.h"
#include "import/plan/ImportOptions.h"
#include "import/plan/ImportRecord.h"
#include "import/text/AmountInference.h"
#include "import/text/AmountRounding.h"
#include "import/text/Dialect.h"

namespace quillon {

// Reads a statement download as a person would. The text is walked several times and
// nothing is kept of the lines but what their identifiers need, so that memory stays a
// small part of the file's, whatever is in it.
//
//   Amounts    Whole cents, in the statement's currency.
//   Errors     std::bad_alloc passes through. What cannot be read gets a note.
//   Ownership  Borrows all that it is given. Views of a record live while the sink has it;
//              those that stand in the text as they are lie there.
//   Threads    One at a time.
class CInferredOfx {
public:
    // `text` is UTF-8; line numbers are those of its line feeds. All outlive this.
    CInferredOfx(std::string_view text, int64_t today, const ImportOptions& options,
                 Dialect& dialect, CImportNotes& notes);

    // The first look: `dialect` is set, but for its character set.
    void Survey();
    const OfxSurvey& Found() const { return m_survey; }

    // Lines of the chosen ones of `sources`, which are those found.
    struct Counts {
        int64_t read = 0;
        int64_t records = 0;  // that can be entered
        int64_t dated = 0;    // of these, with a date that can be read
    };
    Counts Count(const std::vector<ImportSource>& sources) const;
    // Hands over the records of the chosen ones in file order, with their notes.
    void Read(const std::vector<ImportSource>& sources, const RecordSink& sink);

private:
    size_t SourceOf(const OfxLine& line) const { return m_survey.sourceOf[line.statement]; }
    COfxIdentifiers::Source SourceNamed(size_t index) const {
        return {index, m_survey.sources[index].name};
    }
    bool IsRecord(const OfxLine& line);
    void LookAgain(const std::vector<ImportSource>& sources);
    void Note(ImportNoteCode code, int64_t line, std::initializer_list<ImportArgument> values = {});

    void ReadRecord(const OfxLine& line, ImportRecord& record);
    void ReadDateOf(const OfxLine& line, ImportRecord& record);
    void NoteDate(const OfxLine& line, bool hasUserDate);
    void ReadAmountOf(const OfxLine& line, ImportRecord& record);
    void ReadTypeAndCheckOf(const OfxLine& line, ImportRecord& record);
    void NoteReading(const OfxLine& line, AmountReading reading);
    void NoteShared(const COfxIdentifiers::Finding& finding, int64_t line);

    std::string_view m_text;
    int64_t m_today;
    const ImportOptions& m_options;
    Dialect& m_dialect;
    CImportNotes& m_notes;

    AmountMarks m_marks;
    OfxSurvey m_survey;
    COfxIdentifiers m_ids;
    std::vector<Counts> m_counts;             // by statement
    std::vector<CAmountRounding> m_rounding;  // by source
    bool m_speaks = false;                    // notes are written
};

}  // namespace quillon
