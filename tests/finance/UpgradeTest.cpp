// Databases as older releases wrote them, built through the store itself.

#include <functional>

#include "FinanceFixture.h"

namespace quillon {
namespace {

struct OldColumn {
    const char* name;
    ColumnType type;
    bool indexed;
};

class FinanceUpgrade : public testing::Test {
protected:
    static constexpr const char* kFolder = "ledger";

    // Makes the table with its stamps.
    void MakeTable(const char* name, const std::vector<OldColumn>& columns) {
        ASSERT_TRUE(store.CreateTable(name));
        ASSERT_TRUE(store.FindTable(name)->SkipRowIdsBelow(1));
        for (const char* stamp : {kCreationStampColumn, kModificationStampColumn}) {
            ASSERT_TRUE(store.AddColumn(name, stamp, ColumnType::DateTime, false, false));
        }
        for (const OldColumn& column : columns) {
            ASSERT_TRUE(store.AddColumn(name, column.name, column.type, column.indexed, false));
        }
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
        MakeTable("Transaction", {{"AccountID", ColumnType::Int64, true},
                                  {"ServiceDate", ColumnType::DateTime, true},
                                  {"EletronicPaymentType", ColumnType::Text, true},
                                  {"Check", ColumnType::Int32, true},
                                  {"TransactionType", ColumnType::Int32, true},
                                  {"Payee", ColumnType::Text, true},
                                  {"CategoryID", ColumnType::Int64, true},
                                  {"Amount", ColumnType::Double, true},
                                  {"FitID", ColumnType::Int64, true},
                                  {"Memo", ColumnType::Text, false}});
        MakeTable("MemorizedTransaction", {{"AccountID", ColumnType::Int64, true},
                                           {"TransactionType", ColumnType::Int32, true},
                                           {"Payee", ColumnType::Text, true},
                                           {"CategoryID", ColumnType::Int64, true},
                                           {"PeriodType", ColumnType::Int32, true},
                                           {"LastServiceDate", ColumnType::DateTime, true},
                                           {"TwiceAMonthType", ColumnType::Int32, true}});
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
        EXPECT_EQ(database.Database().Verify(tables), IntegrityCode::Ok);
    }

    std::string PayeeName(int64_t payeeId) {
        CPayeeEntry payee;
        return database.ReadPayee(payeeId, payee) ? payee.name.ToUtf8() : "(none)";
    }

