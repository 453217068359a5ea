#include "finance/history/History.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "FinanceFixture.h"
#include "finance/history/ImportBatch.h"
#include "finance/ledger/Ledger.h"
#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"

namespace quillon {
namespace {

// Everything that a user has, rows of all tables but Security, with identifiers and every value:
// its checksum.
using Content = uint64_t;

void AddRow(const CTableManager& table, int64_t row, std::vector<uint8_t>& bytes) {
    const auto addNumber = [&](int64_t number) {
        bytes.resize(bytes.size() + sizeof number);
        StoreLE<int64_t>(bytes, bytes.size() - sizeof number, number);
    };
    std::vector<uint8_t> record;
    CTableRowUpdateInfoValue value;
    EXPECT_TRUE(table.ReadRecord(row, record)) << table.Name().ToUtf8() << row;
    addNumber(row);
    for (const CTableColumn& column : table.Columns()) {
        EXPECT_TRUE(table.ValueFromRecord(record, column, value)) << table.Name().ToUtf8() << row;
        addNumber(value.isSet ? value.Key() : 0);
    }
}

class HistoryTest : public FinanceFixture {
protected:
    CHistory& History() { return database.History(); }

    Content Everything() {
        std::vector<uint8_t> bytes;
        for (const auto& table : database.Store().Tables()) {
            if (table->Name().View() == kSecurityTable) continue;
            table->WalkRows([&](int64_t row) {
                AddRow(*table, row, bytes);
                return true;
            });
        }
        return Crc64(bytes);
    }

    std::vector<HistoryAction> Actions() {
        std::vector<HistoryAction> actions;
        EXPECT_TRUE(History().List(actions));
        return actions;
    }

    // One commit under a label.
    template <class Work>
    void Do(const char* label, Work work) {
        CFinanceBatch batch(database);
        ASSERT_TRUE(batch.Begun());
        work();
        History().Describe(ActionKind::Change, label);
        ASSERT_TRUE(batch.Commit());
    }

    void Import(int64_t account, int rows, int32_t rowsPerCommit) {
        const CHistory::CLongAction action(History(), ActionKind::Import, "visa.qfx", account);
        CLedgerImport import(ledger, account, rowsPerCommit);
        ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
        for (int i = 0; i < rows; ++i) {
            CTransactionEntry row;
            row.transactionType = TransactionType::Withdrawal;
            row.amount = 1.25 + i;
            row.serviceDate = Day(2024, 3, 1);
            row.memo = "line";
            row.fitId = 1000 + i;
            ASSERT_EQ(import.Enter(row), LedgerStatus::Ok);
        }
        ASSERT_TRUE(import.Finish());
    }

    void Reopen() {
        ASSERT_TRUE(database.Close());
        ASSERT_TRUE(database.Open(kFolder).opened);
    }

    CLedger ledger{database};
};

// What a user does, at random but the same at every run.
class RandomUser {
public:
    RandomUser(CQuillonDatabaseInterface& database, uint32_t seed)
        : m_database(database), m_ledger(database), m_random(seed) {}

    int Below(int count) { return static_cast<int>(m_random() % static_cast<uint32_t>(count)); }

