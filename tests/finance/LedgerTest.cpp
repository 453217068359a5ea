#include "finance/Ledger.h"

#include <cmath>
#include <limits>
#include <random>

#include "FinanceFixture.h"
#include "finance/Balance.h"

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
    const int64_t adjustment = database.FindCategoryId("Adjustment");
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

    // The same row means something else on a card: a payment comes in there.
    row.transactionType = TransactionType::Payment;
    row.accountId = card;
    EXPECT_EQ(ledger.ChangeTransaction(row), LedgerStatus::Ok);
    EXPECT_EQ(Balance(checking), 100);
    EXPECT_EQ(Balance(card), 25.5);

    EXPECT_EQ(ledger.RemoveTransaction(row.id), LedgerStatus::Ok);
    EXPECT_EQ(Balance(card), 0);
    CAccountEntry account;
    ASSERT_TRUE(database.ReadAccount(checking, account));
    EXPECT_EQ(account.latestCheckNumber, 12);
    ExpectSound();
}

TEST_F(Ledger, CheckNumbersOnlyRise) {
    const int64_t account = Open("A", AccountType::Checking);
    for (const auto& [check, latest] : {std::pair{5, 5}, {3, 5}, {0, 5}, {6, 6}}) {
        CTransactionEntry row = Row(account, TransactionType::Payment, 1);
        row.check = check;
        ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
        CAccountEntry read;
        ASSERT_TRUE(database.ReadAccount(account, read));
        EXPECT_EQ(read.latestCheckNumber, latest);
    }
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
    ASSERT_EQ(ledger.ChangeTransaction(receiving, TransferSides::Both), LedgerStatus::Ok);
    ASSERT_TRUE(database.ReadTransaction(paying.id, paying));
    EXPECT_EQ(paying.amount, 55);
    EXPECT_EQ(paying.serviceDate, Day(2024, 6, 3));
    EXPECT_EQ(paying.memo, "more");
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

TEST_F(Ledger, OtherSideAmongEqualTransfers) {
    const int64_t checking = Open("Checking", AccountType::Checking, 500);
    const int64_t savings = Open("Savings", AccountType::Savings);
    const int64_t broker = Open("Broker", AccountType::Investment);
    CTransactionEntry paying[3], receiving[3];
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(ledger.EnterTransfer(Transfer(checking, i == 1 ? broker : savings, 40), paying[i],
                                       receiving[i]),
                  LedgerStatus::Ok);
    }
    CTransactionEntry other;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(ledger.FindOtherTransferSide(paying[i].id, other));
        EXPECT_EQ(other.id, receiving[i].id);
        ASSERT_TRUE(ledger.FindOtherTransferSide(receiving[i].id, other));
        EXPECT_EQ(other.id, paying[i].id);
    }
    // A side left alone does not take the other half of another transfer.
    ASSERT_EQ(ledger.RemoveTransaction(receiving[1].id), LedgerStatus::Ok);
    EXPECT_FALSE(ledger.FindOtherTransferSide(paying[1].id, other));
    ASSERT_EQ(ledger.RemoveTransaction(paying[1].id, TransferSides::Both), LedgerStatus::Ok);
    EXPECT_EQ(Rows(), 1 + 4);
    // Nor does a changed one, or a row that is no transfer.
    paying[0].amount = 41;
    ASSERT_EQ(ledger.ChangeTransaction(paying[0]), LedgerStatus::Ok);
    EXPECT_FALSE(ledger.FindOtherTransferSide(paying[0].id, other));
    EXPECT_FALSE(ledger.FindOtherTransferSide(1, other));
    ExpectSound();
}

TEST_F(Ledger, MismatchesAreFoundAndRepaired) {
    const int64_t good = Open("Good", AccountType::Checking, 10);
    const int64_t bad = Open("Bad", AccountType::Credit, -20);
    const int64_t close = Open("Close", AccountType::Savings, 30);
    ASSERT_TRUE(database.UpdateAccountBalance(bad, 5));
    ASSERT_TRUE(database.UpdateAccountBalance(close, 30.004));
    // A row of an account that is gone belongs to no balance.
    CTransactionEntry orphan = Row(99, TransactionType::Deposit, 1);
    ASSERT_TRUE(database.AddTransaction(orphan));

    std::vector<BalanceMismatch> found;
    ASSERT_TRUE(ledger.VerifyBalances(found));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].accountId, bad);
    EXPECT_EQ(found[0].account, "Bad");
    EXPECT_EQ(found[0].stored, 5);
    EXPECT_EQ(found[0].computed, -20);

    std::vector<BalanceMismatch> repaired;
    ASSERT_TRUE(ledger.RepairBalances(repaired));
    EXPECT_EQ(repaired.size(), 1u);
    EXPECT_EQ(Balance(bad), -20);
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

// Each change of the disk fails once, in turn, during a transfer: rows and balances of
// both accounts are there, or none of them.
TEST_F(Ledger, ATransferIsAllOrNothing) {
    const int64_t checking = Open("Checking", AccountType::Checking, 100);
    const int64_t card = Open("Card", AccountType::Credit, -100);
    ASSERT_TRUE(database.Close());
    const auto before = disk.Snapshot();
    bool failed = true;
    for (int64_t failAt = 1; failed; ++failAt) {
        SCOPED_TRACE(failAt);
        disk.Restore(before);
        ASSERT_TRUE(database.Open(kFolder).opened);
        disk.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, failAt, FileError::NoSpace);
        CTransactionEntry paying, receiving;
        const LedgerStatus status =
            ledger.EnterTransfer(Transfer(checking, card, 25), paying, receiving);
        failed = disk.HasFailed();
        disk.StopFailing();
        (void)database.Close();
        ASSERT_TRUE(database.Open(kFolder).opened);
        const bool entered = Rows() == 4;
        EXPECT_TRUE(entered || status != LedgerStatus::Ok);
        EXPECT_EQ(Rows(), entered ? 4 : 2);
        EXPECT_EQ(Balance(checking), entered ? 75 : 100);
        EXPECT_EQ(Balance(card), entered ? -75 : -100);
        ExpectSound();
        ASSERT_TRUE(database.Close());
    }
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
    CTransactionEntry bad = Row(account, TransactionType::Deposit, -1);
    EXPECT_EQ(import.Enter(bad), LedgerStatus::BadAmount);
    EXPECT_TRUE(import.Finish());
    EXPECT_EQ(import.Committed(), 8);
    EXPECT_EQ(Balance(account), 1.8);
    EXPECT_EQ(Rows(), 9);
    EXPECT_FALSE(database.Database().InBatch());
    ExpectSound();

    CLedgerImport nowhere(ledger, 99);
    EXPECT_EQ(nowhere.Begin(), LedgerStatus::NoSuchAccount);
    EXPECT_FALSE(database.Database().InBatch());
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

}  // namespace
}  // namespace quillon
