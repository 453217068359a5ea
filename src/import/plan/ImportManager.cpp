#include "import/plan/ImportManager.h"

#include <cmath>
#include <new>
#include <utility>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"
#include "foundation/OutOfMemory.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

constexpr size_t kLongestText = 4096;  // bytes

std::string_view Shortened(std::string_view text) {
    if (text.size() <= kLongestText) return text;
    size_t size = kLongestText;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
    return text.substr(0, size);
}

bool SameMoney(double a, double b) {
    return std::fabs(a - b) < kHalfCent;
}

}  // namespace

CImportManager::CImportManager(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                               const CKeelString& path, CFileSystem& files)
    : m_database(database), m_account(account), m_path(path), m_files(files) {}

CImportManager::~CImportManager() = default;

ImportResult CImportManager::Import() {
    m_result = ImportResult();
    m_notes = CImportNotes(m_options.everyNote);
    m_stored.clear();
    m_payees.clear();
    m_categories.clear();
    m_newNames.clear();
    try {
        Run();
        if (m_result.failed) m_result.notes = m_notes.Take(m_result.read);
    } catch (const std::bad_alloc&) {
        FailForMemory();
    }
    return std::move(m_result);
}

void CImportManager::Run() {
    if (!m_files.Exists(PathText())) {
        FailWith("The import file '" + PathText() + "' does not exist.");
        return;
    }
    if (!Survey() || !ChooseSources() || !Prepare()) return;
    NoteSources();
    if (!EnterAll()) return;
    // What is entered stays entered: want of memory for the words is no failure any more.
    (void)FalseWhenOutOfMemory([this] {
        m_result.message = Message();
        m_result.notes = m_notes.Take(m_result.read);
        return true;
    });
}

std::string CImportManager::Counters() const {
    return "\n\nTotal transactions in file:   " + std::to_string(m_result.read) +
           "\nTransactions imported:     " + std::to_string(m_result.imported);
}

std::string CImportManager::Message() const {
    if (m_options.dryRun) {
        return "Nothing was entered from '" + PathText() + "': it was only tried." +
               "\n\nTotal transactions in file:   " + std::to_string(m_result.read) +
               "\nTransactions to enter:     " + std::to_string(m_result.imported);
    }
    if (!m_result.cancelled) return Report();
    return "The import of '" + PathText() +
           "' was stopped before its end; what was entered stays." +
           (IdentifierUse() == Identifiers::Kept
                ? " Importing the file again adds the rest."
                : " Importing the file again would enter that twice.") +
           Counters();
}

bool CImportManager::Fail(std::string_view reason) {
    std::string error = FailureMessage();
    if (!reason.empty()) error.append(" ").append(reason);
    return FailWith(std::move(error));
}

// The words take memory as well: as many as there is room for.
void CImportManager::FailForMemory() noexcept {
    m_result.failed = true;
    m_result.error.clear();
    try {
        m_result.error = "There is not enough memory to import the file.";
        m_result.error = "There is not enough memory to import '" + PathText() + "'.";
    } catch (const std::bad_alloc&) {
    }
}

bool CImportManager::FailWith(std::string error) {
    m_result.failed = true;
    m_result.error = std::move(error);
    return false;
}

bool CImportManager::LoadFile(std::vector<uint8_t>& bytes) {
    if (!ReadWholeFile(m_files, PathText(), bytes)) {
        const bool forbidden = m_files.LastError() == FileError::NoPermission;
        return Fail(forbidden ? "It may not be read: check its permissions."
                              : "It cannot be read.");
    }
    if (bytes.empty()) return Fail("The file is empty.");
    return true;
}

// --- the accounts of the file

bool CImportManager::ChooseSources() {
    std::vector<ImportSource>& sources = m_result.sources;
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
            m_result.needsSource = true;
            return FailWith("The file '" + PathText() +
                            "' holds several accounts: " + ListOfSources(sources) +
                            ". Nothing was entered; say which of them is meant.");
        case SourceChoice::Unknown:
            break;
    }
    m_result.needsSource = true;
    return FailWith("The file '" + PathText() + "' holds no account '" + m_options.source +
                    "', but " + (sources.empty() ? "none by name" : ListOfSources(sources)) + ".");
}

