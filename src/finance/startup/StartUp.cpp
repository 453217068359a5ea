#include "finance/startup/StartUp.h"

#include <algorithm>
#include <string_view>

#include "finance/records/CheckLayout.h"
#include "settings/SettingsNames.h"
#include "storage/backup/RestoreFolders.h"
#include "storage/database/DatabaseFiles.h"

namespace quillon {

namespace {

constexpr char kDefaultFolder[] = "QuillonDatabase";

bool IsMissing(const SchemaOutcome& schema, std::string_view table) {
    const auto& missing = schema.tablesFailed;
    return std::find(missing.begin(), missing.end(), table) != missing.end();
}

}  // namespace

std::string CStartUp::ConfiguredFolder(const CSettingsFile& settings) {
    std::string folder;
    settings.ReadString(settings::kFileFolder, settings::kDatabasePath, folder);
    return folder.empty() ? kDefaultFolder : folder;
}

// A damaged ledger may have lost the one file and still be no place for a new one; and one
// that lost power early has its files in the journal only.
bool CStartUp::FolderHoldsLedger() const {
    const std::string folder = WithTrailingSeparator(m_folder);
    return CDatabaseManager::FolderHoldsDatabase(m_files, m_folder) ||
           m_files.Exists(folder + kSchemaName) || m_files.Exists(folder + kJournalName);
}

StartUpStep CStartUp::Start(const std::string& chosenFolder, Want want) {
    m_failure = StartUpFailure::None;
    m_opened = {};
    m_enabled = false;
    m_hash.clear();
    m_folder = chosenFolder.empty() ? ConfiguredFolder(m_settings) : chosenFolder;

    // A restore that was stopped may have left the ledger beside its place. When that
    // cannot be put right, opening says why.
    (void)RecoverInterruptedRestore(m_files, m_folder);
    m_foundExisting = FolderHoldsLedger();
    if (!m_foundExisting && want == Want::ExistingOnly) return Fail(StartUpFailure::NoDatabase);

    const CCheckPrintFormat layout = DefaultCheckFormat(m_settings);
    m_opened = m_database.Open(m_folder, &layout);
    if (!m_opened.opened) return Fail(StartUpFailure::NotOpened);
    m_foundExisting = !m_opened.created;
    if (!m_opened.schema.Complete()) return m_step = StartUpStep::Incomplete;
    return ReadProtection();
}

StartUpStep CStartUp::GoOnIncomplete() {
    return m_step == StartUpStep::Incomplete ? ReadProtection() : m_step;
}

StartUpStep CStartUp::ReadProtection() {
    // Without the table there never was a password.
    if (IsMissing(m_opened.schema, kSecurityTable)) return m_step = StartUpStep::Ready;
    CKeelString hash;
    // The hash of a ledger without protection asks for nothing, and backups use it.
    if (!m_database.ReadSecurityEnabled(m_enabled) || !m_database.ReadPasswordHash(hash)) {
        return Fail(StartUpFailure::NotReadable);
    }
    m_hash = hash.ToUtf8();
    if (!m_enabled) return m_step = StartUpStep::Ready;
    return m_step = m_hash.empty() ? StartUpStep::SetPassword : StartUpStep::EnterPassword;
}

StartUpStep CStartUp::Fail(StartUpFailure failure) {
    if (m_database.IsOpen()) (void)m_database.Close();
    m_failure = failure;
    return m_step = StartUpStep::Failed;
}

PasswordAnswer CStartUp::EnterPassword(std::string_view password) {
    if (m_step != StartUpStep::EnterPassword) return PasswordAnswer::Unavailable;
    if (password.empty()) return PasswordAnswer::Empty;
    switch (m_database.CheckPassword(password)) {
        case PasswordCheck::Right:
            m_step = StartUpStep::Ready;
            return PasswordAnswer::Accepted;
        case PasswordCheck::Wrong:
            return PasswordAnswer::Wrong;
        case PasswordCheck::Failed:
            break;
    }
    return PasswordAnswer::Unavailable;
}

PasswordAnswer CStartUp::SetPassword(std::string_view password) {
    if (m_step != StartUpStep::SetPassword) return PasswordAnswer::Unavailable;
    if (password.empty()) return PasswordAnswer::Empty;
    CKeelString hash;
    if (!m_database.SetPassword(password) || !m_database.ReadPasswordHash(hash)) {
        return PasswordAnswer::Unavailable;
    }
    m_hash = hash.ToUtf8();
    m_step = StartUpStep::Ready;
    return PasswordAnswer::Accepted;
}

StartUpStep CStartUp::GoOnWithoutPassword() {
    if (m_step == StartUpStep::SetPassword) m_step = StartUpStep::Ready;
    return m_step;
}

StartUpStep CStartUp::Cancel() {
    if (m_step != StartUpStep::Incomplete && m_step != StartUpStep::SetPassword &&
        m_step != StartUpStep::EnterPassword) {
        return m_step;
    }
    (void)m_database.Close();
    return m_step = StartUpStep::Cancelled;
}

}  // namespace quillon
