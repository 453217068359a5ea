// reconcile: sets, elimination, the question, bad input.

#include <algorithm>

#include "cli/CliFixture.h"

namespace quillon {
namespace {

using testing::HasSubstr;

class Reconcile : public CliTest {
protected:
    void Add(const char* type, const char* amount, const char* date, const char* payee) {
        Json({"transaction", "add", "Checking", "--type", type, "--date", date, "--amount", amount,
              "--payee", payee});
    }

    // Checks of 40.10 and 59.90 (4, 5), 30.05 and 69.95 (6, 7); register 800.
    void MakeChecks() {
        MakeLedger();
        Add("payment", "40.10", "2024-03-01", "Landlord");
        Add("payment", "59.90", "2024-03-02", "Peak Fuel");
        Add("payment", "30.05", "2024-03-03", "Shop");
        Add("payment", "69.95", "2024-03-04", "Shop");
        const auto rows = Json("transaction list Checking");
        for (const auto& row : rows) m_ids.push_back(row.at("id"));
    }

    std::string Id(size_t line) const { return std::to_string(m_ids.at(line)); }
    std::string Stored(const char* key) {
        return Json({"settings", "get", "BankReconciliation", key}).at("value");
    }

    std::vector<int64_t> m_ids;
};

TEST_F(Reconcile, ListsSetsAndNarrows) {
    MakeChecks();
    const auto found = Json("reconcile Checking --balance 900");
    EXPECT_EQ(CliRun::Keys(found),
              (std::vector<std::string>{"difference", "days", "max", "candidates", "message",
                                        "solutions", "hints", "ranking"}));
    EXPECT_EQ(found.at("difference"), 100.0);
    EXPECT_EQ(found.at("days"), 30);
    EXPECT_EQ(found.at("max"), 10);
    EXPECT_EQ(found.at("candidates"), 4);
    EXPECT_EQ(found.at("solutions").dump(),
              "[[" + Id(3) + "," + Id(4) + "],[" + Id(1) + "," + Id(2) + "]]");
    EXPECT_EQ(found.at("ranking").dump(), "[1,0]");
    EXPECT_TRUE(found.at("message").get<std::string>().starts_with("Multiple solutions"));

    const auto narrowed =
        Json({"reconcile", "Checking", "--balance", "900", "--cleared", Id(3) + "," + Id(4)});
    EXPECT_EQ(narrowed.at("solutions").dump(), "[[" + Id(1) + "," + Id(2) + "]]");
    EXPECT_EQ(narrowed.at("message"),
              "You have successfully reconciled the the 100.00 difference between your bank "
              "balance and your Quillon balance.");
    const auto none =
        Json({"reconcile", "Checking", "--balance", "900", "--cleared", Id(1), Id(4)});
    EXPECT_EQ(none.at("solutions").dump(), "[]");
    EXPECT_TRUE(none.at("message").get<std::string>().starts_with("A solution could not be found"));
    EXPECT_EQ(BalanceOf("Checking"), 800.0);
}

TEST_F(Reconcile, ShowsSetsToPeople) {
    MakeChecks();
    const CliRun run = Run("reconcile Checking --balance $900.00");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const std::string expected =
        "Balance of 'Checking': 800.00, at the bank 900.00, difference 100.00\n"
        "Looked back 30 days, at 4 transactions; sets of up to 10\n"
        "\n"
        "Set  Id  Date        Type     Payee       Effect\n"
        "---  --  ----------  -------  ---------  -------\n";
    EXPECT_EQ(run.out.substr(0, expected.size()), expected);
    for (const char* part : {"2024-03-03  Payment  Shop", "-30.05\n", "Totals", "-100.00\n",
                             "There are 2 potential solutions; set 2 is the likeliest.\n"}) {
        EXPECT_THAT(run.out, HasSubstr(part));
    }
}

TEST_F(Reconcile, BalancesMayBeNegative) {
    MakeLedger();
    Json("transaction add Visa --type charge --date 2024-01-05 --amount 12.50");
    for (const CliRun& run : {Run("--json reconcile Visa --balance -200"),
                              Run("--json reconcile Visa --balance=-200.00")}) {
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.Json().at("difference"), 12.5);
        EXPECT_EQ(run.Json().at("solutions").size(), 1u);
        EXPECT_EQ(run.Json().at("message"), "");
    }
}

TEST_F(Reconcile, HintsWhereNothingFits) {
    MakeChecks();
    const CliRun run = Run("--json reconcile Checking --balance 860.10");
    ASSERT_EQ(run.Json().at("solutions").size(), 0u);
    const auto hints = run.Json().at("hints");
    ASSERT_EQ(hints.size(), 1u) << hints;
    EXPECT_EQ(CliRun::Keys(hints[0]), (std::vector<std::string>{"kind", "text", "transactions"}));
    EXPECT_EQ(hints[0].at("kind"), "wrongSide");
    EXPECT_EQ(hints[0].at("transactions").dump(), "[" + Id(3) + "]");
    const std::string shown = Run("reconcile Checking --balance 860.10").out;
    EXPECT_LT(shown.find("No solution was found"), shown.find("30.05 on 2024-03-03 is half"));
}

TEST_F(Reconcile, OutOfRangeNumbersAreCorrectedWithANote) {
    MakeChecks();
    const CliRun run = Run("--json reconcile Checking --balance 900 --days -5 --max 99");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "note: --days -5 lies outside 0 to 90; 30 was used.\n"
              "note: --max 99 lies outside 0 to 60; 60 was used.\n");
    EXPECT_EQ(run.Json().at("days"), 30);
    EXPECT_EQ(run.Json().at("max"), 60);
    EXPECT_EQ(Stored("LookBackDays"), "30");
    EXPECT_EQ(Stored("MaxTransactions"), "60");
    // What was stored is the default of the next run.
    EXPECT_EQ(Json("reconcile Checking --balance 900").at("max"), 60);
}

