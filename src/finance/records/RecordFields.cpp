#include "finance/records/RecordFields.h"

#include "finance/planning/RecurringDate.h"
#include "finance/schema/FinanceSchema.h"

namespace quillon {

using fields::Date;
using fields::Plain;
using fields::Reference;

namespace {

bool ReadLastServiceDate(const CNoSQLDatabaseResults& rows, int64_t position, const char* column,
                         CMemorizedTransactionEntry& entry) {
    int64_t stored = 0;
    if (!rows.ReadDateTime(column, position, stored)) return false;
    UnpackRecurringDate(stored, entry.lastServiceDate, entry.originalDay);
    return true;
}

bool WriteLastServiceDate(CDatabaseManager& database, const char* column,
                          const CMemorizedTransactionEntry& entry) {
    return database.SetDateTime(column,
                                PackRecurringDate(entry.lastServiceDate, entry.originalDay));
}

}  // namespace

template <>
const char* TableOf<CAccountEntry>() {
    return kAccountTable;
}
template <>
std::span<const CRecordField<CAccountEntry>> FieldsOf() {
    using E = CAccountEntry;
    static constexpr CRecordField<E> list[] = {
        Plain<E, &E::name>("Name"),
        Plain<E, &E::description>("Description"),
        Plain<E, &E::accountType>("AccountType"),
        Plain<E, &E::currentBalance>("CurrentBalance"),
        Plain<E, &E::latestCheckNumber>("LatestCheckNumber"),
        Plain<E, &E::active>("Active"),
    };
    return list;
}

template <>
const char* TableOf<CCategoryEntry>() {
    return kCategoryTable;
}
template <>
std::span<const CRecordField<CCategoryEntry>> FieldsOf() {
    using E = CCategoryEntry;
    static constexpr CRecordField<E> list[] = {
        Plain<E, &E::name>("Name"),
        Plain<E, &E::includeIncome>("IncludeIncome"),
        Plain<E, &E::includeWorth>("IncludeWorth"),
        Plain<E, &E::includeInvestment>("IncludeInvestment"),
        Plain<E, &E::includePayee>("IncludePayee"),
        Plain<E, &E::includeTotal>("IncludeTotal"),
        Plain<E, &E::includeBudget>("IncludeBudget"),
        Plain<E, &E::includeReports>("IncludeReports"),
    };
    return list;
}

template <>
const char* TableOf<CPayeeEntry>() {
    return kPayeeTable;
}
template <>
std::span<const CRecordField<CPayeeEntry>> FieldsOf() {
    using E = CPayeeEntry;
    static constexpr CRecordField<E> list[] = {Plain<E, &E::name>("Name")};
    return list;
}

template <>
const char* TableOf<CTransactionEntry>() {
    return kTransactionTable;
}
template <>
std::span<const CRecordField<CTransactionEntry>> FieldsOf() {
    using E = CTransactionEntry;
    static constexpr CRecordField<E> list[] = {
        Reference<E, &E::accountId>("AccountID"),
        Date<E, &E::serviceDate>("ServiceDate"),
        Plain<E, &E::check>("Check"),
        Plain<E, &E::electronicPayment>("EletronicPaymentType"),
        Plain<E, &E::transactionType>("TransactionType"),
        Reference<E, &E::payeeId>("PayeeID"),
        Reference<E, &E::categoryId>("CategoryID"),
        Plain<E, &E::amount>("Amount"),
        Plain<E, &E::fitId>("FitID"),
        Plain<E, &E::memo>("Memo"),
    };
    return list;
}

template <>
const char* TableOf<CMemorizedTransactionEntry>() {
    return kMemorizedTransactionTable;
}
template <>
std::span<const CRecordField<CMemorizedTransactionEntry>> FieldsOf() {
    using E = CMemorizedTransactionEntry;
    static constexpr CRecordField<E> list[] = {
        Reference<E, &E::accountId>("AccountID"),
        Plain<E, &E::transactionType>("TransactionType"),
        Reference<E, &E::payeeId>("PayeeID"),
        Reference<E, &E::categoryId>("CategoryID"),
        Plain<E, &E::periodType>("PeriodType"),
        {"LastServiceDate", ReadLastServiceDate, WriteLastServiceDate},
        Plain<E, &E::twiceAMonthType>("TwiceAMonthType"),
        Plain<E, &E::notes>("Notes"),
    };
    return list;
}

template <>
const char* TableOf<CRenamingRuleEntry>() {
    return kRenamingRulesTable;
}
template <>
std::span<const CRecordField<CRenamingRuleEntry>> FieldsOf() {
    using E = CRenamingRuleEntry;
    static constexpr CRecordField<E> list[] = {
        Plain<E, &E::searchText>("SearchText"),
        Plain<E, &E::replaceText>("ReplaceText"),
    };
    return list;
}

template <>
const char* TableOf<CBudgetItem>() {
    return kBudgetItemTable;
}
template <>
std::span<const CRecordField<CBudgetItem>> FieldsOf() {
    using E = CBudgetItem;
    static constexpr CRecordField<E> list[] = {
        Reference<E, &E::categoryId>("CategoryID"),
        Plain<E, &E::itemType>("ItemType"),
        Plain<E, &E::amount>("Amount"),
    };
    return list;
}

template <>
const char* TableOf<CCheckPrintFormatEntry>() {
    return kCheckFormatTable;
}
template <>
std::span<const CRecordField<CCheckPrintFormatEntry>> FieldsOf() {
    using E = CCheckPrintFormatEntry;
    using F = CCheckPrintFormat;
    static constexpr CRecordField<E> list[] = {
        Reference<E, &E::accountId>("AccountID"),
        Plain<E, &E::format, &F::dateText>("DateText"),
        Plain<E, &E::format, &F::payeeText>("PayeeText"),
        Plain<E, &E::format, &F::amountText>("AmountText"),
        Plain<E, &E::format, &F::writtenAmountText>("WrittenAmountText"),
        Plain<E, &E::format, &F::memoText>("MemoText"),
        Plain<E, &E::format, &F::checkWidth>("CheckWidth"),
        Plain<E, &E::format, &F::verticalOrientation>("VerticalOrientation"),
    };
    return list;
}

template <>
const char* TableOf<CStockSectorEntry>() {
    return kStockSectorsTable;
}
template <>
std::span<const CRecordField<CStockSectorEntry>> FieldsOf() {
    using E = CStockSectorEntry;
    static constexpr CRecordField<E> list[] = {Plain<E, &E::stockSector>("StockSector")};
    return list;
}

template <>
const char* TableOf<CStockOpenPositionEntry>() {
    return kStockOpenPositionsTable;
}
template <>
std::span<const CRecordField<CStockOpenPositionEntry>> FieldsOf() {
    using E = CStockOpenPositionEntry;
    static constexpr CRecordField<E> list[] = {
        Date<E, &E::openDate>("OpenDate"),
        Plain<E, &E::stock>("Stock"),
        Plain<E, &E::stockDescription>("StockDescription"),
        Reference<E, &E::sectorId>("SectorID"),
        Plain<E, &E::shares>("Shares"),
        Plain<E, &E::purchasePrice>("PurchasePrice"),
        Plain<E, &E::targetPrice>("TargetPrice"),
        Plain<E, &E::lastPrice>("LastPrice"),
        Plain<E, &E::costBasis>("CostBasis"),
        Plain<E, &E::targetReturn>("TargetReturn"),
        Plain<E, &E::targetYield>("TargetYield"),
        Plain<E, &E::notes>("Notes"),
    };
    return list;
}

template <>
const char* TableOf<CStockClosedPositionEntry>() {
    return kStockClosedPositionsTable;
}
template <>
std::span<const CRecordField<CStockClosedPositionEntry>> FieldsOf() {
    using E = CStockClosedPositionEntry;
    static constexpr CRecordField<E> list[] = {
        Date<E, &E::openDate>("OpenDate"),
        Date<E, &E::closeDate>("CloseDate"),
        Plain<E, &E::stock>("Stock"),
        Plain<E, &E::stockDescription>("StockDescription"),
        Reference<E, &E::sectorId>("SectorID"),
        Plain<E, &E::shares>("Shares"),
        Plain<E, &E::purchasePrice>("PurchasePrice"),
        Plain<E, &E::targetPrice>("TargetPrice"),
        Plain<E, &E::sellPrice>("SellPrice"),
        Plain<E, &E::sellFee>("SellFee"),
        Plain<E, &E::costBasis>("CostBasis"),
        Plain<E, &E::targetReturn>("TargetReturn"),
        Plain<E, &E::actualNet>("ActualNet"),
        Plain<E, &E::actualYield>("ActualYield"),
        Plain<E, &E::percentTargetRealized>("PercentTargetRealized"),
        Plain<E, &E::notes>("Notes"),
    };
    return list;
}

template <>
const char* TableOf<CStockWatchListEntry>() {
    return kStockWatchListTable;
}
template <>
std::span<const CRecordField<CStockWatchListEntry>> FieldsOf() {
    using E = CStockWatchListEntry;
    static constexpr CRecordField<E> list[] = {
        Date<E, &E::date>("Date"),
        Plain<E, &E::stock>("Stock"),
        Plain<E, &E::stockDescription>("StockDescription"),
        Reference<E, &E::sectorId>("SectorID"),
        Plain<E, &E::notes>("Notes"),
    };
    return list;
}

}  // namespace quillon
