// The whole life of a reconciliation, with its messages, and the hints beside it.

#include "finance/reconciliation/BankReconciliation.h"

#include "FinanceFixture.h"
#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using Icon = ReconciliationMessage::Icon;
using Ids = std::vector<int64_t>;
using Kind = ReconciliationHintKind;

constexpr char kWhatToCheck[] =
    "Make sure you have recorded all the current bank transactions in Quillon, including all bank "
    "charges, interest payments, automatic electronic payments, etc.\n\nAlso make sure the bank "
    "balance entered is correct.\n\nYou may also need to increase the maximum number of "
    "transactions to look for and the number of look back days to ensure you include all "
    "outstanding transactions.";

// A register made by hand: effects, each with a day of 2024 counted from 1 January.
class BankReconciliation : public testing::Test {
protected:
    struct Entry {
        double effect;
        int day;
        int64_t payee = kNoRow;
    };

    void MakeRegister(const std::vector<Entry>& entries) {
        lines.clear();
        double balance = 0.0;
        for (const Entry& entry : entries) {
            RegisterLine line;
            line.row.id = std::ssize(lines) + 1;
            line.row.serviceDate = Day(2024, 1, 1) + (entry.day - 1) * kTicksPerDay;
            line.row.transactionType = TypeForSignedAmount(entry.effect, AccountType::Checking);
            line.row.amount = std::abs(entry.effect);
            line.row.payeeId = entry.payee;
            line.effect = entry.effect;
            line.balance = balance = SettledSum(balance + entry.effect);
            lines.push_back(std::move(line));
        }
        reconciliation.AttachRegister(lines, AccountType::Checking);
    }

    ReconciliationMessage Compute(double balance, bool yes = true) {
        return reconciliation.Compute(balance, [&](const ReconciliationMessage& question) {
            questions.push_back(question);
            return yes;
        });
    }

    struct Hint {
        Kind kind;
        Ids lines;
        double rightAmount = 0.0;
        int64_t days = 0;

        bool operator==(const Hint&) const = default;
    };
    std::vector<Hint> Hints() const {
        std::vector<Hint> hints;
        for (const ReconciliationHint& hint : reconciliation.Hints()) {
            Hint& copy = hints.emplace_back(Hint{hint.kind, {}, hint.rightAmount, hint.days});
            for (const RegisterLine* line : hint.lines) copy.lines.push_back(line->row.id);
        }
        return hints;
    }

    std::vector<Ids> Solutions() const {
        std::vector<Ids> solutions;
        for (const auto& solution : reconciliation.Solutions()) solutions.push_back(solution.Ids());
        return solutions;
    }

    int64_t Setting(const char* key) const {
        int64_t value = -1;
        settings.ReadInteger("BankReconciliation", key, value);
        return value;
    }

    CTemporaryFolder folder{"reconciliation"};
    CSettingsFile settings{SettingsPlaces::Fixed(folder.File("Quillon.cfg"))};
    CBankReconciliation reconciliation{settings};
    std::vector<RegisterLine> lines;
    std::vector<ReconciliationMessage> questions;
};

