#include "presenters/workspace/Workspace.h"

#include <functional>

#include "PresenterFixture.h"

namespace quillon {
namespace {

class CNoticeKeeper : public CWorkspaceListener {
public:
    void LedgerChanged(const ChangeNotice& notice) override { notices.push_back(notice); }
    std::vector<ChangeNotice> notices;
};

// "+3@1" added in account 1, "~3@1" changed there, "~3@1>2" moved to 2, "-3@1" removed.
std::string Brief(const ChangeNotice& notice) {
    std::string text;
    for (const RowNotice& row : notice.rows) {
        const char* mark = row.change == RowChange::Added     ? "+"
                           : row.change == RowChange::Changed ? "~"
                                                              : "-";
        const bool moved = row.change == RowChange::Changed && row.former != row.account;
        if (!text.empty()) text += ' ';
        text += mark + std::to_string(row.row) + '@';
        if (moved) text += std::to_string(row.former) + '>';
        text += std::to_string(row.account);
    }
    if (notice.accountTable) text += " accounts";
    if (notice.categoryTable) text += " categories";
    if (notice.payeeTable) text += " payees";
    if (notice.everything) text += " everything";
    return text;
}

class WorkspaceTest : public PresenterFixture {
protected:
    WorkspaceTest() { workspace.Listen(keeper); }
    ~WorkspaceTest() override { workspace.Leave(keeper); }
    CNoticeKeeper keeper;
};

TEST_F(WorkspaceTest, EachChangeIsOneNotice) {
    const int64_t a = Account("Checking");
    const int64_t b = Account("Card", AccountType::Credit);
    CTransactionEntry row = Row(a, TransactionType::Payment, 10);
    CTransactionEntry paying, receiving;
    CPayeeEntry payee;
    CCategoryEntry category;
    CAccountEntry opened;
    opened.name = "Savings";
    CTransactionEntry second;
    const struct {
        const char* name;
        std::function<LedgerStatus()> change;
        std::string notice;
        std::vector<int64_t> accounts;
    } steps[] = {
        {"enter",
         [&] {
             return workspace.EnterTransaction(row, {"Grocer", "Food"});
         },
         "+1@1 categories payees",
         {a}},
        {"enter, names known",
         [&] {
             second = Row(a, TransactionType::Deposit, 5);
             return workspace.EnterTransaction(second, {"Grocer", "Food"});
         },
         "+2@1",
         {a}},
        {"change and move",
         [&] {
             row.amount = 12;
             row.accountId = b;
             return workspace.ChangeTransaction(row);
         },
         "~1@1>2",
         {a, b}},
        {"transfer",
         [&] {
             TransferRequest request;
             request.fromAccountId = a;
             request.toAccountId = b;
             request.amount = 7.5;
             return workspace.EnterTransfer(request, paying, receiving);
         },
         "+3@1 +4@2",
         {a, b}},
        {"change both sides",
         [&] {
             paying.amount = 8;
             return workspace.ChangeTransaction(paying, TransferSides::Both);
         },
         "~3@1 ~4@2",
         {a, b}},
        {"add payee", [&] { return workspace.AddPayee("Baker", payee); }, " payees", {}},
        {"assign payee",
         [&] {
             const int64_t rows[] = {1, 2};
             return workspace.AssignPayee(rows, payee.id);
         },
         "~1@2 ~2@1",
         {a, b}},
        {"add category",
         [&] { return workspace.AddCategory("Bread", category); },
         " categories",
         {}},
        {"assign category",
         [&] {
             const int64_t rows[] = {2};
             return workspace.AssignCategory(rows, category.id);
         },
         "~2@1",
         {a}},
        {"rename payee", [&] { return workspace.RenamePayee(payee.id, "Bakery"); }, " payees", {}},
        {"merge category",
         [&] { return workspace.RemoveCategory(category.id, row.categoryId); },
         "~2@1 categories",
         {a}},
        {"move",
         [&] {
             const int64_t rows[] = {1, 2};
             return workspace.MoveToAccount(rows, b);
         },
         "~1@2 ~2@1>2",
         {a, b}},
        {"close", [&] { return workspace.SetAccountOpen(b, false); }, " accounts", {b}},
        {"remove both sides",
         [&] {
             const int64_t rows[] = {3, 4, 1};
             return workspace.RemoveTransactions(rows, TransferSides::Both);
         },
         "-3@1 -4@2 -1@2",
         {a, b}},
        {"open account",
         [&] { return workspace.OpenAccount(opened, 9, Day(2024, 1, 1)); },
         "+5@3 accounts categories",
         {3}},
    };
    keeper.notices.clear();
    size_t told = 0;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        EXPECT_EQ(step.change(), LedgerStatus::Ok);
        ASSERT_EQ(keeper.notices.size(), ++told);
        const ChangeNotice& notice = keeper.notices.back();
        EXPECT_EQ(Brief(notice), step.notice);
        EXPECT_EQ(notice.accounts, step.accounts);
        EXPECT_FALSE(notice.label.empty());
    }
    EXPECT_EQ(workspace.Names().Payee(payee.id), "Bakery");
    std::vector<BalanceMismatch> wrong;
    EXPECT_TRUE(workspace.Ledger().VerifyBalances(wrong));
    EXPECT_TRUE(wrong.empty());
}

// One row that is refused takes the others with it, and nobody is told.
TEST_F(WorkspaceTest, ARefusalChangesNothing) {
    const int64_t a = Account("Checking");
    const int64_t closed = Account("Old");
    const int64_t first = Enter(Row(a, TransactionType::Payment, 10)).id;
    ASSERT_EQ(workspace.SetAccountOpen(closed, false), LedgerStatus::Ok);
    keeper.notices.clear();
    const int64_t rows[] = {first, 99};
    CTransactionEntry bad = Row(a, TransactionType::Payment, -1);
    EXPECT_EQ(workspace.RemoveTransactions(rows), LedgerStatus::NoSuchTransaction);
    EXPECT_EQ(workspace.AssignPayee(rows, 77), LedgerStatus::NoSuchPayee);
    EXPECT_EQ(workspace.MoveToAccount({rows, 1}, closed), LedgerStatus::AccountClosed);
    EXPECT_EQ(workspace.EnterTransaction(bad, {"Never", "Made"}), LedgerStatus::BadAmount);
    disk.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, 1);
    EXPECT_EQ(workspace.RemoveTransactions({rows, 1}), LedgerStatus::StoreFailed);
    EXPECT_TRUE(keeper.notices.empty());
    EXPECT_EQ(Read(first).amount, 10);
    EXPECT_EQ(workspace.Database().FindPayeeId("Never"), kNoRow);
}

