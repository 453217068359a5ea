#include "finance/ledger/Ledger.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <thread>

#include "FinanceFixture.h"
#include "finance/ledger/Balance.h"

namespace quillon {
namespace {

class Ledger : public FinanceFixture {
protected:
    int64_t Open(const char* name, AccountType type, double balance = 0.0) {
        CAccountEntry account;
        account.name = name;
        account.accountType = type;
        EXPECT_EQ(ledger.OpenAccount(account, balance, Day(2024, 1, 1)), LedgerStatus::Ok);
        EXPECT_EQ(account.currentBalance, balance);
        return account.id;
    }

    int64_t Enter(int64_t account, TransactionType type, double amount) {
        CTransactionEntry row = Row(account, type, amount);
        EXPECT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
        return row.id;
    }

    void ExpectSound() {
        std::vector<BalanceMismatch> mismatches;
        EXPECT_TRUE(ledger.VerifyBalances(mismatches));
        for (const BalanceMismatch& mismatch : mismatches) {
            ADD_FAILURE() << mismatch.account.ToUtf8() << " holds " << mismatch.stored
                          << " and should hold " << mismatch.computed;
        }
    }

    CAccountEntry Account(int64_t id) {
        CAccountEntry account;
        EXPECT_TRUE(database.Read(id, account));
        return account;
    }

    int64_t Rows() { return database.RowCount(kTransactionTable); }

    TransferRequest Transfer(int64_t from, int64_t to, double amount) {
        TransferRequest request;
        request.fromAccountId = from;
        request.toAccountId = to;
        request.amount = amount;
        request.date = Day(2024, 6, 1);
        request.memo = "monthly";
        return request;
    }

