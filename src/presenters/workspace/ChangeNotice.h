#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "finance/records/FinanceRecords.h"

namespace quillon {

enum class RowChange { Added, Changed, Removed };

// One transaction that a change concerned.
struct RowNotice {
    RowChange change = RowChange::Changed;
    int64_t row = kNoRow;
    int64_t account = kNoRow;  // where it is, or was when it is removed
    int64_t former = kNoRow;   // of Changed: where it was; the same unless it moved
};

// What one commit changed, for screens that show some of it.
//
//   Rows      Each row once, transactions only. Where `everything` is set, they are not listed.
//   Accounts  Those whose balance, rows or columns may differ now, ascending.
//   Tables    A flag says that rows of the table were made, renamed, changed or removed, beyond
//             the balances that follow the transactions.
struct ChangeNotice {
    std::string label;  // what was done, as people read it
    std::vector<RowNotice> rows;
    std::vector<int64_t> accounts;
    bool accountTable = false;
    bool categoryTable = false;
    bool payeeTable = false;
    bool everything = false;  // read again whatever is shown

    bool NamesChanged() const { return accountTable || categoryTable || payeeTable || everything; }
    bool Touches(int64_t account) const {
        return everything || std::binary_search(accounts.begin(), accounts.end(), account);
    }
    void AddAccount(int64_t account) {
        const auto place = std::lower_bound(accounts.begin(), accounts.end(), account);
        if (place == accounts.end() || *place != account) accounts.insert(place, account);
    }
    void AddRow(RowChange change, const CTransactionEntry& row, int64_t former = kNoRow) {
        if (change != RowChange::Changed)
            former = kNoRow;
        else if (former == kNoRow)
            former = row.accountId;
        rows.push_back({change, row.id, row.accountId, former});
        AddAccount(row.accountId);
        if (former != kNoRow) AddAccount(former);
    }
};

// Who wants to know. Called on the workspace's thread, behind the commit.
class CWorkspaceListener {
public:
    virtual ~CWorkspaceListener() = default;
    virtual void LedgerChanged(const ChangeNotice& notice) = 0;
};

}  // namespace quillon
