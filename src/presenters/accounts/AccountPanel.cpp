#include "presenters/accounts/AccountPanel.h"

#include <algorithm>
#include <new>

#include "finance/ledger/Balance.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

CAccountPanel::Line LineOf(const CAccountEntry& account) {
    return {account.id, account.name.ToUtf8(), account.currentBalance, account.active};
}

}  // namespace

CAccountPanel::CAccountPanel(CWorkspace& workspace) : m_workspace(workspace) {
    m_workspace.Listen(*this);
    m_failed = m_workspace.IsReady() && !ReadAll();
    Arrange();
}

CAccountPanel::~CAccountPanel() {
    m_workspace.Leave(*this);
}

bool CAccountPanel::ReadAll() {
    m_accounts.clear();
    COwnedList<CAccountEntry> accounts;
    if (!m_workspace.Database().List(accounts)) return false;
    for (const CAccountEntry& account : accounts) {
        m_accounts.push_back({LineOf(account), account.accountType});
    }
    std::stable_sort(m_accounts.begin(), m_accounts.end(), [](const Known& a, const Known& b) {
        return CompareIgnoringCase(a.line.name, b.line.name) < 0;
    });
    return true;
}

bool CAccountPanel::ReadOne(int64_t accountId) {
    const auto known = std::find_if(m_accounts.begin(), m_accounts.end(),
                                    [&](const Known& its) { return its.line.id == accountId; });
    CAccountEntry account;
    if (known == m_accounts.end()) return false;
    if (!m_workspace.Database().Read(accountId, account)) return false;
    known->line.balance = account.currentBalance;
    return true;
}

void CAccountPanel::Arrange() {
    m_groups.clear();
    CMoneySum worth;
    for (int32_t code = 0; code < kAccountTypeCount; ++code) {
        Group group;
        group.type = static_cast<AccountType>(code);
        group.title = NameOf(group.type);
        CMoneySum sum;
        for (const Known& account : m_accounts) {
            if (account.type != group.type) continue;
            sum.Add(account.line.balance);
            if (account.line.active || m_showsClosed) group.lines.push_back(account.line);
        }
        group.sum = sum.Value();
        worth.Add(group.sum);
        if (!group.lines.empty()) m_groups.push_back(std::move(group));
    }
    m_netWorth = worth.Value();
}

int64_t CAccountPanel::ClosedCount() const {
    return std::count_if(m_accounts.begin(), m_accounts.end(),
                         [](const Known& account) { return !account.line.active; });
}

void CAccountPanel::ShowClosed(bool shown) {
    if (m_showsClosed == shown) return;
    m_showsClosed = shown;
    Arrange();
    if (whenChanged) whenChanged();
}

void CAccountPanel::LedgerChanged(const ChangeNotice& notice) {
    if (!notice.everything && !notice.accountTable && notice.accounts.empty()) return;
    try {
        // Names, types and what is closed: all of them; else the balances that were touched.
        bool read = !notice.everything && !notice.accountTable && !m_failed;
        for (size_t i = 0; read && i < notice.accounts.size(); ++i) {
            read = ReadOne(notice.accounts[i]);
        }
        m_failed = !read && !ReadAll();
        Arrange();
    } catch (const std::bad_alloc&) {
        m_failed = true;
    }
    if (m_failed) {
        m_accounts.clear();
        m_groups.clear();
        m_netWorth = 0.0;
    }
    if (whenChanged) whenChanged();
}

}  // namespace quillon