    CLedger ledger{database};
};

TEST_F(Ledger, OpeningBalances) {
    const struct {
        const char* name;
        AccountType type;
        double balance;
        TransactionType entered;
    } rows[] = {
        {"checking", AccountType::Checking, 100.25, TransactionType::Deposit},
        {"overdrawn", AccountType::Checking, -3.5, TransactionType::Withdrawal},
        {"card owed", AccountType::Credit, -250, TransactionType::Charge},
        {"card in credit", AccountType::Credit, 20, TransactionType::Payment},
        {"loan", AccountType::Loan, -90000, TransactionType::Principal},
    };
    const auto adjustment = database.FindCategoryId("Adjustment");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const int64_t account = Open(row.name, row.type, row.balance);
        COwnedList<CTransactionEntry> entered;
        ASSERT_TRUE(database.ListTransactionsByAccount(account, entered));
        ASSERT_EQ(entered.Count(), 1);
        EXPECT_EQ(entered.Front()->transactionType, row.entered);
        EXPECT_EQ(entered.Front()->amount, std::abs(row.balance));
        EXPECT_EQ(entered.Front()->categoryId, adjustment);
        EXPECT_EQ(entered.Front()->serviceDate, Day(2024, 1, 1));
        EXPECT_EQ(Balance(account), row.balance);
    }
    Open("empty", AccountType::Savings);
    EXPECT_EQ(Rows(), 5);
    ExpectSound();
}

TEST_F(Ledger, RefusalsChangeNothing) {
    const int64_t account = Open("A", AccountType::Checking, 10);
    const int64_t row = Enter(account, TransactionType::Payment, 1);
    const int64_t other = Open("other", AccountType::Checking);
    const auto before = disk.Snapshot();

    CAccountEntry again;
    EXPECT_EQ(ledger.OpenAccount(again, 1, 0), LedgerStatus::NameMissing);
    again.name = "A";
    EXPECT_EQ(ledger.OpenAccount(again, 1, 0), LedgerStatus::NameTaken);
    again.name = "B";
    EXPECT_EQ(ledger.OpenAccount(again, NAN, 0), LedgerStatus::BadAmount);
    for (const double amount : {-0.01, std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN(), 1.1e13}) {
        CTransactionEntry bad = Row(account, TransactionType::Payment, amount);
        EXPECT_EQ(ledger.EnterTransaction(bad), LedgerStatus::BadAmount);
        bad.id = row;
        EXPECT_EQ(ledger.ChangeTransaction(bad), LedgerStatus::BadAmount);
    }
    again.name = "";
    again.id = account;
    EXPECT_EQ(ledger.ChangeAccount(again), LedgerStatus::NameMissing);
    again.name = "other";
    EXPECT_EQ(ledger.ChangeAccount(again), LedgerStatus::NameTaken);
    again.id = 77;
    EXPECT_EQ(ledger.ChangeAccount(again), LedgerStatus::NoSuchAccount);
    CTransactionEntry fraction = Row(account, TransactionType::Payment, 1.005);
    EXPECT_EQ(ledger.OpenAccount(again, 0.004, 0), LedgerStatus::FractionOfCent);
    EXPECT_EQ(ledger.EnterTransaction(fraction), LedgerStatus::FractionOfCent);
    fraction.id = row;
    EXPECT_EQ(ledger.ChangeTransaction(fraction), LedgerStatus::FractionOfCent);
    CTransactionEntry lost = Row(77, TransactionType::Payment, 1);
    EXPECT_EQ(ledger.EnterTransaction(lost), LedgerStatus::NoSuchAccount);
    lost.id = row;
    EXPECT_EQ(ledger.ChangeTransaction(lost), LedgerStatus::NoSuchAccount);
    lost.id = 77;
    EXPECT_EQ(ledger.ChangeTransaction(lost), LedgerStatus::NoSuchTransaction);
    EXPECT_EQ(ledger.RemoveTransaction(77), LedgerStatus::NoSuchTransaction);
    CTransactionEntry one, two;
    EXPECT_EQ(ledger.EnterTransfer(Transfer(account, account, 1), one, two),
              LedgerStatus::SameAccount);
    EXPECT_EQ(ledger.EnterTransfer(Transfer(account, 77, 1), one, two),
              LedgerStatus::NoSuchAccount);
    EXPECT_EQ(ledger.EnterTransfer(Transfer(account, other, 0.004), one, two),
              LedgerStatus::FractionOfCent);
    EXPECT_EQ(disk.Snapshot(), before);
}

TEST_F(Ledger, EnterChangeMoveRemove) {
    const int64_t checking = Open("Checking", AccountType::Checking, 100);
    const int64_t card = Open("Card", AccountType::Credit);
    CTransactionEntry row = Row(checking, TransactionType::Payment, 30);
    row.check = 12;
    ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
    EXPECT_EQ(Balance(checking), 70);

    row.amount = 25.5;
    row.memo = "corrected";
    EXPECT_EQ(ledger.ChangeTransaction(row), LedgerStatus::Ok);
    EXPECT_EQ(Balance(checking), 74.5);
    row.transactionType = TransactionType::Deposit;
    EXPECT_EQ(ledger.ChangeTransaction(row), LedgerStatus::Ok);
    EXPECT_EQ(Balance(checking), 125.5);

    // Where the type is meant for the new account, a payment comes in on a card.
    row.transactionType = TransactionType::Payment;
    row.accountId = card;
    EXPECT_EQ(ledger.ChangeTransaction(row, TransferSides::ThisOnly, EffectOnMove::AsGiven),
              LedgerStatus::Ok);
    EXPECT_EQ(Balance(checking), 100);
    EXPECT_EQ(Balance(card), 25.5);

    EXPECT_EQ(ledger.RemoveTransaction(row.id), LedgerStatus::Ok);
    EXPECT_EQ(Balance(card), 0);
    CAccountEntry account;
    ASSERT_TRUE(database.Read(checking, account));
    EXPECT_EQ(account.latestCheckNumber, 12);
    ExpectSound();
}

// However a number comes in, the next check printed on that account must not take it.
TEST_F(Ledger, CheckNumbersOnlyRise) {
    const int64_t account = Open("A", AccountType::Checking);
    const int64_t other = Open("B", AccountType::Checking);
    const int64_t edited = Enter(account, TransactionType::Payment, 1);
    const auto enter = [&](int64_t to, int32_t check) {
        CTransactionEntry row = Row(to, TransactionType::Payment, 1);
        row.check = check;
        return ledger.EnterTransaction(row);
    };
    const auto edit = [&](int64_t to, int32_t check) {
        CTransactionEntry row = Row(to, TransactionType::Payment, 1);
        row.id = edited;
        row.check = check;
        return ledger.ChangeTransaction(row);
    };
    const auto transfer = [&](int64_t from, int32_t check) {
        TransferRequest request = Transfer(from, from == account ? other : account, 1);
        request.check = check;
        CTransactionEntry paying, receiving;
        return ledger.EnterTransfer(request, paying, receiving);
    };
    const auto import = [&](int64_t to, int32_t check) {
        CLedgerImport batch(ledger, to);
        CTransactionEntry row = Row(to, TransactionType::Payment, 1);
        row.check = check;
        const bool done = batch.Begin() == LedgerStatus::Ok &&
                          batch.Enter(row) == LedgerStatus::Ok && batch.Finish();
        return done ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
    };
    const struct {
        const char* name;
        std::function<LedgerStatus(int64_t, int32_t)> way;
        int64_t account;
        int32_t check, latest, latestOfOther;
    } rows[] = {
        {"entered", enter, account, 5, 5, 0},
        {"lower", enter, account, 3, 5, 0},
        {"none", enter, account, 0, 5, 0},
        {"edited", edit, account, 7, 7, 0},
        {"edited to lower", edit, account, 6, 7, 0},
        {"moved", edit, other, 6, 7, 6},
        {"transferred", transfer, account, 8, 8, 6},
        {"imported", import, account, 11, 11, 6},
        {"imported lower", import, account, 9, 11, 6},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.way(row.account, row.check), LedgerStatus::Ok);
        EXPECT_EQ(Account(account).latestCheckNumber, row.latest);
        EXPECT_EQ(Account(other).latestCheckNumber, row.latestOfOther);
    }
    ExpectSound();
}

