// Accounts, registers, transactions and transfers.

#include "cli/CliFixture.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CalendarDate.h"
#include "foundation/platform/Clock.h"

namespace quillon {
namespace {

using testing::HasSubstr;

using Keys = std::vector<std::string>;
const Keys kAccountKeys{"id",    "name", "description", "type", "balance", "latestCheckNumber",
                        "active"};
const Keys kTransactionKeys{"id",     "account",    "date",  "type",     "typeCode",
                            "check",  "electronic", "payee", "category", "amount",
                            "effect", "balance",    "fitId", "memo"};

class Register : public CliTest {
protected:
    // "Checking payment 2024-03-05 40.10", and options.
    int64_t Add(const Arguments& what, const Arguments& options = {}) {
        const Arguments words{"transaction", "add",   what[0],    "--type", what[1],
                              "--date",      what[2], "--amount", what[3]};
        return Json(words + options).at("id");
    }
};

TEST_F(Register, AccountsKeepTheirShape) {
    const auto made = Json("init");
    EXPECT_EQ(CliRun::Keys(made), (Keys{"database", "created", "tables"}));
    EXPECT_EQ(made.dump(), R"({"database":"ledger","created":true,"tables":15})");
    EXPECT_EQ(Json("init").at("created"), false);

    const auto visa = Json(
        "account add Visa --type credit --balance -812.33 --description Lakeside --date "
        "2024-03-31");
    EXPECT_EQ(CliRun::Keys(visa), kAccountKeys);
    EXPECT_EQ(visa.dump(), R"({"id":1,"name":"Visa","description":"Lakeside","type":"credit",)"
                           R"("balance":-812.33,"latestCheckNumber":0,"active":true})");
    EXPECT_EQ(Json("account list").dump(), "[" + visa.dump() + "]");
    EXPECT_EQ(Json("account close visa").at("active"), false);
    EXPECT_EQ(Run("account close Visa").status, 1);
    EXPECT_EQ(Run("transaction add Visa --type charge --date 2024-04-01 --amount 1").err,
              "quillon-cli: The account 'Visa' is closed; 'account reopen' takes it into use "
              "again.\n");
    EXPECT_EQ(Json("account reopen Visa").at("active"), true);

    Json("transaction add Visa --type payment --date 2024-04-01 --amount 12.33");
    EXPECT_EQ(Json("account edit Visa --name Giro --type checking").dump(),
              R"({"id":1,"name":"Giro","description":"Lakeside","type":"checking",)"
              R"("balance":-824.66,"latestCheckNumber":0,"active":true})");
    EXPECT_EQ(Run("account edit Giro").status, 2);
    EXPECT_EQ(Json("verify").at("code"), 0);
}

TEST_F(Register, RunningBalancesInRegisterOrder) {
    MakeLedger();
    // Entered out of order; two on one day stay in the order of their numbers.
    Add("Checking payment 2024-03-05 40.10", "--payee Shop --category Groceries --check 1001");
    Add("Checking deposit 2024-02-01 1,250.55",
        "--payee Employer --category Income --electronic EFT --memo Pay");
    Add("Checking withdrawal 2024-03-05 60");

    const auto rows = Json("transaction list Checking");
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(CliRun::Keys(rows[0]), kTransactionKeys);
    EXPECT_EQ(rows[1].dump(),
              R"({"id":4,"account":"Checking","date":"2024-02-01","type":"deposit","typeCode":1,)"
              R"("check":0,"electronic":"EFT","payee":"Employer","category":"Income",)"
              R"("amount":1250.55,"effect":1250.55,"balance":2250.55,"fitId":"0","memo":"Pay"})");
    const double balances[] = {1000.0, 2250.55, 2210.45, 2150.45};
    const int64_t ids[] = {1, 4, 3, 5};
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].at("balance"), balances[i]);
        EXPECT_EQ(rows[i].at("id"), ids[i]);
    }
    EXPECT_EQ(BalanceOf("Checking"), 2150.45);
    EXPECT_EQ(Json("account list")[0].at("latestCheckNumber"), 1001);
    EXPECT_EQ(
        Run("transaction list Checking").out,
        "Id  Date        Type        Number  Payee     Category      Effect   Balance  Memo\n"
        "--  ----------  ----------  ------  --------  ----------  --------  --------  "
        "---------------\n"
        " 1  2024-01-01  Deposit                       Adjustment  1,000.00  1,000.00  Opening "
        "balance\n"
        " 4  2024-02-01  Deposit     EFT     Employer  Income      1,250.55  2,250.55  Pay\n"
        " 3  2024-03-05  Payment     1001    Shop      Groceries     -40.10  2,210.45\n"
        " 5  2024-03-05  Withdrawal                                  -60.00  2,150.45\n"
        "\n"
        "4 transactions: in 2,250.55, out 100.10\n"
        "Balance of 'Checking': 2,150.45\n");
}