    CMemoryFileSystem disk;
    CDatabaseManager store{disk};
    CQuillonDatabaseInterface database{disk};
};

TEST_F(FinanceUpgrade, PayeeNamesBecomeRows) {
    ASSERT_TRUE(store.Open(kFolder));
    MakeTable("Payee", {{"Name", ColumnType::Text, true}});
    const int64_t baker = AddRow("Payee", [&] { store.SetText("Name", "Baker"); });
    const std::vector<const char*> names = {"Baker", "Grocer", "grocer", "Grocer", "Café Zoë", ""};
    MakeTransactionsWithPayeeNames(names);

    const FinanceOpenResult result = OpenAndUpgrade();
    // "Notes" is as new to such a database as payees are.
    EXPECT_EQ(result.schema.upgrades,
              (std::vector{UpgradeStep::PayeeReferences, UpgradeStep::MemorizedNotes}));
    EXPECT_TRUE(result.schema.Complete());
    EXPECT_FALSE(database.Database().HasColumn("Transaction", "Payee"));
    EXPECT_FALSE(database.Database().HasColumn("MemorizedTransaction", "Payee"));

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

// A step that fails is as if it had not begun, and the next open does it.
TEST_F(FinanceUpgrade, PayeeStepSurvivesAnyFailedWrite) {
    ASSERT_TRUE(store.Open(kFolder));
    MakeTransactionsWithPayeeNames({"Baker", "Grocer", "Baker"});
    ASSERT_TRUE(store.Close());
    {
        // The missing tables first, so that the failures hit the upgrade.
        CQuillonDatabaseInterface once(disk);
        ASSERT_TRUE(once.Open(kFolder).opened);
        ASSERT_TRUE(once.Close());
    }
    ASSERT_TRUE(store.Open(kFolder));
    ASSERT_TRUE(store.RemoveTable("Transaction"));
    ASSERT_TRUE(store.RemoveTable("MemorizedTransaction"));
    ASSERT_TRUE(store.RemoveTable("Payee"));
    MakeTable("Payee", {{"Name", ColumnType::Text, true}});
    MakeTransactionsWithPayeeNames({"Baker", "Grocer", "Baker"});
    ASSERT_TRUE(store.Close());
    const auto before = disk.Snapshot();

    bool failed = true;
    for (int64_t failAt = 1; failed; ++failAt) {
        SCOPED_TRACE(failAt);
        disk.Restore(before);
        {
            CQuillonDatabaseInterface first(disk);
            disk.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, failAt, FileError::NoSpace);
            (void)first.Open(kFolder);
            failed = disk.HasFailed();
        }
        disk.StopFailing();
        const FinanceOpenResult result = database.Open(kFolder);
        ASSERT_TRUE(result.opened);
        ASSERT_TRUE(result.schema.Complete())
            << static_cast<int>(result.problem) << " " << result.detail;
        COwnedList<CTransactionEntry> rows;
        ASSERT_TRUE(database.ListTransactionsByPayee(*database.FindPayeeId("Baker"), rows));
        EXPECT_EQ(rows.Count(), 2);
        EXPECT_EQ(database.RowCount("Payee"), 3);
        EXPECT_FALSE(database.Database().HasColumn("Transaction", "Payee"));
        EXPECT_TRUE(database.Database().HasColumn("MemorizedTransaction", "Notes"));
        ExpectSound();
        ASSERT_TRUE(database.Close());
    }
}

TEST_F(FinanceUpgrade, ExcludedBecomesFlags) {
    ASSERT_TRUE(store.Open(kFolder));
    MakeTable("Category",
              {{"Name", ColumnType::Text, true}, {"Excluded", ColumnType::Boolean, true}});
    for (const bool excluded : {false, true}) {
        AddRow("Category", [&] {
            store.SetText("Name", excluded ? "Hidden" : "Food");
            store.SetBoolean("Excluded", excluded);
        });
    }
    EXPECT_EQ(OpenAndUpgrade().schema.upgrades,
              (std::vector{UpgradeStep::CategoryFlags, UpgradeStep::CategoryTotalFlag}));
    EXPECT_FALSE(database.Database().HasColumn("Category", "Excluded"));
    COwnedList<CCategoryEntry> categories;
    ASSERT_TRUE(database.ListCategories(categories));
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
    MakeTable("Category", {{"Name", ColumnType::Text, true},
                           {"IncludeIncome", ColumnType::Boolean, true},
                           {"IncludeWorth", ColumnType::Boolean, true},
                           {"IncludeInvestment", ColumnType::Boolean, true},
                           {"IncludePayee", ColumnType::Boolean, true},
                           {"IncludeBudget", ColumnType::Boolean, true},
                           {"IncludeReports", ColumnType::Boolean, true}});
    AddRow("Category", [&] {
        store.SetText("Name", "Food");
        store.SetBoolean("IncludeWorth", true);
    });
    MakeTable("MemorizedTransaction", {{"AccountID", ColumnType::Int64, true},
                                       {"TransactionType", ColumnType::Int32, true},
                                       {"PayeeID", ColumnType::Int64, true},
                                       {"CategoryID", ColumnType::Int64, true},
                                       {"PeriodType", ColumnType::Int32, true},
                                       {"LastServiceDate", ColumnType::DateTime, true},
                                       {"TwiceAMonthType", ColumnType::Int32, true}});
    AddRow("MemorizedTransaction", [&] { store.SetInt64("AccountID", 7); });
    MakeTable("CheckFormat", {{"AccountID", ColumnType::Int64, true},
                              {"DateText", ColumnType::Text, false},
                              {"PayeeText", ColumnType::Text, false},
                              {"AmountText", ColumnType::Text, false},
                              {"WrittenAmountText", ColumnType::Text, false},
                              {"MemoText", ColumnType::Text, false},
                              {"CheckWidth", ColumnType::Double, false}});
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
    EXPECT_TRUE(database.UpdateMemorizedTransaction(*memorized.Front()));

    CCheckPrintFormatEntry format;
    ASSERT_TRUE(database.ReadCheckFormat(7, format));
    EXPECT_FALSE(format.format.verticalOrientation);
    EXPECT_EQ(format.format.dateText, "9,1,2");
    EXPECT_EQ(format.format.checkWidth, 8.5);
    ExpectSound();
}

}  // namespace
}  // namespace quillon
