#include "presenters/workspace/Workspace.h"

#include <algorithm>

namespace quillon {

CWorkspace::CWorkspace(const CSettingsFile& settings, CFileSystem& files)
    : m_settings(settings),
      m_database(files),
      m_ledger(m_database),
      m_startUp(m_database, settings, files) {}

StartUpStep CWorkspace::Arrive(StartUpStep step) {
    if (step == StartUpStep::Ready) ReadAgain({});
    return step;
}

StartUpStep CWorkspace::Start(const std::string& folder, CStartUp::Want want) {
    return Arrive(m_startUp.Start(folder, want));
}

StartUpStep CWorkspace::GoOnIncomplete() {
    return Arrive(m_startUp.GoOnIncomplete());
}

PasswordAnswer CWorkspace::EnterPassword(std::string_view password) {
    const PasswordAnswer answer = m_startUp.EnterPassword(password);
    if (answer == PasswordAnswer::Accepted) Arrive(m_startUp.Step());
    return answer;
}

PasswordAnswer CWorkspace::SetPassword(std::string_view password) {
    const PasswordAnswer answer = m_startUp.SetPassword(password);
    if (answer == PasswordAnswer::Accepted) Arrive(m_startUp.Step());
    return answer;
}

StartUpStep CWorkspace::GoOnWithoutPassword() {
    return Arrive(m_startUp.GoOnWithoutPassword());
}

StartUpStep CWorkspace::CancelStart() {
    return m_startUp.Cancel();
}

bool CWorkspace::Close() {
    m_names = CNameTables();
    m_hasNames = false;
    return m_database.Close();
}

const CNameTables& CWorkspace::Names() {
    if (!m_wantsNames) ReadNames();
    return m_names;
}

void CWorkspace::ReadNames() {
    m_wantsNames = true;
    m_hasNames = m_names.Load(m_database);
}

void CWorkspace::Listen(CWorkspaceListener& listener) {
    m_listeners.push_back(&listener);
}

void CWorkspace::Leave(CWorkspaceListener& listener) {
    const auto found = std::find(m_listeners.begin(), m_listeners.end(), &listener);
    if (found == m_listeners.end()) return;
    // While the list is walked, its places stay where they are.
    if (m_telling > 0) {
        *found = nullptr;
    } else {
        m_listeners.erase(found);
    }
}

void CWorkspace::Tell(const ChangeNotice& notice) {
    if (m_wantsNames && notice.NamesChanged()) ReadNames();
    ++m_telling;
    for (size_t i = 0; i < m_listeners.size(); ++i) {
        if (m_listeners[i]) m_listeners[i]->LedgerChanged(notice);
    }
    if (--m_telling == 0) std::erase(m_listeners, nullptr);
}

void CWorkspace::ReadAgain(const std::string& label) {
    ChangeNotice notice;
    notice.label = label;
    notice.everything = true;
    Tell(notice);
}

}  // namespace quillon
