#pragma once

#include <cstdint>

namespace quillon {

class CTableManager;
class CTableRowUpdateInfo;

// Who writes down what changes in the rows of a database, so that it can be taken back: hears of
// every row that goes through CDatabaseManager, inside the bracket of the change.
//
//   Errors   false, or std::bad_alloc, rolls the bracket back: no change without its record.
//   Threads  Called under the database's lock.
class CRowRecorder {
public:
    virtual ~CRowRecorder() = default;

    // The row `rowId` has been added with the values of `row`, others at their defaults.
    [[nodiscard]] virtual bool RowAdded(const CTableManager& table, int64_t rowId,
                                        const CTableRowUpdateInfo& row) = 0;
    // The columns that `row` sets are about to be written, or the row is about to go.
    [[nodiscard]] virtual bool RowChanges(const CTableManager& table,
                                          const CTableRowUpdateInfo& row) = 0;
    [[nodiscard]] virtual bool RowGoes(const CTableManager& table, int64_t rowId) = 0;

    // The outermost bracket is about to be committed: what is written now belongs to it.
    [[nodiscard]] virtual bool BracketEnds() = 0;
    // The database is being flushed, in a bracket of its own.
    [[nodiscard]] virtual bool Flushing() = 0;
};

}  // namespace quillon
