// Categories and payees: the rows that are known by their names.

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/VLStringManager.h"

namespace quillon {

namespace {

void SetIfAsked(bool* target, bool value) {
    if (target) *target = value;
}

}  // namespace

// --- categories

bool CQuillonDatabaseInterface::UpdateCategoryFlags(const CCategoryEntry& category) {
    return m_rows->Change(kCategoryTable, category.id, [&] {
        return m_database.SetBoolean("IncludeIncome", category.includeIncome) &&
               m_database.SetBoolean("IncludeWorth", category.includeWorth) &&
               m_database.SetBoolean("IncludeInvestment", category.includeInvestment) &&
               m_database.SetBoolean("IncludePayee", category.includePayee) &&
               m_database.SetBoolean("IncludeTotal", category.includeTotal) &&
               m_database.SetBoolean("IncludeBudget", category.includeBudget) &&
               m_database.SetBoolean("IncludeReports", category.includeReports);
    });
}

CLookup CQuillonDatabaseInterface::FindCategoryByName(std::string_view name,
                                                      CCategoryEntry& category) {
    return m_rows->ReadByText(category, "Name", name);
}

std::optional<int64_t> CQuillonDatabaseInterface::FindCategoryId(std::string_view name) {
    int64_t categoryId = kNoRow;
    if (m_rows->FindByText(kCategoryTable, "Name", name, categoryId).HasFailed())
        return std::nullopt;
    return categoryId;
}

int64_t CQuillonDatabaseInterface::FindOrAddCategory(std::string_view name, bool* added) {
    SetIfAsked(added, false);
    int64_t categoryId = kNoRow;
    const bool done = m_rows->Run([&] {
        const CLookup known = m_rows->FindByText(kCategoryTable, "Name", name, categoryId);
        if (!known.IsNone()) return !known.HasFailed();
        CCategoryEntry category;
        category.name = CVLStringManager::StoredPart(name);
        category.SetAllFlags(category.name.View() != kAdjustmentCategory &&
                             category.name.View() != kTransferCategory);
        if (!m_rows->Add(category)) return false;
        categoryId = category.id;
        SetIfAsked(added, true);
        return true;
    });
    return done ? categoryId : kNoRow;
}

// --- payees

bool CQuillonDatabaseInterface::RenamePayee(int64_t payeeId, std::string_view name) {
    return m_rows->Run([&] {
        int64_t holder = kNoRow;
        if (m_rows->FindByText(kPayeeTable, "Name", name, holder).HasFailed()) return false;
        if (holder != kNoRow && holder != payeeId) return false;
        return m_rows->Change(kPayeeTable, payeeId,
                              [&] { return m_database.SetText("Name", name); });
    });
}

CLookup CQuillonDatabaseInterface::FindPayeeByName(std::string_view name, CPayeeEntry& payee) {
    return m_rows->ReadByText(payee, "Name", name);
}

std::optional<int64_t> CQuillonDatabaseInterface::FindPayeeId(std::string_view name) {
    int64_t payeeId = kNoRow;
    if (m_rows->FindByText(kPayeeTable, "Name", name, payeeId).HasFailed()) return std::nullopt;
    return payeeId;
}

int64_t CQuillonDatabaseInterface::FindOrAddPayee(std::string_view name, bool* added) {
    SetIfAsked(added, false);
    int64_t payeeId = kNoRow;
    const bool done = m_rows->Run([&] {
        const CLookup known = m_rows->FindByText(kPayeeTable, "Name", name, payeeId);
        if (!known.IsNone()) return !known.HasFailed();
        CPayeeEntry payee;
        payee.name = name;
        if (!m_rows->Add(payee)) return false;
        payeeId = payee.id;
        SetIfAsked(added, true);
        return true;
    });
    return done ? payeeId : kNoRow;
}

}  // namespace quillon
