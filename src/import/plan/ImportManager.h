#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "finance/records/FinanceRecords.h"
#include "foundation/FileSystem.h"
#include "foundation/KeelString.h"
#include "import/plan/ImportOptions.h"
#include "import/plan/ImportPlan.h"
#include "import/plan/ImportRecord.h"

namespace quillon {

class CQuillonDatabaseInterface;

// What the importers of bank files share: from a file to a plan of what enters one account.
//
//   Commits    A few thousand records each, with the account's balance. After a failure
//              whole commits stay; ImportResult tells how many records they hold.
//   Errors     ImportResult::failed and ::refusal, or those of the plan. Nothing here throws
//              or shows anything.
//   Ownership  Borrows database and file system, which must outlive it and its plans.
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

    // What an import would do, to be looked at, changed and carried out. Neither ledger nor
    // file are touched. `dryRun` and `progress` of the options mean nothing here.
    CImportPlan MakePlan();
    // Makes a plan and carries it out; with `dryRun` its preview.
    ImportResult Import();

protected:
    // The text that the views of records lie in, or some of them, and who owns it.
    struct Text {
        std::shared_ptr<const void> owner;
        std::string_view bytes;
    };

    // The first look at the file: sets the dialect, the sources and, by the plain rules, what
    // was read. False after Fail().
    virtual bool Survey() = 0;
    // With the sources chosen: sets what was read. False after Fail(), when there is nothing
    // to enter.
    virtual bool Prepare() = 0;
    virtual Text TextOfRecords() = 0;
    // Hands over the records of the chosen sources in file order.
    virtual void ReadRecords(const RecordSink& sink) = 0;
    virtual ImportFormat Format() const = 0;
    // What carrying out the plan does to the file first; none for most formats.
    virtual CImportPlan::KeepFile FileKeeper() { return {}; }

    bool IsPlain() const { return m_options.dialect == DialectMode::Plain; }
    // The plan is for looking at: the file must stay as it is.
    bool IsPreview() const { return m_isPreview; }
    std::string PathText() const { return m_path.ToUtf8(); }
    // Sets the refusal and returns false.
    bool Fail(ImportRefusalCode why, std::vector<ImportValue> values = {});
    // The file's bytes; refuses an empty one and one that cannot be read.
    bool LoadFile(std::vector<uint8_t>& bytes);

    CQuillonDatabaseInterface& m_database;
    CAccountEntry m_account;
    CKeelString m_path;
    CFileSystem& m_files;
    ImportOptions m_options;
    ImportResult m_found;  // becomes the plan's
    CImportNotes m_notes;

private:
    CImportPlan Plan(bool isPreview);
    void FillPlan(CImportPlan& plan);
    bool TakeRecords(CImportPlan& plan);
    bool ChooseSources();
    // What a person would want to know of the choice.
    void NoteSources();
    void NoteKindOf(const ImportSource& source);

    bool m_isPreview = false;
};

}  // namespace quillon
