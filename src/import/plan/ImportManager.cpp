#include "import/plan/ImportManager.h"

#include <new>
#include <utility>

#include "finance/database/QuillonDatabaseInterface.h"
#include "import/plan/ImportPlanner.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;

}  // namespace

CImportManager::CImportManager(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                               const CKeelString& path, CFileSystem& files)
    : m_database(database), m_account(account), m_path(path), m_files(files) {}

CImportManager::~CImportManager() = default;

CImportPlan CImportManager::MakePlan() {
    return Plan(true);
}

ImportResult CImportManager::Import() {
    CImportPlan plan = Plan(m_options.dryRun);
    if (!m_options.dryRun) return plan.Commit(m_options.progress);
    ImportResult result;
    try {
        result = plan.Preview();
    } catch (const std::bad_alloc&) {
        FailForMemory(result);
    }
    return result;
}

CImportPlan CImportManager::Plan(bool isPreview) {
    m_isPreview = isPreview;
    m_found = ImportResult();
    m_found.format = Format();
    m_found.tellsHeld = !IsPlain() || m_found.format.hasIdentifiers;
    m_notes = CImportNotes(m_options.everyNote);
    CImportPlan plan;
    try {
        FillPlan(plan);
        plan.m_found = std::move(m_found);
        plan.m_found.notes = m_notes.Take(plan.m_found.read);
    } catch (const std::bad_alloc&) {
        FailForMemory(plan.m_found);
    }
    if (!plan.Failed()) return plan;
    CImportPlan none;
    none.m_found = std::move(plan.m_found);
    return none;
}

void CImportManager::FillPlan(CImportPlan& plan) {
    plan.m_database = &m_database;
    plan.m_account = m_account;
    plan.m_fileName = FileNameOf(PathText());
    plan.m_found.format = Format();
    if (!m_files.Exists(PathText())) {
        Fail(ImportRefusalCode::NoSuchFile);
        return;
    }
    if (!Survey() || !ChooseSources() || !Prepare()) return;
    NoteSources();
    Text text = TextOfRecords();
    plan.SetText(std::move(text.owner), text.bytes);
    plan.m_keepFile = FileKeeper();
    if (!TakeRecords(plan)) Fail(ImportRefusalCode::AccountUnreadable);
}

bool CImportManager::TakeRecords(CImportPlan& plan) {
    CImportPlanner planner(plan, m_options, m_notes);
    if (!planner.Load()) return false;
    bool readable = true;
    ReadRecords([&](ImportRecord& record) {
        readable = planner.Take(record);
        return readable;
    });
    return readable && planner.Finish();
}

bool CImportManager::Fail(ImportRefusalCode why, std::vector<ImportValue> values) {
    m_found.failed = true;
    m_found.refusal = {why, std::move(values)};
    return false;
}

bool CImportManager::LoadFile(std::vector<uint8_t>& bytes) {
    if (!ReadWholeFile(m_files, PathText(), bytes)) {
        const bool forbidden = m_files.LastError() == FileError::NoPermission;
        return Fail(forbidden ? ImportRefusalCode::NoPermission : ImportRefusalCode::ReadFailed);
    }
    if (bytes.empty()) return Fail(ImportRefusalCode::Empty);
    return true;
}

// --- the accounts of the file

bool CImportManager::ChooseSources() {
    std::vector<ImportSource>& sources = m_found.sources;
    if (m_options.allSources) {
        for (ImportSource& source : sources) source.chosen = source.lines > 0;
        return true;
    }
    const CKeelString& description = m_account.description;
    switch (
        ChooseSource(sources, m_options.source, m_account.name.ToUtf8(), description.ToUtf8())) {
        case SourceChoice::Made:
            return true;
        case SourceChoice::Unclear:
            m_found.needsSource = true;
            return Fail(ImportRefusalCode::SourceUnclear);
        case SourceChoice::Unknown:
            break;
    }
    m_found.needsSource = true;
    return Fail(ImportRefusalCode::SourceUnknown, {m_options.source});
}

void CImportManager::NoteKindOf(const ImportSource& source) {
    const bool isCard = source.kind == SourceKind::Card;
    const bool isCredit = m_account.accountType == AccountType::Credit;
    const bool isLoan = m_account.accountType == AccountType::Loan;
    if (isCard ? isCredit || isLoan : !isCredit || source.kind != SourceKind::Bank) return;
    m_notes.Add(isCard ? Note::CardForOtherAccount : Note::BankForCreditAccount, 0,
                {ImportArgument::Apart(source.name)});
}

void CImportManager::NoteSources() {
    size_t chosen = 0;
    size_t others = 0;
    std::string currencies;
    for (const ImportSource& source : m_found.sources) {
        if (source.lines == 0) continue;
        ++(source.chosen ? chosen : others);
        if (!source.chosen) continue;
        NoteKindOf(source);
        constexpr size_t kEnough = 100;  // bytes: nobody has so many
        if (!source.currency.empty() && currencies.size() < kEnough &&
            !Contains(currencies, source.currency)) {
            currencies += (currencies.empty() ? "" : ", ") + source.currency;
        }
    }
    if (others > 0) {
        m_notes.Add(Note::SourcesLeftOut, 0);
    } else if (chosen > 1) {
        m_notes.Add(Note::SourcesJoined, 0);
    }
    if (Contains(currencies, ",")) m_notes.Add(Note::SeveralCurrencies, 0, {currencies});
}

}  // namespace quillon
