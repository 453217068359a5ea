#include "import/qif/QifInferred.h"

#include <span>
#include <utility>

#include "import/qif/QifSources.h"
#include "import/qif/QifValues.h"
#include "import/text/AmountInference.h"
#include "import/text/AmountRounding.h"
#include "import/text/DateInference.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;

// The first walk: what dates and amounts tell of the file, and whose registers it holds.
class CSurvey final : public CQifTaker {
public:
    void BeginRegister(std::string_view account, std::string_view type) override {
        m_dates.StartSequence();
        m_source = m_sources.Take(account, type);
    }

    void TakeRecord(const QifRecord& record) override {
        ++m_sources.m_all[m_source].lines;
        m_dates.Add(record.date, record.dateLine);
        const bool ownAmount = !record.amount.empty();
        if (ownAmount) m_amounts.Add(record.amount, record.amountLine);
        for (const QifLine& split : record.splitAmounts) {
            m_amounts.Add(split.text, split.line, !ownAmount);
        }
    }

    void Skip(QifSkip, int64_t) override {}

    CDateInference m_dates;
    CAmountInference m_amounts;
    CQifSources m_sources;

private:
    size_t m_source = 0;
};

void NoteAssumed(const QifOutline::Assumed& assumed, CImportNotes& notes) {
    if (assumed.type.empty()) {
        notes.Add(assumed.isInvestment ? Note::ReadAsInvestment : Note::ReadAsBank, assumed.line);
    } else {
        notes.Add(assumed.isInvestment ? Note::TypeReadAsInvestment : Note::TypeReadAsBank,
                  assumed.line, {assumed.type});
    }
}

void NoteOutline(const QifOutline& outline, CImportNotes& notes) {
    if (!outline.lists.empty() && outline.registers > 0) {
        const std::vector<ImportArgument> lists(outline.lists.begin(), outline.lists.end());
        notes.Add(Note::ListsSkipped, 0, std::span(lists));
    }
    for (const QifOutline::Assumed& assumed : outline.assumed) NoteAssumed(assumed, notes);
}

}  // namespace

CInferredQif::CInferredQif(const CReadOnlyTextFileManager& text, int64_t today,
                           const ImportOptions& options, Dialect& dialect, CImportNotes& notes)
    : m_text(text), m_today(today), m_options(options), m_dialect(dialect), m_notes(notes) {}

void CInferredQif::Survey() {
    CSurvey survey;
    m_outline = WalkQif(m_text, survey);
    survey.m_dates.Decide(m_options.dateOrder, m_dialect, m_notes);
    m_marks = survey.m_amounts.Decide(m_options.decimal, m_dialect, m_notes);
    m_sources = std::move(survey.m_sources.m_all);
}

CInferredQif::Counts CInferredQif::Count(const std::vector<ImportSource>& sources) {
    Counts counts;
    m_rounding.assign(sources.size(), {});
    CImportNotes unheard;
    CQifValues values(m_today, m_dialect, m_marks, m_outline, sources, unheard,
                      [&](ImportRecord& record, size_t source) {
                          ++counts.records;
                          counts.dated += record.dateRead;
                          m_rounding[source].Add(record.amount);
                          return true;
                      });
    (void)WalkQif(m_text, values);
    counts.read = values.Records();
    counts.investments = values.Investments();
    double balance = 0.0;
    if (ReadAmount(m_outline.balance, m_marks, balance) == AmountReading::Clean) {
        for (CAmountRounding& rounding : m_rounding) rounding.KeepSum();
    }
    return counts;
}

void CInferredQif::Read(const std::vector<ImportSource>& sources, const RecordSink& sink) {
    CQifValues values(m_today, m_dialect, m_marks, m_outline, sources, m_notes,
                      [&](ImportRecord& record, size_t source) {
                          const double written = record.amount;
                          record.amount = m_rounding[source].Round(written);
                          if (!HasWholeCents(written)) {
                              m_notes.Add(Note::SumRounded, record.line, {written, record.amount});
                          }
                          return sink(record);
                      });
    (void)WalkQif(m_text, values);
    NoteOutline(m_outline, m_notes);
}

}  // namespace quillon
