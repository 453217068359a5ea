#include <algorithm>
#include <cmath>
#include <iterator>
#include <random>

#include "PresenterFixture.h"
#include "finance/ledger/AccountRegister.h"
#include "finance/ledger/RegisterFilter.h"
#include "foundation/Unicode.h"
#include "presenters/register/RegisterPresenter.h"

namespace quillon {
namespace {

// A random life, beside a plain reading of the whole account after each step.
class RegisterLife : public PresenterFixture {
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

    bool HasWord(const RegisterLine& line, const SearchWord& word) {
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
    double Compare(const RegisterLine& a, const RegisterLine& b) {
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
        ASSERT_TRUE(workspace.Database().Read(mine, account));
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
    CRegisterPresenter view{workspace};
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
