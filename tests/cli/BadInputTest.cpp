// What is wrong gets one line on standard error, the right exit status, and leaves the
// ledger as it was.

#include <algorithm>

#include "cli/CliFixture.h"
#include "storage/database/DatabaseManager.h"
#include "support/EachFailure.h"

namespace quillon {
namespace {

using testing::HasSubstr;

class BadInput : public CliTest {
protected:
    struct Row {
        Arguments arguments;
        std::string message;  // without the program's name and the line break
    };

    void ExpectRefusals(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.message);
            const CliRun run = Run(row.arguments);
            EXPECT_EQ(run.status, 1);
            EXPECT_EQ(run.err, "quillon-cli: " + row.message + "\n");
            EXPECT_EQ(run.out, "");
        }
        EXPECT_EQ(Ledger(), m_before);
    }

    std::string Ledger() {
        std::string all = Json("account list").dump();
        for (const char* account : {"Checking", "Savings", "Visa"}) {
            all += Json({"transaction", "list", account}).dump();
        }
        return all + Json("category list").dump() + Json("payee list").dump();
    }

    void SetUp() override {
        MakeLedger();
        m_before = Ledger();
    }

    std::string m_before;
};

TEST_F(BadInput, Names) {
    ExpectRefusals({
        {"transaction list Chekcing",
         "There is no account 'Chekcing'; did you mean 'Checking'? 'account list' shows all."},
        {"transaction list Brokerage",
         "There is no account 'Brokerage'; 'account list' shows all."},
        {"import qif x.qif --account visas",
         "There is no account 'visas'; did you mean 'Visa'? 'account list' shows all."},
        {"transaction add Checking --type payment --date 2024-02-01 --amount 5 --payee Newcomer "
         "--category Grocery",
         "There is no category 'Grocery'; did you mean 'Groceries'? 'category list' shows all."},
        {"transfer Checking checking --amount 1", "A transfer needs two different accounts."},
        {"account add Savings --type savings",
         "There is an account 'Savings' already; choose another name."},
        {"account add '' --type savings", "An account needs a name."},
        {"account add A\nB --type savings",
         "The name holds a line break or another control character; write it on one line."},
        {"category delete Transfer",
         "The category 'Transfer' is needed by the program and stays as it is."},
        {"category delete Rent --to Transfer",
         "Nothing is moved to 'Transfer', under which the program itself files transfers and "
         "opening balances; choose another category."},
        {"rule delete nothing", "There is no rule 'nothing'; 'rule list' shows all."},
        {"transaction delete 99",
         "There is no transaction 99; 'transaction list ACCOUNT' shows their numbers."},
        {"transaction delete 1 --both",
         "Transaction 1 has no other side: it is no transfer, or the other side is gone or was "
         "changed; leave --both out."},
    });
}

TEST_F(BadInput, AmountsDatesAndNumbers) {
    const auto add = [](const char* amount, const char* date) {
        return Arguments("transaction add Checking --type payment --payee Somebody") +
               Arguments{"--amount", amount, "--date", date};
    };
    ExpectRefusals({
        {add("abc", "2024-02-01"), "'abc' is not an amount; write it like 1234.50."},
        {add("12,50", "2024-02-01"), "'12,50' is not an amount; write it like 1234.50."},
        {add("inf", "2024-02-01"), "'inf' is not an amount; write it like 1234.50."},
        {add("99999999999999", "2024-02-01"),
         "The amount 99999999999999 is too large for the ledger."},
        {add("-5", "2024-02-01"),
         "The amount -5 is negative; write it without sign, the type gives the direction."},
        {add("0.004", "2024-02-01"),
         "The amount 0.004 has more than two decimals; write it in whole cents, like 1234.50."},
        {add("10.000000001", "2024-02-01"),
         "The amount 10.000000001 has more than two decimals; write it in whole cents, like "
         "1234.50."},
        {add("5", "2023-02-29"),
         "'2023-02-29' is not a date; write YYYY-MM-DD, a day that exists."},
        {add("5", "2/1/2024"), "'2/1/2024' is not a date; write YYYY-MM-DD, a day that exists."},
        {add("5", "2024-2-1"), "'2024-2-1' is not a date; write YYYY-MM-DD, a day that exists."},
        {"transfer Checking Savings --amount -1",
         "The amount -1 is negative; write it without sign, money goes from the first account."},
        {"transaction edit 1 --check 12a",
         "'12a' is not a check number; write a whole number, 0 for none."},
        {"transaction edit one --amount 1",
         "'one' is not a row's number; the first column of a list holds them."},
        {"account add New --type loan --balance 1e5",
         "'1e5' is not an amount; write it like 1234.50."},
        {"transaction list Visa --from 2024-02-01 --to 2024-01-01",
         "--from 2024-02-01 is after --to 2024-01-01; no date lies between them."},
    });
}