TEST_F(Ledger, MovingARowKeepsWhatItDoes) {
    std::vector<int64_t> accounts;
    for (int kind = 0; kind < kAccountTypeCount; ++kind) {
        accounts.push_back(Open(std::to_string(kind).c_str(), static_cast<AccountType>(kind)));
    }
    for (const int64_t from : accounts) {
        for (const int64_t to : accounts) {
            for (int type = 0; type < kTransactionTypeCount; ++type) {
                SCOPED_TRACE(testing::Message() << type << ": " << from << " to " << to);
                const double others = Balance(to);
                CTransactionEntry row = Row(from, static_cast<TransactionType>(type), 50);
                ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
                const double effect = Balance(from) - (from == to ? others : 0);
                row.accountId = to;
                ASSERT_EQ(ledger.ChangeTransaction(row), LedgerStatus::Ok);
                EXPECT_EQ(Balance(to), others + effect);
                ASSERT_EQ(ledger.RemoveTransaction(row.id), LedgerStatus::Ok);
                EXPECT_EQ(Balance(from), 0);
            }
        }
    }
    ExpectSound();
}

TEST_F(Ledger, AnAccountOfAnotherKindHasAnotherBalance) {
    const int64_t account = Open("A", AccountType::Checking, 100);
    Enter(account, TransactionType::Payment, 30);
    CAccountEntry changed = Account(account);
    EXPECT_EQ(changed.currentBalance, 70);
    changed.accountType = AccountType::Credit;
    changed.name = "Card";
    changed.currentBalance = 12345;  // nobody's to set
    ASSERT_EQ(ledger.ChangeAccount(changed), LedgerStatus::Ok);
    EXPECT_EQ(Balance(account), 130);
    EXPECT_EQ(Account(account).name, "Card");
    changed.description = "blue";
    ASSERT_EQ(ledger.ChangeAccount(changed), LedgerStatus::Ok);
    EXPECT_EQ(Balance(account), 130);
    ExpectSound();
}

// Rows from before amounts were looked at keep what they hold until somebody changes it.
TEST_F(Ledger, OldFractionsOfACent) {
    const int64_t account = Open("A", AccountType::Checking);
    CTransactionEntry old = Row(account, TransactionType::Deposit, 12.345);
    ASSERT_TRUE(database.Add(old));
    ASSERT_TRUE(database.UpdateAccountBalance(account, 12.345));
    old.memo = "shares";
    EXPECT_EQ(ledger.ChangeTransaction(old), LedgerStatus::Ok);
    EXPECT_EQ(Balance(account), 12.345);
    old.amount = 12.344;
    EXPECT_EQ(ledger.ChangeTransaction(old), LedgerStatus::FractionOfCent);
    old.amount = 12.34;
    EXPECT_EQ(ledger.ChangeTransaction(old), LedgerStatus::Ok);
    ExpectSound();
}

// Nothing goes into a closed account; what is there can be put right.
TEST_F(Ledger, ClosedAccounts) {
    const int64_t open = Open("Open", AccountType::Checking, 100);
    const int64_t closed = Open("Closed", AccountType::Savings, 10);
    const int64_t moving = Enter(open, TransactionType::Payment, 1);
    CTransactionEntry held = Row(closed, TransactionType::Deposit, 5);
    ASSERT_EQ(ledger.EnterTransaction(held), LedgerStatus::Ok);
    ASSERT_TRUE(database.SetAccountActive(closed, false));

    CTransactionEntry row = Row(closed, TransactionType::Deposit, 1);
    EXPECT_EQ(ledger.EnterTransaction(row), LedgerStatus::AccountClosed);
    row.id = moving;
    EXPECT_EQ(ledger.ChangeTransaction(row), LedgerStatus::AccountClosed);
    CTransactionEntry one, two;
    for (const auto& [from, to] : {std::pair{open, closed}, {closed, open}}) {
        EXPECT_EQ(ledger.EnterTransfer(Transfer(from, to, 1), one, two),
                  LedgerStatus::AccountClosed);
    }
    CLedgerImport import(ledger, closed);
    EXPECT_EQ(import.Begin(), LedgerStatus::AccountClosed);
    EXPECT_FALSE(database.Store().InBatch());
    EXPECT_EQ(Balance(closed), 15);
    EXPECT_EQ(Balance(open), 99);

    held.amount = 6;
    EXPECT_EQ(ledger.ChangeTransaction(held), LedgerStatus::Ok);
    EXPECT_EQ(Balance(closed), 16);
    held.accountId = open;
    EXPECT_EQ(ledger.ChangeTransaction(held), LedgerStatus::Ok);
    EXPECT_EQ(Balance(open), 105);
    ExpectSound();
}