TEST_F(BankReconciliation, FromComputeToTheOneSolution) {
    // Opening 1,000; checks of 40, 60, 30 and 70, and a deposit of 25.
    MakeRegister({{1000, 1}, {-40, 40}, {-60, 41}, {25, 42}, {-30, 43}, {-70, 44}});
    // The bank has 100 more than the register.
    const ReconciliationMessage several = Compute(825 + 100);
    EXPECT_EQ(reconciliation.CandidateCount(), 5u);
    EXPECT_EQ(reconciliation.Difference(), 100);
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{5, 6}, {2, 3}}));
    EXPECT_EQ(reconciliation.Solutions().Front()->Effect(), -100);
    EXPECT_EQ(several.icon, Icon::Information);
    EXPECT_FALSE(several.asks);
    EXPECT_EQ(several.text,
              "Multiple solutions were found that satisfy the reconciliation amount of "
              "100.00.\n\nTo determine which solution is correct you will need to click on those "
              "transactions in the result display that have cleared the bank. Continue clicking on "
              "cleared transactions until the actual reconciliation is found.");
    EXPECT_EQ(reconciliation.StatusLine(), "There are 2 potential solutions");

    // Nothing marked, or what is in no solution: nothing happens.
    EXPECT_TRUE(reconciliation.MarkCleared({}).IsEmpty());
    EXPECT_TRUE(reconciliation.MarkCleared(Ids{4, 99}).IsEmpty());
    EXPECT_EQ(Solutions().size(), 2u);

    const ReconciliationMessage done = reconciliation.MarkCleared(Ids{6});
    EXPECT_EQ(done.icon, Icon::Information);
    EXPECT_EQ(done.text,
              "You have successfully reconciled the the 100.00 difference between your bank "
              "balance and your Quillon balance.");
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{2, 3}}));
    EXPECT_EQ(reconciliation.StatusLine(), "");
    // With one solution left marking does nothing more.
    EXPECT_TRUE(reconciliation.MarkCleared(Ids{2}).IsEmpty());
    EXPECT_EQ(Solutions().size(), 1u);

    // A new compute starts again; one solution needs no message.
    EXPECT_TRUE(Compute(825 + 95 - 25).IsEmpty());
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{6}}));
    EXPECT_EQ(reconciliation.StatusLine(), "");
}

TEST_F(BankReconciliation, NarrowsStepByStep) {
    MakeRegister({{-10, 1}, {-20, 2}, {-30, 3}, {-40, 4}, {-50, 5}, {-60, 6}, {-300, 7}});
    Compute(-510 + 70);
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{1, 6}, {2, 5}, {3, 4}, {1, 2, 4}}));
    EXPECT_TRUE(reconciliation.MarkCleared(Ids{5}).IsEmpty());
    EXPECT_EQ(reconciliation.StatusLine(), "There are 3 potential solutions");
    EXPECT_TRUE(reconciliation.MarkCleared(Ids{6}).IsEmpty());
    EXPECT_EQ(reconciliation.StatusLine(), "There are 2 potential solutions");
    // In all that are left.
    const ReconciliationMessage none = reconciliation.MarkCleared(Ids{4});
    EXPECT_EQ(none.icon, Icon::Stop);
    EXPECT_EQ(none.text,
              std::string("A solution could not be found for the specified bank balance "
                          "considering the transactions you indicated have cleared the bank.\n\n") +
                  kWhatToCheck);
    EXPECT_TRUE(Solutions().empty());
    EXPECT_EQ(reconciliation.StatusLine(), "");
}

TEST_F(BankReconciliation, BalancesThatMatchAreNotSearched) {
    MakeRegister({{100, 1}, {-0.000000001, 2}});
    for (const double balance : {100.0, 100.0 + 9e-9, 100.0 - 9e-9}) {
        const ReconciliationMessage message = Compute(balance);
        EXPECT_EQ(message.icon, Icon::Information);
        EXPECT_EQ(message.text,
                  "The bank balance entered and the account balance match.\n\n"
                  "There are no transactions outstanding to report.");
        EXPECT_FALSE(reconciliation.IsReady());
        EXPECT_TRUE(Solutions().empty());
    }
}

TEST_F(BankReconciliation, NothingFound) {
    MakeRegister({{1000, 1}, {-40, 40}, {-60, 41}});
    const ReconciliationMessage message = Compute(3.21);
    EXPECT_EQ(message.icon, Icon::Stop);
    EXPECT_EQ(
        message.text,
        std::string("No solution was found for the specified bank balance.\n\n") + kWhatToCheck);
    EXPECT_TRUE(reconciliation.Hints().empty());
}

TEST_F(BankReconciliation, WithoutTransactionsNothingHappens) {
    EXPECT_TRUE(Compute(5).IsEmpty());
    MakeRegister({});
    reconciliation.SetLookBackDays(99);
    EXPECT_TRUE(Compute(5).IsEmpty());
    EXPECT_EQ(reconciliation.LookBackDays(), 99);
    EXPECT_EQ(Setting("LookBackDays"), 0);  // nothing stored
}

