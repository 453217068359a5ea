#include "presenters/register/RegisterPresenter.h"

#include "PresenterFixture.h"

namespace quillon {
namespace {

class RegisterPresenterTest : public PresenterFixture {
protected:
    // Identifiers of what is shown, in its order.
    std::vector<int64_t> Shown() const {
        std::vector<int64_t> rows;
        for (int64_t line = 0; line < view.LineCount(); ++line) rows.push_back(view.RowIdAt(line));
        return rows;
    }
    std::string Line(int64_t line) {
        std::string text;
        for (const RegisterColumn column : view.Columns()) {
            text += (text.empty() ? "" : "|") + view.CellText(line, column);
        }
        return text;
    }
    CRegisterPresenter view{workspace};
};

TEST_F(RegisterPresenterTest, EachKindOfAccountHasItsColumns) {
    const struct {
        AccountType type;
        std::string headings;
        std::string cells;
    } rows[] = {
        {AccountType::Checking, "Number|Date|Type|Payee|Category|Memo|Payment|Deposit|Balance",
         "7|2024-05-17|Payment|Shop|Food|note|-12.50||-12.50"},
        {AccountType::Savings, "Type|Date|Payee|Category|Memo|Withdrawal|Deposit|Balance",
         "Payment|2024-05-17|Shop|Food|note|-12.50||-12.50"},
        {AccountType::Investment, "Type|Date|Payee|Category|Memo|Withdrawal|Deposit|Balance",
         "Payment|2024-05-17|Shop|Food|note|-12.50||-12.50"},
        {AccountType::Credit, "Date|Type|Payee|Category|Memo|Charge|Payment|Balance",
         "2024-05-17|Payment|Shop|Food|note||12.50|12.50"},
        {AccountType::Loan, "Date|Type|Payee|Category|Memo|Principal|Payment|Balance",
         "2024-05-17|Payment|Shop|Food|note||12.50|12.50"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.headings);
        const int64_t account = Account(std::string(KeyNameOf(row.type)).c_str(), row.type);
        CTransactionEntry entered = Row(account, TransactionType::Payment, 12.5);
        entered.check = 7;
        entered.memo = "note";
        Enter(entered, "Shop", "Food");
        ASSERT_TRUE(view.Show(account));
        std::string headings;
        for (const RegisterColumn column : view.Columns()) {
            headings += (headings.empty() ? "" : "|") + std::string(view.Heading(column));
        }
        EXPECT_EQ(headings, row.headings);
        EXPECT_EQ(Line(0), row.cells);
    }
}

TEST_F(RegisterPresenterTest, FindsByWhatIsTyped) {
    const int64_t account = Account("Checking");
    const auto enter = [&](int day, double amount, const char* payee, const char* category,
                           const char* memo, int32_t check, const char* electronic) {
        CTransactionEntry row = Row(account, TransactionType::Payment, amount, Day(2024, 5, day));
        row.memo = memo;
        row.check = check;
        row.electronicPayment = electronic;
        return Enter(row, payee, category).id;
    };
    enter(1, 12.5, "Grocer Müller", "Food", "weekly", 0, "");
    enter(2, 250, "Landlord", "Rent", "may, second half", 1024, "");
    enter(17, 1250, "Garage", "Auto Expenses", "GROCER's van 2024-06", 0, "ATM");
    enter(18, 5, "Baker", "Food", "", 0, "EFT");
    ASSERT_TRUE(view.Show(account));
    const struct {
        const char* text;
        std::vector<int64_t> found;
    } rows[] = {
        {"", {1, 2, 3, 4}},
        {"grocer", {1, 3}},
        {"GROCER food", {1}},
        {"  müll  ", {1}},
        {"food", {1, 4}},
        {"half", {2}},
        {"102", {2}},
        {"atm", {3}},
        {"12.5", {1}},
        {"250", {2, 3}},
        {"1,250", {3}},
        {"1250.00", {3}},
        {"-5.00", {4}},
        {">12.50", {2, 3}},
        {">=12.50", {1, 2, 3}},
        {"<12.50", {4}},
        {"<=12.5", {1, 4}},
        {"=5", {4}},
        {">100 <1000", {2}},
        {">", {1, 2, 3, 4}},
        {"2024-", {1, 2, 3, 4}},
        {"2024-0", {1, 2, 3, 4}},
        {"2024-1", {}},
        {"2024-05", {1, 2, 3, 4}},
        {"2024-06", {3}},
        {"2024-05-1", {3, 4}},
        {"2024-05-02", {2}},
        {"2024-05 food", {1, 4}},
        {"2023-05", {}},
        {"2024-13", {}},
        {"nobody", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        view.SetFilter(row.text);
        EXPECT_EQ(Shown(), row.found);
        EXPECT_EQ(view.BalanceRuns(), row.found.size() == 4 && !view.IsFiltered());
    }
    view.SetFilter("landlord");
    EXPECT_EQ(view.Heading(RegisterColumn::Balance), "Balance after");
    EXPECT_EQ(view.CellText(0, RegisterColumn::Balance), "-262.50");
}

TEST_F(RegisterPresenterTest, TheThirdClickGoesBack) {
    const int64_t account = Account("Checking");
    for (const char* payee : {"bravo", "Alpha", "", "alpha", "Bravo"}) {
        Enter(Row(account, TransactionType::Payment, 1), payee);
    }
    ASSERT_TRUE(view.Show(account));
    const std::vector<int64_t> orders[] = {{3, 2, 4, 1, 5}, {1, 5, 2, 4, 3}, {1, 2, 3, 4, 5}};
    for (const auto& order : orders) {
        view.SortBy(RegisterColumn::Payee);
        EXPECT_EQ(Shown(), order);
        EXPECT_EQ(view.BalanceRuns(), !view.SortColumn());
    }
    view.SortBy(RegisterColumn::Payee);
    view.SortBy(RegisterColumn::Date);
    EXPECT_TRUE(view.SortsUp());
}

TEST_F(RegisterPresenterTest, SelectionFollowsRows) {
    const int64_t account = Account("Checking");
    const int64_t other = Account("Savings", AccountType::Savings);
    for (int i = 1; i <= 5; ++i) {
        Enter(Row(account, TransactionType::Payment, i, Day(2024, 5, i)), i % 2 ? "odd" : "even");
    }
    ASSERT_TRUE(view.Show(account));
    view.SelectLines(0, 2);
    EXPECT_EQ(view.SelectedRows(), (std::vector<int64_t>{1, 2, 3}));
    view.SetFilter("even");
    EXPECT_EQ(view.SelectedRows(), (std::vector<int64_t>{2}));
    EXPECT_EQ(view.SelectionSum().count, 1);
    EXPECT_EQ(view.SelectionSum().effect, -2.0);
    view.SetFilter("");
    view.SortBy(RegisterColumn::Out);
    view.SortBy(RegisterColumn::Out);
    EXPECT_EQ(view.SelectedRows(), (std::vector<int64_t>{3, 2, 1}));
    CTransactionEntry moved = Read(1);
    moved.serviceDate = Day(2024, 6, 1);
    ASSERT_EQ(workspace.ChangeTransaction(moved), LedgerStatus::Ok);
    EXPECT_TRUE(view.IsSelected(1));
    const int64_t gone[] = {2};
    ASSERT_EQ(workspace.MoveToAccount(gone, other), LedgerStatus::Ok);
    EXPECT_EQ(view.SelectionSum().effect, -4.0);
    workspace.ReadAgain("import");
    EXPECT_EQ(view.SelectedRows(), (std::vector<int64_t>{3, 1}));
    ASSERT_EQ(workspace.MoveToAccount(gone, account), LedgerStatus::Ok);
    EXPECT_FALSE(view.IsSelected(2));
    EXPECT_EQ(view.LineCount(), 5);
}

TEST_F(RegisterPresenterTest, KnowsWhatLiesAhead) {
    const int64_t account = Account("Checking");
    for (const int day : {1, 10, 10, 20}) {
        Enter(Row(account, TransactionType::Deposit, day, Day(2024, 5, day)));
    }
    ASSERT_TRUE(view.Show(account));
    const struct {
        int day;
        int64_t firstLine;
        int64_t ahead;
        double balance;
    } rows[] = {{1, 1, 3, 1}, {9, 1, 3, 1}, {10, 3, 1, 21}, {20, 4, 0, 41}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.day);
        EXPECT_EQ(view.FirstLineAfter(Day(2024, 5, row.day)), row.firstLine);
        EXPECT_EQ(view.CountAfter(Day(2024, 5, row.day)), row.ahead);
        EXPECT_EQ(view.BalanceOn(Day(2024, 5, row.day)), row.balance);
    }
    EXPECT_EQ(view.BalanceOn(Day(2024, 4, 30)), 0.0);
    EXPECT_EQ(view.BalanceAfterAll(), 41.0);
    view.SetFilter("10");
    EXPECT_EQ(view.FirstLineAfter(Day(2024, 5, 10)), 2);
    view.SortBy(RegisterColumn::Out);
    EXPECT_EQ(view.FirstLineAfter(Day(2024, 5, 10)), -1);
}

// A filter does not wait for the memos of a large register; those found in them come later.
TEST_F(RegisterPresenterTest, LargeRegistersReadMemosAhead) {
    const int64_t account = Account("Checking");
    constexpr int64_t kRows = 12'000;
    CLedgerImport import(workspace.Ledger(), account);
    ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
    for (int64_t i = 0; i < kRows; ++i) {
        CTransactionEntry row = Row(account, TransactionType::Payment, 1);
        if (i == 1 || i == kRows - 1) row.memo = "needle";
        ASSERT_EQ(import.Enter(row), LedgerStatus::Ok);
    }
    ASSERT_TRUE(import.Finish());
    ASSERT_TRUE(view.Show(account));
    view.SetFilter("Needle");
    EXPECT_EQ(view.LineCount(), 0);
    EXPECT_FALSE(view.IsFilterComplete());
    int told = 0;
    view.whenChanged = [&] { ++told; };
    EXPECT_FALSE(view.ReadTextsAhead(kRows / 2));
    EXPECT_TRUE(view.ReadTextsAhead(kRows));
    EXPECT_EQ(Shown(), (std::vector<int64_t>{2, kRows}));
    EXPECT_EQ(told, 1);
    Enter(Row(account, TransactionType::Payment, 2));
    EXPECT_TRUE(view.IsFilterComplete());
}

TEST_F(RegisterPresenterTest, AFailedReadShowsNothing) {
    const int64_t account = Account("Checking");
    Enter(Row(account, TransactionType::Deposit, 1));
    EXPECT_FALSE(view.Show(99));
    EXPECT_TRUE(view.HasFailed());
    ASSERT_TRUE(view.Show(account));
    workspace.Database().Close();
    workspace.ReadAgain("");
    EXPECT_TRUE(view.HasFailed());
    EXPECT_EQ(view.LineCount(), 0);
}

}  // namespace
}  // namespace quillon
