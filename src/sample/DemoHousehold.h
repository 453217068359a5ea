#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "finance/records/FinanceCodes.h"
#include "foundation/CalendarDate.h"

namespace quillon {

// Ten years of an invented household, the same at every call: nothing depends on the
// clock, the machine or the library's random numbers.

enum class DemoAccount { Checking, Savings, Investment, Card, CarLoan };

struct DemoAccountPlan {
    DemoAccount account;
    AccountType type;
    const char* name;
    const char* description;
    int64_t openingCents;  // what is owed is negative
};
inline constexpr std::array<DemoAccountPlan, 5> kDemoAccounts{{
    {DemoAccount::Checking, AccountType::Checking, "Everyday Checking", "First Marlow Bank",
     314'216},
    {DemoAccount::Savings, AccountType::Savings, "Rainy Day Savings", "First Marlow Bank", 612'500},
    {DemoAccount::Investment, AccountType::Investment, "Northgate Brokerage", "Cash for shares",
     96'040},
    {DemoAccount::Card, AccountType::Credit, "Lakeside Visa", "Paid in full each month", -73'418},
    {DemoAccount::CarLoan, AccountType::Loan, "Car Loan", "Kestrel Auto Finance", -1'684'000},
}};

inline constexpr CivilDate kDemoFirstDay{2015, 1, 1};
inline constexpr CivilDate kDemoLastDay{2024, 12, 31};

// A transaction, or a transfer when `to` is set.
struct DemoEvent {
    int64_t date = 0;
    DemoAccount account = DemoAccount::Checking;
    std::optional<DemoAccount> to;
    TransactionType type = TransactionType::Payment;
    int64_t cents = 0;
    std::string payee;
    std::string category;
    std::string memo;
    std::string electronic;
    int32_t check = 0;
};

// In order of date.
std::vector<DemoEvent> MakeDemoEvents();

}  // namespace quillon