TEST_F(Ledger, Categories) {
    const int64_t account = Open("A", AccountType::Checking, 1);
    const auto id = [&](const char* name) { return database.FindOrAddCategory(name); };
    CTransactionEntry row = Row(account, TransactionType::Payment, 1);
    row.categoryId = id("Food");
    ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
    CMemorizedTransactionEntry monthly;
    monthly.categoryId = id("Food");
    ASSERT_TRUE(database.Add(monthly));
    CBudgetItem item;
    item.categoryId = id("Food");
    ASSERT_TRUE(database.Add(item));

    const struct {
        const char* name;
        const char* moveTo;
        LedgerStatus status;
    } refused[] = {
        {"Food", nullptr, LedgerStatus::StillUsed},
        {"Food", "Food", LedgerStatus::SameTarget},
        {"Food", "Transfer", LedgerStatus::CategoryReserved},
        {"Food", "Adjustment", LedgerStatus::CategoryReserved},
        {"Transfer", "Food", LedgerStatus::CategoryKept},
        {"Adjustment", nullptr, LedgerStatus::CategoryKept},
    };
    for (const auto& wish : refused) {
        SCOPED_TRACE(wish.name);
        EXPECT_EQ(ledger.RemoveCategory(id(wish.name), wish.moveTo ? id(wish.moveTo) : kNoRow),
                  wish.status);
    }
    EXPECT_EQ(ledger.RemoveCategory(99), LedgerStatus::NoSuchCategory);
    EXPECT_EQ(ledger.RemoveCategory(id("Food"), 99), LedgerStatus::NoSuchCategory);
    EXPECT_EQ(ledger.RenameCategory(id("Transfer"), "Moves"), LedgerStatus::CategoryKept);
    EXPECT_EQ(ledger.RenameCategory(id("Food"), "Gas"), LedgerStatus::NameTaken);
    EXPECT_EQ(ledger.RenameCategory(id("Food"), ""), LedgerStatus::NameMissing);
    EXPECT_EQ(ledger.RenameCategory(id("Food"), "Meals"), LedgerStatus::Ok);
    EXPECT_EQ(database.FindCategoryId("Food"), kNoRow);

    EXPECT_EQ(ledger.RemoveCategory(id("Meals"), id("Groceries")), LedgerStatus::Ok);
    EXPECT_EQ(database.FindCategoryId("Meals"), kNoRow);
    ASSERT_TRUE(database.Read(row.id, row));
    EXPECT_EQ(row.categoryId, id("Groceries"));
    COwnedList<CMemorizedTransactionEntry> memorized;
    ASSERT_TRUE(database.List(memorized));
    EXPECT_EQ(memorized.Front()->categoryId, id("Groceries"));
    COwnedList<CBudgetItem> items;
    ASSERT_TRUE(database.List(items));
    EXPECT_EQ(items.Front()->categoryId, id("Groceries"));
    EXPECT_EQ(ledger.RemoveCategory(id("Unused")), LedgerStatus::Ok);
}

TEST_F(Ledger, Transfers) {
    const int64_t checking = Open("Checking", AccountType::Checking, 500);
    const struct {
        const char* name;
        AccountType type;
        TransactionType receivingType;
    } rows[] = {
        {"Savings", AccountType::Savings, TransactionType::Deposit},
        {"Broker", AccountType::Investment, TransactionType::Deposit},
        {"Card", AccountType::Credit, TransactionType::Payment},
        {"Loan", AccountType::Loan, TransactionType::Payment},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const int64_t to = Open(row.name, row.type);
        CTransactionEntry paying, receiving;
        ASSERT_EQ(ledger.EnterTransfer(Transfer(checking, to, 40), paying, receiving),
                  LedgerStatus::Ok);
        EXPECT_EQ(paying.transactionType, TransactionType::Transfer);
        EXPECT_EQ(receiving.transactionType, row.receivingType);
        EXPECT_EQ(paying.categoryId, database.FindCategoryId("Transfer"));
        EXPECT_EQ(receiving.categoryId, paying.categoryId);
        EXPECT_EQ(Balance(to), 40);
        CTransactionEntry other;
        ASSERT_TRUE(ledger.FindOtherTransferSide(paying.id, other));
        EXPECT_EQ(other.id, receiving.id);
        ASSERT_TRUE(ledger.FindOtherTransferSide(receiving.id, other));
        EXPECT_EQ(other.id, paying.id);
    }
    EXPECT_EQ(Balance(checking), 500 - 4 * 40);
    ExpectSound();
}

