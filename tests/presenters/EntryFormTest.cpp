#include "presenters/entry/EntryForm.h"

#include "PresenterFixture.h"
#include "foundation/platform/Clock.h"

namespace quillon {
namespace {

class EntryFormTest : public PresenterFixture {
protected:
    EntryFormTest() { account = Account("Checking"); }

    std::string Texts() const {
        std::string all;
        for (size_t i = 0; i < kEntryFieldCount; ++i) {
            all += (i ? "|" : "") + form.Text(static_cast<EntryField>(i));
        }
        return all;
    }
    LedgerStatus Save() {
        LedgerStatus status = LedgerStatus::StoreFailed;
        EXPECT_TRUE(form.Save(status));
        return status;
    }
    std::string SavedTexts() {
        EXPECT_TRUE(form.StartChange(form.SavedRow()));
        return Texts();
    }

    CStoppedClock clock{Day(2024, 5, 17)};
    int64_t account = kNoRow;
    CEntryForm form{workspace};
};

TEST_F(EntryFormTest, EntersAndChanges) {
    ASSERT_TRUE(form.StartNew(account));
    EXPECT_EQ(Texts(), "2024-05-17|Payment|||||");
    form.SetText(EntryField::Date, "15");
    form.SetText(EntryField::Type, "deposit");
    form.SetText(EntryField::Number, "eft");
    form.SetText(EntryField::Payee, " Employer ");
    form.SetText(EntryField::Category, "income");  // there is "Income"
    form.SetText(EntryField::Amount, "2*1000.25");
    form.SetText(EntryField::Memo, "May");
    EXPECT_EQ(Save(), LedgerStatus::Ok);
    EXPECT_EQ(SavedTexts(), "2024-05-15|Deposit|EFT|Employer|Income|2000.50|May");
    form.SetText(EntryField::Payee, "EMPLOYER");
    form.SetText(EntryField::Amount, "2000");
    EXPECT_EQ(Save(), LedgerStatus::Ok);
    EXPECT_EQ(SavedTexts(), "2024-05-15|Deposit|EFT|Employer|Income|2000.00|May");
    form.Choose(EntryField::Payee, {kNoRow, "EMPLOYER"});  // as typed
    EXPECT_EQ(Save(), LedgerStatus::Ok);
    EXPECT_EQ(SavedTexts(), "2024-05-15|Deposit|EFT|EMPLOYER|Income|2000.00|May");
    CAccountEntry entry;
    ASSERT_TRUE(workspace.Database().Read(account, entry));
    EXPECT_EQ(entry.currentBalance, 2000.0);
}

TEST_F(EntryFormTest, SaysWhatIsWrong) {
    using enum EntryProblem;
    const struct {
        EntryField field;
        const char* text;
        EntryProblem problem;
    } rows[] = {
        {EntryField::Date, "", DateMissing},
        {EntryField::Date, "2024-02-30", DateUnknown},
        {EntryField::Type, "Charge", TypeUnknown},
        {EntryField::Type, "Transfer", TypeUnknown},
        {EntryField::Type, "Withdrawal", None},
        {EntryField::Number, "12a", NumberUnknown},
        {EntryField::Number, "-3", NumberUnknown},
        {EntryField::Number, "99999999999", NumberUnknown},
        {EntryField::Number, "atm", None},
        {EntryField::Payee, "two\nlines", NameTooManyLines},
        {EntryField::Amount, "", AmountMissing},
        {EntryField::Amount, "1/0", DivisionByZero},
        {EntryField::Amount, "-1", AmountNegative},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text));
        ASSERT_TRUE(form.StartNew(account));
        form.SetText(EntryField::Amount, "1");
        form.SetText(row.field, row.text);
        const EntryProblems problems = form.Check();
        EXPECT_EQ(problems.Of(row.field), row.problem);
        EXPECT_EQ(problems.Any(), row.problem != None);
        EXPECT_EQ(EntryMessage(row.problem).empty(), row.problem == None);
        CTransactionEntry result;
        NewNames names;
        EXPECT_EQ(form.Result(result, names), row.problem == None);
    }
}

