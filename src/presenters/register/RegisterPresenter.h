#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "presenters/register/RegisterColumns.h"
#include "presenters/register/RegisterRows.h"
#include "presenters/register/RegisterSearch.h"
#include "presenters/register/RegisterSort.h"
#include "presenters/register/RegisterTexts.h"
#include "presenters/workspace/Workspace.h"

namespace quillon {

// The register of one account: which rows are shown, in which order, and what their cells say.
//
//   Rows       Lines are counted from 0 as they are shown; whoever keeps a place keeps the row
//              identifier. Filter, order and selection survive every change of the ledger.
//   Changes    Arrive from the workspace; a row is put in its place wherever that is, and the
//              lines behind it follow. `whenChanged` is called after each, and after every
//              call here that changes what is shown.
//   Balances   Always the account's after the row in register order (date, then row
//              identifier), to the bit those of finance/ledger/AccountRegister.h.
//   Selection  Of rows; those that a filter hides keep theirs and are left out of what is
//              asked about it, so that nothing is done to rows that cannot be seen.
//   Errors     HasFailed(): rows could not be read, or there was no memory; nothing is shown.
//   Ownership  Borrows the workspace, which must outlive it.
//   Threads    One.
class CRegisterPresenter : public CWorkspaceListener {
public:
    explicit CRegisterPresenter(CWorkspace& workspace);
    ~CRegisterPresenter() override;
    CRegisterPresenter(const CRegisterPresenter&) = delete;
    CRegisterPresenter& operator=(const CRegisterPresenter&) = delete;

    // Reads the account's rows; filter, order and selection are as at first. False: see Errors.
    bool Show(int64_t accountId);
    const CAccountEntry& Account() const { return m_account; }
    bool HasFailed() const { return m_failed; }
    std::function<void()> whenChanged;

    // --- columns
    std::span<const RegisterColumn> Columns() const {
        return RegisterColumnsOf(m_account.accountType);
    }
    std::string_view Heading(RegisterColumn column) const {
        return RegisterHeading(column, m_account.accountType, BalanceRuns());
    }
    // The balance follows from line to line: all rows are shown, in register order.
    bool BalanceRuns() const { return !m_isView; }

    // --- lines. Each must be below LineCount().
    int64_t LineCount() const;
    // Of the account, shown or not.
    int64_t RowCount() const { return static_cast<int64_t>(m_rows.Order().Count()); }
    int64_t RowIdAt(int64_t line) const { return m_rows.Data().ids[SlotAt(line)]; }
    int64_t DateAt(int64_t line) const { return m_rows.Data().dates[SlotAt(line)]; }
    double EffectAt(int64_t line) const { return m_rows.Data().effects[SlotAt(line)]; }
    double BalanceAt(int64_t line) const;
    std::string CellText(int64_t line, RegisterColumn column);
    // -1: not shown.
    int64_t LineOf(int64_t rowId) const;

    // --- filter: see SearchWord. An empty one shows all.
    void SetFilter(std::string_view text);
    const std::string& Filter() const { return m_filter; }
    bool IsFiltered() const { return !m_search.IsEmpty(); }

    // --- order: by a column upwards, at the second call for it downwards, at the third in
    // register order again.
    void SortBy(RegisterColumn column);
    std::optional<RegisterColumn> SortColumn() const { return m_sortColumn; }
    bool SortsUp() const { return m_sortsUp; }

    // --- selection
    void Select(int64_t rowId, bool selected = true);
    void SelectLines(int64_t first, int64_t last);  // both included
    void SelectAll();
    void ClearSelection();
    bool IsSelected(int64_t rowId) const;
    // In the order of the lines.
    std::vector<int64_t> SelectedRows() const;
    struct Sum {
        int64_t count = 0;
        double effect = 0.0;
    };
    Sum SelectionSum() const;

    // --- today
    // The first line of a later date, or LineCount(); -1 while another order than the
    // register's is shown.
    int64_t FirstLineAfter(int64_t date) const;
    // Rows of later dates, shown or not.
    int64_t CountAfter(int64_t date) const;
    // Of the account at the end of that date.
    double BalanceOn(int64_t date) const;
    double BalanceAfterAll() const;

    // While the program is idle: reads so many memos ahead of the first filter or order that
    // needs them. With the last, a filter that waited for them shows what it finds in them.
    // True: there are no more.
    bool ReadTextsAhead(size_t rows);
    // False: more lines may be found in memos that are not read yet. Only a large register
    // waits for ReadTextsAhead; a small one reads them with the first key.
    bool IsFilterComplete() const { return !m_search.NeedsTexts() || m_texts.HasAll(); }

    void LedgerChanged(const ChangeNotice& notice) override;

private:
    uint32_t SlotAt(int64_t line) const;
    bool Read(int64_t accountId);
    void Fail();
    // Runs `work`; without memory nothing is shown.
    template <typename Work>
    void Guard(Work work);
    bool TakeNotice(const ChangeNotice& notice);
    bool TakeRows(const ChangeNotice& notice);
    bool TakeRow(const RowNotice& notice);
    bool ReadAgain();
    // Fills the view from all rows.
    void Arrange();
    void HideLine(uint32_t slot);
    void ShowLine(uint32_t slot);
    bool Shows(uint32_t slot) const;
    template <typename Visit>
    void WalkLines(Visit visit) const {
        if (!m_isView) return m_rows.Order().Walk(visit);
        for (const uint32_t slot : m_lines) visit(slot);
    }
    void Tell() const {
        if (whenChanged) whenChanged();
    }

    CWorkspace& m_workspace;
    CAccountEntry m_account;
    CRegisterRows m_rows;
    CRegisterTexts m_texts;
    CRegisterSort m_sort;
    CRegisterSearch m_search;
    std::string m_filter;
    std::optional<RegisterColumn> m_sortColumn;
    bool m_sortsUp = true;
    bool m_isView = false;            // filtered or in another order; else all rows are shown
    std::vector<uint32_t> m_lines;    // of a view
    std::vector<uint8_t> m_shown;     // by slot, of a view
    std::vector<uint8_t> m_selected;  // by slot
    bool m_failed = false;
};

}  // namespace quillon
