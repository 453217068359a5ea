// Databases as older releases wrote them, built through the store itself.

#include <functional>

#include "FinanceFixture.h"
#include "support/SampleStore.h"

namespace quillon {
namespace {

class FinanceUpgrade : public testing::Test {
protected:
    static constexpr const char* kFolder = "ledger";

    // Makes the table with its stamps.
    void MakeTable(const char* name, const std::string& columns) {
        ASSERT_TRUE(store.CreateTable(name));
        ASSERT_TRUE(store.FindTable(name)->SkipRowIdsBelow(1));
        const std::string stamps =
            std::string(kCreationStampColumn) + "/5 " + kModificationStampColumn + "/5 ";
        ASSERT_TRUE(AddColumns(store, name, stamps + columns));
    }

    int64_t AddRow(const char* table, const std::function<void()>& set) {
        EXPECT_TRUE(store.BeginRow(table));
        set();
        const int64_t id = store.CommitRow();
        EXPECT_GT(id, 0);
        return id;
    }

    // Tables before payees had rows of their own.
    void MakeTransactionsWithPayeeNames(const std::vector<const char*>& payees) {
        MakeTable("Transaction",
                  "AccountID/3/i ServiceDate/5/i EletronicPaymentType/0/i Check/2/i "
                  "TransactionType/2/i Payee/0/i CategoryID/3/i Amount/4/i FitID/3/i Memo/0");
        MakeTable("MemorizedTransaction",
                  "AccountID/3/i TransactionType/2/i Payee/0/i CategoryID/3/i PeriodType/2/i "
                  "LastServiceDate/5/i TwiceAMonthType/2/i");
        double amount = 1;
        for (const char* payee : payees) {
            AddRow("Transaction", [&] {
                store.SetText("Payee", payee);
                store.SetDouble("Amount", amount);
                store.SetText("Memo", std::string("memo of ") + payee);
            });
            ++amount;
        }
        AddRow("MemorizedTransaction", [&] { store.SetText("Payee", "Landlord"); });
        AddRow("MemorizedTransaction", [&] { store.SetText("Payee", "Baker"); });
    }

    FinanceOpenResult OpenAndUpgrade() {
        EXPECT_TRUE(store.Close());
        return database.Open(kFolder);
    }

    void ExpectSound() {
        std::vector<TableIntegrity> tables;
        EXPECT_EQ(database.Store().Verify(tables), IntegrityCode::Ok);
    }

    std::string PayeeName(int64_t payeeId) {
        CPayeeEntry payee;
        return database.Read(payeeId, payee) ? payee.name.ToUtf8() : "(none)";
    }

