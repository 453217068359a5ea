#pragma once

#include "cli/CommandContext.h"
#include "presenters/workspace/Workspace.h"

namespace quillon {

// An open ledger for the time of a command, by the road that the program starts on.
//
//   Missing    Only Create makes a database; everything else says that there is none.
//   Incomplete A ledger whose tables could not all be made is opened with a note, so that
//              it can be read and backed up; Create refuses it.
//   Password   A protected ledger asks for its password, once. A fresh database has
//              protection on and no password: it is not protected, and nobody is asked.
//   Indexes    Those that were damaged and made anew are noted: at the opening, and what was
//              found later at the end.
//   Errors     CFailure.
class CSession {
public:
    enum class Start { Existing, Create };

    explicit CSession(CCommandContext& context, Start start = Start::Existing);
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    // Through which entries, accounts and names are changed.
    CWorkspace& Workspace() { return m_workspace; }
    CQuillonDatabaseInterface& Database() { return m_workspace.Database(); }
    CLedger& Ledger() { return m_workspace.Ledger(); }
    // Of all payees, categories and accounts.
    const CNameTables& Names();
    const std::string& Folder() const { return StartUp().Folder(); }
    const FinanceOpenResult& Opened() const { return StartUp().Opened(); }
    bool IsProtected() const { return StartUp().IsProtected(); }

private:
    const CStartUp& StartUp() const { return m_workspace.StartUp(); }
    void Open(CCommandContext& context, Start start);
    // Says what is missing; of a ledger that was to be made, refuses.
    void TakeIncomplete(CCommandContext& context, Start start);
    [[noreturn]] void Refuse() const;
    [[noreturn]] void RefuseMissing() const;
    void EnterPassword(CCommandContext& context);
    void NoteRebuilt();

    CCommandContext& m_context;
    std::vector<std::string> m_notedRebuilt;
    CFileSystem& m_files;
    CWorkspace m_workspace;
};

}  // namespace quillon
