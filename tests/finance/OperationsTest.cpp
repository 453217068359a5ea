#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>

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
    ASSERT_TRUE(database.Add(account));
    EXPECT_EQ(account.id, 1);
    const int64_t savings = AddAccount("Savings", AccountType::Savings);

    Reopen();
    CAccountEntry read;
    ASSERT_TRUE(database.FindAccountByName("Giro Jürgen", read));
    const auto fields = [](const CAccountEntry& row) {
        return std::tuple(row.id, row.name.ToUtf8(), row.description.ToUtf8(), row.accountType,
                          row.currentBalance, row.latestCheckNumber, row.active);
    };
    EXPECT_EQ(fields(read), fields(account));
    ASSERT_TRUE(database.UpdateAccountBalance(read.id, account.currentBalance = 5.5));
    ASSERT_TRUE(database.UpdateAccountLatestCheckNumber(read.id, account.latestCheckNumber = 1002));
    ASSERT_TRUE(database.SetAccountActive(read.id, account.active = true));
    ASSERT_TRUE(database.Read(read.id, read));
    EXPECT_EQ(fields(read), fields(account));

    COwnedList<CAccountEntry> accounts;
    EXPECT_TRUE(database.ListAccountsByType(AccountType::Savings, accounts));
    EXPECT_EQ(IdsOf(accounts), Ids{savings});
    EXPECT_TRUE(database.ListAccountsByType(AccountType::Loan, accounts));
    EXPECT_TRUE(accounts.IsEmpty());

    CAccountEntry none;
    EXPECT_FALSE(database.FindAccountByName("giro jürgen", none));
    EXPECT_FALSE(database.Read(0, none));
    EXPECT_FALSE(database.Read(77, none));
    EXPECT_FALSE(database.UpdateAccountBalance(77, 1));
    EXPECT_FALSE(database.Update(none));
}

TEST_F(FinanceOperations, TransactionsRoundTrip) {
    CTransactionEntry row = Row(AddAccount("A"), TransactionType::Withdrawal, 1234.56);
    row.electronicPayment = kElectronicEft;
    row.check = 17;
    row.payeeId = database.FindOrAddPayee("Baker");
    row.categoryId = database.FindOrAddCategory("Groceries");
    row.fitId = INT64_MIN;
    row.memo = "Brötchen";
    ASSERT_TRUE(database.Add(row));
    Reopen();
    CTransactionEntry read;
    ASSERT_TRUE(database.Read(row.id, read));
    const auto fields = [](const CTransactionEntry& entry) {
        return std::tuple(entry.accountId, entry.serviceDate, entry.electronicPayment.ToUtf8(),
                          entry.check, entry.transactionType, entry.payeeId, entry.categoryId,
                          entry.amount, entry.fitId, entry.memo.ToUtf8());
    };
    EXPECT_EQ(fields(read), fields(row));
    ASSERT_TRUE(database.UpdateTransactionPayee(row.id, -1));
    ASSERT_TRUE(database.UpdateTransactionCategory(row.id, row.categoryId = 3));
    row.payeeId = kNoRow;
    ASSERT_TRUE(database.Read(row.id, read));
    EXPECT_EQ(fields(read), fields(row));

    ASSERT_TRUE(database.Delete<CTransactionEntry>(row.id));
    EXPECT_FALSE(database.Delete<CTransactionEntry>(row.id));
    EXPECT_FALSE(database.Read(row.id, read));
    EXPECT_FALSE(database.Update(row));
}

// Negative references are none, however they came into the file.
TEST_F(FinanceOperations, NegativeReferencesAreNone) {
    CTransactionEntry row = Row(AddAccount("A"), TransactionType::Payment, 1);
    row.payeeId = -1;
    row.categoryId = -7;
    ASSERT_TRUE(database.Add(row));
    CTableRowUpdateInfoValue stored;
    const CTableManager* table = database.Store().FindTable(kTransactionTable);
    ASSERT_TRUE(table->ReadValue(row.id, *table->FindColumn("PayeeID"), stored));
    EXPECT_EQ(stored.int64, 0);
    COwnedList<CTransactionEntry> list;
    EXPECT_TRUE(database.ListTransactionsByPayee(-1, list));
    EXPECT_EQ(IdsOf(list), Ids{row.id});

    CDatabaseManager& store = database.Store();
    ASSERT_TRUE(store.BeginRowUpdate(kTransactionTable, row.id));
    store.SetInt64("PayeeID", -1);
    ASSERT_EQ(store.CommitRow(), row.id);
    ASSERT_TRUE(database.Read(row.id, row));
    EXPECT_EQ(row.payeeId, kNoRow);
}

