#include "import/plan/ImportPlan.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "import/plan/EntryPool.h"

namespace quillon {

namespace {

// Which names were counted already.
class CSeenNames {
public:
    explicit CSeenNames(const CPlanNames& names) : m_names(names), m_seen(names.NameCount()) {}

    // 1 for a name that has no row and is met for the first time.
    int64_t CountNew(uint32_t number) {
        if (!m_names.IsMissing(number)) return 0;
        const uint32_t name = m_names.NameOf(number);
        if (m_seen[name]) return 0;
        m_seen[name] = true;
        return 1;
    }

private:
    const CPlanNames& m_names;
    std::vector<bool> m_seen;
};

}  // namespace

void CImportPlan::SetText(std::shared_ptr<const void> owner, std::string_view text) {
    m_text = std::move(owner);
    m_texts = CTextPool(text);
    m_payees = CPlanNames(CPlanNames::EmptyName::IsName, text);
    m_categories = CPlanNames(CPlanNames::EmptyName::IsNone, text);
    m_rows = CPackedRows(text);
}

CImportPlan::Counts CImportPlan::Count() const {
    Counts counts;
    counts.read = m_found.read;
    CSeenNames payees(m_payees);
    CSeenNames categories(m_categories);
    CPackedRows::CReader reader(m_rows, m_texts);
    PackedRow row;
    for (const State& state : m_states) {
        if (!reader.Next(row)) break;
        if (state.action == PlanAction::Enter) {
            ++counts.entered;
            counts.payees += payees.CountNew(row.payee);
            counts.categories += categories.CountNew(row.category);
        } else if (state.action == PlanAction::Match) {
            ++counts.matched;
        } else {
            counts.duplicates +=
                state.outcome == PlanOutcome::Held || state.outcome == PlanOutcome::Repeated;
        }
    }
    return counts;
}

ImportResult CImportPlan::Preview() const {
    ImportResult result = m_found;
    if (result.failed) return result;
    result.dryRun = true;
    const Counts counts = Count();
    result.imported = counts.entered;
    result.duplicates = counts.duplicates;
    result.matched = counts.matched;
    result.payeesCreated = counts.payees;
    result.categoriesCreated = counts.categories;
    return result;
}

int64_t CImportPlan::MatchOf(size_t index) const {
    const auto found =
        std::lower_bound(m_matches.begin(), m_matches.end(), index,
                         [](const auto& match, size_t row) { return match.first < row; });
    return found != m_matches.end() && found->first == index ? found->second : kNoRow;
}

ImportPlanRow CImportPlan::Shown(const PackedRow& packed, size_t index) const {
    ImportPlanRow row;
    row.line = packed.line;
    row.date = packed.date;
    row.dateRead = packed.dateRead;
    row.amount = packed.amount;
    row.amountRead = packed.amountRead;
    row.type = TypeForSignedAmount(packed.amount, m_account.accountType);
    row.check = packed.check;
    row.electronic = packed.electronic;
    row.idText = packed.idText;
    row.fitId = packed.fitId;
    row.payeeInFile = m_payees.InFile(packed.payee);
    row.payee = m_payees.Name(packed.payee);
    row.categoryInFile = m_categories.InFile(packed.category);
    row.category = m_categories.Name(packed.category);
    row.memo = packed.memo;
    row.makesPayee = m_payees.IsMissing(packed.payee);
    row.makesCategory = m_categories.IsMissing(packed.category);
    row.outcome = m_states[index].outcome;
    row.action = m_states[index].action;
    row.match = MatchOf(index);
    return row;
}

ImportPlanRow CImportPlan::Row(size_t index) const {
    return Shown(m_rows.Row(index, m_texts), index);
}

void CImportPlan::ForEachRow(const std::function<void(const ImportPlanRow&)>& take) const {
    CPackedRows::CReader reader(m_rows, m_texts);
    PackedRow row;
    for (size_t index = 0; reader.Next(row); ++index) take(Shown(row, index));
}

// --- what people change

bool CImportPlan::IsMatchedElsewhere(size_t index, int64_t transactionId) const {
    return std::any_of(m_matches.begin(), m_matches.end(), [&](const auto& match) {
        return match.second == transactionId && match.first != index &&
               m_states[match.first].action == PlanAction::Match;
    });
}

bool CImportPlan::SetAction(size_t index, PlanAction action) {
    if (index >= m_states.size()) return false;
    State& state = m_states[index];
    if (state.outcome == PlanOutcome::Refused && action != PlanAction::Skip) return false;
    if (action == PlanAction::Match) {
        const int64_t match = MatchOf(index);
        const bool isHeld = state.outcome == PlanOutcome::Held;
        if (isHeld || match == kNoRow || IsMatchedElsewhere(index, match)) return false;
    }
    state.action = action;
    return true;
}

// An entry of the row's amount that no statement brought.
bool CImportPlan::CanBeMatched(size_t index, int64_t transactionId) const {
    const PackedRow row = m_rows.Row(index, m_texts);
    CTransactionEntry entry;
    if (!row.amountRead || !m_database->Read(transactionId, entry)) return false;
    return IsUnmatchedEntry(entry, m_account, row.amount);
}

bool CImportPlan::SetMatch(size_t index, int64_t transactionId) {
    if (index >= m_states.size()) return false;
    State& state = m_states[index];
    if (state.outcome == PlanOutcome::Held || state.outcome == PlanOutcome::Refused) return false;
    const bool isTaken = transactionId != kNoRow && (IsMatchedElsewhere(index, transactionId) ||
                                                     !CanBeMatched(index, transactionId));
    if (isTaken) return false;
    const auto place = std::lower_bound(m_matches.begin(), m_matches.end(),
                                        std::pair(index, std::numeric_limits<int64_t>::min()));
    const bool hasOne = place != m_matches.end() && place->first == index;
    if (transactionId == kNoRow) {
        if (hasOne) m_matches.erase(place);
        if (state.action == PlanAction::Match) state.action = PlanAction::Enter;
        return true;
    }
    if (hasOne) {
        place->second = transactionId;
    } else {
        m_matches.insert(place, {index, transactionId});
    }
    state.action = PlanAction::Match;
    return true;
}

}  // namespace quillon
