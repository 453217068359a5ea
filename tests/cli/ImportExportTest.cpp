// Bank downloads in, registers out.

#include "cli/CliFixture.h"

namespace quillon {
namespace {

using Keys = std::vector<std::string>;

class ImportExport : public CliTest {
protected:
    // A register without what the text format cannot hold.
    nlohmann::ordered_json Plain(const std::string& account, bool withMemo) {
        auto rows = Json({"transaction", "list", account});
        for (auto& row : rows) {
            for (const char* key : {"id", "account", "fitId", "type", "typeCode"}) row.erase(key);
            if (!withMemo) row.erase("memo");
        }
        return rows;
    }
};

TEST_F(ImportExport, StatementsEnterOnce) {
    MakeLedger();
    BringExample("checking.qfx");
    const Arguments import{"import", "qfx", "checking.qfx", "--account", "Checking"};
    Arguments dryRun = import;
    dryRun.push_back("--dry-run");
    const auto tried = Json(dryRun);
    EXPECT_EQ(BalanceOf("Checking"), 1000);

    const auto result = Json(import);
    EXPECT_EQ(CliRun::Keys(result), (Keys{"file", "account", "read", "imported", "duplicates",
                                          "matched", "categoriesCreated", "payeesCreated",
                                          "dialect", "sources", "notes", "message"}));
    EXPECT_EQ(CliRun::Keys(result.at("dialect")),
              (Keys{"dateOrder", "years", "decimal", "charset"}));
    EXPECT_GT(result.at("imported"), 40);
    for (const char* key : {"read", "imported", "duplicates", "payeesCreated"}) {
        EXPECT_EQ(result.at(key), tried.at(key)) << key;
    }
    EXPECT_EQ(BalanceOf("Checking"), 4914.8);
    const auto rows = Json({"transaction", "list", "Checking"});
    EXPECT_TRUE(rows[1].at("fitId").is_string());
    EXPECT_NE(rows[1].at("fitId"), "0");

    const auto again = Json(import);
    EXPECT_EQ(again.at("imported"), 0);
    EXPECT_EQ(again.at("duplicates"), result.at("imported"));
    EXPECT_EQ(BalanceOf("Checking"), 4914.8);
}

TEST_F(ImportExport, EntriesMadeByHandAreMatched) {
    MakeLedger();
    const auto bill = Json(
        "transaction add Checking --type payment --date 2024-03-05 --amount 45 "
        "--payee Electric");
    Json("transaction add Checking --type payment --date 2024-03-20 --amount 9 --payee Baker");
    WriteFile("in.qfx",
              "<OFX>\n"
              "<STMTTRN><DTPOSTED>20240307<TRNAMT>-45<FITID>88<CHECKNUM>4<NAME>ELECTRIC CO"
              "</STMTTRN>\n<STMTTRN><DTPOSTED>20240321<TRNAMT>-9<FITID>89<NAME>Miller</STMTTRN>\n"
              "<STMTTRN><DTPOSTED>soon<TRNAMT>-1<FITID>90<NAME>Miller</STMTTRN>\n</OFX>\n");
    const std::string import = "import qfx in.qfx --account Checking";
    const auto rows = Json(import + " --dry-run").at("rows");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(CliRun::Keys(rows[0]),
              (Keys{"line", "date", "amount", "payeeInFile", "payee", "category", "check", "memo",
                    "fitId", "outcome", "action", "match"}));
    EXPECT_EQ(rows[0].at("outcome"), "matches");
    EXPECT_EQ(rows[0].at("action"), "match");
    EXPECT_EQ(rows[0].at("match"), bill.at("id"));
    EXPECT_EQ(rows[0].at("fitId"), "88");
    EXPECT_EQ(rows[1].at("outcome"), "maybe");
    EXPECT_EQ(rows[1].at("action"), "enter");
    EXPECT_EQ(rows[2].at("outcome"), "unreadable");
    EXPECT_TRUE(rows[2].at("date").is_null());
    const CliRun shown = Run(import + " --dry-run");
    for (const std::string& words : {"match " + bill.at("id").dump(), std::string("enter, may be "),
                                     std::string("Matched with entries made by hand: 1")}) {
        EXPECT_NE(shown.out.find(words), std::string::npos) << words << "\n" << shown.out;
    }
    EXPECT_EQ(Json(import + " --match none --dry-run").at("imported"), 3);
    const auto result = Json(import);
    EXPECT_EQ(result.at("matched"), 1);
    EXPECT_EQ(result.at("imported"), 2);
    const auto listed = Json("transaction list Checking --payee Electric");
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed[0].at("fitId"), "88");
    EXPECT_EQ(listed[0].at("check"), 4);
    EXPECT_EQ(listed[0].at("date"), "2024-03-05");
    EXPECT_EQ(Json(import).at("duplicates"), 3);
}

TEST_F(ImportExport, DryRunsOfLongFilesShowTheirBeginning) {
    MakeLedger();
    std::string qif = "!Type:Bank\n";
    for (int i = 1; i <= 250; ++i) qif += "D03/05'24\nT-" + std::to_string(i) + "\n^\n";
    WriteFile("long.qif", qif);
    const CliRun run = Run("import qif long.qif --account Savings --dry-run");
    EXPECT_NE(run.out.find("-200.00"), std::string::npos);
    EXPECT_EQ(run.out.find("-201.00"), std::string::npos);
    EXPECT_NE(run.out.find("and 50 more; --json lists all."), std::string::npos);
    EXPECT_EQ(Json("import qif long.qif --account Savings --dry-run").at("rows").size(), 250U);
}

TEST_F(ImportExport, DialectIsShownAndCanBeSwitchedOff) {
    MakeLedger();
    WriteFile("euro.qif", "!Type:Bank\nD25.12.2023\nT-12,50\nPBäckerei\n^\n");
    const CliRun run = Run({"import", "qif", "euro.qif", "--account", "Savings"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("dates dmy, years as written, decimal comma"), std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("25.12.2023"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Balance of 'Savings': -12.50"), std::string::npos) << run.out;

    WriteFile("plain.qif", "!Type:Bank\nD1/2'21\nT-12.50\nPShop\nLFood\n^\n");
    const auto plain =
        Json({"import", "qif", "plain.qif", "--account", "Checking", "--dialect", "plain"});
    EXPECT_EQ(plain.at("categoriesCreated"), 1);
    EXPECT_EQ(plain.at("dialect").dump(),
              R"({"dateOrder":"mdy","years":"two-digit","decimal":"point","charset":"utf-8"})");
    const auto asked =
        Json({"import", "qif", "plain.qif", "--account", "Checking", "--date-order", "dmy"});
    EXPECT_EQ(asked.at("dialect").at("dateOrder"), "dmy");
    const auto rows = Json({"transaction", "list", "Checking", "--payee", "Shop"});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].at("date"), "2021-01-02");
    EXPECT_EQ(rows[1].at("date"), "2021-02-01");
}

TEST_F(ImportExport, AFileOfSeveralAccountsAsksWhichOneIsMeant) {
    MakeLedger();
    WriteFile("two.qif",
              "!Account\nNVisa\n^\n!Type:CCard\nD1/2/21\nT-5\nPA\n^\n!Account\nNHouse\n^\n"
              "!Type:Bank\nD1/2/21\nT-7\nPB\n^\n");
    const CliRun run = Run({"--json", "import", "qif", "two.qif", "--account", "Checking"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "quillon-cli: The file 'two.qif' holds several accounts: 'Visa' (1 line), 'House' "
              "(1 line). Nothing was entered; say which of them is meant. Give --source NAME for "
              "one of them, or --source all for all.\n");
    EXPECT_EQ(
        nlohmann::json::parse(run.out).at("sources").dump(),
        R"([{"chosen":false,"lines":1,"name":"Visa"},{"chosen":false,"lines":1,"name":"House"}])");
    const auto named = Json({"import", "qif", "two.qif", "--account", "Visa"});
    EXPECT_EQ(named.at("imported"), 1);
    EXPECT_TRUE(named.at("sources")[0].at("chosen"));
    EXPECT_EQ(Json({"import", "qif", "two.qif", "--account", "Checking", "--source", "house"})
                  .at("imported"),
              1);
    EXPECT_EQ(Run({"import", "qif", "two.qif", "--account", "Checking", "--dialect", "plain",
                   "--source", "House"})
                  .status,
              2);
}

// An exported register comes back the same, under both ways of reading.
TEST_F(ImportExport, QifRoundTrip) {
    MakeLedger();
    const struct {
        const char* type;
        const char* date;
        const char* amount;
        Arguments more;
    } entries[] = {
        {"deposit", "1951-01-01", "0.01", {"--payee", "First"}},
        {"payment", "1999-12-31", "1234567.89", {"--payee", "Shop", "--check", "1001"}},
        {"payment", "2000-02-29", "12.34", {"--payee", "Café Mühlbach", "--category", "Travel"}},
        {"withdrawal", "2024-11-12", "40", {"--payee", "Cash", "--electronic", "ATM"}},
        {"payment", "2024-11-12", "7.12", {"--payee", "Odd", "--electronic", "EFT"}},
        {"payment",
         "2050-12-31",
         "9.99",
         {"--payee", "Last", "--electronic", "Transfer", "--memo", "A memo, \"quoted\""}},
    };
    for (const auto& entry : entries) {
        for (const char* account : {"Savings", "Visa"}) {
            Arguments add{"transaction", "add",      account,    "--type",    entry.type,
                          "--date",      entry.date, "--amount", entry.amount};
            add.insert(add.end(), entry.more.begin(), entry.more.end());
            Json(add);
        }
    }
    // The opening balance has no payee, which one way of reading makes its memo and the
    // other a payee without name.
    Json({"transaction", "edit", "2", "--payee", "Opening"});
    for (const std::string account : {"Savings", "Visa"}) {
        const std::string file = account + ".qif";
        const auto written = Json({"export", "qif", account, file});
        EXPECT_EQ(CliRun::Keys(written), (Keys{"file", "written"}));
        for (const std::string dialect : {"auto", "plain"}) {
            SCOPED_TRACE(account + " " + dialect);
            const std::string copy = account + " " + dialect;
            Json({"account", "add", copy, "--type", account == "Visa" ? "credit" : "savings"});
            const auto read =
                Json({"import", "qif", file, "--account", copy, "--dialect", dialect});
            EXPECT_EQ(read.at("imported"), written.at("written"));
            const bool withMemo = dialect == "auto";
            EXPECT_EQ(Plain(copy, withMemo).dump(1), Plain(account, withMemo).dump(1));
        }
    }
}

// Beyond the years that two digits can say.
TEST_F(ImportExport, QifYearsBeyondTwoDigits) {
    MakeLedger();
    for (const char* date : {"1938-05-13", "2051-01-01"}) {
        Json({"transaction", "add", "Savings", "--type", "deposit", "--date", date, "--amount", "1",
              "--payee", "P"});
    }
    Json({"export", "qif", "Savings", "long.qif"});
    EXPECT_EQ(FileText("long.qif"),
              "!Type:Bank\nD05/13/1938\nT1.00\nPP\n^\nD01/01/2051\nT1.00\nPP\n^\n");
    Json({"account", "add", "Copy", "--type", "savings"});
    Json({"import", "qif", "long.qif", "--account", "Copy"});
    EXPECT_EQ(Plain("Copy", true), Plain("Savings", true));
}

TEST_F(ImportExport, CsvIsRfc4180) {
    MakeLedger();
    Json({"transaction", "add", "Visa", "--type", "charge", "--date", "2024-02-03", "--amount",
          "1234.5", "--payee", "Smith, \"Joe\"", "--category", "Travel", "--memo", "é"});
    EXPECT_EQ(Json({"export", "csv", "Visa", "visa.csv"}).dump(),
              R"({"file":"visa.csv","written":2})");
    const std::string expected =
        "Date,Type,Check,Electronic,Payee,Category,Amount,Balance,FitId,Memo\r\n"
        "2024-01-01,charge,,,,Adjustment,-200.00,-200.00,,Opening balance\r\n"
        "2024-02-03,charge,,,\"Smith, \"\"Joe\"\"\",Travel,-1234.50,-1434.50,,é\r\n";
    EXPECT_EQ(FileText("visa.csv"), expected);

    // Somebody's file is replaced only when asked for.
    WriteFile("mine.csv", "mine");
    EXPECT_EQ(Run({"export", "csv", "Visa", "mine.csv"}).err,
              "quillon-cli: The file 'mine.csv' exists; choose another name, or replace it with "
              "--overwrite.\n");
    EXPECT_EQ(FileText("mine.csv"), "mine");
    Json({"export", "csv", "Visa", "mine.csv", "--overwrite"});
    EXPECT_EQ(FileText("mine.csv"), expected);
}

}  // namespace
}  // namespace quillon