void CImportManager::NoteSources() {
    size_t chosen = 0;
    size_t others = 0;
    std::string currencies;
    for (const ImportSource& source : m_result.sources) {
        if (source.lines == 0) continue;
        ++(source.chosen ? chosen : others);
        if (!source.chosen) continue;
        const bool card = source.kind == SourceKind::Card;
        const bool toCard = m_account.accountType == AccountType::Credit;
        if (card ? !toCard && m_account.accountType != AccountType::Loan
                 : toCard && source.kind == SourceKind::Bank) {
            m_notes.Add(Kind::File, 0,
                        "'" + source.name + "' is " +
                            (card ? "a card's statement, but the account is no credit account."
                                  : "a bank account's statement, but the account is a credit "
                                    "account."));
        }
        constexpr size_t kEnough = 100;  // bytes: nobody has so many
        if (!source.currency.empty() && currencies.size() < kEnough &&
            !Contains(currencies, source.currency)) {
            currencies += (currencies.empty() ? "" : ", ") + source.currency;
        }
    }
    const std::string list = ListOfSources(m_result.sources, true);
    if (others > 0) {
        m_notes.Add(Kind::File, 0,
                    "Only " + list +
                        " was read; left out: " + ListOfSources(m_result.sources, false) + ".");
    } else if (chosen > 1) {
        m_notes.Add(Kind::File, 0,
                    "The file holds several accounts; the lines of all of them go into this one: " +
                        list + ".");
    }
    if (Contains(currencies, ",")) {
        m_notes.Add(Kind::Currency, 0,
                    "The accounts of the file are kept in several currencies (" + currencies +
                        "); all amounts were entered as they are.");
    }
}

// --- steps of a record

bool CImportManager::LoadRules() {
    m_rules.clear();
    COwnedList<CRenamingRuleEntry> rules;
    if (!m_database.ListRenamingRules(rules)) return false;
    for (const CRenamingRuleEntry& rule : rules) {
        if (rule.searchText.IsEmpty()) continue;  // would be found in every text
        m_rules.push_back({rule.searchText.ToUtf8(), rule.replaceText.ToUtf8()});
    }
    return true;
}

std::string CImportManager::ApplyRenamingRules(std::string_view text) const {
    std::string renamed(text);
    for (const RenamingRule& rule : m_rules) {
        if (Contains(renamed, rule.search)) renamed = rule.replacement;
    }
    return renamed;
}

CImportManager::NamedRow* CImportManager::Cached(NameCache& cache, std::string_view name,
                                                 bool& isNew) {
    if (cache.size() >= kMostNames) cache.clear();
    const auto [place, added] = cache.try_emplace(std::string(name));
    isNew = added;
    return &place->second;
}

const CImportManager::NamedRow& CImportManager::PayeeOf(const ImportRecord& record) {
    static const NamedRow kNobody;
    if (record.payee.empty() && !IsPlain()) return kNobody;
    bool isNew = false;
    NamedRow& payee = *Cached(m_payees, record.payee, isNew);
    if (!isNew) return payee;
    payee.name = ApplyRenamingRules(record.payee);
    if (m_options.dryRun) {
        const std::optional<int64_t> known = m_database.FindPayeeId(payee.name);
        payee.id = known.value_or(kNoRow);
        payee.failed = !known;
        if (payee.id == kNoRow && m_newNames.insert("P" + payee.name).second) {
            ++m_result.payeesCreated;
        }
        return payee;
    }
    bool added = false;
    payee.id = m_database.FindOrAddPayee(payee.name, &added);
    payee.failed = payee.id == kNoRow;
    m_result.payeesCreated += added;
    return payee;
}