TEST_F(EntryFormTest, FillsFromThePayeesNewest) {
    const int64_t other = Account("Other");
    Enter(Row(account, TransactionType::Deposit, 5, Day(2024, 5, 3)), "Grocer", "Refund");
    Enter(Row(account, TransactionType::Withdrawal, 7.5, Day(2024, 5, 9)), "Grocer", "Food");
    Enter(Row(account, TransactionType::Payment, 1, Day(2024, 5, 4)), "Grocer", "Old");
    Enter(Row(other, TransactionType::Payment, 99, Day(2024, 5, 10)), "Grocer", "Elsewhere");
    Enter(Row(account, TransactionType::Payment, 3, Day(2024, 5, 2)), "Green Shop", "Flowers");
    ASSERT_TRUE(form.StartNew(account));
    form.SetText(EntryField::Payee, "gr");
    const auto lines = form.Complete(EntryField::Payee);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].name, "Grocer");
    EXPECT_EQ(lines[1].name, "Green Shop");
    EXPECT_EQ(lines[2].id, kNoRow);
    form.Choose(EntryField::Payee, lines[0]);
    EXPECT_EQ(Texts(), "2024-05-17|Withdrawal||Grocer|Food|7.50|");
    form.Choose(EntryField::Payee, lines[1]);
    EXPECT_EQ(Texts(), "2024-05-17|Payment||Green Shop|Flowers|3.00|");
    form.SetText(EntryField::Category, "Food");
    form.Choose(EntryField::Payee, lines[2]);
    EXPECT_EQ(Texts(), "2024-05-17|Payment||gr|Food||");
    // What is there is not filled.
    ASSERT_TRUE(form.StartChange(1));
    form.Choose(EntryField::Payee, lines[1]);
    EXPECT_EQ(form.Text(EntryField::Amount), "5.00");
}

TEST_F(EntryFormTest, TakesKeys) {
    CTransactionEntry check = Row(account, TransactionType::Payment, 1);
    check.check = 1024;
    ASSERT_TRUE(form.StartNew(account));
    Enter(check);
    form.TakeNextCheckNumber();
    EXPECT_EQ(form.Text(EntryField::Number), "1025");
    EXPECT_TRUE(form.PressDateKey('+'));
    EXPECT_TRUE(form.PressDateKey('h'));
    EXPECT_EQ(form.Text(EntryField::Date), "2024-05-31");
    form.SetText(EntryField::Date, "5");
    EXPECT_FALSE(form.PressDateKey('-'));  // on the way to a date
    form.SetText(EntryField::Date, "5-3");
    form.CompleteDate();
    EXPECT_EQ(form.Text(EntryField::Date), "2024-05-03");
    form.SetText(EntryField::Amount, "4");
    EXPECT_EQ(Save(), LedgerStatus::Ok);
    form.StartNext();
    EXPECT_EQ(Texts(), "2024-05-03|Payment|||||");
    form.TakeNextCheckNumber();
    EXPECT_EQ(form.Text(EntryField::Number), "1026");
}

// What a form shows unchanged is saved unchanged, also what it would not take from people.
TEST_F(EntryFormTest, LeavesWhatNobodyTouched) {
    CTransactionEntry odd = Row(account, TransactionType::Charge, 1.23456);
    odd.electronicPayment = "Giro";
    odd.fitId = 77;
    ASSERT_TRUE(workspace.Database().Add(odd));
    ASSERT_TRUE(form.StartChange(odd.id));
    EXPECT_FALSE(form.Check().Any());
    form.SetText(EntryField::Memo, "new");
    EXPECT_EQ(Save(), LedgerStatus::Ok);
    const CTransactionEntry read = Read(odd.id);
    EXPECT_EQ(read.amount, 1.23456);
    EXPECT_EQ(read.electronicPayment.ToUtf8(), "Giro");
    EXPECT_EQ(read.transactionType, TransactionType::Charge);
    EXPECT_EQ(read.fitId, 77);
    EXPECT_EQ(read.memo.ToUtf8(), "new");
}

}  // namespace
}  // namespace quillon
