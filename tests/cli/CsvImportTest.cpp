// Files in columns, by the command line.

#include "cli/CliFixture.h"

namespace quillon {
namespace {

using Keys = std::vector<std::string>;

class CsvCommand : public CliTest {
protected:
    void SetUp() override {
        MakeLedger();
        WriteFile("giro.csv",
                  "Konto;DE12\n\nBuchungstag;Empf\u00E4nger;Zweck;Betrag;Saldo\n"
                  "31.01.2024;B\u00E4cker;Brot;-1,50;98,50\n01.02.2024;Firma;Lohn;1.000,00;"
                  "1.098,50\n");
    }
};

TEST_F(CsvCommand, SaysWhatItFoundAndEntersOnce) {
    const auto tried = Json("import csv giro.csv --account Savings --dry-run");
    EXPECT_EQ(BalanceOf("Savings"), 0);
    const auto result = Json("import csv giro.csv --account Savings");
    EXPECT_EQ(CliRun::Keys(result),
              (Keys{"file", "account", "read", "imported", "duplicates", "matched",
                    "categoriesCreated", "payeesCreated", "dialect", "sources", "mapping",
                    "balanceRows", "balanceProved", "balanceDirection", "notes", "message"}));
    EXPECT_EQ(result.at("mapping").dump(),
              R"({"delimiter":";","headerLine":3,"date":1,"payee":2,"amount":4,"debit":0,)"
              R"("credit":0,"sign":0,"memo":3,"category":0,"check":0,"id":0,"balance":5,)"
              R"("invert":false})");
    EXPECT_EQ(result.at("mapping"), tried.at("mapping"));
    EXPECT_EQ(result.at("balanceRows"), 1);
    EXPECT_EQ(result.at("balanceProved"), 1);
    EXPECT_EQ(result.at("balanceDirection"), "down");
    EXPECT_EQ(BalanceOf("Savings"), 998.5);
    EXPECT_EQ(Json("import csv giro.csv --account Savings").at("duplicates"), 2);

    const CliRun run = Run("import csv giro.csv --account Savings");
    EXPECT_NE(run.out.find("Columns: date 1, payee 2, amount 4, memo 3, balance 5; delimiter ';', "
                           "heading in line 3\n"),
              std::string::npos)
        << run.out;
    WriteFile("plain.csv", "Date,Payee,Amount\n2024-01-31,A,-1.00\n");
    EXPECT_TRUE(Json("import csv plain.csv --account Checking").at("balanceDirection").is_null());
}

TEST_F(CsvCommand, ProfilesAreKeptAndFound) {
    const auto mapped = Json(
        "import csv giro.csv --account Savings --map payee=3,memo=2,balance= --decimal comma "
        "--invert --save-profile Bank --dry-run");
    EXPECT_EQ(mapped.at("mapping").at("payee"), 3);
    EXPECT_EQ(mapped.at("mapping").at("balance"), 0);
    EXPECT_EQ(Json("settings get CsvProfile_Bank Map").at("value"),
              "date=1,payee=3,amount=4,debit=0,credit=0,sign=0,memo=2,category=0,check=0,id=0,"
              "balance=0");
    // By its heading, and by its name where there is none.
    const auto found = Json("import csv giro.csv --account Savings");
    EXPECT_EQ(found.at("mapping"), mapped.at("mapping"));
    EXPECT_EQ(BalanceOf("Savings"), -998.5);
    WriteFile("bare.csv", "02.03.2024;A;B;-7,00;0\n");
    EXPECT_EQ(Json("import csv bare.csv --account Checking").at("mapping").at("invert"), false);
    EXPECT_EQ(Json("import csv bare.csv --account Checking --profile bank --dry-run")
                  .at("mapping")
                  .at("payee"),
              3);
    EXPECT_EQ(Json("import csv giro.csv --account Visa --profile Bank --map payee=2 --dry-run")
                  .at("mapping")
                  .at("payee"),
              2)
        << "what is asked for goes before";
}

TEST_F(CsvCommand, SaysWhatIsWrong) {
    WriteFile("nothing.csv", "a;b\nc;d\n");
    const struct {
        const char* words;
        int status;
        const char* message;
    } rows[] = {
        {"--map payee", 2, "--map takes fields with their columns"},
        {"--map payee=x", 2, "not 'payee=x'"},
        {"--map payee=1,payee=2", 2, "fields are date, payee, memo"},
        {"--delimiter ab", 2, "--delimiter takes one character"},
        {"--skip -1", 2, "--skip takes a number of lines"},
        {"--profile Nobody", 1, "There is no profile 'Nobody'; --save-profile makes one."},
        {"--save-profile 'a]b\nc'", 1, "A profile's name"},
        {"--map memo=9", 1, "Its rows have no such column as was asked for."},
    };
    for (const auto& row : rows) {
        const CliRun run =
            Run(CommandWords("import csv giro.csv --account Savings") + CommandWords(row.words));
        EXPECT_EQ(run.status, row.status) << row.words;
        EXPECT_NE(run.err.find(row.message), std::string::npos) << run.err;
    }
    const CliRun run = Run("import csv nothing.csv --account Savings");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("None of its rows has both a date and an amount. Tried: ';'"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(BalanceOf("Savings"), 0);
}

TEST_F(CsvCommand, ReadsWhatExportWrites) {
    Json(
        "transaction add Visa --type charge --date 2024-02-13 --amount 1234.5 --payee "
        "'Smith, \"Joe\"' --category Travel --memo 'a memo'");
    Json("transaction add Visa --type payment --date 2024-02-14 --amount 20 --payee Me");
    Json("export csv Visa visa.csv");
    Json("account add Copy --type credit");
    EXPECT_EQ(Json("import csv visa.csv --account Copy").at("imported"), 2);
    EXPECT_EQ(BalanceOf("Copy"), -1214.5) << "without the opening balance";
    const auto rows = Json("transaction list Copy");
    EXPECT_EQ(rows[0].at("payee"), "Smith, \"Joe\"");
    EXPECT_EQ(rows[0].at("category"), "Travel");
    EXPECT_EQ(rows[0].at("memo"), "a memo");
}

}  // namespace
}  // namespace quillon