TEST_F(Ledger, BothSidesOfATransfer) {
    const int64_t checking = Open("Checking", AccountType::Checking, 500);
    const int64_t savings = Open("Savings", AccountType::Savings);
    CTransactionEntry paying, receiving;
    ASSERT_EQ(ledger.EnterTransfer(Transfer(checking, savings, 40), paying, receiving),
              LedgerStatus::Ok);

    receiving.amount = 55;
    receiving.serviceDate = Day(2024, 6, 3);
    receiving.memo = "more";
    receiving.categoryId = database.FindOrAddCategory("Gifts");
    ASSERT_EQ(ledger.ChangeTransaction(receiving, TransferSides::Both), LedgerStatus::Ok);
    ASSERT_TRUE(database.Read(paying.id, paying));
    EXPECT_EQ(paying.amount, 55);
    EXPECT_EQ(paying.serviceDate, Day(2024, 6, 3));
    EXPECT_EQ(paying.memo, "more");
    EXPECT_EQ(paying.categoryId, receiving.categoryId);
    // Ordinary rows now; made a transfer again one by one.
    EXPECT_TRUE(ledger.FindOtherTransferSide(paying.id, receiving).IsNone());
    for (CTransactionEntry* side : {&paying, &receiving}) {
        side->categoryId = database.FindOrAddCategory("Transfer");
        ASSERT_EQ(ledger.ChangeTransaction(*side), LedgerStatus::Ok);
    }
    EXPECT_EQ(paying.accountId, checking);
    EXPECT_EQ(Balance(checking), 445);
    EXPECT_EQ(Balance(savings), 55);

    // Moving one side into the other's account would be a transfer to itself.
    CTransactionEntry moved = receiving;
    moved.accountId = checking;
    EXPECT_EQ(ledger.ChangeTransaction(moved, TransferSides::Both), LedgerStatus::SameAccount);

    ASSERT_EQ(ledger.RemoveTransaction(paying.id, TransferSides::Both), LedgerStatus::Ok);
    EXPECT_EQ(Balance(checking), 500);
    EXPECT_EQ(Balance(savings), 0);
    EXPECT_EQ(Rows(), 1);
    ExpectSound();
}

// One side moves to an account of any kind, or turns round: the two stay opposite.
TEST_F(Ledger, ATransferStaysOne) {
    std::vector<int64_t> accounts;
    for (int kind = 0; kind < kAccountTypeCount; ++kind) {
        accounts.push_back(Open(std::to_string(kind).c_str(), static_cast<AccountType>(kind)));
    }
    const int64_t other = Open("Other", AccountType::Checking);
    for (const int64_t from : accounts) {
        for (const int64_t to : accounts) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            for (const bool movesPaying : {true, false}) {
                CTransactionEntry sides[2];
                ASSERT_EQ(ledger.EnterTransfer(
                              Transfer(movesPaying ? from : other, movesPaying ? other : from, 40),
                              sides[0], sides[1]),
                          LedgerStatus::Ok);
                CTransactionEntry moved = sides[movesPaying ? 0 : 1];
                moved.accountId = to;
                ASSERT_EQ(ledger.ChangeTransaction(moved, TransferSides::Both), LedgerStatus::Ok);
                EXPECT_EQ(Balance(to), movesPaying ? -40 : 40);
                EXPECT_EQ(Balance(other), movesPaying ? 40 : -40);
                ASSERT_TRUE(database.Read(moved.id, moved));
                moved.transactionType =
                    TransferType(movesPaying, Account(to).accountType);  // turned round
                ASSERT_EQ(ledger.ChangeTransaction(moved, TransferSides::Both), LedgerStatus::Ok);
                EXPECT_EQ(Balance(to), movesPaying ? 40 : -40);
                EXPECT_EQ(Balance(other), movesPaying ? -40 : 40);
                ASSERT_EQ(ledger.RemoveTransaction(moved.id, TransferSides::Both),
                          LedgerStatus::Ok);
                EXPECT_EQ(Rows(), 0);
            }
        }
    }
    ExpectSound();
}

