#include "presenters/accounts/AccountPanel.h"

#include "PresenterFixture.h"
#include "foundation/CurrencyFormat.h"

namespace quillon {
namespace {

class AccountPanelTest : public PresenterFixture {
protected:
    // "Checking 30.00: alpha 10.00, Bravo 20.00; net 30.00"
    std::string Shown() const {
        std::string text;
        for (const CAccountPanel::Group& group : panel.Groups()) {
            text += group.title + ' ' + FormatCurrency(group.sum);
            for (const CAccountPanel::Line& line : group.lines) {
                text += (&line == group.lines.data() ? ": " : ", ") + line.name + ' ' +
                        FormatCurrency(line.balance) + (line.active ? "" : " closed");
            }
            text += "; ";
        }
        return text + "net " + FormatCurrency(panel.NetWorth());
    }
    CAccountPanel panel{workspace};
};

TEST_F(AccountPanelTest, FollowsTheLedger) {
    EXPECT_EQ(Shown(), "net 0.00");
    const int64_t card = Account("Card", AccountType::Credit);
    const int64_t bravo = Account("Bravo");
    const int64_t alpha = Account("alpha");
    EXPECT_EQ(Shown(), "Checking 0.00: alpha 0.00, Bravo 0.00; Credit 0.00: Card 0.00; net 0.00");
    Enter(Row(bravo, TransactionType::Deposit, 30));
    const int64_t charge = Enter(Row(card, TransactionType::Charge, 12.5)).id;
    EXPECT_EQ(Shown(),
              "Checking 30.00: alpha 0.00, Bravo 30.00; Credit -12.50: Card -12.50; net 17.50");
    const int64_t rows[] = {charge};
    ASSERT_EQ(workspace.MoveToAccount(rows, alpha), LedgerStatus::Ok);
    EXPECT_EQ(Shown(),
              "Checking 17.50: alpha -12.50, Bravo 30.00; Credit 0.00: Card 0.00; net 17.50");

    int told = 0;
    panel.whenChanged = [&] { ++told; };
    ASSERT_EQ(workspace.SetAccountOpen(card, false), LedgerStatus::Ok);
    ASSERT_EQ(workspace.SetAccountOpen(bravo, false), LedgerStatus::Ok);
    EXPECT_EQ(Shown(), "Checking 17.50: alpha -12.50; net 17.50");
    EXPECT_EQ(panel.ClosedCount(), 2);
    panel.ShowClosed(true);
    EXPECT_EQ(Shown(),
              "Checking 17.50: alpha -12.50, Bravo 30.00 closed; Credit 0.00: Card 0.00 closed; "
              "net 17.50");
    CPayeeEntry payee;
    ASSERT_EQ(workspace.AddPayee("Nobody", payee), LedgerStatus::Ok);
    EXPECT_EQ(told, 3);
}

TEST_F(AccountPanelTest, ReadsWhatIsThereAlready) {
    Enter(Row(Account("Checking"), TransactionType::Deposit, 5));
    const CAccountPanel late(workspace);
    EXPECT_EQ(late.NetWorth(), 5.0);
}

TEST_F(AccountPanelTest, AFailedReadShowsNothing) {
    Account("Checking");
    workspace.Database().Close();
    workspace.ReadAgain("");
    EXPECT_TRUE(panel.HasFailed());
    EXPECT_EQ(Shown(), "net 0.00");
}

}  // namespace
}  // namespace quillon
