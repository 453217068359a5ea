#include "presenters/register/RegisterPresenter.h"

#include <algorithm>
#include <new>

#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"

namespace quillon {

namespace {

// Reading so many memos takes no longer than a key may.
constexpr size_t kTextsReadAtOnce = 10'000;

}  // namespace

CRegisterPresenter::CRegisterPresenter(CWorkspace& workspace)
    : m_workspace(workspace),
      m_texts(workspace.Database(), m_rows),
      m_sort(m_rows, m_texts, workspace.Names()),
      m_search({}, m_rows, m_texts, workspace.Names()) {
    m_workspace.Listen(*this);
}

CRegisterPresenter::~CRegisterPresenter() {
    m_workspace.Leave(*this);
}

template <typename Work>
void CRegisterPresenter::Guard(Work work) {
    try {
        if (!work()) Fail();
    } catch (const std::bad_alloc&) {
        Fail();
    }
}

void CRegisterPresenter::Fail() {
    m_failed = true;
    m_rows.Clear();
    m_texts.Clear();
    m_lines.clear();
    m_shown.clear();
    m_selected.clear();
}

bool CRegisterPresenter::Read(int64_t accountId) {
    m_texts.Clear();
    CAccountEntry account;
    if (!m_workspace.Database().Read(accountId, account)) return false;
    m_account = account;
    if (!m_rows.Load(m_workspace.Database(), m_account)) return false;
    m_selected.assign(m_rows.SlotCount(), 0);
    m_failed = false;
    return true;
}

bool CRegisterPresenter::Show(int64_t accountId) {
    m_account = {};
    m_account.id = accountId;
    m_sortColumn.reset();
    m_sortsUp = true;
    Guard([&] {
        m_filter.clear();
        m_search = CRegisterSearch({}, m_rows, m_texts, m_workspace.Names());
        if (!Read(accountId)) return false;
        Arrange();
        return true;
    });
    Tell();
    return !m_failed;
}

// --- lines

int64_t CRegisterPresenter::LineCount() const {
    return m_isView ? static_cast<int64_t>(m_lines.size()) : RowCount();
}

uint32_t CRegisterPresenter::SlotAt(int64_t line) const {
    const auto place = static_cast<size_t>(line);
    return m_isView ? m_lines[place] : m_rows.Order().SlotAt(place);
}

double CRegisterPresenter::BalanceAt(int64_t line) const {
    const CRegisterOrder& order = m_rows.Order();
    return order.BalanceAt(m_isView ? order.PositionOf(SlotAt(line)) : static_cast<size_t>(line));
}

bool CRegisterPresenter::Shows(uint32_t slot) const {
    return m_rows.Holds(slot) && (!m_isView || m_shown[slot] != 0);
}

int64_t CRegisterPresenter::LineOf(int64_t rowId) const {
    const uint32_t slot = m_rows.Find(rowId);
    if (slot == CRegisterRows::kNoSlot || !Shows(slot)) return -1;
    if (!m_isView) return static_cast<int64_t>(m_rows.Order().PositionOf(slot));
    return std::find(m_lines.begin(), m_lines.end(), slot) - m_lines.begin();
}

std::string CRegisterPresenter::CellText(int64_t line, RegisterColumn column) {
    const uint32_t slot = SlotAt(line);
    const RegisterData& data = m_rows.Data();
    const CNameTables& names = m_workspace.Names();
    const double effect = data.effects[slot];
    switch (column) {
        case RegisterColumn::Number:
            return data.checks[slot] != 0 ? std::to_string(data.checks[slot])
                                          : m_texts.Electronic(slot);
        case RegisterColumn::Date:
            return FormatIsoDate(data.dates[slot]);
        case RegisterColumn::Type:
            return std::string(NameOf(static_cast<TransactionType>(data.types[slot])));
        case RegisterColumn::Payee:
            return names.Payee(data.payees[slot]);
        case RegisterColumn::Category:
            return names.Category(data.categories[slot]);
        case RegisterColumn::Memo:
            return std::string(m_texts.Memo(slot));
        case RegisterColumn::Out:
            return effect < 0 ? FormatCurrency(effect) : std::string();
        case RegisterColumn::In:
            return effect < 0 ? std::string() : FormatCurrency(effect);
        case RegisterColumn::Balance:
            return FormatCurrency(BalanceAt(line));
    }
    return {};
}

// --- filter and order

void CRegisterPresenter::Arrange() {
    m_isView = IsFiltered() || m_sortColumn;
    m_lines.clear();
    m_shown.assign(m_isView ? m_rows.SlotCount() : 0, 0);
    if (!m_isView) return;
    if (m_search.NeedsTexts() && m_texts.LeftToRead() <= kTextsReadAtOnce) {
        m_texts.ReadSome(SIZE_MAX);
    }
    m_rows.Order().Walk([this](uint32_t slot) {
        if (!m_search.Finds(slot)) return;
        m_lines.push_back(slot);
        m_shown[slot] = 1;
    });
    if (m_sortColumn) m_sort.Sort(m_lines, *m_sortColumn, m_sortsUp);
}

void CRegisterPresenter::SetFilter(std::string_view text) {
    Guard([&] {
        m_filter = text;
        m_search = CRegisterSearch(text, m_rows, m_texts, m_workspace.Names());
        Arrange();
        return true;
    });
    Tell();
}

void CRegisterPresenter::SortBy(RegisterColumn column) {
    if (m_sortColumn != column) {
        m_sortColumn = column;
        m_sortsUp = true;
    } else if (m_sortsUp) {
        m_sortsUp = false;
    } else {
        m_sortColumn.reset();
        m_sortsUp = true;
    }
    Guard([&] {
        Arrange();
        return true;
    });
    Tell();
}

bool CRegisterPresenter::ReadTextsAhead(size_t rows) {
    if (m_texts.HasAll()) return true;
    Guard([&] {
        if (m_texts.ReadSome(rows) && m_search.NeedsTexts()) Arrange();
        return true;
    });
    if (m_texts.HasAll() && m_search.NeedsTexts()) Tell();
    return m_texts.HasAll();
}

// --- today

int64_t CRegisterPresenter::FirstLineAfter(int64_t date) const {
    if (m_sortColumn) return -1;
    if (!m_isView) return static_cast<int64_t>(m_rows.Order().CountUntil(date));
    const auto later = std::upper_bound(
        m_lines.begin(), m_lines.end(), date,
        [this](int64_t key, uint32_t slot) { return key < m_rows.Data().dates[slot]; });
    return later - m_lines.begin();
}

int64_t CRegisterPresenter::CountAfter(int64_t date) const {
    return RowCount() - static_cast<int64_t>(m_rows.Order().CountUntil(date));
}

double CRegisterPresenter::BalanceOn(int64_t date) const {
    const size_t count = m_rows.Order().CountUntil(date);
    return count == 0 ? 0.0 : m_rows.Order().BalanceAt(count - 1);
}

double CRegisterPresenter::BalanceAfterAll() const {
    const size_t count = m_rows.Order().Count();
    return count == 0 ? 0.0 : m_rows.Order().BalanceAt(count - 1);
}

}  // namespace quillon