TEST_F(BankReconciliation, CorrectsAndStoresParameters) {
    EXPECT_EQ(reconciliation.LookBackDays(), 30);
    EXPECT_EQ(reconciliation.MaxTransactions(), 10);
    const struct {
        int64_t days;
        int64_t maximum;
        int32_t storedDays;
        int32_t storedMaximum;
    } rows[] = {
        {30, 10, 30, 10},
        {0, 0, 0, 0},
        {90, 60, 90, 60},
        {-5, -1, 30, 10},
        {91, 61, 90, 60},
        {500, 99, 90, 60},
        {1'000'000'000'000, -1'000'000'000'000, 90, 10},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.days);
        MakeRegister({{100, 1}});
        reconciliation.SetLookBackDays(row.days);
        reconciliation.SetMaxTransactions(row.maximum);
        Compute(100);  // before anything is searched
        EXPECT_EQ(reconciliation.LookBackDays(), row.storedDays);
        EXPECT_EQ(Setting("LookBackDays"), row.storedDays);
        EXPECT_EQ(Setting("MaxTransactions"), row.storedMaximum);
        // The next one opens with them.
        const CBankReconciliation next(settings);
        EXPECT_EQ(next.LookBackDays(), row.storedDays);
        EXPECT_EQ(next.MaxTransactions(), row.storedMaximum);
    }
}

// The day of the last entry minus the days is the first one that counts.
TEST_F(BankReconciliation, LooksBackWholeDays) {
    const struct {
        int32_t days;
        size_t candidates;
    } rows[] = {{0, 1}, {1, 2}, {9, 2}, {10, 3}, {39, 3}, {40, 4}};
    for (const auto& row : rows) {
        MakeRegister({{1000, 10}, {-3, 40}, {0, 45}, {-5, 49}, {-7, 50}});
        lines[3].row.serviceDate += kTicksPerDay / 2;  // some programs keep a time of day
        lines[4].row.serviceDate += kTicksPerDay / 3;
        reconciliation.SetLookBackDays(row.days);
        Compute(1);
        EXPECT_EQ(reconciliation.CandidateCount(), row.candidates) << row.days;
    }
}

TEST_F(BankReconciliation, OneCandidateIsTriedAlone) {
    MakeRegister({{100, 1}});
    EXPECT_TRUE(Compute(0).IsEmpty());
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{1}}));
}

TEST_F(BankReconciliation, AsksBeforeAReducedMaximum) {
    std::vector<Entry> entries;
    for (int i = 0; i < 40; ++i) entries.push_back({-1000.0 - i * i, 100});
    MakeRegister(entries);
    reconciliation.SetMaxTransactions(60);
    const double balance = lines.back().balance + lines[3].row.amount + lines[35].row.amount;

    EXPECT_TRUE(Compute(balance, false).IsEmpty());
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].icon, Icon::Stop);
    EXPECT_TRUE(questions[0].asks);
    EXPECT_EQ(questions[0].text,
              "The look back days contain 40 transactions. In order to compute the reconciliation "
              "results in reasonable time the maximum number of transactions was reduced to "
              "11.\n\nIf you wish to keep the specified maximum transactions reduce the number of "
              "look back days.\n\nDo you want to continue using the reduced maximum transactions?");
    EXPECT_TRUE(Solutions().empty());
    EXPECT_EQ(Setting("MaxTransactions"), 60);  // the setting keeps what was asked for
    EXPECT_TRUE(reconciliation.Search().IsEmpty()) << "No was the end of it";
    EXPECT_TRUE(Solutions().empty());

    Compute(balance, true);
    EXPECT_EQ(reconciliation.WorkingMaximum(), 11);
    const std::vector<Ids> found = Solutions();
    EXPECT_TRUE(std::find(found.begin(), found.end(), Ids{4, 36}) != found.end());
    for (const Ids& solution : found) EXPECT_LE(solution.size(), 11u);
}

