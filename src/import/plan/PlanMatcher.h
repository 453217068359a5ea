#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "finance/database/TransactionColumns.h"
#include "finance/history/ImportBatch.h"
#include "import/plan/ImportPlan.h"
#include "import/plan/LineMatcher.h"

namespace quillon {

// Judges by the account's entries what the rows of a plan are, when all of them are in it and
// those of held identifiers are known: which are held by what they say, which are entries
// that people made, which may be.
//
//   Reads      Of the account the numbers of the entries near the file's days, no texts.
//   Memory     30 bytes an entry on those days, 100 more where its amount is a row's; 60 a row
//              that is not held.
//   Errors     false, when the database cannot be read. std::bad_alloc passes through.
//   Ownership  Borrows plan, lines, notes and the plan's database.
class CPlanMatcher {
public:
    // `deleted`: lines whose transactions people deleted; they count as held.
    CPlanMatcher(CImportPlan& plan, MatchMode mode, std::span<const DeletedLine> deleted,
                 CImportNotes& notes)
        : m_plan(plan), m_mode(mode), m_deleted(deleted), m_notes(notes) {}

    [[nodiscard]] bool Run();

private:
    // Rows that seek an entry: those whose date was read, and the others.
    struct Seekers {
        std::vector<SeekingLine> dated;
        std::vector<SeekingLine> undated;
    };
    void Gather(Seekers& seekers) const;
    bool IsSought(const PackedRow& row, PlanOutcome outcome) const;
    SeekingLine SeekerOf(const PackedRow& row, size_t index) const;

    bool Match(std::vector<SeekingLine>& lines, CEntryPool& pool);
    bool JudgeUndated(std::vector<SeekingLine>& lines);
    // The days on which what the file's other rows meet was entered.
    bool ImportDays(std::vector<int32_t>& days) const;
    bool ReadNear(std::span<const SeekingLine> lines, std::vector<PoolEntry>& entries) const;
    void AddDeleted(std::vector<PoolEntry>& entries) const;
    bool ReadEntries(int32_t from, int32_t to, const TransactionChoice& choose,
                     std::vector<PoolEntry>& entries) const;
    bool ReadOn(std::span<const int32_t> days, std::vector<PoolEntry>& entries) const;

    std::vector<int64_t> RowsMet() const;
    // Sets what was found out in the plan.
    void Settle(std::span<const SeekingLine> lines, const CEntryPool& pool);

    CImportPlan& m_plan;
    MatchMode m_mode;
    std::span<const DeletedLine> m_deleted;
    CImportNotes& m_notes;
};

}  // namespace quillon
