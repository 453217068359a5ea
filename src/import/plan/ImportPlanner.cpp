#include "import/plan/ImportPlanner.h"

#include <cmath>
#include <string>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "import/plan/PlanMatcher.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;

constexpr size_t kLongestText = 4096;  // bytes

}  // namespace

bool CImportPlanner::Load() {
    CQuillonDatabaseInterface& database = *m_plan.m_database;
    // By the plain rules what is gone is gone. A damaged history knows of fewer.
    const auto keep = [this](const DeletedLine& line) { m_deleted.push_back(line); };
    if (!m_isPlain &&
        ForEachDeletedLine(database, m_plan.m_account, keep) == HistoryStatus::StoreFailed) {
        return false;
    }
    return m_rules.Load(database) && (!m_plan.m_found.format.hasIdentifiers ||
                                      m_held.Load(database, m_plan.m_account, m_deleted));
}

// Cuts texts that the ledger cannot hold or no screen could show.
void CImportPlanner::LimitTexts(ImportRecord& record) {
    for (std::string_view* text : {&record.payee, &record.category, &record.memo}) {
        // A stored text ends there: cut before, a preview counts the names that will be.
        *text = text->substr(0, text->find('\0'));
        if (text->size() <= kLongestText) continue;
        *text = CutUtf8(*text, kLongestText);
        m_notes.Add(Note::TextCut, record.line, {kLongestText});
    }
    record.idText = CutUtf8(record.idText, kLongestText);
}

// A held line is held even where its date or amount cannot be read: importing the file again
// would else enter it again, as it did on the day of the first import. So what is unreadable
// is said of lines only that are entered.
CImportPlanner::Judgement CImportPlanner::Judge(ImportRecord& record) {
    using Meets = CHeldLines::Meets;
    const CHeldLines::Answer answer = m_isPlain ? m_held.MeetPlain(record) : m_held.Meet(record);
    if (answer.differs) {
        m_notes.Add(Note::HeldDiffers, record.line);
    }
    if (answer.meets == Meets::Earlier) return {PlanOutcome::Repeated, kNoRow};
    if (answer.meets == Meets::Held) return {PlanOutcome::Held, answer.row};
    if (!(std::fabs(record.amount) <= kLargestAmount)) {
        m_notes.Add(Note::AmountTooLarge, record.line);
        return {PlanOutcome::Refused, kNoRow};
    }
    const bool isRead = record.dateRead && record.amountRead;
    return {isRead ? PlanOutcome::New : PlanOutcome::Unreadable, kNoRow};
}

bool CImportPlanner::TakeNames(const ImportRecord& record, PackedRow& row) {
    CQuillonDatabaseInterface& database = *m_plan.m_database;
    // By the plain rules a payee without a name is one.
    if (m_isPlain || !record.payee.empty()) {
        const std::optional<uint32_t> payee =
            m_plan.m_payees.Add(record.payee, m_rules,
                                [&](std::string_view name) { return database.FindPayeeId(name); });
        if (!payee) return false;
        row.payee = *payee;
    }
    if (record.category.empty()) return true;
    const std::optional<uint32_t> category = m_plan.m_categories.Add(
        record.category, m_rules,
        [&](std::string_view name) { return database.FindCategoryId(name); });
    row.category = category.value_or(0);
    return category.has_value();
}

bool CImportPlanner::Take(ImportRecord& record) {
    LimitTexts(record);
    const Judgement judgement = Judge(record);
    PackedRow row;
    if (!TakeNames(record, row)) return false;
    row.line = record.line;
    row.date = record.date;
    row.dateRead = record.dateRead;
    row.amount = record.amount;
    row.amountRead = record.amountRead;
    row.check = record.check;
    row.electronic = record.electronic;
    row.fitId = m_plan.m_found.format.hasIdentifiers ? record.fitId : 0;
    row.idText = record.idText;
    row.memo = record.memo;
    m_plan.m_rows.Add(row, m_plan.m_texts);
    const bool enters =
        judgement.outcome == PlanOutcome::New || judgement.outcome == PlanOutcome::Unreadable;
    if (judgement.match != kNoRow) {
        m_plan.m_matches.emplace_back(m_plan.m_states.size(), judgement.match);
    }
    m_plan.m_states.push_back({judgement.outcome, enters ? PlanAction::Enter : PlanAction::Skip});
    return true;
}

bool CImportPlanner::Finish() {
    return m_isPlain || CPlanMatcher(m_plan, m_match, m_deleted, m_notes).Run();
}

}  // namespace quillon
