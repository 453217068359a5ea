#pragma once

#include "cli/CommandContext.h"
#include "finance/ledger/Ledger.h"
#include "finance/startup/StartUp.h"

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

    CQuillonDatabaseInterface& Database() { return m_database; }
    CLedger& Ledger() { return m_ledger; }
    const std::string& Folder() const { return m_startUp.Folder(); }
    const FinanceOpenResult& Opened() const { return m_startUp.Opened(); }
    bool IsProtected() const { return m_startUp.IsProtected(); }

private:
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
    CQuillonDatabaseInterface m_database;
    CLedger m_ledger;
    CStartUp m_startUp;
};

}  // namespace quillon
