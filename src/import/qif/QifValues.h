#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "import/plan/ImportNotes.h"
#include "import/plan/ImportRecord.h"
#include "import/qif/QifRecords.h"
#include "import/qif/QifSources.h"
#include "import/text/AmountText.h"
#include "import/text/Dialect.h"

namespace quillon {

// "[Savings]", with or without a class behind it, is account Savings; empty for a category.
std::string_view OtherAccount(std::string_view category);

// Reads the values of a file's records by the dialect that was inferred, and notes what is
// not as it should be.
//
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows all but the sink. Views of a record live while the sink has it.
class CQifValues final : public CQifTaker {
public:
    // Takes a record and its source.
    using Sink = std::function<bool(ImportRecord&, size_t)>;

    CQifValues(int64_t today, const Dialect& dialect, const AmountMarks& marks,
               const QifOutline& outline, const std::vector<ImportSource>& chosen,
               CImportNotes& notes, Sink sink)
        : m_today(today),
          m_dialect(dialect),
          m_marks(marks),
          m_outline(outline),
          m_chosen(chosen),
          m_notes(notes),
          m_sink(std::move(sink)) {}

    void BeginRegister(std::string_view account, std::string_view type) override {
        m_source = m_sources.Take(account, type);
        m_isChosen = m_chosen[m_source].chosen;
    }
    void TakeRecord(const QifRecord& raw) override;
    void Skip(QifSkip reason, int64_t line) override;
    // Records of the chosen ones, and actions among them that move no money.
    int64_t Records() const { return m_read; }
    int64_t Investments() const { return m_investments; }

private:
    bool ReadAction(const QifRecord& raw, bool& isOut);
    bool ReadDateOf(const QifRecord& raw, ImportRecord& record);
    void NoteDate(const QifRecord& raw, const ImportRecord& record);
    AmountReading ReadAmountOf(const QifRecord& raw, ImportRecord& record);
    void NoteAmount(const QifRecord& raw, AmountReading reading);
    void NoteCurrency(const QifRecord& raw);
    void ReadNumberOf(const QifRecord& raw, ImportRecord& record);
    std::string_view CategoryOf(const QifRecord& raw, const ImportRecord& record);
    void NoteSplits(const QifRecord& raw, std::string_view category);
    bool IsPartOnly(const QifRecord& raw, const ImportRecord& record) const;
    std::string_view WithoutClass(const QifRecord& raw, std::string_view category);
    size_t ListedNameIn(std::string_view category) const;
    std::string_view TransferOf(const QifRecord& raw, std::string_view category);

    int64_t m_today;
    const Dialect& m_dialect;
    const AmountMarks& m_marks;
    const QifOutline& m_outline;
    const std::vector<ImportSource>& m_chosen;
    CImportNotes& m_notes;
    Sink m_sink;
    CQifSources m_sources;
    size_t m_source = 0;
    bool m_isChosen = true;  // as is what stands in no register
    bool m_stopped = false;
    int64_t m_read = 0;
    int64_t m_investments = 0;
    CTextArena m_arena;      // of the record being read
    std::string m_currency;  // of the first amount that has one
};

}  // namespace quillon