const CImportManager::NamedRow& CImportManager::CategoryOf(const ImportRecord& record) {
    static const NamedRow kNone;
    if (record.category.empty()) return kNone;
    bool isNew = false;
    NamedRow& category = *Cached(m_categories, record.category, isNew);
    if (!isNew) return category;
    category.name = ApplyRenamingRules(record.category);
    if (category.name.empty()) return category;
    if (m_options.dryRun) {
        const std::optional<int64_t> known = m_database.FindCategoryId(category.name);
        category.id = known.value_or(kNoRow);
        category.failed = !known;
        if (category.id == kNoRow && m_newNames.insert("C" + category.name).second) {
            ++m_result.categoriesCreated;
        }
        return category;
    }
    bool added = false;
    category.id = m_database.FindOrAddCategory(category.name, &added);
    category.failed = category.id == kNoRow;
    m_result.categoriesCreated += added;
    return category;
}

void CImportManager::LimitTexts(ImportRecord& record) {
    for (std::string_view* text : {&record.payee, &record.category, &record.memo}) {
        // A stored text ends there: cut before, a preview counts the names that will be.
        *text = text->substr(0, text->find('\0'));
        if (text->size() <= kLongestText) continue;
        *text = Shortened(*text);
        m_notes.Add(Kind::Record, record.line,
                    "A text of this record is longer than " + std::to_string(kLongestText) +
                        " bytes; its beginning was kept.");
    }
}

// --- duplicates

bool CImportManager::LoadStoredLines() {
    COwnedList<CTransactionEntry> transactions;
    if (!m_database.ListTransactionsWithStatementIds(m_account.id, transactions)) return false;
    for (const CTransactionEntry& stored : transactions) {
        m_stored.try_emplace(
            stored.fitId,
            StoredLine{stored.serviceDate,
                       BalanceEffect(stored.transactionType, stored.amount, m_account.accountType),
                       false});
    }
    return true;
}

bool CImportManager::IsKnown(ImportRecord& record) {
    if (record.fitId == 0) return false;
    if (IsPlain()) return m_stored.find(record.fitId) != m_stored.end();
    if (record.saidBefore) return true;
    if (record.ownId != 0 && m_stored.find(record.ownId) != m_stored.end()) return true;
    const auto found = m_stored.find(record.fitId);
    if (found != m_stored.end()) {
        const StoredLine& stored = found->second;
        const bool same = stored.date == record.date && SameMoney(stored.amount, record.amount);
        const bool differentLine = record.idShared && (stored.fromThisFile || !same);
        if (!differentLine) {
            const bool differs = !SameMoney(stored.amount, record.amount) ||
                                 (record.dateRead && stored.date != record.date);
            if (differs && m_notes.Wants(Kind::Differs)) {
                m_notes.Add(Kind::Differs, record.line,
                            "The account holds this line already, with another date or amount; "
                            "it was left as it is.");
            }
            return true;
        }
        record.fitId = record.ownId;
    }
    m_stored[record.fitId] = {record.date, record.amount, true};
    return false;
}

// --- entering

bool CImportManager::EnterAll() {
    const bool loaded = LoadRules() && (IdentifierUse() == Identifiers::None || LoadStoredLines());
    if (!loaded) return Fail("The account's transactions cannot be read.");
    if (m_options.dryRun) return TryAll() || Fail("The account's transactions cannot be read.");
    CLedger ledger(m_database);
    CLedgerImport import(ledger, m_account.id);
    switch (import.Begin()) {
        case LedgerStatus::Ok:
            break;
        case LedgerStatus::NoSuchAccount:
            return Fail("The account does not exist.");
        case LedgerStatus::AccountClosed:
            return Fail("The account is closed.");
        default:
            return FailStored(0);
    }
    CreatedNames safe;
    try {
        if (EnterBatches(import, safe)) return true;
    } catch (const std::bad_alloc&) {
        m_result.imported = import.Committed();
        m_result.payeesCreated = safe.payees;
        m_result.categoriesCreated = safe.categories;
        throw;
    }
    m_result.payeesCreated = safe.payees;
    m_result.categoriesCreated = safe.categories;
    return FailStored(import.Committed());
}

