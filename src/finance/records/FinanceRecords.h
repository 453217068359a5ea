#pragma once

#include <cstdint>

#include "finance/records/FinanceCodes.h"
#include "foundation/KeelString.h"

namespace quillon {

// One record class per finance table: plain values, one object per row.
//
//   Identifiers  `id` is the row's own, 0 before it is stored. Members named
//                ...Id hold another table's row, 0 for none.
//   Money        Doubles in the currency unit. Transaction amounts are
//                magnitudes; BalanceEffect() gives the sign.
//   Times        File times (100 ns since 1601-01-01 UTC). Calendar dates are
//                midnight UTC of the date; the two stamps carry the full time
//                and are written by the database, whatever the record holds.

inline constexpr int64_t kNoRow = 0;

class CEntryBase {
public:
    virtual ~CEntryBase() = default;
};

// What every row has.
class CRowEntry : public CEntryBase {
public:
    int64_t id = kNoRow;
    int64_t created = 0;
    int64_t modified = 0;
};

class CAccountEntry : public CRowEntry {
public:
    CKeelString name;
    CKeelString description;
    AccountType accountType = AccountType::Checking;
    double currentBalance = 0.0;  // what is owed is negative
    int32_t latestCheckNumber = 0;
    bool active = true;
};

class CCategoryEntry : public CRowEntry {
public:
    void SetAllFlags(bool included) {
        includeIncome = includeWorth = includeInvestment = includePayee = included;
        includeTotal = includeBudget = includeReports = included;
    }

    CKeelString name;
    bool includeIncome = true;
    bool includeWorth = true;
    bool includeInvestment = true;
    bool includePayee = true;
    bool includeTotal = true;
    bool includeBudget = true;
    bool includeReports = true;
};

class CPayeeEntry : public CRowEntry {
public:
    CKeelString name;
};

class CTransactionEntry : public CRowEntry {
public:
    int64_t accountId = kNoRow;
    int64_t serviceDate = 0;
    CKeelString electronicPayment;  // kElectronicAtm and its kin, or empty
    int32_t check = 0;              // 0 for none
    TransactionType transactionType = TransactionType::Payment;
    int64_t payeeId = kNoRow;
    int64_t categoryId = kNoRow;
    double amount = 0.0;
    int64_t fitId = 0;  // any 64-bit value; 0 for a row that no statement brought
    CKeelString memo;
};

class CMemorizedTransactionEntry : public CRowEntry {
public:
    int64_t accountId = kNoRow;
    TransactionType transactionType = TransactionType::Payment;
    int64_t payeeId = kNoRow;
    int64_t categoryId = kNoRow;
    PeriodType periodType = PeriodType::Monthly;
    int64_t lastServiceDate = 0;
    // Day of the month that the series returns to when lastServiceDate fell on the last
    // day of a month too short for it; 0: the day of lastServiceDate itself.
    int32_t originalDay = 0;
    TwiceAMonthType twiceAMonthType = TwiceAMonthType::FirstAndFifteenth;
    CKeelString notes;
};

class CRenamingRuleEntry : public CRowEntry {
public:
    CKeelString searchText;
    CKeelString replaceText;
};

class CBudgetItem : public CRowEntry {
public:
    int64_t categoryId = kNoRow;
    BudgetItemType itemType = BudgetItemType::Expense;
    double amount = 0.0;  // per month
};

// Where the parts of a check are printed. A position is "font height,horizontal
// offset,vertical offset", three positive whole numbers.
class CCheckPrintFormat {
public:
    CKeelString dateText{"10,2155,230"};
    CKeelString payeeText{"10,690,530"};
    CKeelString amountText{"10,2910,530"};
    CKeelString writtenAmountText{"10,230,700"};
    CKeelString memoText{"10,310,1180"};
    double checkWidth = 6.0;  // inches
    bool verticalOrientation = false;
};

class CCheckPrintFormatEntry : public CRowEntry {
public:
    int64_t accountId = kNoRow;
    CCheckPrintFormat format;
};

class CStockSectorEntry : public CRowEntry {
public:
    CKeelString stockSector;
};

class CStockOpenPositionEntry : public CRowEntry {
public:
    int64_t openDate = 0;
    CKeelString stock;
    CKeelString stockDescription;
    int64_t sectorId = kNoRow;
    double shares = 0.0;
    double purchasePrice = 0.0;
    double targetPrice = 0.0;
    double lastPrice = 0.0;
    double costBasis = 0.0;
    double targetReturn = 0.0;
    double targetYield = 0.0;
    CKeelString notes;
};

class CStockClosedPositionEntry : public CRowEntry {
public:
    int64_t openDate = 0;
    int64_t closeDate = 0;
    CKeelString stock;
    CKeelString stockDescription;
    int64_t sectorId = kNoRow;
    double shares = 0.0;
    double purchasePrice = 0.0;
    double targetPrice = 0.0;
    double sellPrice = 0.0;
    double sellFee = 0.0;
    double costBasis = 0.0;
    double targetReturn = 0.0;
    double actualNet = 0.0;
    double actualYield = 0.0;
    double percentTargetRealized = 0.0;
    CKeelString notes;
};

class CStockWatchListEntry : public CRowEntry {
public:
    int64_t date = 0;
    CKeelString stock;
    CKeelString stockDescription;
    int64_t sectorId = kNoRow;
    CKeelString notes;
};

// A row of an older database, which kept the payee's name where its row is named now.
class CTransactionPayeeForConversionEntry : public CEntryBase {
public:
    int64_t id = kNoRow;
    CKeelString payee;
};

}  // namespace quillon