// Filters hide lines and leave the running balance alone.
TEST_F(Register, Filters) {
    MakeLedger();
    Add("Checking payment 2024-02-10 10", "--payee 'Café Mühlbach' --category Travel");
    Add("Checking payment 2024-02-20 20",
        "--payee 'Harbor Fish' --category Groceries --memo 'Two kilos'");
    Add("Checking payment 2024-03-01 30", "--payee 'Harbor Fitness' --check 77");
    const struct {
        const char* name;
        Arguments options;
        std::vector<double> balances;
    } rows[] = {
        {"from, included", {"--from", "2024-02-20"}, {970, 940}},
        {"to, included", {"--to", "2024-02-10"}, {1000, 990}},
        {"one day", {"--from", "2024-02-20", "--to", "2024-02-20"}, {970}},
        {"payee", {"--payee", "Harbor Fish"}, {970}},
        {"payee, any case beyond ASCII", {"--payee", "CAFÉ MÜHLBACH"}, {990}},
        {"payee pattern", {"--payee", "harbor*"}, {970, 940}},
        {"pattern that nothing matches", {"--payee", "x*"}, {}},
        {"category", {"--category", "travel"}, {990}},
        {"memo", {"--contains", "KILO"}, {970}},
        {"check number", {"--contains", "77"}, {940}},
        {"amount", {"--contains", "-20.00"}, {970}},
        {"both", {"--payee", "harbor*", "--to", "2024-02-28"}, {970}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<double> balances;
        const auto lines = Json(Arguments("transaction list Checking") + row.options);
        for (const auto& line : lines) balances.push_back(line.at("balance"));
        EXPECT_EQ(balances, row.balances);
    }
    EXPECT_EQ(Run("transaction list Checking --payee 'Harbour Fish'").err,
              "quillon-cli: There is no payee 'Harbour Fish'; did you mean 'Harbor Fish'? 'payee "
              "list' shows all.\n");
}

// The balance follows every change in the same commit.
TEST_F(Register, EditsAndDeletes) {
    MakeLedger();
    const std::string id = std::to_string(
        Add("Checking payment 2024-02-01 100", "--payee Shop --category Groceries --memo first"));
    EXPECT_EQ(BalanceOf("Checking"), 900);
    EXPECT_EQ(Json({"transaction", "edit", id, "--amount", "25.5"}).at("amount"), 25.5);
    EXPECT_EQ(BalanceOf("Checking"), 974.5);
    EXPECT_EQ(Json({"transaction", "edit", id, "--type", "deposit"}).at("effect"), 25.5);
    EXPECT_EQ(BalanceOf("Checking"), 1025.5);
    // On a card a payment comes in.
    const auto moved = Json({"transaction", "edit", id, "--account", "Visa", "--type", "payment"});
    EXPECT_EQ(moved.at("account"), "Visa");
    EXPECT_EQ(moved.at("balance"), -174.5);
    EXPECT_EQ(BalanceOf("Checking"), 1000);
    // Without one the type follows the account, and the money keeps its way.
    EXPECT_EQ(Json({"transaction", "edit", id, "--account", "Checking"}).at("type"), "deposit");
    EXPECT_EQ(Json({"transaction", "edit", id, "--account", "Visa"}).at("effect"), 25.5);
    // An empty text takes a value away; the others stay.
    const auto cleared = Json({"transaction", "edit", id, "--payee", "", "--category", ""});
    EXPECT_EQ(cleared.at("payee"), "");
    EXPECT_EQ(cleared.at("category"), "");
    EXPECT_EQ(cleared.at("memo"), "first");
    EXPECT_EQ(Json({"transaction", "delete", id}).at("memo"), "first");
    EXPECT_EQ(BalanceOf("Visa"), -200);
    EXPECT_EQ(Json("verify").at("code"), 0);
}

// A command on a few transactions reads a few, however many the account has; halving an index
// takes some reads more, a register two for each row.
TEST_F(Register, ReadsWhatItShows) {
    MakeLedger();
    constexpr int kFew = 40;
    constexpr int kMany = 400;
    std::vector<int64_t> reads[2];
    int entered = 0;
    for (const int rows : {kFew, kMany}) {
        {
            CQuillonDatabaseInterface database(m_disk);
            ASSERT_TRUE(database.Open("ledger").opened);
            CLedger ledger(database);
            CLedgerImport import(ledger, 1);
            ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
            for (; entered < rows; ++entered) {
                CTransactionEntry row;
                row.serviceDate = FileTimeFromDate(2020, 1, 1) + entered * kTicksPerDay;
                row.amount = 2.0;
                row.memo = "memo";
                ASSERT_EQ(import.Enter(row), LedgerStatus::Ok);
            }
            ASSERT_TRUE(import.Finish());
        }
        const std::string deleted = rows == kFew ? "21" : "22";
        for (const Arguments& command : std::vector<Arguments>{
                 {"transaction", "list", "Checking", "--from", "2020-01-02", "--to", "2020-01-04"},
                 {"transaction", "edit", "9", "--amount", "3"},
                 {"--json", "transaction", "edit", "10", "--amount", "3"},
                 {"transaction", "delete", deleted}}) {
            const int64_t before = m_disk.Count(CMemoryFileSystem::Call::Read);
            EXPECT_EQ(Run(command).status, 0);
            reads[rows == kMany].push_back(m_disk.Count(CMemoryFileSystem::Call::Read) - before);
        }
    }
    for (size_t i = 0; i < reads[0].size(); ++i) {
        EXPECT_LT(reads[1][i], reads[0][i] + kMany - kFew) << "command " << i;
    }
}

TEST_F(Register, TransfersHaveTwoSides) {
    MakeLedger();
    const CStoppedClock clock(FileTimeFromDate(2024, 5, 6));
    const auto sides = Json("transfer Checking Visa --amount 150 --memo Card");
    ASSERT_EQ(sides.size(), 2u);
    EXPECT_EQ(sides[0].at("type"), "transfer");
    EXPECT_EQ(sides[0].at("effect"), -150);
    EXPECT_EQ(sides[1].at("type"), "payment");
    EXPECT_EQ(sides[1].at("balance"), -50);
    EXPECT_EQ(sides[1].at("date"), "2024-05-06");
    const std::string paying = sides[0].at("id").dump();
    const std::string receiving = sides[1].at("id").dump();

    // One side alone: done, and the other one is mentioned.
    const CliRun alone = Run({"transaction", "edit", receiving, "--memo", "Mine"});
    EXPECT_EQ(alone.status, 0);
    EXPECT_THAT(alone.out,
                HasSubstr("transaction " + paying + " in 'Checking', was left as it was"));

    const auto both = Json({"transaction", "edit", paying, "--amount", "175", "--both"});
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(BalanceOf("Checking"), 825);
    EXPECT_EQ(BalanceOf("Visa"), -25);
    EXPECT_EQ(Json({"transaction", "delete", receiving, "--both"}).size(), 2u);
    EXPECT_EQ(BalanceOf("Checking"), 1000);
    EXPECT_EQ(BalanceOf("Visa"), -200);
}

TEST_F(Register, CategoriesPayeesAndRules) {
    MakeLedger();
    const auto category = Json("category add Garden");
    ASSERT_EQ(category.size(), 1u);
    EXPECT_EQ(CliRun::Keys(category[0]),
              (Keys{"id", "name", "includeIncome", "includeWorth", "includeInvestment",
                    "includePayee", "includeTotal", "includeBudget", "includeReports"}));
    Add("Checking payment 2024-02-01 5", "--payee 'Seeds & Co' --category Garden");
    EXPECT_EQ(Run("category delete Garden").err,
              "quillon-cli: The category 'Garden' is used in 1 place; give another one for them "
              "with --to CATEGORY.\n");
    EXPECT_EQ(Run("category rename Garden Rent").status, 1);
    EXPECT_EQ(Json("category rename Garden Yard")[0].at("name"), "Yard");
    Json("category delete Yard --to Household");
    Json("payee add Seeds");
    Json("payee delete 'Seeds & Co' --to Seeds");
    const auto row = Json("transaction list Checking")[1];
    EXPECT_EQ(row.at("category"), "Household");
    EXPECT_EQ(row.at("payee"), "Seeds");
    EXPECT_EQ(Json("payee list").dump(), R"([{"id":2,"name":"Seeds"}])");

    const auto rule = Json("rule add SEEDS Seeds");
    EXPECT_EQ(rule.dump(), R"([{"id":2,"search":"SEEDS","replace":"Seeds"}])");
    EXPECT_EQ(Json("rule rename 2 SEED")[0].at("replace"), "Seeds");
    EXPECT_EQ(Json("rule delete SEED").size(), 1u);

    for (const char* payee : {"'SEEDS 1'", "'SEEDS 2'"}) {
        Add("Checking payment 2024-02-02 5", std::string("--payee ") + payee);
    }
    EXPECT_EQ(Json("rule suggest").dump(),
              R"([{"search":"SEEDS","replace":"Seeds","payees":["SEEDS 1","SEEDS 2"]}])");
    Json("rule add SEEDS Seeds");
    EXPECT_EQ(Json("rule try 'SEEDS 7'").at("result"), "Seeds");
    EXPECT_EQ(Json("rule try Rent").at("rules").size(), 0u);
    EXPECT_EQ(Json("rule apply --dry-run").at("transactions"), 2);
    EXPECT_EQ(Json("rule apply --from 2024-02-03").at("applied"), false);
    EXPECT_EQ(Json("rule apply").at("changes")[1].dump(),
              R"({"before":"SEEDS 2","after":"Seeds","transactions":1})");
    EXPECT_EQ(Json("payee list").size(), 1u);
    Json("rule delete SEEDS");
    EXPECT_EQ(Json("rule list").dump(), R"([{"id":1,"search":"void","replace":"VOID"}])");
}

}  // namespace
}  // namespace quillon