TEST_F(BadInput, WrongUsage) {
    const struct {
        Arguments arguments;
        const char* mentions;
    } rows[] = {
        {"", "subcommand"},
        {"acount list", "'acount' is not a command; did you mean 'account'?"},
        {"account new", "'new' is not a command (see quillon-cli account --help)"},
        {"account", "(see quillon-cli account --help)"},
        {"account add New", "--type"},
        {"account add New --type cash", "cash"},
        {"account list --all", "--all"},
        {"transaction edit 1", "Nothing to change"},
        {"import qif x --account Visa --date-order ydm", "ydm"},
        {"transaction list Visa --from", "--from"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mentions);
        const CliRun run = RunBare(row.arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_THAT(run.err, HasSubstr(row.mentions));
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(BadInput, ImportFiles) {
    WriteFile("empty.qif", "");
    WriteFile("binary.qif", std::string("\x7F"
                                        "ELF\x02\x01\0\0\0\0\xFF\xFE\x00\x01",
                                        14));
    WriteFile("other.qfx", "Dear customer,\r\nyour statement is attached.\r\n");
    WriteFile("endless.qif", std::string(1 << 20, 'D'));
    for (const Arguments& file :
         {Arguments("qif missing.qif"), Arguments("qif empty.qif"), Arguments("qif binary.qif"),
          Arguments("qfx other.qfx"), Arguments("qif endless.qif")}) {
        SCOPED_TRACE(file[1]);
        const CliRun run = Run({"import", file[0], file[1], "--account", "Checking"});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_THAT(run.err, HasSubstr(file[1]));
        EXPECT_LT(run.err.size(), 400u);
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(Ledger(), m_before);
}

// What cannot be opened says why, and is not touched.
TEST_F(BadInput, Databases) {
    const auto ledger = m_disk.Snapshot();
    const auto expect = [&](const char* name, const std::string& mentions) {
        SCOPED_TRACE(name);
        const CliRun run = Run("account list");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        std::string message = run.err;
        std::replace_if(message.begin(), message.end(), IsPathSeparator, '/');
        EXPECT_THAT(message, HasSubstr(mentions));
        EXPECT_EQ(run.out, "");
        m_disk.StopFailing();
        m_disk.Restore(ledger);
    };
    m_disk.Bytes("ledger/DatabaseSchema.dat").at(50) = 2;
    expect("newer", "'ledger/DatabaseSchema.dat' was written by a newer version");

    m_disk.Bytes("ledger/DatabaseSchema.dat").at(0) = 'X';
    expect("foreign schema", "'ledger/DatabaseSchema.dat' is not a ledger's");

    m_disk.Bytes("ledger/DatabaseSchema.dat").resize(70);
    expect("cut schema", "'ledger/DatabaseSchema.dat' is damaged or missing");

    {
        CDatabaseManager other(m_disk);
        ASSERT_TRUE(other.Open("ledger"));
        const CliRun run = Run("account list");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err,
                  "quillon-cli: The ledger in 'ledger' is open in another program; close it there "
                  "and try again.\n");
    }

    const CliRun none = RunBare("--database elsewhere account list");
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.err,
              "quillon-cli: There is no ledger in 'elsewhere'; make one with 'init', or name its "
              "folder with --database DIR.\n");
    EXPECT_FALSE(m_disk.FolderExists("elsewhere"));

    WriteFile("letters/dear.txt", "Dear");
    const CliRun foreign = RunBare("--database letters init");
    EXPECT_EQ(foreign.status, 1);
    EXPECT_EQ(foreign.err,
              "quillon-cli: The folder 'letters' holds other files, such as 'dear.txt'; choose an "
              "empty or new one.\n");
}

// Each change of an added transaction fails for want of room, in turn: the ledger is as
// before, or holds the transaction whole.
TEST_F(BadInput, FullDisk) {
    for (CEachFailure failure(m_disk, {.kind = CMemoryFileSystem::Call::AnyChange,
                                      .times = CMemoryFileSystem::Times::ForEver});
         failure.Next();) {
        SCOPED_TRACE(failure.Nth());
        failure.Arm();
        const CliRun run =
            Run("transaction add Checking --type deposit --date 2024-02-01 --amount 50 --payee "
                "Newcomer");
        failure.Disarm();
        if (run.status != 0) {
            EXPECT_THAT(run.err, HasSubstr("is full"));
            EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
            EXPECT_EQ(Ledger(), m_before);
        } else {
            EXPECT_EQ(BalanceOf("Checking"), 1050.0);
        }
        EXPECT_EQ(Json("verify").at("code"), 0);
    }
}

}  // namespace
}  // namespace quillon
