#include "presenters/register/RegisterPresenter.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

#include "PresenterFixture.h"
#include "finance/ledger/AccountRegister.h"
#include "finance/ledger/RegisterFilter.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/Unicode.h"

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

// --- a random life, beside a plain reading of the whole account after each step

class RegisterLife : public RegisterPresenterTest {
protected:
    RegisterLife() {
        mine = Account("Mine");
        other = Account("Other", AccountType::Credit);
    }

    size_t Below(size_t limit) { return random() % limit; }

    CTransactionEntry AnyRow(CTransactionEntry row) {
        static constexpr const char* kMemos[] = {"",
                                                 "weekly",
                                                 "weekly shopping",
                                                 "12.34",
                                                 "Weekly shopping, large",
                                                 "weekly shopping, small",
                                                 "Ärger mit 3 Rechnungen"};
        static constexpr const char* kKinds[] = {"", "", "ATM", "EFT"};
        row.serviceDate = Day(2024, 1, 1) + static_cast<int64_t>(Below(40)) * kTicksPerDay;
        row.amount = static_cast<double>(Below(3'000)) / 100.0;
        row.transactionType = static_cast<TransactionType>(Below(6));
        row.check = Below(3) == 0 ? static_cast<int32_t>(Below(50)) : 0;
        row.memo = kMemos[Below(std::size(kMemos))];
        row.electronicPayment = kKinds[Below(4)];
        return row;
    }
    NewNames AnyNames() {
        return {"Payee " + std::to_string(Below(12)), "Category " + std::to_string(Below(5))};
    }
    int64_t AnyOf(int64_t account) {
        COwnedList<CTransactionEntry> rows;
        EXPECT_TRUE(workspace.Database().ListTransactionsByAccount(account, rows));
        if (rows.IsEmpty()) return kNoRow;
        size_t skip = Below(rows.Size());
        for (const CTransactionEntry& row : rows) {
            if (skip-- == 0) return row.id;
        }
        return kNoRow;
    }

    void Step() {
        const int64_t row = AnyOf(Below(5) == 0 ? other : mine);
        const int64_t rows[] = {row};
        switch (Below(9)) {
            case 0:
            case 1:
                Enter(AnyRow(Row(Below(5) == 0 ? other : mine, {}, 0)));
                return;
            case 2:
            case 3: {
                CTransactionEntry changed = AnyRow(Read(row));
                EXPECT_EQ(workspace.ChangeTransaction(changed, TransferSides::ThisOnly, AnyNames()),
                          LedgerStatus::Ok);
                return;
            }
            case 4:
                if (view.RowCount() < 30) return;
                EXPECT_EQ(workspace.RemoveTransactions(rows), LedgerStatus::Ok);
                return;
            case 5:
                EXPECT_EQ(workspace.MoveToAccount(rows, Below(2) ? mine : other), LedgerStatus::Ok);
                return;
            case 6: {
                static constexpr const char* kTexts[] = {
                    "", "", "1", "payee 1", "weekly", ">10", "2024-01-1", "ärger 3", "atm"};
                view.SetFilter(kTexts[Below(std::size(kTexts))]);
                return;
            }
            case 7:
                view.SortBy(static_cast<RegisterColumn>(Below(9)));
                return;
            case 8: {
                const std::string name = "Payee " + std::to_string(100 + Below(100'000));
                EXPECT_EQ(
                    workspace.RenamePayee(Read(row).payeeId, name),
                    Read(row).payeeId == kNoRow ? LedgerStatus::NoSuchPayee : LedgerStatus::Ok);
                return;
            }
            default:
                return;
        }
    }

    bool HasWord(const RegisterLine& line, const SearchWord& word) const {
        if (word.kind == SearchWord::Kind::Greater) return std::fabs(line.effect) > word.amount;
        if (word.HasDates() && line.row.serviceDate >= word.from &&
            line.row.serviceDate <= word.to) {
            return true;
        }
        RegisterFilter filter;
        filter.contains = word.folded;
        return filter.Shows(line, workspace.Names());
    }

    // Negative, 0 or positive.
    double Compare(const RegisterLine& a, const RegisterLine& b) const {
        const CNameTables& names = workspace.Names();
        const auto number = [](const CTransactionEntry& row) {
            const std::string kind = row.electronicPayment.ToUtf8();
            if (row.check != 0) return static_cast<double>(row.check);
            return kind.empty() ? -1e12 : 1e12 + kind[0];
        };
        const auto blankOr = [](double amount, bool isShown) { return isShown ? amount : -1.0; };
        switch (*view.SortColumn()) {
            case RegisterColumn::Number:
                return number(a.row) - number(b.row);
            case RegisterColumn::Date:
                return static_cast<double>(a.row.serviceDate - b.row.serviceDate);
            case RegisterColumn::Type:
                return NameOf(a.row.transactionType).compare(NameOf(b.row.transactionType));
            case RegisterColumn::Payee:
                return CompareIgnoringCase(names.Payee(a.row.payeeId), names.Payee(b.row.payeeId));
            case RegisterColumn::Category:
                return CompareIgnoringCase(names.Category(a.row.categoryId),
                                           names.Category(b.row.categoryId));
            case RegisterColumn::Memo:
                return CompareIgnoringCase(a.row.memo.ToUtf8(), b.row.memo.ToUtf8());
            case RegisterColumn::Out:
                return blankOr(-a.effect, a.effect < 0) - blankOr(-b.effect, b.effect < 0);
            case RegisterColumn::In:
                return blankOr(a.effect, a.effect >= 0) - blankOr(b.effect, b.effect >= 0);
            case RegisterColumn::Balance:
                return a.balance - b.balance;
        }
        return 0;
    }

    void ExpectTrue() {
        CAccountEntry account;
        std::vector<RegisterLine> lines;
        ASSERT_TRUE(workspace.Database().ReadAccount(mine, account));
        ASSERT_TRUE(ReadRegister(workspace.Database(), account, lines));
        ASSERT_EQ(view.RowCount(), static_cast<int64_t>(lines.size()));
        for (const SearchWord& word : ParseSearch(view.Filter())) {
            std::erase_if(lines, [&](const RegisterLine& line) { return !HasWord(line, word); });
        }
        if (view.SortColumn()) {
            std::stable_sort(lines.begin(), lines.end(), [&](const auto& a, const auto& b) {
                return view.SortsUp() ? Compare(a, b) < 0 : Compare(a, b) > 0;
            });
        }
        ASSERT_EQ(view.LineCount(), static_cast<int64_t>(lines.size()));
        for (size_t i = 0; i < lines.size(); ++i) {
            const auto line = static_cast<int64_t>(i);
            ASSERT_EQ(view.RowIdAt(line), lines[i].row.id) << i;
            ASSERT_EQ(view.BalanceAt(line), lines[i].balance) << i;
            ASSERT_EQ(view.EffectAt(line), lines[i].effect) << i;
            ASSERT_EQ(view.CellText(line, RegisterColumn::Number), NumberText(lines[i].row));
            ASSERT_EQ(view.CellText(line, RegisterColumn::Memo), lines[i].row.memo.ToUtf8());
            ASSERT_EQ(view.CellText(line, RegisterColumn::Payee),
                      workspace.Names().Payee(lines[i].row.payeeId));
        }
        ASSERT_EQ(view.LineOf(lines.empty() ? -1 : lines.back().row.id),
                  static_cast<int64_t>(lines.size()) - 1);
    }

    std::mt19937 random{20240517};
    int64_t mine = kNoRow;
    int64_t other = kNoRow;
};

TEST_F(RegisterLife, ShowsWhatAPlainReadingShows) {
    for (int i = 0; i < 60; ++i) {
        CTransactionEntry row = AnyRow(Row(mine, {}, 0));
        ASSERT_EQ(workspace.EnterTransaction(row, AnyNames()), LedgerStatus::Ok);
    }
    Enter(Row(other, TransactionType::Charge, 1));
    ASSERT_TRUE(view.Show(mine));
    for (int step = 0; step < 600; ++step) {
        Step();
        const auto column = view.SortColumn();
        SCOPED_TRACE("step " + std::to_string(step) + ", filter '" + view.Filter() + "', column " +
                     (column ? std::to_string(static_cast<int>(*column)) : "none"));
        ExpectTrue();
        if (HasFatalFailure() || HasFailure()) return;
    }
}

}  // namespace
}  // namespace quillon
