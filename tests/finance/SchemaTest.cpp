#include "finance/schema/FinanceSchema.h"

#include <map>
#include <set>

#include "FinanceFixture.h"
#include "foundation/platform/Clock.h"

namespace quillon {
namespace {

class FinanceSchema : public FinanceFixture {
protected:
    // In the tables' order.
    std::string Counts() {
        std::string counts;
        for (const auto& table : database.Store().Tables()) {
            const std::string name = table->Name().ToUtf8();
            counts += name + " " + std::to_string(database.RowCount(name)) + "\n";
        }
        return counts;
    }

    static std::string FreshCounts(int accounts = 0, int categories = 34) {
        return "Account " + std::to_string(accounts) + "\nCategory " + std::to_string(categories) +
               "\nPayee 0\nTransaction 0\nMemorizedTransaction 0\nRenamingRules 1\nSecurity 1\n"
               "BudgetItem 0\nCheckFormat 0\nStockOpenPositions 0\nStockClosedPositions 0\n"
               "StockWatchList 0\nStockCoreAccount 1\nStockInvestmentAmount 1\nStockSectors 11\n";
    }
};

TEST_F(FinanceSchema, FreshDatabase) {
    EXPECT_EQ(Counts(), FreshCounts());
}

// "name/type/index" of every column, with "+" for the attribute, as they must be on disk.
TEST_F(FinanceSchema, ColumnsAsStored) {
    const std::map<std::string, std::string> expected = {
        {"Account",
         "Name/0/i+ Description/0 AccountType/2/i CurrentBalance/4 LatestCheckNumber/2 Active/1/i"},
        {"Category",
         "Name/0/i+ IncludeIncome/1/i IncludeWorth/1/i IncludeInvestment/1/i IncludePayee/1/i "
         "IncludeTotal/1/i IncludeBudget/1/i IncludeReports/1/i"},
        {"Payee", "Name/0/i+"},
        {"Transaction",
         "AccountID/3/i ServiceDate/5/i+ EletronicPaymentType/0/i Check/2/i+ TransactionType/2/i "
         "PayeeID/3/i CategoryID/3/i Amount/4/i+ FitID/3/i+ Memo/0"},
        {"MemorizedTransaction",
         "AccountID/3/i TransactionType/2/i PayeeID/3/i CategoryID/3/i PeriodType/2/i "
         "LastServiceDate/5/i+ TwiceAMonthType/2/i Notes/0"},
        {"RenamingRules", "SearchText/0/i+ ReplaceText/0"},
        {"Security", "PasswordHash/0 SecurityEnabled/1"},
        {"BudgetItem", "CategoryID/3/i ItemType/2/i Amount/4"},
        {"CheckFormat",
         "AccountID/3/i DateText/0 PayeeText/0 AmountText/0 WrittenAmountText/0 MemoText/0 "
         "CheckWidth/4 VerticalOrientation/1"},
        {"StockOpenPositions",
         "OpenDate/5/i+ Stock/0/i StockDescription/0/i SectorID/3/i Shares/4/i PurchasePrice/4/i "
         "TargetPrice/4/i LastPrice/4/i CostBasis/4/i TargetReturn/4/i TargetYield/4/i Notes/0"},
        {"StockClosedPositions",
         "OpenDate/5/i+ CloseDate/5/i+ Stock/0/i StockDescription/0/i SectorID/3/i Shares/4/i "
         "PurchasePrice/4/i TargetPrice/4/i SellPrice/4/i SellFee/4/i CostBasis/4/i "
         "TargetReturn/4/i ActualNet/4/i ActualYield/4/i PercentTargetRealized/4/i Notes/0"},
        {"StockWatchList", "Date/5/i+ Stock/0/i StockDescription/0/i SectorID/3/i Notes/0"},
        {"StockCoreAccount", "CoreAccountBalance/4"},
        {"StockInvestmentAmount", "InvestmentBalance/4"},
        {"StockSectors", "StockSector/0/i"},
    };
    Reopen();
    for (const auto& table : database.Store().Tables()) {
        std::string columns;
        for (const CTableColumn& column : table->Columns()) {
            columns += (columns.empty() ? "" : " ") + column.name.ToUtf8() + "/" +
                       std::to_string(static_cast<int>(column.type)) +
                       (column.indexed ? "/i" : "") + (column.indexAttribute ? "+" : "");
        }
        EXPECT_EQ(columns, "RecordCreationTimestamp/5 RecordLastModTimestamp/5 " +
                               expected.at(table->Name().ToUtf8()))
            << table->Name().ToUtf8();
    }
}

TEST_F(FinanceSchema, Seeds) {
    COwnedList<CCategoryEntry> categories;
    ASSERT_TRUE(database.List(categories));
    EXPECT_EQ(categories.Front()->id, 1);  // 0 means none
    EXPECT_EQ(categories.Front()->name, "Adjustment");
    EXPECT_EQ(categories.Back()->name, "Charity");
    for (const CCategoryEntry& category : categories) {
        SCOPED_TRACE(category.name.ToUtf8());
        const bool counts = !(category.name == "Adjustment" || category.name == "Transfer");
        for (const bool flag :
             {category.includeIncome, category.includeWorth, category.includeInvestment,
              category.includePayee, category.includeTotal, category.includeBudget,
              category.includeReports}) {
            EXPECT_EQ(flag, counts);
        }
    }

    COwnedList<CRenamingRuleEntry> rules;
    ASSERT_TRUE(database.List(rules));
    EXPECT_EQ(rules.Front()->searchText, "void");
    EXPECT_EQ(rules.Front()->replaceText, "VOID");

    COwnedList<CStockSectorEntry> sectors;
    ASSERT_TRUE(database.List(sectors));
    EXPECT_EQ(sectors.Front()->stockSector, "Financial (XLF)");
    EXPECT_EQ(sectors.Back()->stockSector, "Real Estate (XLRE)");

    CKeelString hash("x");
    bool enabled = false;
    double core = 1, invested = 1;
    EXPECT_TRUE(database.ReadPasswordHash(hash) && database.ReadSecurityEnabled(enabled) &&
                database.ReadCoreAccountBalance(core) && database.ReadInvestmentBalance(invested));
    EXPECT_TRUE(hash.IsEmpty());
    EXPECT_TRUE(enabled);
    EXPECT_EQ(core, 0.0);
    EXPECT_EQ(invested, 0.0);
}

TEST_F(FinanceSchema, ReopeningAddsNothingAndKeepsUserRows) {
    AddAccount("Giro");
    ASSERT_TRUE(database.SetPassword("secret"));
    COwnedList<CCategoryEntry> categories;
    ASSERT_TRUE(database.List(categories));
    ASSERT_TRUE(database.Delete<CCategoryEntry>(categories.Back()->id));
    ASSERT_TRUE(database.Close());

    const FinanceOpenResult reopened = database.Open(kFolder);
    EXPECT_TRUE(reopened.opened);
    EXPECT_FALSE(reopened.created);
    EXPECT_EQ(reopened.schema.tablesCreated, 0);
    EXPECT_TRUE(reopened.schema.upgrades.empty());
    // A default that the user deleted stays deleted.
    EXPECT_EQ(Counts(), FreshCounts(1, 33));
    EXPECT_EQ(database.CheckPassword("secret"), PasswordCheck::Right);
}

TEST_F(FinanceSchema, CheckFormatOfADatabaseFromBeforeCheckPrinting) {
    const int64_t first = AddAccount("One");
    const int64_t second = AddAccount("Two");
    ASSERT_TRUE(database.Store().RemoveTable(kCheckFormatTable));
    ASSERT_TRUE(database.Close());
    EXPECT_EQ(database.Open(kFolder).schema.tablesCreated, 1);
    EXPECT_EQ(database.RowCount(kCheckFormatTable), 2);
    for (const int64_t account : {first, second}) {
        CCheckPrintFormatEntry entry;
        ASSERT_TRUE(database.FindCheckFormat(account, entry));
        EXPECT_EQ(entry.format.dateText, "10,2155,230");
        EXPECT_EQ(entry.format.memoText, "10,310,1180");
        EXPECT_EQ(entry.format.checkWidth, 6.0);
        EXPECT_FALSE(entry.format.verticalOrientation);
    }
}

TEST_F(FinanceSchema, StampsAreWrittenByTheDatabase) {
    CPayeeEntry payee;
    payee.name = "Baker";
    payee.created = 5;
    {
        const CStoppedClock clock(Day(2024, 1, 1) + 42);
        ASSERT_TRUE(database.Add(payee));
    }
    {
        const CStoppedClock clock(Day(2025, 1, 1) + 43);
        ASSERT_TRUE(database.RenamePayee(payee.id, "Bäcker"));
    }
    ASSERT_TRUE(database.Read(payee.id, payee));
    EXPECT_EQ(payee.created, Day(2024, 1, 1) + 42);
    EXPECT_EQ(payee.modified, Day(2025, 1, 1) + 43);
}

TEST_F(FinanceSchema, OpenTellsWhyItFailed) {
    CQuillonDatabaseInterface second(disk);
    FinanceOpenResult result = second.Open(kFolder);
    EXPECT_FALSE(result.opened);
    EXPECT_EQ(result.problem, DatabaseProblem::InUse);
    result = second.Open("");
    EXPECT_FALSE(result.opened);
    EXPECT_EQ(result.problem, DatabaseProblem::NoPath);
    CAccountEntry account;
    COwnedList<CAccountEntry> accounts;
    EXPECT_FALSE(second.Add(account));
    EXPECT_FALSE(second.List(accounts));
    EXPECT_EQ(second.FindOrAddPayee("x"), kNoRow);
    EXPECT_EQ(second.CheckPassword("x"), PasswordCheck::Failed);
}

}  // namespace
}  // namespace quillon
