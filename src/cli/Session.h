#pragma once

#include "cli/CommandContext.h"
#include "finance/Ledger.h"

namespace quillon {

// An open ledger for the time of a command.
//
//   Missing    Only Create makes a database; everything else says that there is none.
//   Password   One that has protection on and a hash stored asks for its password. A
//              fresh database has protection on and no hash: it is not protected.
//   Errors     CFailure.
class CSession {
public:
    enum class Start { Existing, Create };

    explicit CSession(CCommandContext& context, Start start = Start::Existing);

    CQuillonDatabaseInterface& Database() { return m_database; }
    CLedger& Ledger() { return m_ledger; }
    const std::string& Folder() const { return m_folder; }
    const FinanceOpenResult& Opened() const { return m_opened; }
    bool IsProtected() const { return m_protected; }
    // Digest of the password, empty when there is none.
    const std::string& PasswordHash() const { return m_hash; }

private:
    void RequireDatabase();
    void OpenDatabase();
    void CheckPassword(CCommandContext& context);

    std::string m_folder;
    CFileSystem& m_files;
    CQuillonDatabaseInterface m_database;
    CLedger m_ledger;
    FinanceOpenResult m_opened;
    std::string m_hash;
    bool m_protected = false;
};

}  // namespace quillon
