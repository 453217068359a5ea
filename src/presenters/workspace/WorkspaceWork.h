#pragma once

#include <new>

#include "presenters/workspace/Workspace.h"

namespace quillon {

// The templates of CWorkspace, for the files that hold its operations.

template <class OwnLabel, class Work>
LedgerStatus CWorkspace::Perform(const std::string& label, OwnLabel ownLabel, Work work) try {
    if (!m_database.IsOpen()) return LedgerStatus::StoreFailed;
    ChangeNotice notice;
    notice.label = label.empty() ? std::string(ownLabel()) : label;
    {
        CFinanceBatch batch(m_database);
        if (!batch.Begun()) return LedgerStatus::StoreFailed;
        const LedgerStatus status = work(notice);
        if (status != LedgerStatus::Ok) return status;
        m_database.History().Describe(ActionKind::Change, notice.label);
        if (!batch.Commit()) return LedgerStatus::StoreFailed;
    }
    Tell(notice);
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

template <class OwnLabel, class Change>
LedgerStatus CWorkspace::ChangeEach(std::span<const int64_t> rows, const std::string& label,
                                    OwnLabel ownLabel, Change change) {
    return Perform(label, ownLabel, [&](ChangeNotice& notice) {
        for (const int64_t id : rows) {
            CTransactionEntry row;
            LedgerStatus status = ReadRow(id, row);
            if (status != LedgerStatus::Ok) return status;
            const int64_t former = row.accountId;
            status = change(row);
            if (status != LedgerStatus::Ok) return status;
            notice.AddRow(RowChange::Changed, row, former);
        }
        return LedgerStatus::Ok;
    });
}

}  // namespace quillon
