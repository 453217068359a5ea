#include "cli/Session.h"

#include <chrono>
#include <thread>

#include "cli/DatabaseMessages.h"
#include "cli/Failure.h"
#include "storage/RestoreFolders.h"

namespace quillon {

namespace {

constexpr char kSchemaFile[] = "DatabaseSchema.dat";

// Tables that a half-finished start left behind. Naming them helps whoever is asked.
std::string IncompleteSchema(const SchemaOutcome& schema) {
    std::string names;
    for (const char* table : schema.tablesFailed)
        names += (names.empty() ? "" : ", ") + std::string(table);
    if (names.empty()) names = std::to_string(schema.upgradesFailed.size()) + " upgrade steps";
    return names;
}

}  // namespace

CSession::CSession(CCommandContext& context, Start start)
    : m_folder(context.DatabaseFolder()),
      m_files(context.Host().files),
      m_database(m_files),
      m_ledger(m_database) {
    if (start == Start::Existing) RequireDatabase();
    OpenDatabase();
    if (!m_opened.opened) {
        throw CFailure(DatabaseMessage(m_opened.problem, m_folder, m_opened.detail));
    }
    if (!m_opened.schema.Complete()) {
        const std::string what = IncompleteSchema(m_opened.schema);
        throw CFailure("The ledger in " + Quoted(m_folder) + " could not be brought up to date (" +
                       what + "); make room on the disk, or run 'verify', and try again.");
    }
    if (!m_opened.setAsideJournal.empty()) {
        context.Note("The journal was damaged and was kept as " + Quoted(m_opened.setAsideJournal) +
                     "; run 'verify'.");
    }
    CheckPassword(context);
}

// A program that was killed holds the folder until the system has buried it, and two commands of
// a script may follow each other faster than that.
void CSession::OpenDatabase() {
    constexpr int kTries = 8;
    constexpr auto kPause = std::chrono::milliseconds(40);
    for (int tries = 1;; ++tries) {
        m_opened = m_database.Open(m_folder);
        if (m_opened.problem != DatabaseProblem::InUse || tries == kTries) return;
        std::this_thread::sleep_for(kPause);
    }
}

void CSession::RequireDatabase() {
    // A restore that was stopped may have left the database beside its place.
    (void)RecoverInterruptedRestore(m_files, m_folder);
    const std::string inside = WithTrailingSeparator(m_folder);
    if (CDatabaseManager::FolderHoldsDatabase(m_files, m_folder) ||
        m_files.Exists(inside + kSchemaFile)) {
        return;
    }
    std::vector<std::string> names;
    if (m_files.FolderExists(m_folder) && !m_files.List(m_folder, names) &&
        m_files.LastError() == FileError::NoPermission) {
        throw CFailure(DatabaseMessage(DatabaseProblem::NoPermission, m_folder, {}));
    }
    throw CFailure("There is no ledger in " + Quoted(m_folder) +
                   "; make one with 'init', or name its folder with --database DIR.");
}

void CSession::CheckPassword(CCommandContext& context) {
    CKeelString hash;
    bool enabled = false;
    RequireStored(m_database.ReadSecurityEnabled(enabled) && m_database.ReadPasswordHash(hash),
                  m_database);
    m_hash = hash.ToUtf8();
    m_protected = enabled && !m_hash.empty();
    if (!m_protected) return;
    if (!m_database.CheckPassword(context.ReadPassword("Password of the ledger: "))) {
        throw CFailure(
            "The password entered does not match the database password. Please reenter the "
            "password.");
    }
}

}  // namespace quillon