TEST_F(FinanceOperations, NumbersThatAreNotFiniteAreStoredAsZero) {
    for (const double amount : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        CTransactionEntry row = Row(1, TransactionType::Payment, amount);
        ASSERT_TRUE(database.Add(row));
        ASSERT_TRUE(database.Read(row.id, row));
        EXPECT_EQ(row.amount, 0.0);
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
        ASSERT_TRUE(database.Add(entry));
    }
    const auto listed = [&](const auto& ask) {
        COwnedList<CTransactionEntry> list;
        EXPECT_TRUE(ask(list));
        return IdsOf(list);
    };
    const auto of = [&](int64_t account, int64_t from, int64_t to) {
        return listed(
            [&](auto& list) { return database.ListTransactions(account, from, to, list); });
    };
    const auto all = [&](int64_t from, int64_t to) {
        return listed([&](auto& list) { return database.ListAllTransactions(from, to, list); });
    };
    // Both ends included, register order.
    EXPECT_EQ(of(first, Day(2024, 1, 1), Day(2024, 3, 31)), (Ids{2, 5, 4, 1}));
    EXPECT_EQ(of(first, Day(2024, 1, 2), Day(2024, 3, 30)), Ids{4});
    EXPECT_EQ(of(second, Day(2024, 3, 1), Day(2024, 4, 1)), Ids{});
    EXPECT_EQ(all(Day(2024, 2, 15), Day(2024, 4, 1)), (Ids{3, 4, 1, 6}));
    EXPECT_EQ(all(INT64_MIN, INT64_MAX), (Ids{2, 5, 3, 4, 1, 6}));
    EXPECT_EQ(all(Day(2024, 4, 1), Day(2024, 1, 1)), Ids{});
    COwnedList<CTransactionEntry> list;
    EXPECT_TRUE(database.ListTransactionsWithStatementIds(first, list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 4, 6}));
    EXPECT_TRUE(database.ListTransactionsByAccount(second, list));
    EXPECT_EQ(IdsOf(list), Ids{3});
    EXPECT_TRUE(database.ListTransactionsByPayee(shop, list));
    EXPECT_EQ(IdsOf(list), (Ids{5, 3, 1}));
    EXPECT_TRUE(database.ListTransactionsByCategory(food, list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 3, 6}));
    EXPECT_TRUE(database.List(list));
    EXPECT_EQ(IdsOf(list), (Ids{2, 5, 3, 4, 1, 6}));

    const auto newest = [&](int64_t account, int64_t payee) {
        CTransactionEntry found;
        return database.FindNewestTransaction(account, payee, found) ? found.id : kNoRow;
    };
    EXPECT_EQ(newest(first, shop), 1);
    EXPECT_EQ(newest(second, shop), 3);
    EXPECT_EQ(newest(first, kNoRow), 6);
    EXPECT_EQ(newest(second, kNoRow), kNoRow);
    CTransactionEntry sameDay = Row(first, TransactionType::Payment, 1, Day(2024, 3, 31));
    sameDay.payeeId = shop;
    ASSERT_TRUE(database.Add(sameDay));
    EXPECT_EQ(newest(first, shop), sameDay.id);
}

