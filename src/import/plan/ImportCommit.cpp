// Carrying out a plan.

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"
#include "import/plan/ImportPlan.h"

namespace quillon {

namespace {

// In file order: those of the whole file, of line 0, stand in front.
void AddNote(std::vector<ImportNote>& notes, ImportNoteCode code, int64_t line) {
    const auto behind = std::find_if(notes.begin(), notes.end(),
                                     [line](const ImportNote& note) { return note.line > line; });
    notes.insert(behind, {code, line});
}

}  // namespace

class CImportPlan::CCommit {
public:
    CCommit(CImportPlan& plan, const ImportProgress& progress, ImportResult& result)
        : m_plan(plan),
          m_progress(progress),
          m_result(result),
          m_payees(plan.m_payees.NameCount(), kNoRow),
          m_categories(plan.m_categories.NameCount(), kNoRow) {}

    void Run();

private:
    // Names that were made, as far as the last commit made them safe.
    struct CreatedNames {
        int64_t payees = 0;
        int64_t categories = 0;
    };

    void EnterAll(CLedgerImport& import);
    bool EnterBatches(CLedgerImport& import);
    bool Carry(const PackedRow& row, size_t index, CLedgerImport& import);
    bool Match(const PackedRow& row, size_t index, CLedgerImport& import);
    bool Enter(const PackedRow& row, CLedgerImport& import);
    std::optional<int64_t> PayeeOf(uint32_t number);
    std::optional<int64_t> CategoryOf(uint32_t number);
    void KeepSafe(const CLedgerImport& import);
    void Fail(ImportRefusalCode why);
    void FailStored();

