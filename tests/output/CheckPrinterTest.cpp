#include "output/CheckPrinter.h"

#include <gtest/gtest.h>

#include <limits>

#include "foundation/CalendarDate.h"
#include "support/EachFailure.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using Note = CheckNote;
using Notes = std::vector<CheckNote>;

class CheckPrinter : public testing::Test {
protected:
    CheckPrinter() {
        EXPECT_TRUE(m_database.Open("ledger").opened);
        m_checking = Account("Checking", AccountType::Checking);
        m_savings = Account("Savings", AccountType::Savings);
    }

    int64_t Account(const char* name, AccountType type) {
        CAccountEntry account;
        account.name = name;
        account.accountType = type;
        EXPECT_EQ(m_ledger.OpenAccount(account, 0, 0), LedgerStatus::Ok);
        return account.id;
    }
    CTransactionEntry Payment(double amount, const char* payee = "Alder Court Apartments") {
        CTransactionEntry row;
        row.accountId = m_checking;
        row.transactionType = TransactionType::Payment;
        row.serviceDate = FileTimeFromDate(2024, 3, 5);
        row.amount = amount;
        row.memo = "private";
        if (*payee) row.payeeId = m_database.FindOrAddPayee(payee);
        return row;
    }
    int64_t Enter(CTransactionEntry row) {
        EXPECT_EQ(m_ledger.EnterTransaction(row), LedgerStatus::Ok);
        return row.id;
    }
    CheckRequest Request(int64_t transaction) {
        CheckRequest request;
        request.accountId = m_checking;
        request.transactionId = transaction;
        return request;
    }
    CheckJob Prepared(const CheckRequest& request) {
        CheckJob job;
        EXPECT_EQ(m_printer.Prepare(request, job).problem, CheckProblem::None);
        return job;
    }
    void Print(const CheckRequest& request) {
        EXPECT_EQ(m_printer.Record(Prepared(request)), LedgerStatus::Ok);
    }
    int32_t CheckOf(int64_t transaction) {
        CTransactionEntry row;
        EXPECT_TRUE(m_database.Read(transaction, row));
        return row.check;
    }
    CAccountEntry Checking() {
        CAccountEntry account;
        EXPECT_TRUE(m_database.Read(m_checking, account));
        return account;
    }
    int32_t Latest() { return Checking().latestCheckNumber; }
    std::string TextOn(const CheckPage& page, CheckField field) {
        for (const CheckText& text : page.texts) {
            if (text.field == field) return text.text;
        }
        return {};
    }

    CTemporaryFolder m_folder{"checks"};
    CSettingsFile m_settings{SettingsPlaces::Fixed(m_folder.File("Quillon.cfg"))};
    CMemoryFileSystem m_disk;
    CQuillonDatabaseInterface m_database{m_disk};
    CLedger m_ledger{m_database};
    CCheckPrinter m_printer{m_ledger, m_settings};
    int64_t m_checking = kNoRow;
    int64_t m_savings = kNoRow;
};

TEST_F(CheckPrinter, PutsTheTransactionOnTheCheck) {
    CheckRequest request = Request(Enter(Payment(1234.5, "Caf\xC3\xA9 & Fils")));
    const CheckPage bare = Prepared(request).page;
    EXPECT_EQ(bare.title, "Print Check 1");
    EXPECT_FALSE(bare.outline);
    EXPECT_EQ(TextOn(bare, CheckField::Date), "03/05/2024");
    EXPECT_EQ(TextOn(bare, CheckField::Payee), "Caf\xC3\xA9 & Fils");
    EXPECT_EQ(TextOn(bare, CheckField::Amount), "1,234.50");
    EXPECT_EQ(TextOn(bare, CheckField::WrittenAmount),
              "One Thousand Two Hundred Thirty Four and 50/100");
    EXPECT_EQ(TextOn(bare, CheckField::Memo), "");
    request.memo = "Rent March";
    EXPECT_EQ(TextOn(Prepared(request).page, CheckField::Memo), "Rent March");
    EXPECT_EQ(PrintFailedMessage(1025, "'Office'"), "The print of check 1025 to 'Office' failed.");
}

