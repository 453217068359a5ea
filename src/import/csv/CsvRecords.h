#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import/csv/CsvCells.h"
#include "import/csv/CsvIdentifiers.h"
#include "import/csv/CsvProof.h"
#include "import/csv/CsvRows.h"
#include "import/csv/CsvShape.h"
#include "import/plan/ImportNotes.h"
#include "import/plan/ImportRecord.h"
#include "import/plan/ImportSource.h"

namespace quillon {

// Reads the rows of a file by its shape: hands over those that move money, with the lines
// that go on below them, and notes all others.
//
//   Amounts    Whole cents.
//   Errors     std::bad_alloc passes through. What cannot be read gets a note.
//   Ownership  Borrows all that it is given. Views of a record live while the sink has it.
//   Threads    One at a time.
class CCsvRecords {
public:
    CCsvRecords(std::string_view text, const CsvShape& shape, DateOrder order, int64_t today,
                CImportNotes& notes)
        : m_text(text), m_shape(shape), m_order(order), m_today(today), m_notes(notes) {}

    // The first walk, where identifiers or accounts of the file ask for one. Sets `sources` to
    // the accounts that rows name; none where no column does.
    void Survey(std::vector<ImportSource>& sources);

    // With the sources chosen. `read`: rows that say a date and an amount, or tried to.
    void Read(const std::vector<ImportSource>& sources, const RecordSink& sink, int64_t& read);
    // What the balances of all rows that were handed over prove.
    const CCsvProof& Proof() const { return m_proof; }

private:
    // What becomes of a row.
    enum class Kind : uint8_t {
        Record,
        Continuation,  // of the one above
        LeftOut,       // and noted
        Nothing,       // blank, or another account's
    };
    struct Parsed {
        Kind kind = Kind::Nothing;
        bool isRecordLike = false;
        bool hasDate = false;
        int64_t date = 0;
        std::string_view dateText;
        CsvMoney money;
        std::optional<double> balance;
    };
    // A note of a row that is left out; none while the first walk is made.
    void LeaveOut(ImportNoteCode code, const CsvRow& row,
                  std::initializer_list<ImportArgument> values = {});

    Parsed Parse(const CsvRow& row);
    Kind Judge(const CsvRow& row, Parsed& parsed);
    Kind JudgeWords(const CsvRow& row, const Parsed& parsed);
    bool IsProved(const Parsed& parsed) const;
    Kind JudgeUndated(const CsvRow& row, Parsed& parsed);
    Kind JudgeMoney(const CsvRow& row, const Parsed& parsed);
    Kind JudgeText(const CsvRow& row);
    void ReadDateOf(const CsvRow& row, Parsed& parsed) const;
    bool IsOtherCurrency(const CsvRow& row) const;

    // The rows from the shape's first one on.
    template <typename Take>
    void Walk(const Take& take);
    ImportRecord RecordOf(CsvRow& row, const Parsed& parsed);
    void TakeTexts(CsvRow& row, ImportRecord& record);
    void TakeAmount(const CsvRow& row, const Parsed& parsed, ImportRecord& record);
    void TakeIdentifier(const CsvRow& row, ImportRecord& record);
    void NoteValues(const CsvRow& row, const Parsed& parsed);
    void Prove(const CsvRow& row, const Parsed& parsed, const ImportRecord& record);
    double SignedByBalance(const CsvRow& row, const Parsed& parsed);
    const std::string& KeyOf(const CsvRow& row, const Parsed& parsed);
    std::string_view Clean(std::string_view text, CsvRow& row) const;
    bool IsChosen(const CsvRow& row, const std::vector<ImportSource>& sources) const;

    std::string_view m_text;
    const CsvShape& m_shape;
    DateOrder m_order;
    int64_t m_today;
    CImportNotes& m_notes;
    bool m_isSurvey = false;
    std::unordered_map<std::string, size_t> m_sources;  // by name
    CCsvIdentifiers m_identifiers;
    CCsvProof m_proof;
    int64_t m_lastLine = 0;                 // of the record that was proved before
    std::optional<double> m_balanceBefore;  // of the row above the one that is judged
    std::optional<double> m_balanceAbove;   // of the rows next to the one that is taken
    std::optional<double> m_balanceBelow;
    std::string m_more;  // of the lines that go on below the record
    std::string m_key;
};

}  // namespace quillon
