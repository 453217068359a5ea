#include "cli/CliFixture.h"

namespace quillon {
namespace {

class Demo : public CliTest {};

TEST_F(Demo, LedgerIsReproducibleAndInOrder) {
    const CliRun made = RunBare("--json demo ledger");
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.Json().at("accounts"), 5);
    const int64_t transactions = made.Json().at("transactions");
    EXPECT_GE(transactions, 14'000);
    EXPECT_LE(transactions, 16'000);
    EXPECT_EQ(Json("verify").at("code"), 0);

    ASSERT_EQ(RunBare("demo second").status, 0);
    int64_t listed = 0;
    for (const auto& account : Json("account list")) {
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
        RunBare("demo second").err,
        "quillon-cli: The folder 'second' is not empty; the sample ledger needs a new one.\n");
}

}  // namespace
}  // namespace quillon
