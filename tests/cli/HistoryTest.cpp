// undo, redo, history, and imports as a whole.

#include "cli/CliFixture.h"

namespace quillon {
namespace {

using testing::HasSubstr;

class History : public CliTest {
protected:
    History() {
        Json("init");
        Json("account add Checking --type checking --balance 100 --date 2024-01-01");
    }
    double Balance() { return Json("account list").at(0).at("balance"); }
};

TEST_F(History, WhatWasDoneIsUndoneAndDoneAgain) {
    const int64_t id =
        Json("transaction add Checking --type deposit --date 2024-02-01 --amount 0.1").at("id");
    Json("transaction delete " + std::to_string(id));
    auto undone = Json("undo");
    EXPECT_EQ(CliRun::Keys(undone),
              (std::vector<std::string>{"number", "time", "label", "kind", "state", "tables"}));
    EXPECT_EQ(undone.at("label"), "Delete 1 transaction");
    EXPECT_EQ(undone.at("state"), "undone");
    EXPECT_EQ(Json("transaction list Checking").at(1).at("id"), id);
    EXPECT_EQ(Balance(), 100.1);
    Json("undo");
    EXPECT_EQ(Balance(), 100.0);
    EXPECT_THAT(Run("redo").out, HasSubstr("Done again: Enter transaction."));
    EXPECT_EQ(Balance(), 100.1);

    const auto list = Json("history list");
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list.at(2).at("state"), "undone");
    EXPECT_EQ(Json("history list --last 1").dump(), "[" + list.at(2).dump() + "]");
    const auto shown = Json("history show 2");
    const auto& change = shown.at("changes").at(0);
    EXPECT_EQ(change.at("table"), "Transaction");
    EXPECT_EQ(change.at("row"), id);
    EXPECT_EQ(change.at("what"), "added");
    EXPECT_THAT(change.dump(), HasSubstr(R"({"column":"ServiceDate","before":null,)"
                                         R"("after":"2024-02-01"})"));
    EXPECT_THAT(change.dump(), HasSubstr(R"({"column":"Amount","before":null,"after":0.1})"));
    EXPECT_EQ(Run("history show 9").err,
              "quillon-cli: The history holds no such action; 'history list' shows what was "
              "done.\n");
    EXPECT_EQ(Run("history list --last 0").status, 2);

    Json("category add Toys");
    EXPECT_EQ(Run("redo").err, "quillon-cli: There is nothing to do again.\n");
}

TEST_F(History, ADamagedHistoryIsTold) {
    WriteFile("ledger/History.dat", "no history at all");
    EXPECT_THAT(Run("account list").out, HasSubstr("The history was damaged and begins anew"));
    EXPECT_EQ(Run("undo").err, "quillon-cli: There is nothing to undo.\n");
    Run("category add Toys");
    EXPECT_EQ(Run("undo").out, "Undone: New category 'Toys'.\n");
}

TEST_F(History, ImportsAreTakenBackAsAWhole) {
    WriteFile("bank.qif", "!Type:Bank\nD1/5/2024\nT-10\nPSHOP 1\n^\nD1/6/2024\nT-20\nPSHOP 2\n^\n");
    Json("import qif bank.qif --account Checking");
    EXPECT_EQ(Balance(), 70.0);
    const auto imports = Json("import list");
    ASSERT_EQ(imports.size(), 1U);
    EXPECT_EQ(CliRun::Keys(imports.at(0)),
              (std::vector<std::string>{"number", "time", "file", "account", "transactions",
                                        "matched", "state"}));
    EXPECT_EQ(imports.at(0).at("file"), "bank.qif");
    EXPECT_EQ(imports.at(0).at("transactions"), 2);
    const std::string number = imports.at(0).at("number").dump();

    Json("rule add SHOP Shop");
    EXPECT_EQ(Json("import rules " + number + " --dry-run").at("transactions"), 2);
    EXPECT_EQ(Json("import rules " + number).at("applied"), true);
    EXPECT_THAT(Run("payee list").out, HasSubstr("Shop"));
    Json("undo");

    const int64_t first = Json("transaction list Checking").at(1).at("id");
    Json("transaction edit " + std::to_string(first) + " --memo bread");
    const auto taken = Json("import undo " + number);
    EXPECT_EQ(taken.at("removed"), 1);
    EXPECT_EQ(taken.at("left").at(0).at("id"), first);
    EXPECT_EQ(taken.at("payeesRemoved"), 1);
    EXPECT_EQ(Balance(), 90.0);
    EXPECT_EQ(Json("import list").at(0).at("state"), "taken back");
    EXPECT_EQ(Json("import undo " + number + " --all").at("removed"), 1);
    EXPECT_EQ(Balance(), 100.0);
    EXPECT_THAT(Run("import undo 1").err, HasSubstr("'import list' shows those"));
}

}  // namespace
}  // namespace quillon