TEST_F(BankReconciliation, Cancelled) {
    std::vector<Entry> entries;
    for (int i = 0; i < 100; ++i) entries.push_back({-1000.0 - i * i, 100});
    MakeRegister(entries);
    reconciliation.SetMaxTransactions(6);
    const auto message = reconciliation.Compute(-4'000.0, nullptr, [](double) { return false; });
    EXPECT_TRUE(message.IsEmpty());
    EXPECT_TRUE(reconciliation.WasCancelled());
    EXPECT_TRUE(Solutions().empty());
    EXPECT_TRUE(reconciliation.Hints().empty());
}

// Equal amounts have more sets than can be listed. What is marked as cleared is left out of
// all of them, listed or not: a list that was cut short must never shrink to a false answer.
TEST_F(BankReconciliation, AListCutShortIsFilledAnew) {
    std::vector<Entry> entries(40, {-25, 100});
    MakeRegister(entries);
    Compute(-1000 + 250);
    ASSERT_TRUE(reconciliation.IsCutShort());
    EXPECT_EQ(reconciliation.Solutions().Count(), 423'076);  // 5,500,000 / (10 + 3)

    Ids newest;
    for (int64_t id = 21; id <= 40; ++id) newest.push_back(id);
    EXPECT_TRUE(reconciliation.MarkCleared(newest).IsEmpty());
    EXPECT_FALSE(reconciliation.IsCutShort());
    EXPECT_EQ(reconciliation.Solutions().Count(), 184'756);  // 10 of the 20 left
    EXPECT_EQ(reconciliation.Solutions().Front()->Ids(),
              (Ids{11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
    Ids most;
    for (int64_t id = 11; id <= 20; ++id) most.push_back(id);
    EXPECT_EQ(reconciliation.MarkCleared(most).icon, Icon::Information);
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}}));
}

TEST_F(BankReconciliation, RanksFewestThenOldest) {
    MakeRegister({{-10, 1}, {-20, 2}, {-30, 3}, {-40, 4}, {-50, 5}, {-60, 6}, {-300, 7}});
    Compute(-510 + 80);
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{2, 6}, {3, 5}, {1, 2, 5}, {1, 3, 4}}));
    EXPECT_EQ(reconciliation.Ranking(), (std::vector<size_t>{0, 1, 2, 3}));
    Compute(-510 + 90);
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{3, 6}, {4, 5}, {1, 2, 6}, {1, 3, 5}, {2, 3, 4}}));
    EXPECT_EQ(reconciliation.Ranking(), (std::vector<size_t>{0, 1, 2, 3, 4}));
    // Of one day: the one before in the list.
    MakeRegister({{-10, 5}, {-20, 6}, {-20, 6}, {-10, 6}, {-70, 6}});
    Compute(-130 + 30);
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{3, 4}, {2, 4}, {1, 3}, {1, 2}}));
    EXPECT_EQ(reconciliation.Ranking(), (std::vector<size_t>{2, 3, 0, 1}));
}

// --- hints