    // False: what came up could not be done, and nothing was changed.
    bool DoSomething() {
        switch (Below(12)) {
            case 0:
                return OpenAccount();
            case 1:
                return Transfer();
            case 2:
                return Change();
            case 3:
            case 4:
                return Remove();
            case 5:
                return Rename();
            case 6:
                return Rule();
            case 7:
                return Plan();
            case 8:
                return Import();
            default:
                return Enter();
        }
    }

private:
    template <class Record>
    bool Any(Record& record) {
        COwnedList<Record> all;
        if (!m_database.List(all) || all.IsEmpty()) return false;
        record = *std::next(all.begin(), Below(static_cast<int>(all.Count())));
        return true;
    }
    std::string Word() { return "Wörd " + std::to_string(Below(100'000)); }
    int64_t Date() { return Day(2024, 1 + Below(12), 1 + Below(28)); }
    double Amount() { return Below(2) == 0 ? 0.1 * Below(100) : 0.01 * Below(1'000'000); }

    bool Fill(CTransactionEntry& row) {
        CAccountEntry account;
        if (!Any(account)) return false;
        row.accountId = account.id;
        row.transactionType = static_cast<TransactionType>(Below(5));
        row.amount = std::round(Amount() * 100) / 100;
        row.serviceDate = Date();
        row.check = Below(4) == 0 ? Below(500) : 0;
        row.memo = Below(3) == 0 ? std::string() : Word();
        row.payeeId = m_database.FindOrAddPayee(Word());
        row.categoryId = m_database.FindOrAddCategory("Category " + std::to_string(Below(20)));
        return true;
    }
    bool OpenAccount() {
        CAccountEntry account;
        account.name = Word();
        account.accountType = static_cast<AccountType>(Below(5));
        return m_ledger.OpenAccount(account, Amount(), Date()) == LedgerStatus::Ok;
    }
    bool Enter() {
        CFinanceBatch batch(m_database);
        CTransactionEntry row;
        return Fill(row) && m_ledger.EnterTransaction(row) == LedgerStatus::Ok && batch.Commit();
    }
    bool Change() {
        CFinanceBatch batch(m_database);
        CTransactionEntry row;
        return Any(row) && Fill(row) && m_ledger.ChangeTransaction(row) == LedgerStatus::Ok &&
               batch.Commit();
    }
    bool Remove() {
        CTransactionEntry row;
        return Any(row) &&
               m_ledger.RemoveTransaction(row.id, TransferSides::Both) == LedgerStatus::Ok;
    }
    bool Transfer() {
        CAccountEntry from;
        CAccountEntry to;
        if (!Any(from) || !Any(to)) return false;
        TransferRequest request;
        request.fromAccountId = from.id;
        request.toAccountId = to.id;
        request.amount = 12.5;
        request.date = Date();
        CTransactionEntry paying;
        CTransactionEntry receiving;
        return m_ledger.EnterTransfer(request, paying, receiving) == LedgerStatus::Ok;
    }
    bool Rename() {
        CCategoryEntry category;
        if (!Any(category)) return false;
        if (Below(2) == 0) {
            return m_ledger.RenameCategory(category.id, Word()) == LedgerStatus::Ok;
        }
        CCategoryEntry target;
        return Any(target) && m_ledger.RemoveCategory(category.id, target.id) == LedgerStatus::Ok;
    }
    bool Rule() {
        CRenamingRuleEntry rule;
        if (Below(3) > 0 && Any(rule)) {
            if (Below(2) == 0) return m_database.Delete<CRenamingRuleEntry>(rule.id);
            rule.replaceText = Word();
            return m_database.Update(rule);
        }
        rule.searchText = Word();
        return m_database.Add(rule);
    }
    bool Plan() {
        CBudgetItem item;
        if (Below(2) == 0 && Any(item)) return m_database.Delete<CBudgetItem>(item.id);
        item.categoryId = 1;
        item.amount = Amount();
        return m_database.Add(item);
    }
    bool Import() {
        CAccountEntry account;
        if (!Any(account)) return false;
        const CHistory::CLongAction action(m_database.History(), ActionKind::Import, "file.qif",
                                           account.id);
        CLedgerImport import(m_ledger, account.id, 4);
        if (import.Begin() != LedgerStatus::Ok) return false;
        const int rows = 1 + Below(12);
        for (int i = 0; i < rows; ++i) {
            CTransactionEntry row;
            (void)Fill(row);
            if (import.Enter(row) != LedgerStatus::Ok) return false;
        }
        return import.Finish();
    }

    CQuillonDatabaseInterface& m_database;
    CLedger m_ledger;
    std::mt19937 m_random;
};

// The promise as a whole, with stops, checkpoints and compactions in between.
TEST_F(HistoryTest, FiveHundredActionsAreUndoneAndRedoneToEveryState) {
    constexpr size_t kActions = 500;
    AddAccount("Checking");
    RandomUser user(database, 20241231);
    std::vector<Content> states{Everything()};
    const auto upkeep = [&] {
        const int what = user.Below(40);
        if (what == 0) {
            ASSERT_TRUE(database.Store().Flush());
        } else if (what == 1) {
            ASSERT_TRUE(database.Store().RemoveDeleted());
        } else if (what == 2) {
            Reopen();
        }
    };
    while (states.size() <= kActions) {
        upkeep();
        if (user.DoSomething()) states.push_back(Everything());
    }
    for (size_t i = kActions; i-- > 0;) {
        upkeep();
        ASSERT_EQ(History().Undo().status, HistoryStatus::Ok) << i;
        ASSERT_EQ(Everything(), states[i]) << i;
    }
    for (size_t i = 1; i <= kActions; ++i) {
        upkeep();
        ASSERT_EQ(History().Redo().status, HistoryStatus::Ok) << i;
        ASSERT_EQ(Everything(), states[i]) << i;
    }
    EXPECT_EQ(History().Redo().status, HistoryStatus::Nothing);
    EXPECT_EQ(database.Store().RebuiltIndexes(), std::vector<std::string>());
    std::vector<TableIntegrity> tables;
    EXPECT_EQ(database.Store().Verify(tables), IntegrityCode::Ok);
    std::vector<BalanceMismatch> mismatches;
    EXPECT_TRUE(ledger.VerifyBalances(mismatches));
    EXPECT_TRUE(mismatches.empty());
}

TEST_F(HistoryTest, ActionsAreListedUntilSomethingNewIsDone) {
    const int64_t account = AddAccount("Checking");
    CTransactionEntry row = Row(account, TransactionType::Deposit, 12.5);
    Do("Enter transaction", [&] { ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok); });
    Do("Delete transaction",
       [&] { ASSERT_EQ(ledger.RemoveTransaction(row.id), LedgerStatus::Ok); });

    std::vector<HistoryAction> actions = Actions();
    ASSERT_EQ(actions.size(), 3U);
    EXPECT_EQ(actions[0].label, "");
    EXPECT_EQ(actions[1].label, "Enter transaction");
    EXPECT_EQ(actions[2].number, 3);
    ASSERT_EQ(actions[2].tables.size(), 2U);
    EXPECT_EQ(actions[2].tables[0].table, kTransactionTable);
    EXPECT_EQ(actions[2].tables[0].deleted, 1);
    EXPECT_EQ(actions[2].tables[1].changed, 1);

    EXPECT_EQ(History().Undo().action.label, "Delete transaction");
    EXPECT_EQ(Actions()[2].state, ActionState::Undone);
    EXPECT_EQ(Balance(account), 12.5);
    Reopen();
    EXPECT_EQ(History().NextRedo()->label, "Delete transaction");

    // Numbers are not given twice.
    Do("Close account",
       [&] { ASSERT_EQ(ledger.SetAccountOpen(account, false), LedgerStatus::Ok); });
    actions = Actions();
    ASSERT_EQ(actions.size(), 3U);
    EXPECT_EQ(actions[2].number, 4);
    EXPECT_EQ(History().Redo().status, HistoryStatus::Nothing);
}

TEST_F(HistoryTest, AnImportIsOneActionAndUndoneInPartGoesOn) {
    const int64_t account = AddAccount("Checking");
    const Content before = Everything();
    Import(account, 10, 3);
    const Content after = Everything();
    ASSERT_EQ(Actions().size(), 2U);
    EXPECT_EQ(Actions()[1].tables[0].added, 10);

    // The disk gives out in the middle: what was taken back is so, the rest is not.
    for (int64_t nth = 1;; ++nth) {
        disk.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, nth, FileError::NoSpace,
                     CMemoryFileSystem::Times::Once);
        const HistoryOutcome outcome = History().Undo();
        const bool failed = disk.HasFailed();
        disk.StopFailing();
        (void)database.Close();  // false where nothing may be written any more
        ASSERT_TRUE(database.Open(kFolder).opened);
        std::vector<BalanceMismatch> mismatches;
        ASSERT_TRUE(ledger.VerifyBalances(mismatches));
        ASSERT_TRUE(mismatches.empty()) << nth;
        if (!failed) {
            ASSERT_EQ(outcome.status, HistoryStatus::Ok);
            break;
        }
        const ActionState state = Actions()[1].state;
        ASSERT_EQ(state == ActionState::Undone, Everything() == before) << nth;
        ASSERT_EQ(state == ActionState::Done, Everything() == after) << nth;
        if (state != ActionState::Done) {
            ASSERT_EQ(History().Redo().status, HistoryStatus::Ok);
        }
        ASSERT_EQ(Everything(), after) << nth;
    }
    EXPECT_EQ(Everything(), before);
}

TEST_F(HistoryTest, ARowThatIsAnotherOneIsLeftAlone) {
    const int64_t account = AddAccount("Checking");
    Import(account, 6, 2);
    COwnedList<CTransactionEntry> rows;
    ASSERT_TRUE(database.ListTransactionsByAccount(account, rows));
    {
        // As a repair might change it.
        const CHistory::CPause pause(History());
        CTransactionEntry first = *rows.begin();
        first.memo = "other";
        ASSERT_TRUE(database.Update(first));
    }
    const Content before = Everything();
    const HistoryOutcome outcome = History().Undo();
    EXPECT_EQ(outcome.status, HistoryStatus::RowDiffers);
    EXPECT_EQ(outcome.table, kTransactionTable);
    EXPECT_EQ(outcome.row, rows.begin()->id);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(Actions()[1].state, ActionState::Done);
}

TEST_F(HistoryTest, WhatIsRolledBackLeavesNoAction) {
    const int64_t account = AddAccount("Checking");
    {
        CFinanceBatch batch(database);
        CTransactionEntry row = Row(account, TransactionType::Deposit, 1.0);
        ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
        History().Describe(ActionKind::Change, "Enter transaction");
    }
    AddAccount("Savings");
    ASSERT_TRUE(database.SetPassword("secret"));
    EXPECT_EQ(Actions().size(), 2U);
    EXPECT_EQ(Actions()[1].label, "");
}

TEST_F(HistoryTest, TheOldestGoAtACheckpoint) {
    for (int i = 0; i < HistoryRooms{}.actions + 20; ++i) {
        CPayeeEntry payee;
        payee.name = "Payee " + std::to_string(i);
        ASSERT_TRUE(database.Add(payee));
    }
    ASSERT_TRUE(database.Store().Flush());
    EXPECT_EQ(Actions().size(), static_cast<size_t>(HistoryRooms{}.actions));
    EXPECT_EQ(Actions().front().number, 21);
    Reopen();
    EXPECT_EQ(Actions().size(), static_cast<size_t>(HistoryRooms{}.actions));
    EXPECT_EQ(History().Undo().status, HistoryStatus::Ok);
}

TEST_F(HistoryTest, ADamagedHistoryCostsNothingButItself) {
    AddAccount("Checking");
    AddAccount("Savings");
    const Content before = Everything();
    ASSERT_TRUE(database.Close());
    const std::string path = std::string(kFolder) + "/History.dat";
    std::vector<uint8_t> whole;
    ASSERT_TRUE(ReadWholeFile(disk, path, whole));
    struct Case {
        size_t at;
        bool isLost;  // or told at undo
    };
    for (const Case& each :
         {Case{60, true}, Case{whole.size() - 20, false}, Case{whole.size() - 4, false}}) {
        std::vector<uint8_t> damaged = whole;
        damaged[each.at] ^= 0x10;
        ASSERT_TRUE(WriteWholeFile(disk, path, damaged));
        const FinanceOpenResult opened = database.Open(kFolder);
        ASSERT_TRUE(opened.opened);
        EXPECT_EQ(opened.historyLost, each.isLost);
        EXPECT_EQ(History().Undo().status,
                  each.isLost ? HistoryStatus::Nothing : HistoryStatus::Damaged);
        EXPECT_EQ(Everything(), before);
        CPayeeEntry payee;
        payee.name = "Payee";
        ASSERT_TRUE(database.Add(payee));
        EXPECT_EQ(History().Undo().status, HistoryStatus::Ok);
        EXPECT_EQ(Everything(), before);
        ASSERT_TRUE(database.Close());
    }
}

// --- imports as a whole

TEST_F(HistoryTest, AnImportIsTakenBackAsFarAsNothingChangedIt) {
    const int64_t account = AddAccount("Checking");
    CTransactionEntry mine = Row(account, TransactionType::Deposit, 500.0);
    ASSERT_EQ(ledger.EnterTransaction(mine), LedgerStatus::Ok);
    Import(account, 7, 3);
    COwnedList<CTransactionEntry> rows;
    ASSERT_TRUE(database.ListTransactionsWithStatementIds(account, rows));
    CTransactionEntry changed = *rows.begin();
    changed.memo = "rent";
    ASSERT_EQ(ledger.ChangeTransaction(changed), LedgerStatus::Ok);
    const Content before = Everything();

    BatchTakenBack result;
    EXPECT_EQ(TakeBackImport(ledger, 2, BatchRows::Unchanged, result), HistoryStatus::NoSuchAction);
    ASSERT_EQ(TakeBackImport(ledger, 3, BatchRows::Unchanged, result), HistoryStatus::Ok);
    EXPECT_EQ(result.removed, 6);
    EXPECT_EQ(result.left, std::vector<int64_t>{changed.id});
    EXPECT_EQ(Balance(account), 500.0 - changed.amount);
    std::vector<ImportBatch> batches;
    ASSERT_TRUE(ListImportBatches(History(), batches));
    ASSERT_EQ(batches.size(), 1U);
    EXPECT_TRUE(batches[0].takenBack);
    EXPECT_EQ(batches[0].transactions, 7);

    ASSERT_EQ(TakeBackImport(ledger, 3, BatchRows::All, result), HistoryStatus::Ok);
    EXPECT_EQ(result.removed, 1);
    EXPECT_EQ(Balance(account), 500.0);
    ASSERT_EQ(History().Undo().status, HistoryStatus::Ok);
    ASSERT_EQ(History().Undo().status, HistoryStatus::Ok);
    EXPECT_EQ(Everything(), before);
    ASSERT_TRUE(ListImportBatches(History(), batches));
    EXPECT_FALSE(batches[0].takenBack);
}

// What a user deleted does not come back with the next statement, until the import is taken back.
TEST_F(HistoryTest, DeletedLinesOfAnImportAreKnown) {
    const int64_t account = AddAccount("Checking");
    Import(account, 3, 10);
    COwnedList<CTransactionEntry> rows;
    ASSERT_TRUE(database.ListTransactionsWithStatementIds(account, rows));
    CAccountEntry entry;
    ASSERT_TRUE(database.Read(account, entry));
    const auto deleted = [&] {
        std::vector<int64_t> ids;
        const auto take = [&](const DeletedLine& line) {
            EXPECT_EQ(line.date, Day(2024, 3, 1));
            EXPECT_EQ(line.effect, -(1.25 + static_cast<double>(line.fitId - 1000)));
            ids.push_back(line.fitId);
        };
        EXPECT_EQ(ForEachDeletedLine(database, entry, take), HistoryStatus::Ok);
        return ids;
    };
    CTransactionEntry mine = Row(account, TransactionType::Deposit, 1.0);
    ASSERT_EQ(ledger.EnterTransaction(mine), LedgerStatus::Ok);
    ASSERT_EQ(ledger.RemoveTransaction(mine.id), LedgerStatus::Ok);
    EXPECT_EQ(deleted(), std::vector<int64_t>());

    const int64_t second = std::next(rows.begin())->id;
    ASSERT_EQ(ledger.RemoveTransaction(second), LedgerStatus::Ok);
    EXPECT_EQ(deleted(), std::vector<int64_t>{1001});
    Reopen();
    EXPECT_EQ(deleted(), std::vector<int64_t>{1001});
    ASSERT_EQ(History().Undo().status, HistoryStatus::Ok);
    EXPECT_EQ(deleted(), std::vector<int64_t>());
    ASSERT_EQ(History().Redo().status, HistoryStatus::Ok);
    EXPECT_EQ(deleted(), std::vector<int64_t>{1001});
    BatchTakenBack result;
    ASSERT_EQ(TakeBackImport(ledger, 2, BatchRows::Unchanged, result), HistoryStatus::Ok);
    EXPECT_EQ(deleted(), std::vector<int64_t>());
}

}  // namespace
}  // namespace quillon
