#include "finance/ledger/Balance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string_view>
#include <vector>

namespace quillon {
namespace {

// Rows: transaction types by code; columns: account types by code.
TEST(Balance, EffectOfEveryTypeOnEveryAccount) {
    constexpr int kSigns[kTransactionTypeCount][kAccountTypeCount] = {
        {-1, -1, -1, +1, +1},  // Payment
        {+1, +1, +1, +1, +1},  // Deposit
        {-1, -1, -1, -1, -1},  // Charge
        {-1, -1, -1, -1, -1},  // Principal
        {-1, -1, -1, -1, -1},  // Withdrawal
        {-1, -1, -1, -1, -1},  // Transfer
    };
    for (int type = 0; type < kTransactionTypeCount; ++type) {
        for (int account = 0; account < kAccountTypeCount; ++account) {
            SCOPED_TRACE(testing::Message() << type << " on " << account);
            EXPECT_EQ(BalanceEffect(static_cast<TransactionType>(type), 12.5,
                                    static_cast<AccountType>(account)),
                      kSigns[type][account] * 12.5);
        }
    }
}

// Whatever sign a bank writes comes back as the effect of the row it becomes.
TEST(Balance, TypeForSignedAmountKeepsTheSign) {
    const struct {
        AccountType account;
        double signedAmount;
        int32_t code;
    } rows[] = {
        {AccountType::Checking, -1, 0},   {AccountType::Checking, 0, 1},
        {AccountType::Savings, -1, 0},    {AccountType::Savings, 1, 1},
        {AccountType::Investment, -1, 0}, {AccountType::Investment, 1, 1},
        {AccountType::Credit, -1, 2},     {AccountType::Credit, 0, 0},
        {AccountType::Loan, -1, 3},       {AccountType::Loan, 1, 0},
    };
    for (const auto& row : rows) {
        const TransactionType type = TypeForSignedAmount(row.signedAmount, row.account);
        EXPECT_EQ(static_cast<int32_t>(type), row.code);
        EXPECT_EQ(BalanceEffect(type, std::fabs(row.signedAmount), row.account), row.signedAmount);
    }
}

// Wherever a row moves, it moves money the same way; and it keeps its type where accounts of
// that kind have such rows.
TEST(Balance, TypeAfterMove) {
    for (int from = 0; from < kAccountTypeCount; ++from) {
        for (int to = 0; to < kAccountTypeCount; ++to) {
            for (int code = 0; code < kTransactionTypeCount; ++code) {
                SCOPED_TRACE(testing::Message() << code << " from " << from << " to " << to);
                const auto type = static_cast<TransactionType>(code);
                const auto before = static_cast<AccountType>(from);
                const auto after = static_cast<AccountType>(to);
                const TransactionType moved = TypeAfterMove(type, before, after);
                EXPECT_EQ(BalanceEffect(moved, 1, after), BalanceEffect(type, 1, before));
                EXPECT_EQ(TypeAfterMove(moved, after, after), moved);
            }
        }
    }
    using A = AccountType;
    using T = TransactionType;
    const struct {
        T type;
        A from, to;
        T moved;
    } rows[] = {
        {T::Payment, A::Checking, A::Credit, T::Charge},
        {T::Withdrawal, A::Checking, A::Loan, T::Principal},
        {T::Withdrawal, A::Checking, A::Savings, T::Withdrawal},
        {T::Deposit, A::Investment, A::Credit, T::Payment},
        {T::Payment, A::Credit, A::Checking, T::Deposit},
        {T::Charge, A::Credit, A::Savings, T::Payment},
        {T::Principal, A::Loan, A::Credit, T::Charge},
        {T::Transfer, A::Savings, A::Credit, T::Transfer},
    };
    for (const auto& row : rows) EXPECT_EQ(TypeAfterMove(row.type, row.from, row.to), row.moved);
}

TEST(Balance, SettledSum) {
    const struct {
        double sum, settled;
    } rows[] = {
        {0.1 + 0.2, 0.3},   {-(0.1 + 0.2), -0.3}, {1e-12, 0.0},
        {-1e-12, 0.0},      {12.3456, 12.3456},  // a share price, not noise
        {0.00499, 0.00499}, {1e13, 1e13},         {98765432109.87 + 1e-5, 98765432109.87 + 1e-5},
    };
    for (const auto& row : rows) EXPECT_EQ(SettledSum(row.sum), row.settled);
    EXPECT_FALSE(std::signbit(SettledSum(-1e-12)));
    EXPECT_TRUE(std::isnan(SettledSum(std::numeric_limits<double>::quiet_NaN())));
}

TEST(Balance, RoundToCents) {
    const struct {
        double amount, rounded;
        bool whole;
    } rows[] = {
        {12.34, 12.34, true},
        {0.1 + 0.2, 0.3, true},
        {0.004, 0.0, false},
        {0.005, 0.01, false},
        {1.005, 1.01, false},
        {-1.005, -1.01, false},
        {-0.004, 0.0, false},
        {2.675, 2.68, false},
        {1.0049999, 1.0, false},
        {12.3456, 12.35, false},
        {10.00001, 10.0, false},
        {kLargestAmount, 1e13, true},
        {98765432109.87, 98765432109.87, true},
        {1234567890123.45, 1234567890123.45, true},
        {98765432109.874, 98765432109.87, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.amount);
        EXPECT_EQ(RoundToCents(row.amount), row.rounded);
        EXPECT_EQ(HasWholeCents(row.amount), row.whole);
    }
    EXPECT_FALSE(std::signbit(RoundToCents(-0.004)));
    EXPECT_TRUE(std::isnan(RoundToCents(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(HasWholeCents(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(HasWholeCents(std::numeric_limits<double>::infinity()));
}

TEST(Balance, MoneySumLosesNothing) {
    CMoneySum pennies;
    for (int i = 0; i < 1'000'000; ++i) pennies.Add(0.01);
    EXPECT_EQ(pennies.Value(), 10000.0);

    CMoneySum largeBetween;
    largeBetween.Add(0.07);
    largeBetween.Add(1e13);
    largeBetween.Add(-1e13);
    EXPECT_EQ(largeBetween.Value(), 0.07);
}

// Names in the order of their codes.
template <class Type>
void ExpectNames(const std::vector<std::string_view>& names) {
    for (size_t code = 0; code < names.size(); ++code) {
        Type type{};
        EXPECT_TRUE(FromName(names[code], type));
        EXPECT_EQ(static_cast<size_t>(type), code);
        EXPECT_EQ(NameOf(type), names[code]);
    }
}

TEST(FinanceCodes, NamesAndCodes) {
    ExpectNames<TransactionType>(
        {"Payment", "Deposit", "Charge", "Principal", "Withdrawal", "Transfer"});
    ExpectNames<PeriodType>({"Annual", "Bi-Annual", "Bi-Weekly", "Monthly", "Quarterly",
                             "Semi-Annual", "Twice Per Month", "Weekly"});
    AccountType account = AccountType::Checking;
    EXPECT_TRUE(FromName("loan", account));
    EXPECT_EQ(account, AccountType::Loan);
    EXPECT_TRUE(FromName("CREDITACCOUNT", account));
    EXPECT_EQ(account, AccountType::Credit);
    EXPECT_EQ(KeyNameOf(AccountType::Investment), "InvestmentAccount");
    EXPECT_FALSE(FromName("credit ", account));
    EXPECT_FALSE(FromName("", account));
    EXPECT_EQ(account, AccountType::Credit);
    EXPECT_EQ(NameOf(static_cast<TransactionType>(6)), "");
    EXPECT_EQ(NameOf(static_cast<TransactionType>(-1)), "");
}

}  // namespace
}  // namespace quillon