bool CImportManager::IsWanted(ImportRecord& record) {
    LimitTexts(record);
    if (IsKnown(record)) {
        ++m_result.duplicates;
        AddRow(record, RowOutcome::Duplicate);
        return false;
    }
    if (std::fabs(record.amount) > kLargestAmount) {
        NoteBadAmount(record);
        AddRow(record, RowOutcome::Skipped);
        return false;
    }
    return true;
}

bool CImportManager::TryAll() {
    bool readable = true;
    ReadRecords([&](ImportRecord& record) {
        if (!IsWanted(record)) return true;
        readable = !PayeeOf(record).failed && !CategoryOf(record).failed;
        if (!readable) return false;
        ++m_result.imported;
        AddRow(record, RowOutcome::Entered);
        return true;
    });
    return readable;
}

bool CImportManager::EnterBatches(CLedgerImport& import, CreatedNames& safe) {
    const int64_t total = m_result.read;
    int64_t done = 0;
    int64_t committed = 0;
    bool entered = true;
    ReadRecords([&](ImportRecord& record) {
        ++done;
        if (!IsWanted(record)) return true;
        entered = EnterRecord(record, import);
        if (!entered || import.Committed() == committed) return entered;
        committed = import.Committed();
        safe = {m_result.payeesCreated, m_result.categoriesCreated};
        m_result.cancelled = m_options.progress && !m_options.progress(done, total);
        return !m_result.cancelled;
    });
    if (!entered || !import.Finish()) return false;
    if (m_options.progress && !m_result.cancelled) m_options.progress(total, total);
    return true;
}

bool CImportManager::EnterRecord(const ImportRecord& record, CLedgerImport& import) {
    // Category and payee in the order in which they are created.
    const NamedRow& category = CategoryOf(record);
    const NamedRow& payee = PayeeOf(record);
    if (category.failed || payee.failed) return false;
    CTransactionEntry& entry = m_entry;
    entry.id = kNoRow;
    entry.serviceDate = record.date;
    entry.electronicPayment = record.electronic;
    entry.check = record.check;
    entry.transactionType = TypeForSignedAmount(record.amount, m_account.accountType);
    entry.payeeId = payee.id;
    entry.categoryId = category.id;
    entry.amount = std::fabs(record.amount);
    entry.fitId = IdentifierUse() == Identifiers::Kept ? record.fitId : 0;
    entry.memo = record.memo;
    const LedgerStatus status = import.Enter(entry);
    if (status == LedgerStatus::BadAmount) {
        NoteBadAmount(record);
        AddRow(record, RowOutcome::Skipped);
        return true;
    }
    if (status != LedgerStatus::Ok) return false;
    ++m_result.imported;
    AddRow(record, RowOutcome::Entered);
    return true;
}

bool CImportManager::FailStored(int64_t committed) {
    const int64_t wanted = m_result.read;
    m_result.imported = committed;
    std::string reason = "The database cannot be written";
    if (m_database.Problem() == DatabaseProblem::DiskFull) reason = "The disk is full";
    reason += ": " + std::to_string(committed) + " of " + std::to_string(wanted) +
              " transactions were entered and stay.";
    if (committed > 0 || IdentifierUse() == Identifiers::Kept) {
        reason += IdentifierUse() == Identifiers::Kept
                      ? " Importing the file again adds the rest without duplicates."
                      : " Importing the file again would enter these twice.";
    }
    return Fail(reason);
}

void CImportManager::NoteBadAmount(const ImportRecord& record) {
    m_notes.Add(Kind::Skipped, record.line, "The amount is too large for the ledger; not entered.");
}

void CImportManager::AddRow(const ImportRecord& record, RowOutcome outcome) {
    if (!m_options.keepRows) return;
    ImportRow row;
    row.line = record.line;
    row.date = record.date;
    row.amount = record.amount;
    row.payee = ApplyRenamingRules(record.payee);
    row.category = ApplyRenamingRules(record.category);
    row.memo = std::string(record.memo);
    row.outcome = outcome;
    m_result.rows.push_back(std::move(row));
}

}  // namespace quillon