    CImportPlan& m_plan;
    const ImportProgress& m_progress;
    ImportResult& m_result;
    std::vector<int64_t> m_payees;      // rows by name, looked up when first needed
    std::vector<int64_t> m_categories;  // the same
    CreatedNames m_safe;
    CTransactionEntry m_entry;  // kept for its memory
};

ImportResult CImportPlan::Commit(const ImportProgress& progress) {
    ImportResult result;
    try {
        result = m_found;
        if (result.failed) return result;
        if (std::exchange(m_isSpent, true)) {
            result.failed = true;
            result.refusal.code = ImportRefusalCode::SpentPlan;
            return result;
        }
        CCommit(*this, progress, result).Run();
    } catch (const std::bad_alloc&) {
        FailForMemory(result);
    }
    return result;
}

void CImportPlan::CCommit::Run() {
    CLedger ledger(*m_plan.m_database);
    const CHistory::CLongAction action(m_plan.m_database->History(), ActionKind::Import,
                                       m_plan.m_fileName, m_plan.m_account.id);
    CLedgerImport import(ledger, m_plan.m_account.id);
    switch (import.Begin()) {
        case LedgerStatus::Ok:
            return EnterAll(import);
        case LedgerStatus::NoSuchAccount:
            return Fail(ImportRefusalCode::NoSuchAccount);
        case LedgerStatus::AccountClosed:
            return Fail(ImportRefusalCode::AccountClosed);
        default:
            return FailStored();
    }
}

void CImportPlan::CCommit::EnterAll(CLedgerImport& import) {
    try {
        if (EnterBatches(import)) return;
    } catch (const std::bad_alloc&) {
        KeepSafe(import);
        throw;
    }
    KeepSafe(import);
    FailStored();
}

// Of what was counted, that which stays when the open batch goes.
void CImportPlan::CCommit::KeepSafe(const CLedgerImport& import) {
    m_result.imported = import.Committed();
    m_result.matched = import.CommittedMatches();
    m_result.payeesCreated = m_safe.payees;
    m_result.categoriesCreated = m_safe.categories;
}

bool CImportPlan::CCommit::EnterBatches(CLedgerImport& import) {
    if (m_plan.m_keepFile) {
        const std::optional<ImportNoteCode> note = m_plan.m_keepFile();
        if (note) AddNote(m_result.notes, *note, 0);
    }
    const int64_t total = m_result.read;
    int64_t done = 0;
    int64_t committed = 0;
    CPackedRows::CReader reader(m_plan.m_rows, m_plan.m_texts);
    for (PackedRow row; !m_result.cancelled && reader.Next(row);) {
        if (!Carry(row, static_cast<size_t>(done++), import)) return false;
        const int64_t stored = import.Committed() + import.CommittedMatches();
        if (stored == committed) continue;
        committed = stored;
        m_safe = {m_result.payeesCreated, m_result.categoriesCreated};
        m_result.cancelled = m_progress && !m_progress(done, total);
    }
    if (!import.Finish()) return false;
    if (m_progress && !m_result.cancelled) m_progress(total, total);
    return true;
}

bool CImportPlan::CCommit::Carry(const PackedRow& row, size_t index, CLedgerImport& import) {
    const State& state = m_plan.m_states[index];
    switch (state.action) {
        case PlanAction::Enter:
            return Enter(row, import);
        case PlanAction::Match:
            return Match(row, index, import);
        case PlanAction::Skip:
            break;
    }
    m_result.duplicates +=
        state.outcome == PlanOutcome::Held || state.outcome == PlanOutcome::Repeated;
    return true;
}

// An entry that is no longer what the plan saw is none of the row's: the money moved all the
// same. Unless another import of the file came first.
bool CImportPlan::CCommit::Match(const PackedRow& row, size_t index, CLedgerImport& import) {
    StatementMatch match{m_plan.MatchOf(index), RoundToCents(row.amount), row.fitId, row.check};
    const LedgerStatus status = import.Match(match);
    if (status != LedgerStatus::NoSuchTransaction) {
        m_result.matched += status == LedgerStatus::Ok;
        return status == LedgerStatus::Ok;
    }
    if (row.fitId != 0 && match.fitId == row.fitId) {
        ++m_result.duplicates;
        return true;
    }
    AddNote(m_result.notes, ImportNoteCode::EntryChanged, row.line);
    return Enter(row, import);
}

bool CImportPlan::CCommit::Enter(const PackedRow& row, CLedgerImport& import) {
    // Category and payee in the order in which they are made.
    const std::optional<int64_t> category = CategoryOf(row.category);
    const std::optional<int64_t> payee = category ? PayeeOf(row.payee) : std::nullopt;
    if (!payee) return false;
    CTransactionEntry& entry = m_entry;
    entry.id = kNoRow;
    entry.serviceDate = row.date;
    entry.electronicPayment = row.electronic;
    entry.check = row.check;
    entry.transactionType = TypeForSignedAmount(row.amount, m_plan.m_account.accountType);
    entry.payeeId = *payee;
    entry.categoryId = *category;
    entry.amount = std::fabs(row.amount);
    entry.fitId = row.fitId;
    entry.memo = row.memo;
    const LedgerStatus status = import.Enter(entry);
    if (status == LedgerStatus::BadAmount) {
        AddNote(m_result.notes, ImportNoteCode::AmountTooLarge, row.line);
        return true;
    }
    m_result.imported += status == LedgerStatus::Ok;
    return status == LedgerStatus::Ok;
}

// Nothing: it could not be made.
std::optional<int64_t> CImportPlan::CCommit::PayeeOf(uint32_t number) {
    if (!m_plan.m_payees.WantsRow(number)) return kNoRow;
    int64_t& id = m_payees[m_plan.m_payees.NameOf(number)];
    if (id != kNoRow) return id;
    bool added = false;
    id = m_plan.m_database->FindOrAddPayee(m_plan.m_payees.Name(number), &added);
    m_result.payeesCreated += added;
    if (id == kNoRow) return {};
    return id;
}

std::optional<int64_t> CImportPlan::CCommit::CategoryOf(uint32_t number) {
    if (!m_plan.m_categories.WantsRow(number)) return kNoRow;
    int64_t& id = m_categories[m_plan.m_categories.NameOf(number)];
    if (id != kNoRow) return id;
    bool added = false;
    id = m_plan.m_database->FindOrAddCategory(m_plan.m_categories.Name(number), &added);
    m_result.categoriesCreated += added;
    if (id == kNoRow) return {};
    return id;
}

void CImportPlan::CCommit::Fail(ImportRefusalCode why) {
    m_result.failed = true;
    m_result.refusal.code = why;
}

void CImportPlan::CCommit::FailStored() {
    const bool diskFull = m_plan.m_database->Problem() == DatabaseProblem::DiskFull;
    Fail(diskFull ? ImportRefusalCode::DiskFull : ImportRefusalCode::StoreFailed);
}

}  // namespace quillon
