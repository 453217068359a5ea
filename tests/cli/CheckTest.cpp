// check words, format, print, test.

#include "cli/CliFixture.h"
#include "support/EachFailure.h"

namespace quillon {
namespace {

using testing::HasSubstr;
using testing::Not;

class Check : public CliTest {
protected:
    int64_t Pay(const std::string& amount, const std::string& payee = "Alder Court Apartments") {
        return Json({"transaction", "add", "Checking", "--type", "payment", "--date", "2024-03-05",
                     "--amount", amount, "--payee", payee, "--memo", "private"})
            .at("id");
    }
    Arguments Print(int64_t id, const std::string& file, const Arguments& more = {}) {
        return Arguments("check print Checking --transaction " + std::to_string(id) + " --svg " +
                         file) +
               more;
    }
    int32_t CheckOf(int64_t id) {
        for (const auto& row : Json("transaction list Checking")) {
            if (row.at("id") == id) return row.at("check");
        }
        ADD_FAILURE() << "no transaction " << id;
        return -1;
    }
    int32_t Latest() { return Json("account list")[0].at("latestCheckNumber"); }
    // A run that must fail with this one line.
    void Refused(const Arguments& arguments, const std::string& line) {
        const CliRun run = Run(arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "quillon-cli: " + line + "\n");
    }
};

TEST_F(Check, Words) {
    const std::string words = "One Thousand Two Hundred Thirty Four and 50/100";
    EXPECT_EQ(Json("check words $1,234.5").dump(), R"({"words":")" + words + "\"}");
    EXPECT_EQ(Run("check words $1,234.5").out, words + "\n");
    EXPECT_EQ(Run("check words 0.99").out, "An amount below 1.00 has no words.\n");
    const CliRun billions = Run("--json check words 2000000000");
    EXPECT_EQ(billions.Json().at("words"), "");
    EXPECT_THAT(billions.err, HasSubstr("note: Amounts of a billion"));
    for (const char* bad : {"1,23,4", "abc", "", "1e3", "12,50"}) {
        Refused({"check", "words", bad},
                std::string("'") + bad + "' is not an amount; write it like 1234.50.");
    }
    Refused("check words 1.999",
            "The amount 1.999 has more than two decimals; write it in whole cents, like 1234.50.");
    Refused("check words -- -5",
            "The amount -5 is negative; write it without sign, checks only pay out.");
}

TEST_F(Check, FormatIsShownAndSet) {
    MakeLedger();
    const auto before = Json("check format show checking");
    EXPECT_EQ(before.dump(),
              R"({"account":"Checking","date":"10,2155,230","payee":"10,690,530",)"
              R"("amount":"10,2910,530","writtenAmount":"10,230,700","memo":"10,310,1180",)"
              R"("width":6.0,"vertical":false,"stored":false})");
    const auto after =
        Json("check format set Checking --payee '11, 700,540' --width 8.5 --vertical");
    EXPECT_EQ(after.at("payee"), "11,700,540");
    EXPECT_EQ(after.at("date"), "10,2155,230");
    EXPECT_EQ(after.at("width"), 8.5);
    EXPECT_EQ(after.at("vertical"), true);
    EXPECT_EQ(after.at("stored"), true);
    EXPECT_EQ(Json("check format show Checking"), after);
    EXPECT_EQ(Run("check format show Checking").out,
              "Text            Font height  Horizontal  Vertical\n"
              "--------------  -----------  ----------  --------\n"
              "Date                     10        2155       230\n"
              "Payee                    11         700       540\n"
              "Numeric amount           10        2910       530\n"
              "Written amount           10         230       700\n"
              "Memo                     10         310      1180\n"
              "\n"
              "Checks of 'Checking' are 8.5 inches wide and fed narrow edge first.\n");

    const std::string positions =
        "One or more of the values entered are not valid. Make sure the values entered are all "
        "positive integers.";
    const std::string width =
        "The check width must be a positive value. Typical check widths are 6 inches for personal "
        "checks and 8.5 inches for corporate checks.";
    for (const char* bad : {"ten,two,one", "10,0,5", "10,5", ""}) {
        Refused({"check", "format", "set", "Checking", "--memo", bad, "--date", "9,9,9"},
                positions);
    }
    for (const char* bad : {"0", "six", "6,5", "nan", ""}) {
        Refused({"check", "format", "set", "Checking", "--width", bad, "--horizontal"}, width);
    }
    EXPECT_EQ(Json("check format show Checking"), after);

    Refused("check format show Visa",
            "The account 'Visa' is a credit account; checks are drawn on checking accounts only.");
    EXPECT_EQ(Run("check format set Checking").status, 2);
    EXPECT_EQ(Run("check format set Checking --vertical --horizontal").status, 2);
}

TEST_F(Check, PrintsAndCounts) {
    MakeLedger();
    const int64_t rent = Pay("1234.50");
    const int64_t other = Pay("20");
    EXPECT_EQ(Json(Print(rent, "a.svg", {"--number", "1024", "--memo", "Rent <March>"})).dump(),
              R"({"check":1024,"file":"a.svg"})");
    const std::string svg = FileText("a.svg");
    for (const char* part :
         {"<title>Print Check 1024</title>", ">03/05/2024<", ">Alder Court Apartments<",
          ">1,234.50<", ">One Thousand Two Hundred Thirty Four and 50/100<",
          ">Rent &lt;March&gt;<"}) {
        EXPECT_THAT(svg, HasSubstr(part));
    }
    EXPECT_THAT(svg, Not(HasSubstr("private")));
    EXPECT_THAT(svg, Not(HasSubstr("<rect")));
    EXPECT_EQ(CheckOf(rent), 1024);

    EXPECT_EQ(Run(Print(other, "b.svg")).out, "Check 1025 was written to 'b.svg'.\n");
    EXPECT_EQ(Latest(), 1025);
    Refused(Print(rent, "b.svg"),
            "The file 'b.svg' exists; choose another name, or replace it with --overwrite.");
    EXPECT_EQ(Json(Print(rent, "b.svg", {"--overwrite"})).at("check"), 1024);
    EXPECT_EQ(Latest(), 1025);
    const CliRun twice = Run(Print(rent, "c.svg", {"--number", "1025"}));
    EXPECT_EQ(twice.out,
              "Check 1025 was written to 'c.svg'.\nCheck number 1025 is also that of "
              "transaction " +
                  std::to_string(other) + ".\n");
    EXPECT_EQ(Json("verify").at("code"), 0);
}

TEST_F(Check, RefusesWithOneLineAndWritesNothing) {
    MakeLedger();
    const int64_t zero = Pay("0");
    const struct {
        Arguments arguments;
        const char* line;
    } rows[] = {
        {Print(1, "x.svg"),
         "The transaction brings money into the account; a check takes money out."},
        {Print(2, "x.svg"),
         "The transaction is not one of this account; choose the account it is in."},
        {Print(99, "x.svg"),
         "There is no such transaction; the register of the account shows all."},
        {Print(zero, "x.svg"), "The amount of the transaction is 0.00; a check needs an amount."},
        {Print(zero, "x.svg", {"--number", "one"}),
         "'one' is not a check number; write a whole number of 1 or above."},
        {{"check", "print", "Savings", "--transaction", "1", "--svg", "x.svg"},
         "The account 'Savings' is a savings account; checks are drawn on checking accounts only."},
    };
    for (const auto& row : rows) Refused(row.arguments, row.line);
    const int64_t good = Pay("5");
    Refused(Print(good, "x.svg", {"--number", "0"}),
            "'0' is not a check number; write a whole number of 1 or above.");
    EXPECT_FALSE(m_disk.Exists("x.svg"));
    EXPECT_EQ(Latest(), 0);
}

TEST_F(Check, AFailedPrintStoresNothing) {
    MakeLedger();
    const int64_t id = Pay("5");
    Refused(Print(id, "ledger/Missing/x.svg"),
            "The print of check 1 to 'ledger/Missing/x.svg' failed. Nothing was stored; check the "
            "path, its permissions and the free space.");
    EXPECT_EQ(CheckOf(id), 0);
    EXPECT_EQ(Latest(), 0);
    EXPECT_EQ(Json(Print(id, "x.svg")).at("check"), 1);
}

// Each sync fails once, in turn: the check is on paper before its number is stored, and the
// user is told when the number is not.
TEST_F(Check, SaysWhenTheNumberCouldNotBeStored) {
    MakeLedger();
    const int64_t id = Pay("5");
    bool told = false;
    for (CEachFailure failure(m_disk, {.kind = CMemoryFileSystem::Call::AnySync,
                                      .times = CMemoryFileSystem::Times::ForEver});
         failure.Next();) {
        SCOPED_TRACE(failure.Nth());
        failure.Arm();
        const CliRun run = Run(Print(id, "x.svg"));
        failure.Disarm();
        const bool written = m_disk.Exists("x.svg");
        if (run.err.find("Check 1 was written to 'x.svg', but its number was not stored: ") !=
            std::string::npos) {
            told = true;
            EXPECT_TRUE(written);
            EXPECT_EQ(run.status, 1);
        }
        const int32_t number = CheckOf(id);
        EXPECT_EQ(Latest(), number);
        EXPECT_TRUE(run.status != 0 || number == 1);
        EXPECT_TRUE(number != 1 || written);
    }
    EXPECT_TRUE(told);
}

TEST_F(Check, TestPrint) {
    MakeLedger();
    Json("check format set Checking --vertical");
    EXPECT_EQ(Run("check test Checking --svg t.svg").out,
              "The test print was written to 't.svg'.\n");
    const std::string svg = FileText("t.svg");
    for (const char* part : {"width=\"69.85mm\" height=\"152.40mm\"", "<rect", "rotate(-90 ",
                             ">Sample Payee Company<", "<title>Test Print</title>"}) {
        EXPECT_THAT(svg, HasSubstr(part));
    }
    EXPECT_EQ(Json("check test Checking --svg u.svg").dump(), R"({"check":0,"file":"u.svg"})");
    EXPECT_EQ(Latest(), 0);
    Refused("check test Visa --svg v.svg",
            "The account 'Visa' is a credit account; checks are drawn on checking accounts only.");
    Json("check format set Checking --width 2");
    Refused("check test Checking --svg v.svg",
            "The date does not fit on the check, even in small print; change its position or the "
            "check width.");
}

}  // namespace
}  // namespace quillon