// Forty transactions with a maximum of sixty are more than can be tried.
TEST_F(Reconcile, AsksBeforeAReducedMaximum) {
    MakeLedger();
    std::string qif = "!Type:Bank\n";
    for (int i = 0; i < 40; ++i) qif += "D03/05'24\nT-" + std::to_string(100 + i * i) + ".00\n^\n";
    WriteFile("many.qif", qif);
    Json("import qif many.qif --account Savings");
    const Arguments command{"reconcile", "Savings", "--balance", "-24331", "--max", "60"};
    const auto run = [&](bool json, bool yes) {
        Arguments arguments = command;
        if (json) arguments.emplace_back("--json");
        if (yes) arguments.emplace_back("--yes");
        m_prompts.clear();
        return Run(arguments);
    };

    const CliRun unasked = run(true, false);  // no terminal
    EXPECT_EQ(unasked.status, 0);
    EXPECT_EQ(unasked.err,
              "note: Nothing was searched, since there was no terminal to ask on; --yes goes on "
              "with the reduced maximum.\n");
    EXPECT_EQ(unasked.Json().at("solutions").size(), 0u);
    EXPECT_EQ(unasked.Json().at("max"), 11);
    const std::string question = unasked.Json().at("message");
    EXPECT_TRUE(question.starts_with("The look back days contain 40 transactions.")) << question;
    EXPECT_THAT(question, HasSubstr("was reduced to 11."));

    const CliRun agreed = run(true, true);
    EXPECT_TRUE(m_prompts.empty());
    EXPECT_EQ(agreed.err, "");
    EXPECT_GT(agreed.Json().at("solutions").size(), 0u);

    m_typed = {"n"};
    const CliRun declined = run(false, false);
    ASSERT_EQ(m_prompts.size(), 1u);
    EXPECT_EQ(m_prompts[0], question + " (y/n) ");
    EXPECT_THAT(declined.out, HasSubstr("Nothing was searched."));
    m_typed = {"Yes"};
    EXPECT_EQ(run(true, false).Json(), agreed.Json());
}

TEST_F(Reconcile, BadInputStoresNothing) {
    MakeChecks();
    const struct {
        Arguments arguments;
        int status;
        const char* says;
    } rows[] = {
        {"Chequing --balance 5", 1, "did you mean 'Checking'"},
        {"Checking --balance 1,23,4", 1, "'1,23,4' is not an amount"},
        {"Checking --balance abc", 1, "'abc' is not an amount"},
        {"Checking --balance ''", 1, "'' is not an amount"},
        {"Checking --balance nan", 1, "'nan' is not an amount"},
        {"Checking --balance 99999999999999", 1, "too large"},
        {"Checking --balance 900 --cleared x", 1, "'x' is not a row's number"},
        {"Checking --balance 900 --cleared 4711", 1, "no transaction 4711"},
        {"Checking", 2, "--balance"},
        {"Checking --balance 900 --days many", 2, "--days"},
        {"Checking --balance 900 --max 2.5", 2, "--max"},
    };
    for (const auto& row : rows) {
        const CliRun run = Run(Arguments("reconcile") + row.arguments);
        SCOPED_TRACE(run.err);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, HasSubstr(row.says));
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1);
    }
    EXPECT_NE(Run("settings get BankReconciliation LookBackDays").status, 0);
}

TEST_F(Reconcile, AnAccountWithoutTransactions) {
    MakeLedger();
    EXPECT_EQ(Run("reconcile Savings --balance 5").out,
              "The account 'Savings' has no transactions yet.\n");
    const auto result = Json("reconcile Savings --balance 5");
    EXPECT_EQ(result.at("solutions").dump(), "[]");
    EXPECT_EQ(result.at("message"), "");
}

}  // namespace
}  // namespace quillon
