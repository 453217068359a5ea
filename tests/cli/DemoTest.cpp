#include <map>
#include <set>

#include "cli/CliFixture.h"
#include "finance/ledger/Balance.h"
#include "sample/DemoHousehold.h"

namespace quillon {
namespace {

class Demo : public CliTest {};

TEST_F(Demo, LedgerIsReproducibleAndInOrder) {
    const CliRun made = RunBare({"--json", "demo", "ledger"});
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.Json().at("accounts"), 5);
    const int64_t transactions = made.Json().at("transactions");
    EXPECT_GE(transactions, 14'000);
    EXPECT_LE(transactions, 16'000);
    EXPECT_EQ(Json({"verify"}).at("code"), 0);

    ASSERT_EQ(RunBare({"demo", "second"}).status, 0);
    int64_t listed = 0;
    for (const auto& account : Json({"account", "list"})) {
        const std::string name = account.at("name");
        const auto rows = Json({"transaction", "list", name});
        listed += static_cast<int64_t>(rows.size());
        EXPECT_EQ(rows.back().at("balance"), account.at("balance"));
        const CliRun second =
            RunBare({"--database", "second", "--json", "transaction", "list", name});
        EXPECT_TRUE(second.Json() == rows) << name;
    }
    EXPECT_EQ(listed, transactions);
    EXPECT_EQ(
        RunBare({"demo", "second"}).err,
        "quillon-cli: The folder 'second' is not empty; the sample ledger needs a new one.\n");
}

// What makes it lifelike: nobody overdraws the account or overpays the card, checks count
// up, and every month has its rent, two paychecks and a card payment.
TEST_F(Demo, HouseholdIsLifelike) {
    std::map<DemoAccount, int64_t> balances;
    for (const DemoAccountPlan& plan : kDemoAccounts) balances[plan.account] = plan.openingCents;
    const auto typeOf = [](DemoAccount account) {
        return kDemoAccounts[static_cast<size_t>(account)].type;
    };
    std::map<std::string, int> perMonth[3];
    int64_t lastDate = FileTimeFromDate(kDemoFirstDay);
    int32_t lastCheck = 0;
    int64_t leastChecking = INT64_MAX;
    for (const DemoEvent& event : MakeDemoEvents()) {
        ASSERT_GE(event.date, lastDate);
        ASSERT_GT(event.cents, 0) << event.payee;
        lastDate = event.date;
        if (event.check) {
            ASSERT_EQ(event.check, lastCheck ? lastCheck + 1 : event.check);
            lastCheck = event.check;
        }
        const auto cents = static_cast<double>(event.cents);
        balances[event.account] +=
            static_cast<int64_t>(BalanceEffect(event.type, cents, typeOf(event.account)));
        if (event.to) balances[*event.to] += event.cents;
        leastChecking = std::min(leastChecking, balances[DemoAccount::Checking]);
        ASSERT_GE(balances[DemoAccount::Savings], 0);
        ASSERT_GE(balances[DemoAccount::Investment], 0);
        ASSERT_LE(balances[DemoAccount::CarLoan], 0);
        const std::string month = FormatIsoDate(event.date).substr(0, 7);
        perMonth[0][month] += event.category == "Rent";
        perMonth[1][month] += event.memo == "Payroll";
        perMonth[2][month] += event.to == DemoAccount::Card;
    }
    EXPECT_EQ(FormatIsoDate(lastDate), "2024-12-31");
    EXPECT_GT(leastChecking, -50'000);
    const int expected[] = {1, 2, 1};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(perMonth[i].size(), 120u);
        for (const auto& [month, count] : perMonth[i]) EXPECT_EQ(count, expected[i]) << month;
    }
}

}  // namespace
}  // namespace quillon
