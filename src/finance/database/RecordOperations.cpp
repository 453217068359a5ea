// Adding, updating, deleting, listing and reading rows: the same for every record class.

#include <type_traits>

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// Payees are told apart by their names alone.
template <class Record>
bool CQuillonDatabaseInterface::Add(Record& record) {
    if constexpr (std::is_same_v<Record, CPayeeEntry>) {
        const int64_t payeeId = FindOrAddPayee(record.name.ToUtf8());
        if (payeeId == kNoRow) return false;
        record.id = payeeId;
        return true;
    } else {
        return m_rows->Add(record);
    }
}

template <class Record>
bool CQuillonDatabaseInterface::Update(const Record& record) {
    if constexpr (std::is_same_v<Record, CPayeeEntry>) {
        return RenamePayee(record.id, record.name.ToUtf8());
    } else {
        return m_rows->Update(record);
    }
}

template <class Record>
bool CQuillonDatabaseInterface::Delete(int64_t rowId) {
    return m_rows->Delete(TableOf<Record>(), rowId);
}

template <class Record>
bool CQuillonDatabaseInterface::List(COwnedList<Record>& records) {
    if (!m_rows->List(records)) return false;
    if constexpr (std::is_same_v<Record, CTransactionEntry>) SortInRegisterOrder(records);
    return true;
}

template <class Record>
CLookup CQuillonDatabaseInterface::Read(int64_t rowId, Record& record) {
    return m_rows->Read(rowId, record);
}

// The record classes, once for all callers. A type stands without parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define QUILLON_RECORD_OPERATIONS(Record)                               \
    template bool CQuillonDatabaseInterface::Add(Record&);              \
    template bool CQuillonDatabaseInterface::Update(const Record&);     \
    template bool CQuillonDatabaseInterface::Delete<Record>(int64_t);   \
    template bool CQuillonDatabaseInterface::List(COwnedList<Record>&); \
    template CLookup CQuillonDatabaseInterface::Read(int64_t, Record&);
// NOLINTEND(bugprone-macro-parentheses)

QUILLON_RECORD_OPERATIONS(CAccountEntry)
QUILLON_RECORD_OPERATIONS(CTransactionEntry)
QUILLON_RECORD_OPERATIONS(CCategoryEntry)
QUILLON_RECORD_OPERATIONS(CPayeeEntry)
QUILLON_RECORD_OPERATIONS(CRenamingRuleEntry)
QUILLON_RECORD_OPERATIONS(CMemorizedTransactionEntry)
QUILLON_RECORD_OPERATIONS(CBudgetItem)
QUILLON_RECORD_OPERATIONS(CCheckPrintFormatEntry)
QUILLON_RECORD_OPERATIONS(CStockOpenPositionEntry)
QUILLON_RECORD_OPERATIONS(CStockClosedPositionEntry)
QUILLON_RECORD_OPERATIONS(CStockWatchListEntry)
QUILLON_RECORD_OPERATIONS(CStockSectorEntry)
#undef QUILLON_RECORD_OPERATIONS

}  // namespace quillon