// What columns say of rows is what the rows say.
TEST_F(FinanceOperations, Columns) {
    const int64_t account = AddAccount("A");
    for (int i = 0; i < 3; ++i) {
        CTransactionEntry row =
            Row(account, TransactionType::Deposit, 1.5 * i, Day(2024, 3, 3 - i));
        row.payeeId = i - 1;
        row.categoryId = i;
        row.check = 10 + i;
        row.memo = "memo " + std::to_string(i);
        row.electronicPayment = i == 1 ? "ATM" : "";
        ASSERT_TRUE(database.Add(row));
        ASSERT_TRUE(database.Add(row = Row(account + 1, TransactionType::Payment, 9)));
    }
    TransactionNumbers numbers;
    ASSERT_TRUE(database.ReadTransactionNumbers(account, numbers));
    TransactionUses uses;
    ASSERT_TRUE(database.ReadTransactionUses(account, uses));
    EXPECT_EQ(numbers.ids, (Ids{1, 3, 5}));
    EXPECT_EQ(numbers.dates, (Ids{Day(2024, 3, 3), Day(2024, 3, 2), Day(2024, 3, 1)}));
    EXPECT_EQ(numbers.payees, (Ids{0, 0, 1}));
    EXPECT_EQ(numbers.categories, (Ids{0, 1, 2}));
    EXPECT_EQ(numbers.checks, (std::vector<int32_t>{10, 11, 12}));
    EXPECT_EQ(numbers.types,
              std::vector<int32_t>(3, static_cast<int32_t>(TransactionType::Deposit)));
    EXPECT_EQ(numbers.amounts, (std::vector<double>{0, 1.5, 3}));
    EXPECT_EQ(std::tie(uses.dates, uses.payees, uses.categories),
              std::tie(numbers.dates, numbers.payees, numbers.categories));
    std::string texts;
    database.ReadTransactionTexts(
        Ids{5, 99, 3}, [&](size_t place, std::string_view memo, std::string_view electronic) {
            texts += std::to_string(place) + '[' + std::string(memo) + '|' +
                     std::string(electronic) + ']';
        });
    EXPECT_EQ(texts, "0[memo 2|]1[|]2[memo 1|ATM]");
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
    EXPECT_TRUE(database.Add(same));
    EXPECT_EQ(same.id, 1);
    EXPECT_FALSE(database.RenamePayee(*database.FindPayeeId("baker"), "Baker"));
    EXPECT_TRUE(database.RenamePayee(same.id, "Baker"));
    CPayeeEntry taken;
    taken.id = *database.FindPayeeId("baker");
    taken.name = "Baker";
    EXPECT_FALSE(database.Update(taken));
    EXPECT_TRUE(database.RenamePayee(same.id, "Boulanger"));
    EXPECT_EQ(database.FindPayeeId("Baker"), kNoRow);
    EXPECT_EQ(database.FindPayeeId("Boulanger"), same.id);
    EXPECT_TRUE(database.Delete<CPayeeEntry>(same.id));
    EXPECT_EQ(database.FindPayeeId("Boulanger"), kNoRow);
    // An identifier is not given out again.
    EXPECT_GT(database.FindOrAddPayee("Boulanger"), same.id);
}

TEST_F(FinanceOperations, Categories) {
    EXPECT_EQ(database.FindCategoryId("Transfer"), database.FindOrAddCategory("Transfer"));
    bool added = false;
    CCategoryEntry pets;
    ASSERT_TRUE(database.Read(database.FindOrAddCategory("Pets", &added), pets));
    EXPECT_TRUE(added);
    EXPECT_TRUE(pets.includeTotal && pets.includeReports);
    pets.includeBudget = pets.includeIncome = false;
    pets.name = "not written";
    ASSERT_TRUE(database.UpdateCategoryFlags(pets));
    ASSERT_TRUE(database.Read(pets.id, pets));
    EXPECT_EQ(pets.name, "Pets");
    EXPECT_FALSE(pets.includeBudget || pets.includeIncome);
    EXPECT_TRUE(pets.includeWorth && pets.includeTotal);
    pets.name = "Animals";
    ASSERT_TRUE(database.Update(pets));
    EXPECT_EQ(database.FindCategoryId("Animals"), pets.id);

    // Made again after the user deleted it, the category counts in nothing as before.
    ASSERT_TRUE(database.Delete<CCategoryEntry>(*database.FindCategoryId("Adjustment")));
    CCategoryEntry adjustment;
    ASSERT_TRUE(database.Read(database.FindOrAddCategory("Adjustment"), adjustment));
    EXPECT_FALSE(adjustment.includeIncome || adjustment.includeTotal);
}

TEST_F(FinanceOperations, PlansAndLayouts) {
    CMemorizedTransactionEntry rent;
    rent.accountId = 2;
    rent.payeeId = 3;
    ASSERT_TRUE(database.Add(rent));
    COwnedList<CMemorizedTransactionEntry> memorized;
    EXPECT_TRUE(database.ListMemorizedTransactionsByAccount(3, memorized));
    EXPECT_TRUE(memorized.IsEmpty());
    EXPECT_TRUE(database.ListMemorizedTransactionsByPayee(3, memorized));
    EXPECT_EQ(IdsOf(memorized), Ids{rent.id});
    CBudgetItem item;
    item.categoryId = 4;
    ASSERT_TRUE(database.Add(item));
    COwnedList<CBudgetItem> items;
    EXPECT_TRUE(database.ListBudgetItemsByCategory(4, items));
    EXPECT_EQ(IdsOf(items), Ids{item.id});

    CCheckPrintFormatEntry format;
    EXPECT_FALSE(database.FindCheckFormat(2, format));
    format.accountId = 2;
    format.format.payeeText = "12,1,2";
    format.format.checkWidth = 8.5;
    format.format.verticalOrientation = true;
    ASSERT_TRUE(database.Add(format));
    CCheckPrintFormatEntry read;
    ASSERT_TRUE(database.FindCheckFormat(2, read));
    EXPECT_EQ(read.format.payeeText, "12,1,2");
    EXPECT_EQ(read.format.writtenAmountText, "10,230,700");
    EXPECT_EQ(read.format.checkWidth, 8.5);
    EXPECT_TRUE(read.format.verticalOrientation);
    EXPECT_TRUE(database.Delete<CCheckPrintFormatEntry>(read.id));
    EXPECT_TRUE(database.FindCheckFormat(2, read).IsNone());
}

