// Categories: what the ledger's rows are filed under.

#include <new>
#include <vector>

#include "finance/ledger/Ledger.h"

namespace quillon {

namespace {

// The program itself files rows under these two, and finds transfers by the one.
bool IsKept(const CCategoryEntry& category) {
    const std::string_view name = category.name.View();
    return name == kAdjustmentCategory || name == kTransferCategory;
}

// The rows filed under a category.
struct Filed {
    COwnedList<CTransactionEntry> transactions;
    std::vector<CMemorizedTransactionEntry> memorized;
    COwnedList<CBudgetItem> items;

    bool Any() const { return !transactions.IsEmpty() || !memorized.empty() || !items.IsEmpty(); }

    bool Read(CQuillonDatabaseInterface& database, int64_t categoryId) {
        COwnedList<CMemorizedTransactionEntry> all;
        if (!database.ListTransactionsByCategory(categoryId, transactions) ||
            !database.ListMemorizedTransactions(all) ||
            !database.ListBudgetItemsByCategory(categoryId, items)) {
            return false;
        }
        for (const CMemorizedTransactionEntry& row : all) {
            if (row.categoryId == categoryId) memorized.push_back(row);
        }
        return true;
    }

    bool MoveTo(CQuillonDatabaseInterface& database, int64_t categoryId) {
        for (const CTransactionEntry& row : transactions) {
            if (!database.UpdateTransactionCategory(row.id, categoryId)) return false;
        }
        for (CMemorizedTransactionEntry& row : memorized) {
            row.categoryId = categoryId;
            if (!database.UpdateMemorizedTransaction(row)) return false;
        }
        for (CBudgetItem& row : items) {
            row.categoryId = categoryId;
            if (!database.UpdateBudgetItem(row)) return false;
        }
        return true;
    }
};

}  // namespace

LedgerStatus CLedger::ReadOrdinaryCategory(int64_t categoryId, CCategoryEntry& category) {
    const CLookup read = m_database.ReadCategory(categoryId, category);
    if (read.HasFailed()) return LedgerStatus::StoreFailed;
    if (read.IsNone()) return LedgerStatus::NoSuchCategory;
    return IsKept(category) ? LedgerStatus::CategoryKept : LedgerStatus::Ok;
}

LedgerStatus CLedger::RenameCategory(int64_t categoryId, std::string_view name) try {
    const CFinanceSection section(m_database);
    CCategoryEntry category;
    const LedgerStatus status = ReadOrdinaryCategory(categoryId, category);
    if (status != LedgerStatus::Ok) return status;
    category.name = CKeelString(name);
    if (category.name.IsEmpty()) return LedgerStatus::NameMissing;
    const std::optional<int64_t> holder = m_database.FindCategoryId(name);
    if (!holder) return LedgerStatus::StoreFailed;
    if (*holder != kNoRow && *holder != categoryId) return LedgerStatus::NameTaken;
    return m_database.UpdateCategory(category) ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RemoveCategory(int64_t categoryId, int64_t moveTo) try {
    const CFinanceSection section(m_database);
    CCategoryEntry category;
    CCategoryEntry target;
    LedgerStatus status = ReadOrdinaryCategory(categoryId, category);
    if (status == LedgerStatus::Ok && moveTo != kNoRow) {
        status = ReadOrdinaryCategory(moveTo, target);
        if (status == LedgerStatus::CategoryKept) status = LedgerStatus::CategoryReserved;
    }
    if (status != LedgerStatus::Ok) return status;
    if (moveTo == categoryId) return LedgerStatus::SameCategory;
    Filed filed;
    if (!filed.Read(m_database, categoryId)) return LedgerStatus::StoreFailed;
    if (moveTo == kNoRow && filed.Any()) return LedgerStatus::CategoryUsed;

    CFinanceBatch batch(m_database);
    const bool removed = batch.Begun() && filed.MoveTo(m_database, moveTo) &&
                         m_database.DeleteCategory(categoryId) && batch.Commit();
    return removed ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

}  // namespace quillon
