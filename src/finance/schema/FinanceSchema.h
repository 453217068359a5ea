#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "storage/tables/ColumnType.h"

namespace quillon {

class CCheckPrintFormat;
class CDatabaseManager;

// Table names, exactly as stored.
inline constexpr const char* kAccountTable = "Account";
inline constexpr const char* kCategoryTable = "Category";
inline constexpr const char* kPayeeTable = "Payee";
inline constexpr const char* kTransactionTable = "Transaction";
inline constexpr const char* kMemorizedTransactionTable = "MemorizedTransaction";
inline constexpr const char* kRenamingRulesTable = "RenamingRules";
inline constexpr const char* kSecurityTable = "Security";
inline constexpr const char* kBudgetItemTable = "BudgetItem";
inline constexpr const char* kCheckFormatTable = "CheckFormat";
inline constexpr const char* kStockOpenPositionsTable = "StockOpenPositions";
inline constexpr const char* kStockClosedPositionsTable = "StockClosedPositions";
inline constexpr const char* kStockWatchListTable = "StockWatchList";
inline constexpr const char* kStockCoreAccountTable = "StockCoreAccount";
inline constexpr const char* kStockInvestmentAmountTable = "StockInvestmentAmount";
inline constexpr const char* kStockSectorsTable = "StockSectors";

inline constexpr const char* kCreationStampColumn = "RecordCreationTimestamp";
inline constexpr const char* kModificationStampColumn = "RecordLastModTimestamp";

// Categories that the program itself files rows under.
inline constexpr std::string_view kAdjustmentCategory = "Adjustment";
inline constexpr std::string_view kTransferCategory = "Transfer";

struct FinanceColumn {
    const char* name;
    ColumnType type;
    bool indexed;
    bool attribute;
};

// Columns in creation order, after the two stamps that every table begins with.
struct FinanceTable {
    const char* name;
    std::span<const FinanceColumn> columns;
};

// The fifteen tables in creation order.
std::span<const FinanceTable> FinanceTables();

// The column's definition; null when the table or the column is none of ours.
const FinanceColumn* FindFinanceColumn(std::string_view table, std::string_view column);

// Names of the default categories and stock sectors, in the order they are added.
std::span<const std::string_view> DefaultCategories();
std::span<const std::string_view> DefaultStockSectors();

enum class UpgradeStep {
    PayeeReferences,    // text column "Payee" became "PayeeID"
    CategoryFlags,      // "Excluded" became six include flags
    CategoryTotalFlag,  // "IncludeTotal" added
    MemorizedNotes,     // "Notes" added
    CheckOrientation,   // "VerticalOrientation" added
};

struct SchemaOutcome {
    int32_t tablesCreated = 0;
    std::vector<UpgradeStep> upgrades;        // done in this run
    std::vector<const char*> tablesFailed;    // could not be created; the rest was
    std::vector<UpgradeStep> upgradesFailed;  // left as they were, tried at the next open
    bool Complete() const { return tablesFailed.empty() && upgradesFailed.empty(); }
};

// Creates and seeds the missing tables, then upgrades older ones. A table with its
// seed is one commit, and so is an upgrade step: each is there whole or not at all.
// An existing table is left untouched. A failure does not stop the ones after it. Accounts
// from before there were check layouts get `layout`.
SchemaOutcome EnsureFinanceSchema(CDatabaseManager& database, const CCheckPrintFormat& layout);

}  // namespace quillon