// Rows as imports bring them, filed under "Transfer" by hand: effects tell who belongs
// together, not types.
TEST_F(Ledger, SidesAreToldByTheirEffects) {
    const int64_t checking = Open("Checking", AccountType::Checking);
    const int64_t savings = Open("Savings", AccountType::Savings);
    const int64_t broker = Open("Broker", AccountType::Investment);
    const int64_t card = Open("Card", AccountType::Credit);
    const std::map<char, int64_t> accounts = {
        {'C', checking}, {'S', savings}, {'B', broker}, {'V', card}};
    using T = TransactionType;
    const std::map<char, T> types = {
        {'p', T::Payment}, {'d', T::Deposit}, {'c', T::Charge}, {'t', T::Transfer}};
    const struct {
        const char* name;
        // Account, type, and the place of the other side, its own where it has none.
        std::vector<std::string> rows;
    } cases[] = {
        {"payment and payment", {"Cp1", "Vp0"}},
        {"two go out", {"Ct0", "Sp1"}},
        {"two come in", {"Vp0", "Sd1"}},
        {"one account", {"Ct0", "Cd1"}},
        {"one after the other", {"Cp3", "Cp2", "Sd1", "Sd0"}},
        {"there and back", {"Cp2", "Cd3", "Sd0", "Sp1"}},
        {"equal transfers", {"Ct1", "Sd0", "Ct3", "Bd2", "Ct5", "Sd4"}},
        {"one side is left alone", {"Ct1", "Sd0", "Ct2", "Ct4", "Sd3"}},
        {"the closest", {"Ct0", "Vc2", "Sd1"}},
    };
    const auto otherOf = [](const std::string& row) { return static_cast<size_t>(row[2] - '0'); };
    int day = 1;
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        std::vector<int64_t> ids;
        for (const std::string& entered : test.rows) {
            CTransactionEntry row =
                Row(accounts.at(entered[0]), types.at(entered[1]), 40, Day(2024, 7, day));
            row.categoryId = database.FindOrAddCategory("Transfer");
            ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
            ids.push_back(row.id);
        }
        ++day;
        for (size_t i = 0; i < ids.size(); ++i) {
            CTransactionEntry other;
            const CLookup found = ledger.FindOtherTransferSide(ids[i], other);
            EXPECT_FALSE(found.HasFailed());
            EXPECT_EQ(found ? other.id : ids[i], ids[otherOf(test.rows[i])]) << i;
        }
        // A row that has no other side goes alone.
        const size_t gone = 2 % ids.size();
        const int64_t left = Rows() - (otherOf(test.rows[gone]) == gone ? 1 : 2);
        ASSERT_EQ(ledger.RemoveTransaction(ids[gone], TransferSides::Both), LedgerStatus::Ok);
        EXPECT_EQ(Rows(), left);
    }
}

TEST_F(Ledger, MismatchesAreFoundAndRepaired) {
    const int64_t good = Open("Good", AccountType::Checking, 10);
    const int64_t bad = Open("Bad", AccountType::Credit, -20);
    const int64_t close = Open("Close", AccountType::Savings, 30);
    const int64_t cent = Open("A cent away", AccountType::Savings, 40);
    ASSERT_TRUE(database.UpdateAccountBalance(bad, 5));
    ASSERT_TRUE(database.UpdateAccountBalance(close, 30.004));
    ASSERT_TRUE(database.UpdateAccountBalance(cent, 40.01));
    // A row of an account that is gone belongs to no balance.
    CTransactionEntry orphan = Row(99, TransactionType::Deposit, 1);
    ASSERT_TRUE(database.Add(orphan));

    std::vector<BalanceMismatch> found;
    ASSERT_TRUE(ledger.VerifyBalances(found));
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[1].accountId, cent);
    EXPECT_EQ(found[0].accountId, bad);
    EXPECT_EQ(found[0].account, "Bad");
    EXPECT_EQ(found[0].stored, 5);
    EXPECT_EQ(found[0].computed, -20);

    std::vector<BalanceMismatch> repaired;
    ASSERT_TRUE(ledger.RepairBalances(repaired));
    EXPECT_EQ(repaired.size(), 2u);
    EXPECT_EQ(Balance(bad), -20);
    EXPECT_EQ(Balance(cent), 40);
    EXPECT_EQ(Balance(good), 10);
    ExpectSound();
}

// Any sequence of operations leaves stored and computed balances the same to the cent.
TEST_F(Ledger, RandomOperationsKeepTheBalances) {
    std::vector<int64_t> accounts;
    for (int type = 0; type < kAccountTypeCount; ++type) {
        const std::string name = "account " + std::to_string(type);
        accounts.push_back(Open(name.c_str(), static_cast<AccountType>(type), 12.34));
    }
    std::mt19937 random(20240517);
    const auto pick = [&](size_t count) {
        return static_cast<size_t>(random() % static_cast<unsigned>(count));
    };
    const auto amount = [&] { return static_cast<double>(random() % 1'000'000) / 100.0; };
    std::vector<int64_t> rows;
    for (int i = 0; i < 600; ++i) {
        const int64_t account = accounts[pick(accounts.size())];
        const auto type = static_cast<TransactionType>(pick(kTransactionTypeCount));
        switch (rows.size() < 5 ? 0 : pick(4)) {
            case 0:
            case 1:
                rows.push_back(Enter(account, type, amount()));
                break;
            case 2: {
                CTransactionEntry row = Row(account, type, amount());
                row.id = rows[pick(rows.size())];
                EXPECT_EQ(ledger.ChangeTransaction(row), LedgerStatus::Ok);
                break;
            }
            default: {
                const size_t gone = pick(rows.size());
                EXPECT_EQ(ledger.RemoveTransaction(rows[gone]), LedgerStatus::Ok);
                rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(gone));
            }
        }
    }
    ExpectSound();
    for (const int64_t account : accounts)
        EXPECT_EQ(Balance(account), SettledSum(Balance(account)));
}

