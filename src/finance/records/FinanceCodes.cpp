#include "finance/records/FinanceCodes.h"

#include <array>
#include <cstddef>

#include "foundation/AsciiText.h"

namespace quillon {

namespace {

// In the order of the codes.
constexpr std::array<std::string_view, kAccountTypeCount> kAccountNames = {
    "Checking", "Savings", "Investment", "Credit", "Loan"};
constexpr std::array<std::string_view, kAccountTypeCount> kAccountKeyNames = {
    "CheckingAccount", "SavingsAccount", "InvestmentAccount", "CreditAccount", "LoanAccount"};
constexpr std::array<std::string_view, kTransactionTypeCount> kTransactionNames = {
    "Payment", "Deposit", "Charge", "Principal", "Withdrawal", "Transfer"};
constexpr std::array<std::string_view, kPeriodTypeCount> kPeriodNames = {
    "Annual",    "Bi-Annual",   "Bi-Weekly",       "Monthly",
    "Quarterly", "Semi-Annual", "Twice Per Month", "Weekly"};
constexpr std::array<std::string_view, kTwiceAMonthTypeCount> kTwiceAMonthNames = {
    "1st and 15th", "15th and last day"};
constexpr std::array<std::string_view, kBudgetItemTypeCount> kBudgetItemNames = {"Expense",
                                                                                 "Income"};

template <class Code, size_t Size>
std::string_view Look(const std::array<std::string_view, Size>& names, Code code) {
    const auto position = static_cast<size_t>(static_cast<int32_t>(code));
    return position < Size ? names[position] : std::string_view();
}

template <class Code, size_t Size>
bool Find(const std::array<std::string_view, Size>& names, std::string_view name, Code& code) {
    for (size_t i = 0; i < Size; ++i) {
        if (!EqualIgnoringAsciiCase(names[i], name)) continue;
        code = static_cast<Code>(i);
        return true;
    }
    return false;
}

template <class Code>
std::string KeyOrNumber(Code type) {
    const std::string_view name = NameOf(type);
    return name.empty() ? std::to_string(static_cast<int32_t>(type)) : LowerAscii(name);
}

}  // namespace

std::string_view NameOf(AccountType type) {
    return Look(kAccountNames, type);
}
std::string_view NameOf(TransactionType type) {
    return Look(kTransactionNames, type);
}
std::string_view NameOf(PeriodType type) {
    return Look(kPeriodNames, type);
}
std::string_view NameOf(TwiceAMonthType type) {
    return Look(kTwiceAMonthNames, type);
}
std::string_view NameOf(BudgetItemType type) {
    return Look(kBudgetItemNames, type);
}
std::string_view KeyNameOf(AccountType type) {
    return Look(kAccountKeyNames, type);
}

std::string KeyOf(AccountType type) {
    return KeyOrNumber(type);
}
std::string KeyOf(TransactionType type) {
    return KeyOrNumber(type);
}
std::string KeyOf(PeriodType type) {
    return KeyOrNumber(type);
}
std::string KeyOf(BudgetItemType type) {
    return KeyOrNumber(type);
}

bool FromName(std::string_view name, AccountType& type) {
    return Find(kAccountNames, name, type) || Find(kAccountKeyNames, name, type);
}
bool FromName(std::string_view name, TransactionType& type) {
    return Find(kTransactionNames, name, type);
}
bool FromName(std::string_view name, PeriodType& type) {
    return Find(kPeriodNames, name, type);
}
bool FromName(std::string_view name, TwiceAMonthType& type) {
    return Find(kTwiceAMonthNames, name, type);
}
bool FromName(std::string_view name, BudgetItemType& type) {
    return Find(kBudgetItemNames, name, type);
}

}  // namespace quillon