TEST_F(BankReconciliation, HintsAtMistakes) {
    const struct {
        const char* name;
        std::vector<Entry> entries;
        double difference;
        std::vector<Hint> hints;
    } rows[] = {
        {"a deposit entered as payment", {{500, 100}, {-45.50, 101}}, 91, {{Kind::WrongSide, {2}}}},
        {"a payment entered as deposit", {{500, 100}, {45.50, 101}}, -91, {{Kind::WrongSide, {2}}}},
        {"half the difference on the right side", {{500, 100}, {45.50, 101}}, 91, {}},
        {"54 for 45", {{500, 100}, {-54.13, 101}}, 9, {{Kind::Transposed, {2}, 45.13}}},
        {"45 for 54", {{500, 100}, {-45.13, 101}}, -9, {{Kind::Transposed, {2}, 54.13}}},
        {"a deposit of 12.35 for 12.53",
         {{500, 100}, {12.35, 101}},
         0.18,
         {{Kind::Transposed, {2}, 12.53}}},
        {"across the point", {{500, 100}, {-12.70, 101}}, -4.5, {{Kind::Transposed, {2}, 17.20}}},
        {"by nine, but no digits fit", {{500, 100}, {-45.13, 101}}, -27, {}},
        {"not by nine", {{500, 100}, {-45.13, 101}}, -9.01, {}},
        {"outside the days",
         {{500, 1}, {-33.20, 20}, {-7, 90}},
         33.20,
         {{Kind::OutsideDays, {2}, 0, 70}}},
        {"entered twice, long ago",
         {{500, 1}, {-33.20, 20, 7}, {-33.20, 25, 7}, {-7, 90}},
         33.20,
         {{Kind::EnteredTwice, {2, 3}},
          {Kind::OutsideDays, {3}, 0, 65},
          {Kind::OutsideDays, {2}, 0, 70}}},
        {"six days apart is no mistake",
         {{500, 1}, {-33.20, 20, 7}, {-33.20, 26, 7}, {-7, 90}},
         33.20,
         {{Kind::OutsideDays, {3}, 0, 64}, {Kind::OutsideDays, {2}, 0, 70}}},
        {"all of them", {{500, 1}, {-20, 100}, {-30, 101}}, 50, {{Kind::AllCandidates, {2, 3}}}},
        {"nothing to say", {{500, 100}, {-20, 101}}, 3.33, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MakeRegister(row.entries);
        const ReconciliationMessage message = Compute(lines.back().balance + row.difference);
        EXPECT_EQ(message.icon, Icon::Stop);
        EXPECT_EQ(Hints(), row.hints);
    }
}

// An outstanding transaction may just as well be one entered twice.
TEST_F(BankReconciliation, HintsAtATwinOfTheSolution) {
    MakeRegister({{500, 100}, {-33.20, 101, 7}, {-33.20, 104, 7}});
    EXPECT_TRUE(Compute(433.60 + 33.20).IsEmpty());
    EXPECT_EQ(Solutions(), (std::vector<Ids>{{3}}));
    EXPECT_EQ(Hints(), (std::vector<Hint>{{Kind::EnteredTwice, {2, 3}}}));
}

// --- out of a ledger

class ReconciledLedger : public FinanceFixture {};

// Directions are those of the account, and amounts of a third of a cent stay what they are.
TEST_F(ReconciledLedger, CardPaymentsComeIn) {
    CTemporaryFolder folder{"reconciledledger"};
    CSettingsFile settings(SettingsPlaces::Fixed(folder.File("Quillon.cfg")));
    const int64_t visa = AddAccount("Visa", AccountType::Credit);
    CLedger ledger(database);
    for (const auto& [type, amount] : {std::pair{TransactionType::Charge, 80.10},
                                       {TransactionType::Payment, 50.20},
                                       {TransactionType::Charge, 19.95},
                                       {TransactionType::Charge, 12.34}}) {
        CTransactionEntry row = Row(visa, type, amount);
        ASSERT_EQ(ledger.EnterTransaction(row), LedgerStatus::Ok);
    }
    CAccountEntry account;
    ASSERT_TRUE(database.Read(visa, account));
    std::vector<RegisterLine> lines;
    ASSERT_TRUE(ReadRegister(database, account, lines));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines.back().balance, account.currentBalance);
    EXPECT_EQ(lines.back().balance, -62.19);

    CBankReconciliation reconciliation(settings);
    reconciliation.AttachRegister(lines, account.accountType);
    // Neither the payment nor the charge of 19.95 has reached the bank.
    EXPECT_TRUE(reconciliation.Compute(-92.44, nullptr).IsEmpty());
    ASSERT_EQ(reconciliation.Solutions().Size(), 1u);
    EXPECT_EQ(reconciliation.Solutions().Front()->Ids(), (Ids{2, 3}));
    EXPECT_EQ(reconciliation.Solutions().Front()->Effect(), 30.25);
}

}  // namespace
}  // namespace quillon
