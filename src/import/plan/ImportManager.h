#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "finance/records/FinanceRecords.h"
#include "foundation/FileSystem.h"
#include "foundation/KeelString.h"
#include "import/plan/ImportRecord.h"
#include "import/text/Dialect.h"
#include "import/text/TextScan.h"

namespace quillon {

class CLedgerImport;
class CQuillonDatabaseInterface;

// What the importers of bank files share: entering what they read into one account.
//
//   Commits    A few thousand records each, with the account's balance. After a failure
//              whole commits stay; ImportResult tells how many records they hold.
//   Errors     ImportResult::failed and ::error. Nothing here throws or shows anything.
//   Ownership  Borrows database and file system, which must outlive it.
//   Threads    One import at a time; the progress callback runs in the caller's thread.
class CImportManager {
public:
    CImportManager(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                   const CKeelString& path, CFileSystem& files = PlatformFileSystem());
    virtual ~CImportManager();
    CImportManager(const CImportManager&) = delete;
    CImportManager& operator=(const CImportManager&) = delete;

    // Without options the plain rules hold.
    void SetOptions(const ImportOptions& options) { m_options = options; }

    ImportResult Import();

protected:
    enum class Identifiers {
        None,  // the format has none
        Kept,  // a line whose identifier the account holds is a duplicate
    };

    // The first look at the file: sets the dialect, m_result.sources and, by the plain rules,
    // m_result.read. False after Fail().
    virtual bool Survey() = 0;
    // Before anything is entered, with the sources chosen: sets m_result.read. False after
    // Fail(), when there is nothing to enter.
    virtual bool Prepare() = 0;
    // Hands over the records of the chosen sources in file order.
    virtual void ReadRecords(const RecordSink& sink) = 0;
    virtual Identifiers IdentifierUse() const = 0;
    // The report of a finished import.
    virtual std::string Report() const = 0;
    // "An error occurred importing the ... data file '...'."
    virtual std::string FailureMessage() const = 0;

    bool IsPlain() const { return m_options.dialect == DialectMode::Plain; }
    std::string PathText() const { return m_path.ToUtf8(); }
    // "\n\nTotal transactions in file: ..." and how many were imported.
    std::string Counters() const;
    // Sets the error and returns false. `reason` follows the importer's own sentence.
    bool Fail(std::string_view reason = {});
    bool FailWith(std::string error);
    // The file's bytes; refuses an empty one and one that cannot be read.
    bool LoadFile(std::vector<uint8_t>& bytes);

    // --- steps of a record
    // Every rule in turn: a text that contains the rule's search text becomes its
    // replacement, so the last one that matches wins.
    std::string ApplyRenamingRules(std::string_view text) const;

    CQuillonDatabaseInterface& m_database;
    CAccountEntry m_account;
    CKeelString m_path;
    CFileSystem& m_files;
    ImportOptions m_options;
    ImportResult m_result;
    CImportNotes m_notes;

private:
    // A payee or category as looked up once.
    struct NamedRow {
        int64_t id = kNoRow;
        std::string name;
        bool failed = false;
    };
    struct StoredLine {
        int64_t date = 0;
        double amount = 0.0;  // signed
        bool fromThisFile = false;
    };
    struct RenamingRule {
        std::string search;
        std::string replacement;
    };
    using NameCache = std::unordered_map<std::string, NamedRow>;
    // Names looked up once are kept up to here, then forgotten: a file may hold a million.
    static constexpr size_t kMostNames = 20'000;

    // Names that were made, as far as the last commit made them safe.
    struct CreatedNames {
        int64_t payees = 0;
        int64_t categories = 0;
    };

    void Run();
    // What is said at the end, however the import ended.
    std::string Message() const;
    void FailForMemory() noexcept;
    bool LoadRules();
    bool LoadStoredLines();
    bool ChooseSources();
    // What a person would want to know of the choice.
    void NoteSources();
    bool EnterAll();
    // False: not all of them were entered.
    bool EnterBatches(CLedgerImport& import, CreatedNames& safe);
    bool EnterRecord(const ImportRecord& record, CLedgerImport& import);
    // What an import would find. False: the database could not be read.
    bool TryAll();
    // Duplicates and amounts that the ledger cannot hold. False: the record stays out.
    bool IsWanted(ImportRecord& record);
    // Plain and inferred rule of what the account holds already.
    bool IsKnown(ImportRecord& record);
    // Cuts texts that the ledger cannot hold or no screen could show.
    void LimitTexts(ImportRecord& record);
    const NamedRow& PayeeOf(const ImportRecord& record);
    const NamedRow& CategoryOf(const ImportRecord& record);
    static NamedRow* Cached(NameCache& cache, std::string_view name, bool& isNew);
    void AddRow(const ImportRecord& record, RowOutcome outcome);
    bool FailStored(int64_t committed);
    void NoteBadAmount(const ImportRecord& record);

    CTransactionEntry m_entry;  // kept for its memory
    std::vector<RenamingRule> m_rules;
    std::unordered_map<int64_t, StoredLine> m_stored;  // by statement identifier
    NameCache m_payees;
    NameCache m_categories;
    std::unordered_set<std::string> m_newNames;  // of a dry run, payees and categories
};

}  // namespace quillon
