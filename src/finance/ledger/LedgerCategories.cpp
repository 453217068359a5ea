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

    int64_t Count() const {
        return int64_t{transactions.Count()} + static_cast<int64_t>(memorized.size()) +
               items.Count();
    }
    bool Any() const { return Count() > 0; }

    bool Read(CQuillonDatabaseInterface& database, int64_t categoryId) {
        COwnedList<CMemorizedTransactionEntry> all;
        if (!database.ListTransactionsByCategory(categoryId, transactions) || !database.List(all) ||
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
            if (!database.Update(row)) return false;
        }
        for (CBudgetItem& row : items) {
            row.categoryId = categoryId;
            if (!database.Update(row)) return false;
        }
        return true;
    }
};

}  // namespace

LedgerStatus CLedger::ReadOrdinaryCategory(int64_t categoryId, CCategoryEntry& category) {
    const CLookup read = m_database.Read(categoryId, category);
    if (read.HasFailed()) return LedgerStatus::StoreFailed;
    if (read.IsNone()) return LedgerStatus::NoSuchCategory;
    return IsKept(category) ? LedgerStatus::CategoryKept : LedgerStatus::Ok;
}

LedgerStatus CLedger::CheckName(std::string_view name, std::optional<int64_t> holder,
                                int64_t ownId) {
    if (CKeelString(name).IsEmpty()) return LedgerStatus::NameMissing;
    if (!holder) return LedgerStatus::StoreFailed;
    return *holder != kNoRow && *holder != ownId ? LedgerStatus::NameTaken : LedgerStatus::Ok;
}

LedgerStatus CLedger::AddCategory(std::string_view name, CCategoryEntry& category) try {
    const CFinanceSection section(m_database);
    const LedgerStatus status = CheckName(name, m_database.FindCategoryId(name), kNoRow);
    if (status != LedgerStatus::Ok) return status;
    CCategoryEntry added;
    added.name = name;
    if (!m_database.Add(added)) return LedgerStatus::StoreFailed;
    category = added;
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

bool CLedger::CountCategoryUses(int64_t categoryId, int64_t& uses) try {
    const CFinanceSection section(m_database);
    Filed filed;
    if (!filed.Read(m_database, categoryId)) return false;
    uses = filed.Count();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

LedgerStatus CLedger::RenameCategory(int64_t categoryId, std::string_view name) try {
    const CFinanceSection section(m_database);
    CCategoryEntry category;
    LedgerStatus status = ReadOrdinaryCategory(categoryId, category);
    if (status == LedgerStatus::Ok) {
        status = CheckName(name, m_database.FindCategoryId(name), categoryId);
    }
    if (status != LedgerStatus::Ok) return status;
    category.name = CKeelString(name);
    return m_database.Update(category) ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
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
    if (moveTo == categoryId) return LedgerStatus::SameTarget;
    Filed filed;
    if (!filed.Read(m_database, categoryId)) return LedgerStatus::StoreFailed;
    if (moveTo == kNoRow && filed.Any()) return LedgerStatus::StillUsed;

    CFinanceBatch batch(m_database);
    const bool removed = batch.Begun() && filed.MoveTo(m_database, moveTo) &&
                         m_database.Delete<CCategoryEntry>(categoryId) && batch.Commit();
    return removed ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

}  // namespace quillon