TEST_F(CheckPrinter, NumbersFollowTheLatest) {
    const int64_t first = Enter(Payment(10));
    const int64_t second = Enter(Payment(20));
    CheckRequest request = Request(first);
    request.number = 1024;
    Print(request);
    EXPECT_EQ(CheckOf(first), 1024);
    EXPECT_EQ(Latest(), 1024);
    EXPECT_EQ(Checking().currentBalance, -30.0);

    // Preparing alone stores nothing and so gives the same number again.
    EXPECT_EQ(Prepared(Request(second)).number, 1025);
    Print(Request(second));
    EXPECT_EQ(CheckOf(second), 1025);
    EXPECT_EQ(Latest(), 1025);

    // Printed again: same number, unless one is specified. A lower one is a form from
    // another book and takes nothing back.
    EXPECT_EQ(Prepared(Request(first)).notes, Notes{});
    Print(Request(first));
    EXPECT_EQ(CheckOf(first), 1024);
    EXPECT_EQ(Latest(), 1025);
    request.number = 500;
    Print(request);
    EXPECT_EQ(CheckOf(first), 500);
    EXPECT_EQ(Latest(), 1025);
    EXPECT_EQ(Prepared(Request(Enter(Payment(30)))).number, 1026);

    request.number = 1025;
    EXPECT_EQ(Prepared(request).notes,
              (Notes{{.kind = Note::Kind::NumberUsed, .number = 1025, .transactionId = second}}));
}

TEST_F(CheckPrinter, RefusesWhatIsNoCheck) {
    CTransactionEntry deposit = Payment(10);
    deposit.transactionType = TransactionType::Deposit;
    CTransactionEntry wired = Payment(10);
    wired.electronicPayment = "EFT";
    CTransactionEntry elsewhere = Payment(10);
    elsewhere.accountId = m_savings;
    const int64_t good = Enter(Payment(10));
    const int64_t other = Enter(elsewhere);
    const struct {
        const char* name;
        int64_t account;
        int64_t transaction;
        std::optional<int32_t> number;
        CheckProblem problem;
    } rows[] = {
        {"good", m_checking, good, {}, CheckProblem::None},
        {"unknown transaction", m_checking, 999, {}, CheckProblem::NoSuchTransaction},
        {"no transaction", m_checking, 0, {}, CheckProblem::NoSuchTransaction},
        {"unknown account", 999, good, {}, CheckProblem::NoSuchAccount},
        {"savings", m_savings, other, {}, CheckProblem::NotChecking},
        {"another account's", m_checking, other, {}, CheckProblem::OtherAccount},
        {"deposit", m_checking, Enter(deposit), {}, CheckProblem::ComesIn},
        {"wired", m_checking, Enter(wired), {}, CheckProblem::Electronically},
        {"nothing", m_checking, Enter(Payment(0)), {}, CheckProblem::NoAmount},
        {"a billion", m_checking, Enter(Payment(1e9)), {}, CheckProblem::TooLarge},
        {"nearly", m_checking, Enter(Payment(999'999'999.99)), {}, CheckProblem::None},
        {"number 0", m_checking, good, 0, CheckProblem::BadNumber},
        {"number below", m_checking, good, -3, CheckProblem::BadNumber},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CheckRequest request;
        request.accountId = row.account;
        request.transactionId = row.transaction;
        request.number = row.number;
        CheckJob job;
        EXPECT_EQ(m_printer.Prepare(request, job).problem, row.problem);
    }
    ASSERT_TRUE(
        m_database.UpdateAccountLatestCheckNumber(m_checking, std::numeric_limits<int32_t>::max()));
    CheckJob job;
    EXPECT_EQ(m_printer.Prepare(Request(good), job).problem, CheckProblem::NoNumberLeft);
}

TEST_F(CheckPrinter, PointsOutWhatIsMissing) {
    EXPECT_EQ(Prepared(Request(Enter(Payment(0.99, "")))).notes,
              (Notes{{.kind = Note::Kind::NoPayee}, {.kind = Note::Kind::NoWords}}));
    EXPECT_EQ(Prepared(Request(Enter(Payment(5, std::string(300, 'm').c_str())))).notes,
              (Notes{{.kind = Note::Kind::TextCut, .field = CheckField::Payee}}));
}

