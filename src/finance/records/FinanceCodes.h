#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// The codes that finance tables hold. Their values are on disk and never change.
// A code that a newer release wrote survives reading and writing unchanged; its
// name is empty.

enum class AccountType : int32_t {
    Checking = 0,
    Savings = 1,
    Investment = 2,
    Credit = 3,
    Loan = 4,
};
inline constexpr int32_t kAccountTypeCount = 5;

enum class TransactionType : int32_t {
    Payment = 0,
    Deposit = 1,
    Charge = 2,
    Principal = 3,
    Withdrawal = 4,
    Transfer = 5,
};
inline constexpr int32_t kTransactionTypeCount = 6;

enum class PeriodType : int32_t {
    Annual = 0,
    BiAnnual = 1,  // every two years
    BiWeekly = 2,  // every two weeks
    Monthly = 3,
    Quarterly = 4,
    SemiAnnual = 5,
    TwicePerMonth = 6,
    Weekly = 7,
};
inline constexpr int32_t kPeriodTypeCount = 8;

enum class TwiceAMonthType : int32_t {
    FirstAndFifteenth = 0,
    FifteenthAndLast = 1,
};
inline constexpr int32_t kTwiceAMonthTypeCount = 2;

// What a budgeted amount, per month, is measured against.
enum class BudgetItemType : int32_t {
    Expense = 0,  // not to be exceeded
    Income = 1,   // to be reached
};
inline constexpr int32_t kBudgetItemTypeCount = 2;

// Kinds of electronic payment are kept as texts; an empty text is none.
inline constexpr std::string_view kElectronicAtm = "ATM";
inline constexpr std::string_view kElectronicEft = "EFT";
inline constexpr std::string_view kElectronicTransfer = "Transfer";

// Names as shown: "Checking", "Deposit", "Twice Per Month". Empty for an unknown code.
std::string_view NameOf(AccountType type);
std::string_view NameOf(TransactionType type);
std::string_view NameOf(PeriodType type);
std::string_view NameOf(TwiceAMonthType type);
std::string_view NameOf(BudgetItemType type);
// "CheckingAccount" and its kin, by which the user interface refers to a type.
std::string_view KeyNameOf(AccountType type);

// "checking", "deposit", "twice per month": the name in lower case, by which files and commands
// refer to a type; of an unknown code its number.
std::string KeyOf(AccountType type);
std::string KeyOf(TransactionType type);
std::string KeyOf(PeriodType type);
std::string KeyOf(BudgetItemType type);

// From a shown name (an account type from its key name too), ignoring the case of
// ASCII letters. False: no such name, and `type` is left alone.
[[nodiscard]] bool FromName(std::string_view name, AccountType& type);
[[nodiscard]] bool FromName(std::string_view name, TransactionType& type);
[[nodiscard]] bool FromName(std::string_view name, PeriodType& type);
[[nodiscard]] bool FromName(std::string_view name, TwiceAMonthType& type);
[[nodiscard]] bool FromName(std::string_view name, BudgetItemType& type);

// Accounts on which one owes: a Payment there comes in.
constexpr bool IsDebtAccount(AccountType type) {
    return type == AccountType::Credit || type == AccountType::Loan;
}

}  // namespace quillon
