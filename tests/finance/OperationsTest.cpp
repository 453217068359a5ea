#include <cmath>
#include <limits>

#include "FinanceFixture.h"

namespace quillon {
namespace {

using Ids = std::vector<int64_t>;

class FinanceOperations : public FinanceFixture {};

TEST_F(FinanceOperations, AccountsRoundTrip) {
    CAccountEntry account;
    account.id = 99;
    account.name = "Giro Jürgen";
    account.description = "household";
    account.accountType = AccountType::Credit;
    account.currentBalance = -12.34;
    account.latestCheckNumber = 1001;
    account.active = false;
    ASSERT_TRUE(database.AddAccount(account));
    EXPECT_EQ(account.id, 1);
    const int64_t savings = AddAccount("Savings", AccountType::Savings);

    Reopen();
    CAccountEntry read;
    ASSERT_TRUE(database.FindAccountByName("Giro Jürgen", read));
    EXPECT_EQ(read.id, account.id);
    EXPECT_EQ(read.description, "household");
    EXPECT_EQ(read.accountType, AccountType::Credit);
    EXPECT_EQ(read.currentBalance, -12.34);
    EXPECT_EQ(read.latestCheckNumber, 1001);
    EXPECT_FALSE(read.active);

    ASSERT_TRUE(database.UpdateAccountBalance(read.id, 5.5));
    ASSERT_TRUE(database.UpdateAccountLatestCheckNumber(read.id, 1002));
    ASSERT_TRUE(database.SetAccountActive(read.id, true));
    ASSERT_TRUE(database.ReadAccount(read.id, read));
    EXPECT_EQ(read.currentBalance, 5.5);
    EXPECT_EQ(read.latestCheckNumber, 1002);
    EXPECT_TRUE(read.active);
    EXPECT_EQ(read.name, "Giro Jürgen");

    COwnedList<CAccountEntry> accounts;
    EXPECT_TRUE(database.ListAccountsByType(AccountType::Savings, accounts));
    EXPECT_EQ(IdsOf(accounts), Ids{savings});
    EXPECT_TRUE(database.ListAccountsByType(AccountType::Loan, accounts));
    EXPECT_TRUE(accounts.IsEmpty());

    CAccountEntry none;
    EXPECT_FALSE(database.FindAccountByName("giro jürgen", none));
    EXPECT_FALSE(database.ReadAccount(0, none));
    EXPECT_FALSE(database.ReadAccount(77, none));
    EXPECT_FALSE(database.UpdateAccountBalance(77, 1));
    EXPECT_FALSE(database.UpdateAccount(none));
}

TEST_F(FinanceOperations, TransactionsRoundTrip) {
    CTransactionEntry row = Row(AddAccount("A"), TransactionType::Withdrawal, 1234.56);
    row.electronicPayment = kElectronicEft;
    row.check = 17;
    row.payeeId = database.FindOrAddPayee("Baker");
    row.categoryId = database.FindOrAddCategory("Groceries");
    row.fitId = INT64_MIN;
    row.memo = "Brötchen";
    ASSERT_TRUE(database.AddTransaction(row));
    Reopen();
    CTransactionEntry read;
    ASSERT_TRUE(database.ReadTransaction(row.id, read));
    EXPECT_EQ(read.accountId, row.accountId);
    EXPECT_EQ(read.serviceDate, row.serviceDate);
    EXPECT_EQ(read.electronicPayment, "EFT");
    EXPECT_EQ(read.check, 17);
    EXPECT_EQ(read.transactionType, TransactionType::Withdrawal);
    EXPECT_EQ(read.payeeId, row.payeeId);
    EXPECT_EQ(read.categoryId, row.categoryId);
    EXPECT_EQ(read.amount, 1234.56);
    EXPECT_EQ(read.fitId, INT64_MIN);
    EXPECT_EQ(read.memo, "Brötchen");

    ASSERT_TRUE(database.UpdateTransactionPayee(row.id, -1));
    ASSERT_TRUE(database.UpdateTransactionCategory(row.id, 3));
    ASSERT_TRUE(database.ReadTransaction(row.id, read));
    EXPECT_EQ(read.payeeId, kNoRow);
    EXPECT_EQ(read.categoryId, 3);
    EXPECT_EQ(read.amount, 1234.56);

    ASSERT_TRUE(database.DeleteTransaction(row.id));
    EXPECT_FALSE(database.DeleteTransaction(row.id));
    EXPECT_FALSE(database.ReadTransaction(row.id, read));
    EXPECT_FALSE(database.UpdateTransaction(row));
}

// Negative references are none, however they came into the file.
TEST_F(FinanceOperations, NegativeReferencesAreNone) {
    CTransactionEntry row = Row(AddAccount("A"), TransactionType::Payment, 1);
    row.payeeId = -1;
    row.categoryId = -7;
    ASSERT_TRUE(database.AddTransaction(row));
    CTableRowUpdateInfoValue stored;
    const CTableManager* table = database.Database().FindTable(kTransactionTable);
    ASSERT_TRUE(table->ReadValue(row.id, *table->FindColumn("PayeeID"), stored));
    EXPECT_EQ(stored.int64, 0);
    COwnedList<CTransactionEntry> list;
    EXPECT_TRUE(database.ListTransactionsByPayee(-1, list));
    EXPECT_EQ(IdsOf(list), Ids{row.id});

    CDatabaseManager& store = database.Database();
    ASSERT_TRUE(store.BeginRowUpdate(kTransactionTable, row.id));
    store.SetInt64("PayeeID", -1);
    ASSERT_EQ(store.CommitRow(), row.id);
    ASSERT_TRUE(database.ReadTransaction(row.id, row));
    EXPECT_EQ(row.payeeId, kNoRow);
}

TEST_F(FinanceOperations, NumbersThatAreNotFiniteAreStoredAsZero) {
    CTransactionEntry row = Row(AddAccount("A"), TransactionType::Payment, 0);
    for (const double amount :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        row.amount = amount;
        ASSERT_TRUE(database.AddTransaction(row));
        CTransactionEntry read;
        ASSERT_TRUE(database.ReadTransaction(row.id, read));
        EXPECT_EQ(read.amount, 0.0);
    }
}

// Two accounts, three dates, with and without statement identifiers.
TEST_F(FinanceOperations, TransactionSelections) {
    const int64_t first = AddAccount("First");
    const int64_t second = AddAccount("Second");
    const int64_t shop = database.FindOrAddPayee("Shop");
    const int64_t food = database.FindOrAddCategory("Groceries");
    const struct {
        int64_t account, date, payee, category, fitId;
    } rows[] = {
        {first, Day(2024, 3, 31), shop, 0, 0},      // 1
        {first, Day(2024, 1, 1), 0, food, 5},       // 2
        {second, Day(2024, 2, 15), shop, food, 6},  // 3
        {first, Day(2024, 2, 15), 0, 0, -8},        // 4
        {first, Day(2024, 1, 1), shop, 0, 0},       // 5
        {first, Day(2024, 4, 1), 0, food, 9},       // 6
    };
    for (const auto& row : rows) {
        CTransactionEntry entry = Row(row.account, TransactionType::Payment, 1, row.date);
        entry.payeeId = row.payee;
        entry.categoryId = row.category;
        entry.fitId = row.fitId;
        ASSERT_TRUE(database.AddTransaction(entry));
    }
    COwnedList<CTransactionEntry> list;
    EXPECT_TRUE(database.ListTransactions(first, Day(2024, 1, 1), Day(2024, 3, 31), list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 5, 4, 1}));  // both ends included, register order
    EXPECT_TRUE(database.ListTransactions(first, Day(2024, 1, 2), Day(2024, 3, 30), list));
    EXPECT_EQ(IdsOf(list), Ids{4});
    EXPECT_TRUE(database.ListTransactions(second, Day(2024, 3, 1), Day(2024, 4, 1), list));
    EXPECT_EQ(IdsOf(list), Ids{});
    EXPECT_TRUE(database.ListAllTransactions(Day(2024, 2, 15), Day(2024, 4, 1), list));
    EXPECT_EQ(IdsOf(list), (Ids{3, 4, 1, 6}));
    EXPECT_TRUE(database.ListAllTransactions(INT64_MIN, INT64_MAX, list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 5, 3, 4, 1, 6}));
    EXPECT_TRUE(database.ListAllTransactions(Day(2024, 4, 1), Day(2024, 1, 1), list));
    EXPECT_EQ(IdsOf(list), Ids{});
    EXPECT_TRUE(database.ListTransactionsWithStatementIds(first, list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 4, 6}));
    EXPECT_TRUE(database.ListTransactionsByAccount(second, list));
    EXPECT_EQ(IdsOf(list), Ids{3});
    EXPECT_TRUE(database.ListTransactionsByPayee(shop, list));
    EXPECT_EQ(IdsOf(list), (Ids{5, 3, 1}));
    EXPECT_TRUE(database.ListTransactionsByCategory(food, list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 3, 6}));
}

