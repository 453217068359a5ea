// The fifteen tables as data.

#include "finance/schema/FinanceSchema.h"

#include "storage/tables/ColumnType.h"

namespace quillon {

namespace {

// An index with the attribute keeps its rows in order, for ranges.
constexpr FinanceColumn Plain(const char* name, ColumnType type) {
    return {name, type, false, false};
}
constexpr FinanceColumn Indexed(const char* name, ColumnType type) {
    return {name, type, true, false};
}
constexpr FinanceColumn Ordered(const char* name, ColumnType type) {
    return {name, type, true, true};
}

constexpr FinanceColumn kAccountColumns[] = {
    Ordered("Name", ColumnType::Text),
    Plain("Description", ColumnType::Text),
    Indexed("AccountType", ColumnType::Int32),
    Plain("CurrentBalance", ColumnType::Double),
    Plain("LatestCheckNumber", ColumnType::Int32),
    Indexed("Active", ColumnType::Boolean),
};

constexpr FinanceColumn kCategoryColumns[] = {
    Ordered("Name", ColumnType::Text),
    Indexed("IncludeIncome", ColumnType::Boolean),
    Indexed("IncludeWorth", ColumnType::Boolean),
    Indexed("IncludeInvestment", ColumnType::Boolean),
    Indexed("IncludePayee", ColumnType::Boolean),
    Indexed("IncludeTotal", ColumnType::Boolean),
    Indexed("IncludeBudget", ColumnType::Boolean),
    Indexed("IncludeReports", ColumnType::Boolean),
};

constexpr FinanceColumn kPayeeColumns[] = {
    Ordered("Name", ColumnType::Text),
};

constexpr FinanceColumn kTransactionColumns[] = {
    Indexed("AccountID", ColumnType::Int64),
    Ordered("ServiceDate", ColumnType::DateTime),
    Indexed("EletronicPaymentType", ColumnType::Text),
    Ordered("Check", ColumnType::Int32),
    Indexed("TransactionType", ColumnType::Int32),
    Indexed("PayeeID", ColumnType::Int64),
    Indexed("CategoryID", ColumnType::Int64),
    Ordered("Amount", ColumnType::Double),
    Ordered("FitID", ColumnType::Int64),
    Plain("Memo", ColumnType::Text),
};

constexpr FinanceColumn kMemorizedTransactionColumns[] = {
    Indexed("AccountID", ColumnType::Int64),       Indexed("TransactionType", ColumnType::Int32),
    Indexed("PayeeID", ColumnType::Int64),         Indexed("CategoryID", ColumnType::Int64),
    Indexed("PeriodType", ColumnType::Int32),      Ordered("LastServiceDate", ColumnType::DateTime),
    Indexed("TwiceAMonthType", ColumnType::Int32), Plain("Notes", ColumnType::Text),
};

constexpr FinanceColumn kRenamingRulesColumns[] = {
    Ordered("SearchText", ColumnType::Text),
    Plain("ReplaceText", ColumnType::Text),
};

constexpr FinanceColumn kSecurityColumns[] = {
    Plain("PasswordHash", ColumnType::Text),
    Plain("SecurityEnabled", ColumnType::Boolean),
};

constexpr FinanceColumn kBudgetItemColumns[] = {
    Indexed("CategoryID", ColumnType::Int64),
    Indexed("ItemType", ColumnType::Int32),
    Plain("Amount", ColumnType::Double),
};

constexpr FinanceColumn kCheckFormatColumns[] = {
    Indexed("AccountID", ColumnType::Int64),      Plain("DateText", ColumnType::Text),
    Plain("PayeeText", ColumnType::Text),         Plain("AmountText", ColumnType::Text),
    Plain("WrittenAmountText", ColumnType::Text), Plain("MemoText", ColumnType::Text),
    Plain("CheckWidth", ColumnType::Double),      Plain("VerticalOrientation", ColumnType::Boolean),
};

constexpr FinanceColumn kStockOpenPositionsColumns[] = {
    Ordered("OpenDate", ColumnType::DateTime),     Indexed("Stock", ColumnType::Text),
    Indexed("StockDescription", ColumnType::Text), Indexed("SectorID", ColumnType::Int64),
    Indexed("Shares", ColumnType::Double),         Indexed("PurchasePrice", ColumnType::Double),
    Indexed("TargetPrice", ColumnType::Double),    Indexed("LastPrice", ColumnType::Double),
    Indexed("CostBasis", ColumnType::Double),      Indexed("TargetReturn", ColumnType::Double),
    Indexed("TargetYield", ColumnType::Double),    Plain("Notes", ColumnType::Text),
};

constexpr FinanceColumn kStockClosedPositionsColumns[] = {
    Ordered("OpenDate", ColumnType::DateTime),
    Ordered("CloseDate", ColumnType::DateTime),
    Indexed("Stock", ColumnType::Text),
    Indexed("StockDescription", ColumnType::Text),
    Indexed("SectorID", ColumnType::Int64),
    Indexed("Shares", ColumnType::Double),
    Indexed("PurchasePrice", ColumnType::Double),
    Indexed("TargetPrice", ColumnType::Double),
    Indexed("SellPrice", ColumnType::Double),
    Indexed("SellFee", ColumnType::Double),
    Indexed("CostBasis", ColumnType::Double),
    Indexed("TargetReturn", ColumnType::Double),
    Indexed("ActualNet", ColumnType::Double),
    Indexed("ActualYield", ColumnType::Double),
    Indexed("PercentTargetRealized", ColumnType::Double),
    Plain("Notes", ColumnType::Text),
};

constexpr FinanceColumn kStockWatchListColumns[] = {
    Ordered("Date", ColumnType::DateTime),
    Indexed("Stock", ColumnType::Text),
    Indexed("StockDescription", ColumnType::Text),
    Indexed("SectorID", ColumnType::Int64),
    Plain("Notes", ColumnType::Text),
};

constexpr FinanceColumn kStockCoreAccountColumns[] = {
    Plain("CoreAccountBalance", ColumnType::Double),
};

constexpr FinanceColumn kStockInvestmentAmountColumns[] = {
    Plain("InvestmentBalance", ColumnType::Double),
};

constexpr FinanceColumn kStockSectorsColumns[] = {
    Indexed("StockSector", ColumnType::Text),
};

constexpr FinanceTable kTables[] = {
    {kAccountTable, kAccountColumns},
    {kCategoryTable, kCategoryColumns},
    {kPayeeTable, kPayeeColumns},
    {kTransactionTable, kTransactionColumns},
    {kMemorizedTransactionTable, kMemorizedTransactionColumns},
    {kRenamingRulesTable, kRenamingRulesColumns},
    {kSecurityTable, kSecurityColumns},
    {kBudgetItemTable, kBudgetItemColumns},
    {kCheckFormatTable, kCheckFormatColumns},
    {kStockOpenPositionsTable, kStockOpenPositionsColumns},
    {kStockClosedPositionsTable, kStockClosedPositionsColumns},
    {kStockWatchListTable, kStockWatchListColumns},
    {kStockCoreAccountTable, kStockCoreAccountColumns},
    {kStockInvestmentAmountTable, kStockInvestmentAmountColumns},
    {kStockSectorsTable, kStockSectorsColumns},
};

constexpr std::string_view kCategories[] = {"Adjustment",
                                            "Auto Expenses",
                                            "Bank Charge",
                                            "Income",
                                            "Entertainment",
                                            "Gas",
                                            "Electricity",
                                            "Water",
                                            "Rent",
                                            "Miscellaneous",
                                            "Groceries",
                                            "Travel",
                                            "Transfer",
                                            "Telephone",
                                            "Tax Refund",
                                            "State Taxes",
                                            "Federal Taxes",
                                            "Computers",
                                            "Software",
                                            "Interest",
                                            "Subscriptions",
                                            "Legal",
                                            "Auto Loan",
                                            "Mortgage",
                                            "Household",
                                            "Gifts",
                                            "Auto Insurance",
                                            "Homeowners Insurance",
                                            "Renters Insurance",
                                            "Medical",
                                            "Dental",
                                            "Vision",
                                            "Life Insurance",
                                            "Charity"};

constexpr std::string_view kSectors[] = {"Financial (XLF)",
                                         "Utilities (XLU)",
                                         "Consumer Discretionary (XLY)",
                                         "Consumer Staples (XLP)",
                                         "Communications Services (XLC)",
                                         "Energy (XLE)",
                                         "Health Care (XLV)",
                                         "Industrials (XLI)",
                                         "Technology (XLK)",
                                         "Materials (XLB)",
                                         "Real Estate (XLRE)"};

}  // namespace

std::span<const FinanceTable> FinanceTables() {
    return kTables;
}

const FinanceColumn* FindFinanceColumn(std::string_view table, std::string_view column) {
    for (const FinanceTable& known : kTables) {
        if (known.name != table) continue;
        for (const FinanceColumn& its : known.columns) {
            if (its.name == column) return &its;
        }
    }
    return nullptr;
}

std::span<const std::string_view> DefaultCategories() {
    return kCategories;
}

std::span<const std::string_view> DefaultStockSectors() {
    return kSectors;
}

}  // namespace quillon
