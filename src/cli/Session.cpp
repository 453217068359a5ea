#include "cli/Session.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>

#include "cli/DatabaseMessages.h"
#include "cli/terminal/Failure.h"

namespace quillon {

namespace {

std::string OnOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace

CSession::CSession(CCommandContext& context, Start start)
    : m_context(context), m_files(context.Host().files), m_workspace(context.Settings(), m_files) {
    Open(context, start);
    if (!Opened().setAsideJournal.empty()) {
        context.Note("The journal was damaged and was kept as " + Quoted(Opened().setAsideJournal) +
                     "; run 'verify'.");
    }
    if (Opened().historyLost) context.Note(HistoryLostMessage());
    NoteRebuilt();
    if (StartUp().Step() == StartUpStep::Incomplete) TakeIncomplete(context, start);
    (void)m_workspace.GoOnWithoutPassword();
    if (StartUp().Step() == StartUpStep::EnterPassword) EnterPassword(context);
}

CSession::~CSession() {
    try {
        NoteRebuilt();
    } catch (const std::exception&) {
        // Nothing is lost but the note.
    }
}

const CNameTables& CSession::Names() {
    const CNameTables& names = m_workspace.Names();
    RequireStored(m_workspace.HasNames(), Database());
    return names;
}

void CSession::NoteRebuilt() {
    std::vector<std::string> names = Database().RebuiltIndexes();
    if (names == m_notedRebuilt) return;
    m_context.Note(RebuiltMessage(names));
    m_notedRebuilt = std::move(names);
}

// A program that was killed holds the folder until the system has buried it, and two commands of
// a script may follow each other faster than that.
void CSession::Open(CCommandContext& context, Start start) {
    constexpr int kTries = 8;
    constexpr auto kPause = std::chrono::milliseconds(40);
    const auto want =
        start == Start::Create ? CStartUp::Want::ExistingOrNew : CStartUp::Want::ExistingOnly;
    for (int tries = 1; m_workspace.Start(context.database, want) == StartUpStep::Failed; ++tries) {
        if (Opened().problem != DatabaseProblem::InUse || tries == kTries) Refuse();
        std::this_thread::sleep_for(kPause);
    }
}

void CSession::Refuse() const {
    const FinanceOpenResult& opened = Opened();
    switch (StartUp().Failure()) {
        case StartUpFailure::NoDatabase:
            RefuseMissing();
        case StartUpFailure::NotReadable:
            throw CFailure("The protection of the ledger in " + Quoted(Folder()) +
                           " cannot be read; restore the ledger from a backup.");
        default:
            throw CFailure(
                DatabaseMessage(opened.problem, Folder(), opened.detail, Medium::Terminal));
    }
}

void CSession::TakeIncomplete(CCommandContext& context, Start start) {
    const std::string what = "The ledger in " + Quoted(Folder()) +
                             " could not be brought up to date (" +
                             IncompleteSchemaText(Opened().schema) + ")";
    if (start == Start::Create) {
        (void)m_workspace.CancelStart();
        throw CFailure(what + "; make room on the disk, or run 'verify', and try again.");
    }
    context.Note(what +
                 " and is used as it is; make room on the disk, or run 'verify'. The next "
                 "command tries again.");
    if (m_workspace.GoOnIncomplete() == StartUpStep::Failed) Refuse();
}

void CSession::RefuseMissing() const {
    std::vector<std::string> names;
    if (m_files.FolderExists(Folder()) && !m_files.List(Folder(), names) &&
        m_files.LastError() == FileError::NoPermission) {
        throw CFailure(
            DatabaseMessage(DatabaseProblem::NoPermission, Folder(), {}, Medium::Terminal));
    }
    throw CFailure("There is no ledger in " + Quoted(Folder()) +
                   "; make one with 'init', or name its folder with --database DIR.");
}

void CSession::EnterPassword(CCommandContext& context) {
    const std::string password = context.ReadPassword("Password of the ledger: ");
    const PasswordAnswer answer = m_workspace.EnterPassword(password);
    if (answer == PasswordAnswer::Accepted) return;
    const std::string trouble = StoreMessage(Database(), Medium::Terminal);
    (void)m_workspace.CancelStart();
    if (answer == PasswordAnswer::Unavailable) throw CFailure(trouble);
    throw CFailure(OnOneLine(kWrongPasswordMessage));
}

}  // namespace quillon
