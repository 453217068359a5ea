// What the ledger's changes do to a register that is shown.

#include <algorithm>
#include <new>

#include "presenters/register/RegisterPresenter.h"

namespace quillon {

namespace {

// Beyond this many rows at once, reading all is faster than putting in one after the other.
constexpr int64_t kMostSingleRows = 2000;

}  // namespace

void CRegisterPresenter::LedgerChanged(const ChangeNotice& notice) {
    if (m_account.id == kNoRow || (!notice.Touches(m_account.id) && !notice.NamesChanged())) {
        return;
    }
    try {
        if (!TakeNotice(notice)) Fail();
    } catch (const std::bad_alloc&) {
        Fail();
    }
    Tell();
}

bool CRegisterPresenter::TakeNotice(const ChangeNotice& notice) {
    if (notice.everything || m_failed) return ReadAgain();
    if (notice.Touches(m_account.id)) {
        const AccountType type = m_account.accountType;
        if (!m_workspace.Database().Read(m_account.id, m_account)) return false;
        // Other effects, from the first row on.
        if (m_account.accountType != type) return ReadAgain();
        if (!TakeRows(notice)) return false;
    }
    if (notice.NamesChanged()) m_search.ForgetNames();
    const bool byBalance = m_sortColumn == RegisterColumn::Balance;
    if (m_isView && (notice.NamesChanged() || byBalance)) Arrange();
    return true;
}

bool CRegisterPresenter::TakeRows(const ChangeNotice& notice) {
    const auto isMine = [this](const RowNotice& row) {
        return row.account == m_account.id || row.former == m_account.id;
    };
    const auto mine = std::count_if(notice.rows.begin(), notice.rows.end(), isMine);
    if (mine > kMostSingleRows) return ReadAgain();
    for (const RowNotice& row : notice.rows) {
        if (isMine(row) && !TakeRow(row)) return false;
    }
    return true;
}

bool CRegisterPresenter::TakeRow(const RowNotice& notice) {
    uint32_t slot = m_rows.Find(notice.row);
    if (slot != CRegisterRows::kNoSlot) HideLine(slot);
    if (notice.change == RowChange::Removed || notice.account != m_account.id) {
        if (slot == CRegisterRows::kNoSlot) return true;
        m_rows.Remove(slot);
        m_selected[slot] = 0;
        return true;
    }
    CTransactionEntry row;
    if (!m_workspace.Database().Read(notice.row, row)) return false;
    slot = m_rows.Put(row);
    m_selected.resize(m_rows.SlotCount());
    m_texts.Put(slot, row);
    ShowLine(slot);
    return true;
}

void CRegisterPresenter::HideLine(uint32_t slot) {
    if (!m_isView || m_shown[slot] == 0) return;
    m_shown[slot] = 0;
    m_lines.erase(std::find(m_lines.begin(), m_lines.end(), slot));
}

void CRegisterPresenter::ShowLine(uint32_t slot) {
    if (!m_isView) return;
    m_shown.resize(m_rows.SlotCount());
    if (!m_search.Finds(slot)) return;
    const bool byColumn = m_sortColumn && m_sortColumn != RegisterColumn::Balance;
    const auto place =
        std::lower_bound(m_lines.begin(), m_lines.end(), slot, [&](uint32_t a, uint32_t b) {
            return byColumn ? m_sort.Before(a, b, *m_sortColumn, m_sortsUp)
                            : m_rows.Data().Before(a, b);
        });
    m_lines.insert(place, slot);
    m_shown[slot] = 1;
}

bool CRegisterPresenter::ReadAgain() {
    std::vector<int64_t> selected;
    for (uint32_t slot = 0; slot < m_selected.size(); ++slot) {
        if (m_selected[slot] != 0) selected.push_back(m_rows.Data().ids[slot]);
    }
    if (!Read(m_account.id)) return false;
    m_search.ForgetNames();
    for (const int64_t row : selected) {
        const uint32_t slot = m_rows.Find(row);
        if (slot != CRegisterRows::kNoSlot) m_selected[slot] = 1;
    }
    Arrange();
    return true;
}

}  // namespace quillon