// Each read fails once, in turn: that is no answer, and never "there is none".
TEST_F(Ledger, AFailedReadIsNotNone) {
    const int64_t checking = Open("Checking", AccountType::Checking, 500);
    const int64_t savings = Open("Savings", AccountType::Savings);
    CTransactionEntry paying, receiving;
    ASSERT_EQ(ledger.EnterTransfer(Transfer(checking, savings, 40), paying, receiving),
              LedgerStatus::Ok);
    const int64_t payee = database.FindOrAddPayee("Baker");
    ASSERT_TRUE(database.SetPassword("secret"));

    CAccountEntry account;
    CTransactionEntry row;
    CPayeeEntry named;
    CCategoryEntry category;
    CAccountEntry again = Account(checking);
    const auto answer = [](CLookup found) {
        return found               ? LedgerStatus::Ok
               : found.HasFailed() ? LedgerStatus::StoreFailed
                                   : LedgerStatus::NoSuchTransaction;
    };
    const auto known = [](std::optional<int64_t> id) {
        return !id       ? LedgerStatus::StoreFailed
               : *id > 0 ? LedgerStatus::Ok
                         : LedgerStatus::NoSuchTransaction;
    };
    const struct {
        const char* name;
        std::function<LedgerStatus()> ask;
    } rows[] = {
        {"account", [&] { return answer(database.Read(checking, account)); }},
        {"its name", [&] { return answer(database.FindAccountByName("Savings", account)); }},
        {"transaction", [&] { return answer(database.Read(paying.id, row)); }},
        {"payee", [&] { return answer(database.Read(payee, named)); }},
        {"payee's name", [&] { return known(database.FindPayeeId("Baker")); }},
        {"category", [&] { return answer(database.FindCategoryByName("Rent", category)); }},
        {"category's name", [&] { return known(database.FindCategoryId("Rent")); }},
        {"other side", [&] { return answer(ledger.FindOtherTransferSide(receiving.id, row)); }},
        {"password",
         [&] {
             const PasswordCheck check = database.CheckPassword("secret");
             return check == PasswordCheck::Right    ? LedgerStatus::Ok
                    : check == PasswordCheck::Failed ? LedgerStatus::StoreFailed
                                                     : LedgerStatus::NoSuchTransaction;
         }},
        {"name taken",
         [&] {
             const LedgerStatus status = ledger.OpenAccount(again, 0, 0);
             return status == LedgerStatus::NameTaken ? LedgerStatus::Ok : status;
         }},
    };
    for (const auto& question : rows) {
        SCOPED_TRACE(question.name);
        bool failed = true;
        for (int64_t nth = 1; failed; ++nth) {
            disk.FailNth(CMemoryFileSystem::Call::Read, nth, FileError::Other);
            const LedgerStatus status = question.ask();
            failed = disk.HasFailed();
            disk.StopFailing();
            EXPECT_EQ(status, failed ? LedgerStatus::StoreFailed : LedgerStatus::Ok) << nth;
            EXPECT_TRUE(failed || nth > 1);
        }
    }
}