    CMemoryFileSystem disk;
    CDatabaseManager store{disk};
    CQuillonDatabaseInterface database{disk};
};

TEST_F(FinanceUpgrade, PayeeNamesBecomeRows) {
    ASSERT_TRUE(store.Open(kFolder));
    MakeTable("Payee", "Name/0/i");
    const int64_t baker = AddRow("Payee", [&] { store.SetText("Name", "Baker"); });
    const std::vector<const char*> names = {"Baker", "Grocer", "grocer", "Grocer", "Café Zoë", ""};
    MakeTransactionsWithPayeeNames(names);

    const FinanceOpenResult result = OpenAndUpgrade();
    // "Notes" is as new to such a database as payees are.
    EXPECT_EQ(result.schema.upgrades,
              (std::vector{UpgradeStep::PayeeReferences, UpgradeStep::MemorizedNotes}));
    EXPECT_TRUE(result.schema.Complete());
    EXPECT_FALSE(database.Store().HasColumn("Transaction", "Payee"));
    EXPECT_FALSE(database.Store().HasColumn("MemorizedTransaction", "Payee"));

    COwnedList<CTransactionEntry> rows;
    ASSERT_TRUE(database.ListAllTransactions(INT64_MIN, INT64_MAX, rows));
    ASSERT_EQ(rows.Size(), names.size());
    rows.Sort([](const auto& a, const auto& b) { return a.id < b.id; });
    size_t i = 0;
    for (const CTransactionEntry& row : rows) {
        EXPECT_EQ(PayeeName(row.payeeId), names[i]);
        EXPECT_EQ(row.amount, static_cast<double>(i + 1));
        EXPECT_EQ(row.memo, std::string("memo of ") + names[i]);
        ++i;
    }
    EXPECT_EQ(rows.Front()->payeeId, baker);
    // Baker, Grocer, grocer, Café Zoë, the empty name, Landlord.
    EXPECT_EQ(database.RowCount("Payee"), 6);
    COwnedList<CTransactionEntry> grocer;
    ASSERT_TRUE(database.ListTransactionsByPayee(*database.FindPayeeId("Grocer"), grocer));
    EXPECT_EQ(grocer.Count(), 2);
    COwnedList<CMemorizedTransactionEntry> memorized;
    ASSERT_TRUE(database.ListMemorizedTransactionsByPayee(baker, memorized));
    EXPECT_EQ(memorized.Count(), 1);
    ExpectSound();

    ASSERT_TRUE(database.Close());
    EXPECT_TRUE(database.Open(kFolder).schema.upgrades.empty());
    EXPECT_EQ(database.RowCount("Payee"), 6);
}

TEST_F(FinanceUpgrade, ExcludedBecomesFlags) {
    ASSERT_TRUE(store.Open(kFolder));
    MakeTable("Category", "Name/0/i Excluded/1/i");
    for (const bool excluded : {false, true}) {
        AddRow("Category", [&] {
            store.SetText("Name", excluded ? "Hidden" : "Food");
            store.SetBoolean("Excluded", excluded);
        });
    }
    EXPECT_EQ(OpenAndUpgrade().schema.upgrades,
              (std::vector{UpgradeStep::CategoryFlags, UpgradeStep::CategoryTotalFlag}));
    EXPECT_FALSE(database.Store().HasColumn("Category", "Excluded"));
    COwnedList<CCategoryEntry> categories;
    ASSERT_TRUE(database.List(categories));
    ASSERT_EQ(categories.Count(), 2);  // no seeds in a table that was there
    for (const CCategoryEntry& category : categories) {
        SCOPED_TRACE(category.name.ToUtf8());
        const bool counts = category.name == "Food";
        for (const bool flag :
             {category.includeIncome, category.includeWorth, category.includeInvestment,
              category.includePayee, category.includeBudget, category.includeReports}) {
            EXPECT_EQ(flag, counts);
        }
        EXPECT_TRUE(category.includeTotal);
    }
    ExpectSound();
}

TEST_F(FinanceUpgrade, SmallSteps) {
    ASSERT_TRUE(store.Open(kFolder));
    MakeTable("Category",
              "Name/0/i IncludeIncome/1/i IncludeWorth/1/i IncludeInvestment/1/i IncludePayee/1/i "
              "IncludeBudget/1/i IncludeReports/1/i");
    AddRow("Category", [&] {
        store.SetText("Name", "Food");
        store.SetBoolean("IncludeWorth", true);
    });
    MakeTable("MemorizedTransaction",
              "AccountID/3/i TransactionType/2/i PayeeID/3/i CategoryID/3/i PeriodType/2/i "
              "LastServiceDate/5/i TwiceAMonthType/2/i");
    AddRow("MemorizedTransaction", [&] { store.SetInt64("AccountID", 7); });
    MakeTable("CheckFormat",
              "AccountID/3/i DateText/0 PayeeText/0 AmountText/0 WrittenAmountText/0 MemoText/0 "
              "CheckWidth/4");
    AddRow("CheckFormat", [&] {
        store.SetInt64("AccountID", 7);
        store.SetText("DateText", "9,1,2");
        store.SetDouble("CheckWidth", 8.5);
    });

    EXPECT_EQ(OpenAndUpgrade().schema.upgrades,
              (std::vector{UpgradeStep::CategoryTotalFlag, UpgradeStep::MemorizedNotes,
                           UpgradeStep::CheckOrientation}));
    CCategoryEntry food;
    ASSERT_TRUE(database.FindCategoryByName("Food", food));
    EXPECT_TRUE(food.includeTotal);
    EXPECT_TRUE(food.includeWorth);
    EXPECT_FALSE(food.includeIncome);

    COwnedList<CMemorizedTransactionEntry> memorized;
    ASSERT_TRUE(database.ListMemorizedTransactionsByAccount(7, memorized));
    ASSERT_EQ(memorized.Count(), 1);
    memorized.Front()->notes = "now there is room";
    EXPECT_TRUE(database.Update(*memorized.Front()));

    CCheckPrintFormatEntry format;
    ASSERT_TRUE(database.FindCheckFormat(7, format));
    EXPECT_FALSE(format.format.verticalOrientation);
    EXPECT_EQ(format.format.dateText, "9,1,2");
    EXPECT_EQ(format.format.checkWidth, 8.5);
    ExpectSound();
}

}  // namespace
}  // namespace quillon