// A value for the nth field of a record, that no other of its fields has.
void Set(CKeelString& field, int number) {
    field = "text " + std::to_string(number);
}
template <class Value>
void Set(Value& field, int number) {
    if constexpr (std::is_enum_v<Value>) {
        field = static_cast<Value>(1);
    } else {
        field = static_cast<Value>(number * kTicksPerDay);  // a date, if it is to be one
    }
}

// The operations that every table has; `fields` ties what a record holds.
template <class Entry, class Fields>
void TryOperations(CQuillonDatabaseInterface& database, Fields fields) {
    COwnedList<Entry> rows;
    ASSERT_TRUE(database.List(rows));
    Ids ids = IdsOf(rows);  // of the seeds
    Entry first, second;
    ASSERT_TRUE(database.Add(first) && database.Add(second));
    int number = 0;
    std::apply([&](auto&... field) { (Set(field, ++number), ...); }, fields(first));
    EXPECT_TRUE(database.Update(first));
    ids.insert(ids.end(), {first.id, second.id});
    ASSERT_TRUE(database.List(rows));
    EXPECT_EQ(IdsOf(rows), ids);
    for (Entry& row : rows) EXPECT_EQ(fields(row) == fields(first), row.id == first.id) << row.id;
    EXPECT_TRUE(database.Delete<Entry>(second.id));
    ids.pop_back();
    ASSERT_TRUE(database.List(rows));
    EXPECT_EQ(IdsOf(rows), ids);
    EXPECT_FALSE(database.Update(second));
    EXPECT_FALSE(database.Delete<Entry>(second.id));
}

TEST_F(FinanceOperations, AddUpdateListDelete) {
    TryOperations<CStockSectorEntry>(database, [](auto& row) { return std::tie(row.stockSector); });
    TryOperations<CStockOpenPositionEntry>(database, [](auto& row) {
        return std::tie(row.openDate, row.stock, row.stockDescription, row.sectorId, row.shares,
                        row.purchasePrice, row.targetPrice, row.lastPrice, row.costBasis,
                        row.targetReturn, row.targetYield, row.notes);
    });
    TryOperations<CStockClosedPositionEntry>(database, [](auto& row) {
        return std::tie(row.openDate, row.closeDate, row.stock, row.stockDescription, row.sectorId,
                        row.shares, row.purchasePrice, row.targetPrice, row.sellPrice, row.sellFee,
                        row.costBasis, row.targetReturn, row.actualNet, row.actualYield,
                        row.percentTargetRealized, row.notes);
    });
    TryOperations<CBudgetItem>(
        database, [](auto& row) { return std::tie(row.categoryId, row.itemType, row.amount); });
    TryOperations<CRenamingRuleEntry>(
        database, [](auto& row) { return std::tie(row.searchText, row.replaceText); });
    TryOperations<CMemorizedTransactionEntry>(database, [](auto& row) {
        return std::tie(row.accountId, row.transactionType, row.payeeId, row.categoryId,
                        row.periodType, row.lastServiceDate, row.twiceAMonthType, row.notes);
    });
    TryOperations<CStockWatchListEntry>(database, [](auto& row) {
        return std::tie(row.date, row.stock, row.stockDescription, row.sectorId, row.notes);
    });
}

TEST_F(FinanceOperations, Stocks) {
    CStockOpenPositionEntry open;
    ASSERT_TRUE(database.Add(open));
    ASSERT_TRUE(database.UpdateOpenPositionLastPrice(open.id, 3.75));
    COwnedList<CStockOpenPositionEntry> positions;
    ASSERT_TRUE(database.List(positions));
    EXPECT_EQ(positions.Front()->lastPrice, 3.75);

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

}  // namespace
}  // namespace quillon
