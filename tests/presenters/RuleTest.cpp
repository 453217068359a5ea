#include <gtest/gtest.h>

#include <map>

#include "presenters/PresenterFixture.h"
#include "presenters/rules/RuleOutlook.h"
#include "presenters/rules/RuleSuggestions.h"

namespace quillon {
namespace {

// "search -> replacement: payee, payee"
std::vector<std::string> Suggested(const std::vector<std::string>& names) {
    std::vector<std::string> lines;
    for (const RuleSuggestion& each : SuggestRules(names)) {
        std::string line = each.search + " -> " + each.replacement + ":";
        for (const std::string& payee : each.payees) line += " " + payee + ",";
        line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

TEST(RuleSuggestions, OfNames) {
    const struct {
        const char* name;
        std::vector<std::string> payees;
        std::vector<std::string> suggested;
    } rows[] = {
        {"numbers of shops",
         {"GREENLEAF MARKET #1204", "GREENLEAF MARKET #88", "Rent"},
         {"GREENLEAF MARKET -> Greenleaf Market: GREENLEAF MARKET #1204, GREENLEAF MARKET #88"}},
        {"numbers and what follows them",
         {"CORNER CAFE 12 SPRINGFIELD", "CORNER CAFE 9 RIVERTON WA"},
         {"CORNER CAFE -> Corner Cafe: CORNER CAFE 12 SPRINGFIELD, CORNER CAFE 9 RIVERTON WA"}},
        {"dates",
         {"Parking 03/04", "Parking 04/04"},
         {"Parking -> Parking: Parking 03/04, Parking 04/04"}},
        {"places, one of them of two words",
         {"FRESH MARKET RIVERTON WA", "FRESH MARKET SAN PEDRO CA"},
         {"FRESH MARKET -> Fresh Market: FRESH MARKET RIVERTON WA, FRESH MARKET SAN PEDRO CA"}},
        {"as people call it",
         {"PINE BOOKS 1", "PINE BOOKS 2", "pine books"},
         {"PINE BOOKS -> pine books: PINE BOOKS 1, PINE BOOKS 2"}},
        {"a name of its own that the rule would take as well",
         {"HARBOR 1", "HARBOR 2", "HARBOR FERRY 7"},
         {}},
        {"what stands behind the number is no place",
         {"Transfer 17 for Anna", "Transfer 18 for the rent", "Transfer 19 for Anna"},
         {}},
        {"the same behind the number",
         {"Invoice 17 for flowers", "Invoice 18 for flowers"},
         {"Invoice -> Invoice: Invoice 17 for flowers, Invoice 18 for flowers"}},
        {"a sign is no number", {"Withdrawal - Internet", "Withdrawal - Counter"}, {}},
        {"too little in common", {"AB 1", "AB 2", "12", "34", "7 STARS", "7 MOONS"}, {}},
        {"one is no group", {"LONELY 1", "Rent"}, {}},
        {"alike by chance", {"Bank of the North", "Bank of the South"}, {}},
    };
    for (const auto& row : rows) EXPECT_EQ(Suggested(row.payees), row.suggested) << row.name;
}

class RuleOutlookTest : public PresenterFixture {
protected:
    void Rule(const char* search, const char* replace) {
        CRenamingRuleEntry rule;
        rule.searchText = search;
        rule.replaceText = replace;
        EXPECT_TRUE(workspace.Database().Add(rule));
    }
    static CWorkspace::WantTransaction From(int64_t date) {
        return [date](const CTransactionEntry& row) { return row.serviceDate >= date; };
    }
    // Payees with their number of transactions.
    std::map<std::string, int64_t> Payees() {
        std::map<std::string, int64_t> counts;
        COwnedList<CPayeeEntry> payees;
        EXPECT_TRUE(workspace.Database().List(payees));
        for (const CPayeeEntry& payee : payees) {
            COwnedList<CTransactionEntry> rows;
            EXPECT_TRUE(workspace.Database().ListTransactionsByPayee(payee.id, rows));
            counts[payee.name.ToUtf8()] = rows.Count();
        }
        return counts;
    }
};

TEST_F(RuleOutlookTest, OverThePast) {
    const int64_t account = Account("Checking");
    const auto enter = [&](const char* payee, int64_t date) {
        Enter(Row(account, TransactionType::Payment, 1, date), payee);
    };
    const int64_t may = Day(2024, 5, 1);
    // The new name of the first is the old one of the second.
    for (const char* payee : {"SHOP 1", "SHOP 2", "Shop", "Rent"}) enter(payee, may);
    enter("SHOP 1", Day(2024, 4, 1));
    Rule("Shop", "The Shop");
    Rule("SHOP", "Shop");

    RuleOutlook outlook;
    ASSERT_TRUE(LookAhead(workspace.Database(), From(may), outlook));
    ASSERT_EQ(outlook.renamings.size(), 3U);
    EXPECT_EQ(outlook.transactions, 3);
    EXPECT_EQ(outlook.renamings[0].before, "Shop");
    EXPECT_EQ(outlook.renamings[0].after, "The Shop");
    EXPECT_EQ(outlook.renamings[1].before, "SHOP 1");
    EXPECT_EQ(outlook.renamings[1].transactions, 1);
    ASSERT_EQ(workspace.RenamePayees(outlook.renamings, From(may)), LedgerStatus::Ok);
    using Counts = std::map<std::string, int64_t>;
    EXPECT_EQ(Payees(), (Counts{{"SHOP 1", 1}, {"Shop", 2}, {"The Shop", 1}, {"Rent", 1}}));

    ASSERT_TRUE(LookAhead(workspace.Database(), From(0), outlook));
    ASSERT_EQ(workspace.RenamePayees(outlook.renamings, From(0)), LedgerStatus::Ok);
    EXPECT_EQ(Payees(), (Counts{{"Shop", 1}, {"The Shop", 3}, {"Rent", 1}}));
}

// One that a recurring transaction still names stays.
TEST_F(RuleOutlookTest, APayeeInUseStays) {
    Enter(Row(Account("Checking"), TransactionType::Payment, 1), "SHOP 1");
    CMemorizedTransactionEntry memorized;
    memorized.payeeId = *workspace.Database().FindPayeeId("SHOP 1");
    ASSERT_TRUE(workspace.Database().Add(memorized));
    Rule("SHOP", "Shop");
    RuleOutlook outlook;
    ASSERT_TRUE(LookAhead(workspace.Database(), From(0), outlook));
    ASSERT_EQ(workspace.RenamePayees(outlook.renamings, From(0)), LedgerStatus::Ok);
    EXPECT_EQ(Payees(), (std::map<std::string, int64_t>{{"SHOP 1", 0}, {"Shop", 1}}));
}

// What the rules rename already needs no other rule.
TEST_F(RuleOutlookTest, SuggestionsForTheLedger) {
    const int64_t account = Account("Checking");
    for (const char* payee : {"SHOP 1", "SHOP 2", "CAFE 1", "CAFE 2"}) {
        Enter(Row(account, TransactionType::Payment, 1), payee);
    }
    Rule("SHOP", "Shop");
    std::vector<RuleSuggestion> suggestions;
    ASSERT_TRUE(SuggestRules(workspace.Database(), suggestions));
    ASSERT_EQ(suggestions.size(), 1U);
    EXPECT_EQ(suggestions[0].search, "CAFE");
}

}  // namespace
}  // namespace quillon