// What one thread read is still so when it writes.
TEST_F(Ledger, ThreadsDoNotComeBetween) {
    const int64_t account = Open("A", AccountType::Checking);
    const int64_t other = Open("B", AccountType::Savings);
    constexpr int kRounds = 40;
    const auto work = [&](int thread) {
        CTransactionEntry paying, receiving;
        for (int i = 0; i < kRounds; ++i) {
            CTransactionEntry row = Row(account, TransactionType::Deposit, 1);
            if (thread == 0) (void)ledger.EnterTransaction(row);
            if (thread == 1) (void)ledger.EnterTransfer(Transfer(account, other, 2), paying, row);
            if (thread != 2) continue;
            CLedgerImport import(ledger, account, 3);
            (void)import.Begin();
            for (int record = 0; record < 5; ++record) (void)import.Enter(row);
            (void)import.Finish();
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) threads.emplace_back(work, thread);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(Rows(), kRounds * (1 + 2 + 5));
    EXPECT_EQ(Balance(account), kRounds * (1 - 2 + 5));
    EXPECT_EQ(Balance(other), kRounds * 2);
    ExpectSound();
}

class LedgerImport : public Ledger {};

TEST_F(LedgerImport, CommitsInBatches) {
    const int64_t account = Open("A", AccountType::Checking, 1);
    CLedgerImport import(ledger, account, 3);
    ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
    for (int i = 1; i <= 8; ++i) {
        CTransactionEntry row = Row(kNoRow, TransactionType::Deposit, 0.1);
        row.payeeId = database.FindOrAddPayee("payee " + std::to_string(i));
        ASSERT_EQ(import.Enter(row), LedgerStatus::Ok);
        EXPECT_EQ(import.Committed(), i / 3 * 3);
    }
    for (const double amount : {-1.0, std::nextafter(kLargestAmount, 2e13)}) {
        CTransactionEntry bad = Row(account, TransactionType::Deposit, amount);
        EXPECT_EQ(import.Enter(bad), LedgerStatus::BadAmount);
    }
    CTransactionEntry rounded = Row(account, TransactionType::Deposit, 0.205);
    EXPECT_EQ(import.Enter(rounded), LedgerStatus::Ok);
    EXPECT_EQ(rounded.amount, 0.21);
    EXPECT_TRUE(import.Finish());
    EXPECT_EQ(import.Committed(), 9);
    EXPECT_EQ(Balance(account), 2.01);
    EXPECT_EQ(Rows(), 10);
    EXPECT_FALSE(database.Store().InBatch());
    ExpectSound();

    CLedgerImport nowhere(ledger, 99);
    EXPECT_EQ(nowhere.Begin(), LedgerStatus::NoSuchAccount);
    EXPECT_FALSE(database.Store().InBatch());
}

TEST_F(LedgerImport, WhatIsNotFinishedIsRolledBack) {
    const int64_t account = Open("A", AccountType::Checking);
    {
        CLedgerImport import(ledger, account, 2);
        ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
        for (int i = 0; i < 3; ++i) {
            CTransactionEntry row = Row(account, TransactionType::Payment, 5);
            ASSERT_EQ(import.Enter(row), LedgerStatus::Ok);
        }
        database.FindOrAddPayee("of the third");
    }
    EXPECT_EQ(Rows(), 2);
    EXPECT_EQ(Balance(account), -10);
    EXPECT_EQ(database.FindPayeeId("of the third"), kNoRow);
    ExpectSound();
}

TEST_F(LedgerImport, AFullDiskStopsAtABatchBoundary) {
    const int64_t account = Open("A", AccountType::Checking);
    CLedgerImport import(ledger, account, 4);
    ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
    int64_t refusedAt = 0;
    for (int i = 1; i <= 20; ++i) {
        if (i == 6) {
            disk.FailNth(CMemoryFileSystem::Call::Write, 1, FileError::NoSpace,
                         CMemoryFileSystem::Times::ForEver);
        }
        CTransactionEntry row = Row(account, TransactionType::Payment, 1);
        if (import.Enter(row) != LedgerStatus::Ok && refusedAt == 0) refusedAt = i;
    }
    EXPECT_EQ(refusedAt, 8);
    EXPECT_FALSE(import.Finish());
    EXPECT_EQ(import.Committed(), 4);
    disk.StopFailing();
    (void)database.Close();
    ASSERT_TRUE(database.Open(kFolder).opened);
    EXPECT_EQ(Rows(), 4);
    EXPECT_EQ(Balance(account), -4);
    ExpectSound();
}

// What holds for categories holds for payees, but that the program keeps none for itself.
TEST_F(Ledger, Payees) {
    const int64_t account = Open("Checking", AccountType::Checking);
    CPayeeEntry shop;
    CPayeeEntry store;
    ASSERT_EQ(ledger.AddPayee("Shop", shop), LedgerStatus::Ok);
    ASSERT_EQ(ledger.AddPayee("Store", store), LedgerStatus::Ok);
    EXPECT_EQ(ledger.AddPayee("Shop", store), LedgerStatus::NameTaken);
    EXPECT_EQ(ledger.AddPayee("", store), LedgerStatus::NameMissing);
    CTransactionEntry row = Row(account, TransactionType::Payment, 1);
    row.payeeId = shop.id;
    ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
    CMemorizedTransactionEntry monthly;
    monthly.payeeId = shop.id;
    ASSERT_TRUE(database.Add(monthly));

    EXPECT_EQ(ledger.RenamePayee(shop.id, "Store"), LedgerStatus::NameTaken);
    EXPECT_EQ(ledger.RenamePayee(99, "Market"), LedgerStatus::NoSuchPayee);
    EXPECT_EQ(ledger.RemovePayee(shop.id), LedgerStatus::StillUsed);
    EXPECT_EQ(ledger.RemovePayee(shop.id, shop.id), LedgerStatus::SameTarget);
    EXPECT_EQ(ledger.RemovePayee(shop.id, 99), LedgerStatus::NoSuchPayee);
    int64_t uses = 0;
    ASSERT_TRUE(ledger.CountPayeeUses(shop.id, uses));
    EXPECT_EQ(uses, 2);

    EXPECT_EQ(ledger.RemovePayee(shop.id, store.id), LedgerStatus::Ok);
    EXPECT_EQ(database.FindPayeeId("Shop"), kNoRow);
    ASSERT_TRUE(database.Read(row.id, row));
    EXPECT_EQ(row.payeeId, store.id);
    COwnedList<CMemorizedTransactionEntry> memorized;
    ASSERT_TRUE(database.ListMemorizedTransactionsByPayee(store.id, memorized));
    EXPECT_EQ(memorized.Count(), 1);
}

}  // namespace
}  // namespace quillon