TEST_F(WorkspaceTest, ListenersMayLeaveAndChangeWhileTold) {
    class CLeaving : public CWorkspaceListener {
    public:
        explicit CLeaving(CWorkspace& owner) : workspace(owner) {}
        void LedgerChanged(const ChangeNotice&) override {
            ++told;
            workspace.Leave(*this);
            CPayeeEntry payee;
            EXPECT_EQ(workspace.AddPayee("Told", payee), LedgerStatus::Ok);
        }
        CWorkspace& workspace;
        int told = 0;
    } leaving(workspace);
    workspace.Leave(keeper);
    workspace.Listen(leaving);
    workspace.Listen(keeper);
    Account("Checking");
    EXPECT_EQ(leaving.told, 1);
    EXPECT_EQ(keeper.notices.size(), 2U);
}

// Listeners that were there before the ledger read it when it may be shown, not earlier.
TEST_F(WorkspaceTest, ALedgerThatIsReadyIsEverything) {
    Enter(Row(Account("Checking"), TransactionType::Payment, 10), "Grocer");
    ASSERT_TRUE(workspace.Database().SetPassword("secret"));
    ASSERT_TRUE(workspace.Close());
    EXPECT_FALSE(workspace.IsReady());
    EXPECT_EQ(workspace.Names().Payee(1), "");
    EXPECT_FALSE(workspace.HasNames());
    keeper.notices.clear();
    EXPECT_EQ(workspace.Start("ledger"), StartUpStep::EnterPassword);
    EXPECT_EQ(workspace.EnterPassword("wrong"), PasswordAnswer::Wrong);
    EXPECT_TRUE(keeper.notices.empty());
    EXPECT_EQ(workspace.EnterPassword("secret"), PasswordAnswer::Accepted);
    ASSERT_EQ(keeper.notices.size(), 1U);
    EXPECT_TRUE(keeper.notices[0].everything);
    EXPECT_EQ(workspace.Names().Payee(1), "Grocer");
    EXPECT_TRUE(workspace.HasNames());
}