TEST_F(FinanceOperations, PayeesAreKnownByTheirExactName) {
    const struct {
        const char* name;
        std::string_view text;
        bool isNew;
    } rows[] = {
        {"new", "Baker", true},
        {"again", "Baker", false},
        {"other case", "baker", true},
        {"blank at the end", "Baker ", true},
        {"empty is a name", "", true},
        {"empty again", "", false},
        {"composed", "Caf\xC3\xA9", true},
        {"decomposed", "Cafe\xCC\x81", true},
        {"cut at a zero byte", std::string_view("Cut\0tail", 8), true},
        {"what was stored of it", "Cut", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const int64_t before = database.RowCount(kPayeeTable);
        bool added = false;
        const int64_t id = database.FindOrAddPayee(row.text, &added);
        EXPECT_GT(id, 0);
        EXPECT_EQ(added, row.isNew);
        EXPECT_EQ(database.RowCount(kPayeeTable), before + (row.isNew ? 1 : 0));
        EXPECT_EQ(database.FindPayeeId(row.text), id);
    }

    CPayeeEntry same;
    same.name = "Baker";
    EXPECT_TRUE(database.AddPayee(same));
    EXPECT_EQ(same.id, 1);
    EXPECT_FALSE(database.RenamePayee(*database.FindPayeeId("baker"), "Baker"));
    EXPECT_TRUE(database.RenamePayee(same.id, "Baker"));
    EXPECT_TRUE(database.RenamePayee(same.id, "Boulanger"));
    EXPECT_EQ(database.FindPayeeId("Baker"), kNoRow);
    EXPECT_EQ(database.FindPayeeId("Boulanger"), same.id);
    EXPECT_TRUE(database.DeletePayee(same.id));
    EXPECT_EQ(database.FindPayeeId("Boulanger"), kNoRow);
    // An identifier is not given out again.
    EXPECT_GT(database.FindOrAddPayee("Boulanger"), same.id);
}

TEST_F(FinanceOperations, Categories) {
    EXPECT_EQ(database.FindCategoryId("Transfer"), database.FindOrAddCategory("Transfer"));
    bool added = false;
    CCategoryEntry pets;
    ASSERT_TRUE(database.ReadCategory(database.FindOrAddCategory("Pets", &added), pets));
    EXPECT_TRUE(added);
    EXPECT_TRUE(pets.includeTotal && pets.includeReports);
    pets.includeBudget = pets.includeIncome = false;
    pets.name = "not written";
    ASSERT_TRUE(database.UpdateCategoryFlags(pets));
    ASSERT_TRUE(database.ReadCategory(pets.id, pets));
    EXPECT_EQ(pets.name, "Pets");
    EXPECT_FALSE(pets.includeBudget || pets.includeIncome);
    EXPECT_TRUE(pets.includeWorth && pets.includeTotal);
    pets.name = "Animals";
    ASSERT_TRUE(database.UpdateCategory(pets));
    EXPECT_EQ(database.FindCategoryId("Animals"), pets.id);

    // Made again after the user deleted it, the category counts in nothing as before.
    ASSERT_TRUE(database.DeleteCategory(*database.FindCategoryId("Adjustment")));
    CCategoryEntry adjustment;
    ASSERT_TRUE(database.ReadCategory(database.FindOrAddCategory("Adjustment"), adjustment));
    EXPECT_FALSE(adjustment.includeIncome || adjustment.includeTotal);
}

TEST_F(FinanceOperations, PlansAndLayouts) {
    CMemorizedTransactionEntry rent;
    rent.accountId = 2;
    rent.payeeId = 3;
    rent.categoryId = 4;
    rent.transactionType = TransactionType::Charge;
    rent.periodType = PeriodType::TwicePerMonth;
    rent.twiceAMonthType = TwiceAMonthType::FifteenthAndLast;
    rent.lastServiceDate = Day(2024, 2, 15);
    rent.notes = "on time";
    ASSERT_TRUE(database.AddMemorizedTransaction(rent));
    COwnedList<CMemorizedTransactionEntry> memorized;
    EXPECT_TRUE(database.ListMemorizedTransactionsByAccount(3, memorized));
    EXPECT_TRUE(memorized.IsEmpty());
    EXPECT_TRUE(database.ListMemorizedTransactionsByPayee(3, memorized));
    ASSERT_EQ(memorized.Count(), 1);
    EXPECT_EQ(memorized.Front()->transactionType, TransactionType::Charge);
    EXPECT_EQ(memorized.Front()->periodType, PeriodType::TwicePerMonth);
    EXPECT_EQ(memorized.Front()->twiceAMonthType, TwiceAMonthType::FifteenthAndLast);
    EXPECT_EQ(memorized.Front()->lastServiceDate, Day(2024, 2, 15));
    EXPECT_EQ(memorized.Front()->notes, "on time");

    CBudgetItem item;
    item.categoryId = 4;
    item.itemType = BudgetItemType::Income;
    item.amount = 250.5;
    ASSERT_TRUE(database.AddBudgetItem(item));
    item.amount = 300;
    ASSERT_TRUE(database.UpdateBudgetItem(item));
    COwnedList<CBudgetItem> items;
    EXPECT_TRUE(database.ListBudgetItemsByCategory(4, items));
    ASSERT_EQ(items.Count(), 1);
    EXPECT_EQ(items.Front()->itemType, BudgetItemType::Income);
    EXPECT_EQ(items.Front()->amount, 300);

    CCheckPrintFormatEntry format;
    EXPECT_FALSE(database.ReadCheckFormat(2, format));
    format.accountId = 2;
    format.format.payeeText = "12,1,2";
    format.format.checkWidth = 8.5;
    format.format.verticalOrientation = true;
    ASSERT_TRUE(database.AddCheckFormat(format));
    CCheckPrintFormatEntry read;
    ASSERT_TRUE(database.ReadCheckFormat(2, read));
    EXPECT_EQ(read.format.payeeText, "12,1,2");
    EXPECT_EQ(read.format.writtenAmountText, "10,230,700");
    EXPECT_EQ(read.format.checkWidth, 8.5);
    EXPECT_TRUE(read.format.verticalOrientation);
    EXPECT_TRUE(database.DeleteCheckFormat(read.id));
    EXPECT_TRUE(database.ReadCheckFormat(2, read).IsNone());
}

// The operations that every table has; `change` sets what `IsChanged` looks for.
template <class Entry>
struct RowOperations {
    const char* name;
    bool (CQuillonDatabaseInterface::*add)(Entry&);
    bool (CQuillonDatabaseInterface::*update)(const Entry&);
    bool (CQuillonDatabaseInterface::*remove)(int64_t);
    bool (CQuillonDatabaseInterface::*list)(COwnedList<Entry>&);
    void (*change)(Entry&);
    bool (*isChanged)(const Entry&);
};

template <class Entry>
void TryOperations(CQuillonDatabaseInterface& database, const RowOperations<Entry>& table) {
    SCOPED_TRACE(table.name);
    COwnedList<Entry> rows;
    ASSERT_TRUE((database.*table.list)(rows));
    Ids ids = IdsOf(rows);  // of the seeds
    Entry first, second;
    ASSERT_TRUE((database.*table.add)(first) && (database.*table.add)(second));
    table.change(first);
    EXPECT_TRUE((database.*table.update)(first));
    ids.insert(ids.end(), {first.id, second.id});
    ASSERT_TRUE((database.*table.list)(rows));
    EXPECT_EQ(IdsOf(rows), ids);
    for (const Entry& row : rows) EXPECT_EQ(table.isChanged(row), row.id == first.id) << row.id;
    EXPECT_TRUE((database.*table.remove)(second.id));
    ids.pop_back();
    ASSERT_TRUE((database.*table.list)(rows));
    EXPECT_EQ(IdsOf(rows), ids);
    EXPECT_FALSE((database.*table.update)(second));
    EXPECT_FALSE((database.*table.remove)(second.id));
}

TEST_F(FinanceOperations, AddUpdateListDelete) {
    using D = CQuillonDatabaseInterface;
    TryOperations<CStockSectorEntry>(
        database, {"sectors", &D::AddStockSector, &D::UpdateStockSector, &D::DeleteStockSector,
                   &D::ListStockSectors, [](auto& row) { row.stockSector = "Tulips"; },
                   [](const auto& row) { return row.stockSector == "Tulips"; }});
    TryOperations<CStockOpenPositionEntry>(
        database, {"open positions", &D::AddOpenPosition, &D::UpdateOpenPosition,
                   &D::DeleteOpenPosition, &D::ListOpenPositions,
                   [](auto& row) {
                       row.shares = 2.5;
                       row.notes = "x";
                   },
                   [](const auto& row) { return row.shares == 2.5 && row.notes == "x"; }});
    TryOperations<CStockClosedPositionEntry>(
        database, {"closed positions", &D::AddClosedPosition, &D::UpdateClosedPosition,
                   &D::DeleteClosedPosition, &D::ListClosedPositions,
                   [](auto& row) {
                       row.actualNet = -1;
                       row.stock = "ACME";
                   },
                   [](const auto& row) { return row.actualNet == -1 && row.stock == "ACME"; }});
    TryOperations<CBudgetItem>(
        database, {"budget", &D::AddBudgetItem, &D::UpdateBudgetItem, &D::DeleteBudgetItem,
                   &D::ListBudgetItems, [](auto& row) { row.categoryId = 7; },
                   [](const auto& row) { return row.categoryId == 7; }});
    TryOperations<CRenamingRuleEntry>(
        database, {"rules", &D::AddRenamingRule, &D::UpdateRenamingRule, &D::DeleteRenamingRule,
                   &D::ListRenamingRules, [](auto& row) { row.replaceText = "Shop"; },
                   [](const auto& row) { return row.replaceText == "Shop"; }});
    TryOperations<CMemorizedTransactionEntry>(
        database, {"memorized", &D::AddMemorizedTransaction, &D::UpdateMemorizedTransaction,
                   &D::DeleteMemorizedTransaction, &D::ListMemorizedTransactions,
                   [](auto& row) { row.periodType = PeriodType::Weekly; },
                   [](const auto& row) { return row.periodType == PeriodType::Weekly; }});
    TryOperations<CStockWatchListEntry>(
        database,
        {"watch list", &D::AddWatchListEntry, &D::UpdateWatchListEntry, &D::DeleteWatchListEntry,
         &D::ListWatchList, [](auto& row) { row.notes = "dear"; },
         [](const auto& row) { return row.notes == "dear"; }});
}

TEST_F(FinanceOperations, Stocks) {
    CStockOpenPositionEntry open;
    open.openDate = Day(2020, 1, 2);
    open.stock = "ACME";
    open.stockDescription = "Acme Corp";
    open.sectorId = 9;
    open.shares = 12.5;
    open.purchasePrice = 1;
    open.targetPrice = 2;
    open.lastPrice = 3;
    open.costBasis = 4;
    open.targetReturn = 5;
    open.targetYield = 6;
    open.notes = "note";
    ASSERT_TRUE(database.AddOpenPosition(open));
    ASSERT_TRUE(database.UpdateOpenPositionLastPrice(open.id, 3.75));
    COwnedList<CStockOpenPositionEntry> positions;
    ASSERT_TRUE(database.ListOpenPositions(positions));
    ASSERT_EQ(positions.Count(), 1);
    const CStockOpenPositionEntry& read = *positions.Front();
    EXPECT_EQ(read.stock, "ACME");
    EXPECT_EQ(read.stockDescription, "Acme Corp");
    EXPECT_EQ(read.sectorId, 9);
    EXPECT_EQ(read.openDate, Day(2020, 1, 2));
    EXPECT_EQ((std::vector{read.shares, read.purchasePrice, read.targetPrice, read.lastPrice,
                           read.costBasis, read.targetReturn, read.targetYield}),
              (std::vector{12.5, 1., 2., 3.75, 4., 5., 6.}));

    CStockClosedPositionEntry closed;
    closed.closeDate = Day(2021, 1, 2);
    closed.sellPrice = 1;
    closed.sellFee = 2;
    closed.actualNet = 3;
    closed.actualYield = 4;
    closed.percentTargetRealized = 5;
    ASSERT_TRUE(database.AddClosedPosition(closed));
    COwnedList<CStockClosedPositionEntry> sold;
    ASSERT_TRUE(database.ListClosedPositions(sold));
    ASSERT_EQ(sold.Count(), 1);
    EXPECT_EQ(sold.Front()->closeDate, Day(2021, 1, 2));
    EXPECT_EQ((std::vector{sold.Front()->sellPrice, sold.Front()->sellFee, sold.Front()->actualNet,
                           sold.Front()->actualYield, sold.Front()->percentTargetRealized}),
              (std::vector{1., 2., 3., 4., 5.}));

    ASSERT_TRUE(database.UpdateCoreAccountBalance(10.5));
    ASSERT_TRUE(database.UpdateInvestmentBalance(20.5));
    double core = 0, invested = 0;
    EXPECT_TRUE(database.ReadCoreAccountBalance(core) && database.ReadInvestmentBalance(invested));
    EXPECT_EQ(core, 10.5);
    EXPECT_EQ(invested, 20.5);
    EXPECT_EQ(database.RowCount(kStockCoreAccountTable), 1);
}

TEST_F(FinanceOperations, Password) {
    EXPECT_EQ(database.CheckPassword(""), PasswordCheck::Wrong);
    EXPECT_EQ(database.CheckPassword("anything"), PasswordCheck::Wrong);  // no hash is stored yet
    EXPECT_FALSE(database.SetPassword(""));

    ASSERT_TRUE(database.SetPassword("message digest"));
    CKeelString hash;
    ASSERT_TRUE(database.ReadPasswordHash(hash));
    EXPECT_EQ(hash, "f96b697d7cb7938d525a2f31aaf161d0");  // RFC 1321
    const struct {
        const char* password;
        PasswordCheck answer;
    } rows[] = {
        {"message digest", PasswordCheck::Right},
        {"Message digest", PasswordCheck::Wrong},
        {"message digest ", PasswordCheck::Wrong},
        {"f96b697d7cb7938d525a2f31aaf161d0", PasswordCheck::Wrong},
        {"", PasswordCheck::Wrong},
    };
    for (const auto& row : rows) EXPECT_EQ(database.CheckPassword(row.password), row.answer);

    // The stored text is compared as it stands.
    ASSERT_TRUE(database.SetPasswordHash("F96B697D7CB7938D525A2F31AAF161D0"));
    EXPECT_EQ(database.CheckPassword("message digest"), PasswordCheck::Wrong);
    ASSERT_TRUE(database.SetPasswordHash("f96b"));
    EXPECT_EQ(database.CheckPassword("message digest"), PasswordCheck::Wrong);

    ASSERT_TRUE(database.SetPassword("Jürgen"));
    ASSERT_TRUE(database.SetSecurityEnabled(false));
    Reopen();
    EXPECT_EQ(database.CheckPassword("Jürgen"), PasswordCheck::Right);
    bool enabled = true;
    ASSERT_TRUE(database.ReadSecurityEnabled(enabled));
    EXPECT_FALSE(enabled);

    ASSERT_TRUE(database.ClearPassword());
    EXPECT_EQ(database.CheckPassword("Jürgen"), PasswordCheck::Wrong);
    EXPECT_EQ(database.RowCount(kSecurityTable), 1);
}

// What a batch wrote is gone after a roll back, in every table it touched.
TEST_F(FinanceOperations, RolledBackBatchLeavesEverythingAsBefore) {
    const int64_t account = AddAccount("A");
    CTransactionEntry kept = Row(account, TransactionType::Deposit, 10);
    kept.memo = "before";
    ASSERT_TRUE(database.AddTransaction(kept));
    {
        CFinanceBatch batch(database);
        ASSERT_TRUE(batch.Begun());
        ASSERT_GT(database.FindOrAddPayee("Gone"), 0);
        ASSERT_GT(database.FindOrAddCategory("Gone too"), 0);
        ASSERT_TRUE(database.UpdateAccountBalance(account, 99));
        CTransactionEntry changed = kept;
        changed.memo = "changed";
        ASSERT_TRUE(database.UpdateTransaction(changed));
        CTransactionEntry added = Row(account, TransactionType::Payment, 1);
        ASSERT_TRUE(database.AddTransaction(added));
        COwnedList<CTransactionEntry> inside;
        ASSERT_TRUE(database.ListTransactionsByAccount(account, inside));
        EXPECT_EQ(inside.Count(), 2);
        EXPECT_EQ(inside.Front()->memo, "changed");
    }
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(database.FindPayeeId("Gone"), kNoRow);
        EXPECT_EQ(database.FindCategoryId("Gone too"), kNoRow);
        EXPECT_EQ(Balance(account), 0);
        COwnedList<CTransactionEntry> rows;
        ASSERT_TRUE(database.ListTransactionsByAccount(account, rows));
        ASSERT_EQ(IdsOf(rows), Ids{kept.id});
        EXPECT_EQ(rows.Front()->memo, "before");
        Reopen();
    }
}

TEST_F(FinanceOperations, TimersRun) {
    const int64_t account = AddAccount("A");
    CTransactionEntry row = Row(account, TransactionType::Payment, 1);
    row.memo = "a text that leaves a hole";
    ASSERT_TRUE(database.AddTransaction(row));
    CTransactionEntry next = row;
    ASSERT_TRUE(database.AddTransaction(next));
    ASSERT_TRUE(database.DeleteTransaction(row.id));
    for (int64_t now = 0; now <= 2 * CDatabaseManagerRemoveDeletedTimer::kPeriodMs; now += 30'000) {
        database.RunTimers(now);
    }
    ASSERT_TRUE(database.ReadTransaction(next.id, next));
    EXPECT_EQ(next.memo, "a text that leaves a hole");
}

}  // namespace
}  // namespace quillon
