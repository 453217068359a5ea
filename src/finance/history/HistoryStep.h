#pragma once

#include <vector>

#include "finance/history/History.h"
#include "storage/tables/TableManager.h"

namespace quillon {

// Changes the rows of one part back, or once more, each held against what it must be before.
//
//   Errors     See HistoryStatus; the open bracket is then to be rolled back. std::bad_alloc
//              passes through.
//   Ownership  Borrows the store.
class CHistoryStep {
public:
    CHistoryStep(CDatabaseManager& database, const HistoryPart& part);

    // `change`: what the row is and what it becomes. A row that a part added is deleted by
    // undoing it, so callers turn such changes round.
    HistoryStatus Apply(const HistoryChange& change);
    // Whether the row is what the change would find.
    HistoryStatus Check(const HistoryChange& change);

private:
    struct Target {
        CTableManager* table = nullptr;  // null: there is none of that name
        // By column of the layout; null where the table has none such any more.
        std::vector<const CTableColumn*> columns;
    };

    bool IsSame(const Target& target, const HistoryChange& change);
    void SetValues(const Target& target, const HistoryChange& change);

    std::vector<Target> m_targets;
    std::vector<uint8_t> m_record;
    CTableRowUpdateInfoValue m_value;
    CTableRowUpdateInfo m_row;
};

// Makes of a change the one that takes it back.
void Reverse(HistoryChange& change);

}  // namespace quillon
