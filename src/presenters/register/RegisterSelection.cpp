// The selected rows of a register.

#include <algorithm>

#include "finance/ledger/Balance.h"
#include "presenters/register/RegisterPresenter.h"

namespace quillon {

void CRegisterPresenter::Select(int64_t rowId, bool selected) {
    const uint32_t slot = m_rows.Find(rowId);
    if (slot == CRegisterRows::kNoSlot) return;
    m_selected[slot] = selected ? 1 : 0;
    Tell();
}

void CRegisterPresenter::SelectLines(int64_t first, int64_t last) {
    for (int64_t line = std::max<int64_t>(first, 0); line <= last && line < LineCount(); ++line) {
        m_selected[SlotAt(line)] = 1;
    }
    Tell();
}

void CRegisterPresenter::SelectAll() {
    WalkLines([this](uint32_t slot) { m_selected[slot] = 1; });
    Tell();
}

void CRegisterPresenter::ClearSelection() {
    m_selected.assign(m_selected.size(), 0);
    Tell();
}

bool CRegisterPresenter::IsSelected(int64_t rowId) const {
    const uint32_t slot = m_rows.Find(rowId);
    return slot != CRegisterRows::kNoSlot && m_selected[slot] != 0;
}

std::vector<int64_t> CRegisterPresenter::SelectedRows() const {
    std::vector<int64_t> rows;
    WalkLines([&](uint32_t slot) {
        if (m_selected[slot] != 0) rows.push_back(m_rows.Data().ids[slot]);
    });
    return rows;
}

CRegisterPresenter::Sum CRegisterPresenter::SelectionSum() const {
    Sum sum;
    CMoneySum effects;
    for (uint32_t slot = 0; slot < m_selected.size(); ++slot) {
        if (m_selected[slot] == 0 || !Shows(slot)) continue;
        ++sum.count;
        effects.Add(m_rows.Data().effects[slot]);
    }
    sum.effect = effects.Value();
    return sum;
}

}  // namespace quillon
