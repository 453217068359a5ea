#pragma once

#include <string>
#include <string_view>

#include "finance/database/QuillonDatabaseInterface.h"
#include "settings/SettingsFile.h"

namespace quillon {

// What a start waits for.
enum class StartUpStep {
    Failed,         // no ledger is open; Failure() tells why
    Incomplete,     // open, but a table or an upgrade is missing, which Opened().schema
                    // names: ask whether to go on
    SetPassword,    // protection is on and there is no password yet: ask for a new one
    EnterPassword,  // ask for the password
    Ready,          // the ledger may be shown
    Cancelled,      // a question was not answered; the ledger is closed again
};

enum class StartUpFailure {
    None,
    NoDatabase,   // only an existing ledger was wanted, and the folder holds none
    NotOpened,    // Opened().problem and Opened().detail tell why
    NotReadable,  // the protection could not be read
};

enum class PasswordAnswer {
    Accepted,
    Empty,        // ask again, and say nothing
    Wrong,        // ask again, after kWrongPasswordMessage; as often as it takes
    Unavailable,  // not asked for now, or the store failed: Database().Problem()
};

inline constexpr char kWrongPasswordMessage[] =
    "The password entered does not match the database password.\n"
    "Please reenter the password.";
inline constexpr char kProtectionOffMessage[] =
    "The password security for the database has been disabled.";

// The order in which the program starts, without a window: which folder, existing or
// new, schema and upgrade, protection. A dialog or the command line asks what Step()
// says, gives the answer here and shows what comes back.
//
//   Folder     The chosen one; else the settings' DatabasePath in section FileFolder;
//              else QuillonDatabase in the current folder.
//   Existing   A folder that holds DatabaseSchema_blobdict.dat, or a journal that may
//              bring it back. A restore that was stopped is put right before looking.
//              Once the ledger is open, its tables tell: FoundExisting() and
//              Opened().created are opposites.
//   Ownership  Borrows the database, the settings and the file system, which must
//              outlive it.
//   Errors     A step or an answer; nothing throws, shows or waits.
//   Threads    One.
class CStartUp {
public:
    enum class Want { ExistingOnly, ExistingOrNew };

    CStartUp(CQuillonDatabaseInterface& database, const CSettingsFile& settings,
             CFileSystem& files = PlatformFileSystem())
        : m_database(database), m_settings(settings), m_files(files) {}

    // The folder that a start opens when none is chosen.
    static std::string ConfiguredFolder(const CSettingsFile& settings);

    // Opens the ledger; an open one is closed first. May be called again after a
    // failure, such as a folder in use.
    StartUpStep Start(const std::string& chosenFolder = {}, Want want = Want::ExistingOrNew);
    StartUpStep Step() const { return m_step; }
    StartUpFailure Failure() const { return m_failure; }

    // At Incomplete: takes the ledger as it is, so that a full disk or a damaged table
    // locks nobody out. What is missing cannot be read or written, all else can; the next
    // start tries again to make it.
    StartUpStep GoOnIncomplete();
    // At EnterPassword.
    PasswordAnswer EnterPassword(std::string_view password);
    // At SetPassword: stores it and turns protection on.
    PasswordAnswer SetPassword(std::string_view password);
    // At SetPassword: goes on without one, for a host that has nobody to ask. The
    // next start asks again.
    StartUpStep GoOnWithoutPassword();
    // The question was left without an answer: closes the ledger.
    StartUpStep Cancel();

    const std::string& Folder() const { return m_folder; }
    // The folder held a ledger before the start.
    bool FoundExisting() const { return m_foundExisting; }
    const FinanceOpenResult& Opened() const { return m_opened; }
    // As found by the start: protection is on and there is a password.
    bool IsProtected() const { return m_enabled && !m_hash.empty(); }
    // MD5 text of the stored password, which encrypts backups also while protection
    // is off; empty when there is none.
    const std::string& PasswordHash() const { return m_hash; }
    // Of the main window.
    std::string Title() const { return "Quillon Database [" + m_folder + "]"; }

private:
    bool FolderHoldsLedger() const;
    StartUpStep Fail(StartUpFailure failure);
    StartUpStep ReadProtection();

    CQuillonDatabaseInterface& m_database;
    const CSettingsFile& m_settings;
    CFileSystem& m_files;
    std::string m_folder;
    FinanceOpenResult m_opened;
    StartUpStep m_step = StartUpStep::Failed;
    StartUpFailure m_failure = StartUpFailure::None;
    bool m_foundExisting = false;
    bool m_enabled = false;
    std::string m_hash;
};

}  // namespace quillon
