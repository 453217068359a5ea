#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "presenters/workspace/Workspace.h"

namespace quillon {

// The accounts at the side of the window: by type, with balances, group sums and net worth.
//
//   Groups     Types in their order, those with something to show. Accounts by name.
//   Closed     Accounts are shown when asked for; sums and net worth take them in always, since
//              what lies there is owned all the same.
//   Changes    Arrive from the workspace; `whenChanged` is called after each that shows.
//   Errors     HasFailed(): the accounts could not be read; there are none then.
//   Ownership  Borrows the workspace, which must outlive it.
//   Threads    One.
class CAccountPanel : public CWorkspaceListener {
public:
    struct Line {
        int64_t id = kNoRow;
        std::string name;
        double balance = 0.0;
        bool active = true;
    };
    struct Group {
        AccountType type = AccountType::Checking;
        std::string title;  // "Checking"
        std::vector<Line> lines;
        double sum = 0.0;
    };

    // Reads the accounts of an open ledger.
    explicit CAccountPanel(CWorkspace& workspace);
    ~CAccountPanel() override;
    CAccountPanel(const CAccountPanel&) = delete;
    CAccountPanel& operator=(const CAccountPanel&) = delete;

    const std::vector<Group>& Groups() const { return m_groups; }
    double NetWorth() const { return m_netWorth; }
    bool HasFailed() const { return m_failed; }

    bool ShowsClosed() const { return m_showsClosed; }
    void ShowClosed(bool shown);
    // How many the toggle stands for.
    int64_t ClosedCount() const;
    std::function<void()> whenChanged;

    void LedgerChanged(const ChangeNotice& notice) override;

private:
    struct Known {
        Line line;
        AccountType type = AccountType::Checking;
    };
    bool ReadAll();
    bool ReadOne(int64_t accountId);
    void Arrange();

    CWorkspace& m_workspace;
    std::vector<Known> m_accounts;
    std::vector<Group> m_groups;
    double m_netWorth = 0.0;
    bool m_showsClosed = false;
    bool m_failed = false;
};

}  // namespace quillon
