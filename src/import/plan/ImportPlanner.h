#pragma once

#include "import/plan/HeldLines.h"
#include "import/plan/ImportPlan.h"
#include "import/plan/ImportRecord.h"
#include "import/plan/RenamingRules.h"

namespace quillon {

// Judges the records of a file, each once, and makes them rows of a plan.
//
//   Errors     false, when the database cannot be read. std::bad_alloc passes through.
//   Ownership  Borrows plan, notes and the plan's database.
//   Threads    One at a time.
class CImportPlanner {
public:
    CImportPlanner(CImportPlan& plan, const ImportOptions& options, CImportNotes& notes)
        : m_plan(plan),
          m_isPlain(options.dialect == DialectMode::Plain),
          m_match(options.match),
          m_notes(notes) {}

    // Reads what the ledger has to say: rules, and lines that the account holds.
    [[nodiscard]] bool Load();
    // Adds a record, whose texts may be gone afterwards unless they stand in the plan's text.
    [[nodiscard]] bool Take(ImportRecord& record);
    // When all were added: compares them with what the account has. By the plain rules
    // nothing is to be done.
    [[nodiscard]] bool Finish();

private:
    struct Judgement {
        PlanOutcome outcome = PlanOutcome::New;
        int64_t match = kNoRow;
    };
    Judgement Judge(ImportRecord& record);
    void LimitTexts(ImportRecord& record);
    bool TakeNames(const ImportRecord& record, PackedRow& row);

    CImportPlan& m_plan;
    bool m_isPlain;
    MatchMode m_match;
    CImportNotes& m_notes;
    CRenamingRules m_rules;
    std::vector<DeletedLine> m_deleted;  // by people, of earlier imports
    CHeldLines m_held;
};

}  // namespace quillon