TEST_F(WorkspaceTest, AnOwnLabelIsKept) {
    const int64_t a = Account("Checking");
    CTransactionEntry row = Row(a, TransactionType::Payment, 10);
    ASSERT_EQ(workspace.EnterTransaction(row, {}, "Duplicate transaction"), LedgerStatus::Ok);
    EXPECT_EQ(keeper.notices.back().label, "Duplicate transaction");
    const int64_t rows[] = {row.id};
    ASSERT_EQ(workspace.AssignCategory(rows, kNoRow), LedgerStatus::Ok);
    EXPECT_EQ(keeper.notices.back().label, "Clear the category of 1 transaction");
    ASSERT_EQ(workspace.MoveToAccount(rows, a), LedgerStatus::Ok);
    EXPECT_EQ(keeper.notices.back().label, "Move 1 transaction to 'Checking'");
    ASSERT_EQ(workspace.RemoveTransactions(rows), LedgerStatus::Ok);
    EXPECT_EQ(keeper.notices.back().label, "Delete 1 transaction");
}

// Undo and redo tell what a change would: each row once, with its accounts.
TEST_F(WorkspaceTest, UndoAndRedoAreOneNoticeEach) {
    const int64_t a = Account("Checking");
    const int64_t b = Account("Card", AccountType::Credit);
    const CTransactionEntry row = Enter(Row(a, TransactionType::Payment, 10), "Shop", "New");
    const int64_t id = row.id;
    ASSERT_EQ(workspace.MoveToAccount({{id}}, b), LedgerStatus::Ok);
    ASSERT_EQ(workspace.RemoveTransactions({{id}}), LedgerStatus::Ok);
    const struct {
        bool isUndo;
        const char* label;
        const char* notice;
    } steps[] = {
        {true, "Undo: Delete 1 transaction", "+1@2"},
        {true, "Undo: Move 1 transaction to 'Card'", "~1@2>1"},
        {true, "Undo: Enter transaction", "-1@1 categories payees"},
        {true, "Undo: New account 'Card'", " accounts"},
        {false, "Redo: New account 'Card'", " accounts"},
        {false, "Redo: Enter transaction", "+1@1 categories payees"},
        {false, "Redo: Move 1 transaction to 'Card'", "~1@1>2"},
    };
    for (const auto& step : steps) {
        keeper.notices.clear();
        const HistoryOutcome outcome = step.isUndo ? workspace.Undo() : workspace.Redo();
        ASSERT_EQ(outcome.status, HistoryStatus::Ok) << step.label;
        ASSERT_EQ(keeper.notices.size(), 1U) << step.label;
        EXPECT_EQ(keeper.notices[0].label, step.label);
        EXPECT_EQ(Brief(keeper.notices[0]), step.notice) << step.label;
    }
    EXPECT_EQ(workspace.NextUndo(), "Move 1 transaction to 'Card'");
    EXPECT_EQ(workspace.NextRedo(), "Delete 1 transaction");
    keeper.notices.clear();
    while (workspace.Undo().status == HistoryStatus::Ok) continue;
    keeper.notices.clear();
    EXPECT_EQ(workspace.Undo().status, HistoryStatus::Nothing);
    BatchTakenBack result;
    EXPECT_EQ(workspace.TakeBackImport(1, BatchRows::All, result), HistoryStatus::NoSuchAction);
    EXPECT_TRUE(keeper.notices.empty());
}

}  // namespace
}  // namespace quillon
