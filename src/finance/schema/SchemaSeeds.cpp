// What a new database starts with.

#include "finance/records/FinanceRecords.h"
#include "finance/schema/SchemaBuilder.h"
#include "foundation/platform/Clock.h"

namespace quillon {

namespace {

constexpr const char* kIncludeFlags[] = {
    "IncludeIncome", "IncludeWorth",  "IncludeInvestment", "IncludePayee",
    "IncludeTotal",  "IncludeBudget", "IncludeReports",
};

bool SeedCategories(CSchemaBuilder& builder, int64_t now) {
    CDatabaseManager& database = builder.Database();
    for (const std::string_view name : DefaultCategories()) {
        // What moves money between accounts or sets a balance is neither income nor expense.
        const bool counts = name != kAdjustmentCategory && name != kTransferCategory;
        const int64_t added = builder.AddRow(kCategoryTable, now, [&] {
            bool set = database.SetText("Name", name);
            for (const char* flag : kIncludeFlags) set = set && database.SetBoolean(flag, counts);
            return set;
        });
        if (added < 0) return false;
    }
    return true;
}

bool SeedSectors(CSchemaBuilder& builder, int64_t now) {
    CDatabaseManager& database = builder.Database();
    for (const std::string_view name : DefaultStockSectors()) {
        const int64_t added = builder.AddRow(kStockSectorsTable, now,
                                             [&] { return database.SetText("StockSector", name); });
        if (added < 0) return false;
    }
    return true;
}

// The default layout for every account there is, in a database from before check printing.
bool SeedCheckFormats(CSchemaBuilder& builder, int64_t now) {
    CDatabaseManager& database = builder.Database();
    const CCheckPrintFormat& layout = builder.Layout();
    for (const int64_t account : builder.RowsOf(kAccountTable)) {
        const int64_t added = builder.AddRow(kCheckFormatTable, now, [&] {
            return database.SetInt64("AccountID", account) &&
                   database.SetText("DateText", layout.dateText) &&
                   database.SetText("PayeeText", layout.payeeText) &&
                   database.SetText("AmountText", layout.amountText) &&
                   database.SetText("WrittenAmountText", layout.writtenAmountText) &&
                   database.SetText("MemoText", layout.memoText) &&
                   database.SetDouble("CheckWidth", layout.checkWidth) &&
                   database.SetBoolean("VerticalOrientation", layout.verticalOrientation);
        });
        if (added < 0) return false;
    }
    return true;
}

}  // namespace

bool SeedTable(CSchemaBuilder& builder, std::string_view table) {
    CDatabaseManager& database = builder.Database();
    const int64_t now = NowFileTime();
    if (table == kCategoryTable) return SeedCategories(builder, now);
    if (table == kStockSectorsTable) return SeedSectors(builder, now);
    if (table == kCheckFormatTable) return SeedCheckFormats(builder, now);
    if (table == kRenamingRulesTable) {
        return builder.AddRow(kRenamingRulesTable, now, [&] {
            return database.SetText("SearchText", "void") &&
                   database.SetText("ReplaceText", "VOID");
        }) >= 0;
    }
    if (table == kSecurityTable) {
        // Enabled without a hash: the first start asks the user to set a password.
        return builder.AddRow(kSecurityTable, now, [&] {
            return database.SetText("PasswordHash", "") &&
                   database.SetBoolean("SecurityEnabled", true);
        }) >= 0;
    }
    if (table == kStockCoreAccountTable) {
        return builder.AddRow(kStockCoreAccountTable, now,
                              [&] { return database.SetDouble("CoreAccountBalance", 0.0); }) >= 0;
    }
    if (table == kStockInvestmentAmountTable) {
        return builder.AddRow(kStockInvestmentAmountTable, now,
                              [&] { return database.SetDouble("InvestmentBalance", 0.0); }) >= 0;
    }
    return true;
}

}  // namespace quillon
