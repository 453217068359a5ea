#pragma once

#include "finance/records/FinanceCodes.h"

namespace quillon {

// The one rule by which money moves: what a transaction of magnitude `amount` does
// to the balance of an account. Positive comes into the account.
//
//   Deposit                          +
//   Payment on credit and loan       +
//   everything else                  -
constexpr double BalanceEffect(TransactionType type, double amount, AccountType account) {
    if (type == TransactionType::Deposit) return amount;
    if (type == TransactionType::Payment && IsDebtAccount(account)) return amount;
    return -amount;
}

// The type of a row that brings money in (or takes it out) by `signedAmount`, as bank
// files are entered: checking, savings and investment Deposit or Payment, credit Payment
// or Charge, loan Payment or Principal. Zero counts as coming in.
constexpr TransactionType TypeForSignedAmount(double signedAmount, AccountType account) {
    const bool out = signedAmount < 0;
    if (account == AccountType::Credit)
        return out ? TransactionType::Charge : TransactionType::Payment;
    if (account == AccountType::Loan)
        return out ? TransactionType::Principal : TransactionType::Payment;
    return out ? TransactionType::Payment : TransactionType::Deposit;
}

// The type with which a row moved between accounts of these kinds keeps its effect: its own
// where accounts of the new kind have such rows and it still moves money the same way, else
// the one that bank files are entered with. Transfer is a paying side on every kind.
constexpr TransactionType TypeAfterMove(TransactionType type, AccountType from, AccountType to) {
    const bool sameKind = from == to || (!IsDebtAccount(from) && !IsDebtAccount(to));
    if (sameKind || type == TransactionType::Transfer) return type;
    return TypeForSignedAmount(BalanceEffect(type, 1.0, from), to);
}

// The types of the two sides of a transfer.
constexpr TransactionType TransferType(bool comesIn, AccountType account) {
    return comesIn ? TypeForSignedAmount(1.0, account) : TransactionType::Transfer;
}

// Doubles cannot hold most cents exactly, and errors would add up over years of
// transactions. A sum that is within a ten-thousandth of a cent of a whole cent becomes
// the double nearest to that cent; any other sum (share prices, exchange rates) is kept.
double SettledSum(double sum);

// Adds many amounts without losing the small ones (Neumaier's compensated sum).
class CMoneySum {
public:
    void Add(double amount);
    // Settled.
    double Value() const { return SettledSum(m_sum + m_lost); }

private:
    double m_sum = 0.0;
    double m_lost = 0.0;
};

// Amounts are whole cents. Where a file brings more decimals they are rounded, halves
// away from zero as written (1.005 is 1.01, though its double lies a little below); the
// result is the double nearest to that cent, and never -0. What is not finite comes back.
double RoundToCents(double amount);
// Whether rounding would change nothing but the noise of sums.
bool HasWholeCents(double amount);

// Two balances count as the same when they differ by less than this.
inline constexpr double kHalfCent = 0.005;

// Amounts above lose their cents to rounding and are refused by the ledger.
inline constexpr double kLargestAmount = 1e13;

}  // namespace quillon