TEST_F(CheckPrinter, ABrokenLayoutPrintsNothing) {
    const int64_t transaction = Enter(Payment(10));
    CCheckPrintFormatEntry entry;
    entry.accountId = m_checking;
    entry.format.payeeText = "payee";
    ASSERT_TRUE(m_database.Add(entry));
    CheckJob job;
    EXPECT_EQ(m_printer.Prepare(Request(transaction), job).problem, CheckProblem::BadPosition);
    EXPECT_EQ(m_printer.PrepareTest(m_checking, job).problem, CheckProblem::BadPosition);
    entry.format.payeeText = "10,3590,530";
    ASSERT_TRUE(m_database.Update(entry));
    const CheckTrouble trouble = m_printer.Prepare(Request(transaction), job);
    EXPECT_EQ(trouble.problem, CheckProblem::DoesNotFit);
    EXPECT_EQ(trouble.field, CheckField::Payee);
}

TEST_F(CheckPrinter, TheTestPrintIsASample) {
    CheckJob job;
    ASSERT_EQ(m_printer.PrepareTest(m_checking, job).problem, CheckProblem::None);
    EXPECT_TRUE(job.page.outline);
    EXPECT_EQ(job.page.texts.size(), 5u);
    EXPECT_EQ(TextOn(job.page, CheckField::Payee), "Sample Payee Company");
    EXPECT_EQ(TextOn(job.page, CheckField::WrittenAmount),
              "One Thousand Two Hundred Thirty Four and 56/100");
    EXPECT_EQ(m_printer.PrepareTest(m_savings, job).problem, CheckProblem::NotChecking);
}

// Somebody edits the transaction while the printer runs.
TEST_F(CheckPrinter, RecordKeepsLaterChanges) {
    const int64_t id = Enter(Payment(10));
    const CheckJob job = Prepared(Request(id));
    CTransactionEntry row;
    ASSERT_TRUE(m_database.Read(id, row));
    row.memo = "changed";
    ASSERT_EQ(m_ledger.ChangeTransaction(row), LedgerStatus::Ok);
    ASSERT_TRUE(m_database.UpdateAccountLatestCheckNumber(m_checking, 50));
    ASSERT_EQ(m_printer.Record(job), LedgerStatus::Ok);
    ASSERT_TRUE(m_database.Read(id, row));
    EXPECT_EQ(row.memo, "changed");
    EXPECT_EQ(row.check, 1);
    EXPECT_EQ(Latest(), 50);

    ASSERT_EQ(m_ledger.RemoveTransaction(id), LedgerStatus::Ok);
    EXPECT_EQ(m_printer.Record(job), LedgerStatus::NoSuchTransaction);
}

// Each change of the disk fails once, in turn. Both numbers are stored, or neither.
TEST_F(CheckPrinter, RecordIsOneCommit) {
    const int64_t id = Enter(Payment(10));
    CheckRequest request = Request(id);
    request.number = 77;
    const CheckJob job = Prepared(request);
    ASSERT_TRUE(m_database.Close());
    for (CEachFailure failure(m_disk, {.times = CMemoryFileSystem::Times::ForEver});
         failure.Next();) {
        SCOPED_TRACE(failure.Nth());
        ASSERT_TRUE(m_database.Open("ledger").opened);
        failure.Arm();
        const LedgerStatus status = m_printer.Record(job);
        const bool failed = failure.Disarm();
        m_database.Close();
        ASSERT_TRUE(m_database.Open("ledger").opened);
        const bool stored = CheckOf(id) == 77;
        EXPECT_EQ(Latest(), stored ? 77 : 0);
        EXPECT_TRUE(status != LedgerStatus::Ok || stored);
        EXPECT_TRUE(failed || status == LedgerStatus::Ok);
        ASSERT_TRUE(m_database.Close());
    }
}

}  // namespace
}  // namespace quillon
