#pragma once

#include <span>
#include <string_view>

#include "finance/records/FinanceCodes.h"

namespace quillon {

// Out and In are the two columns of amounts, headed by what the kind of account calls them.
enum class RegisterColumn { Number, Date, Type, Payee, Category, Memo, Out, In, Balance };

// The columns that a register of that kind of account shows, from the left.
std::span<const RegisterColumn> RegisterColumnsOf(AccountType account);

// "Date", "Payment". `balanceRuns`: the balances follow each other from line to line; where a
// filter or another order breaks that, the heading says what the figure is.
std::string_view RegisterHeading(RegisterColumn column, AccountType account, bool balanceRuns);

// Shown at the right, with digits of equal width.
constexpr bool IsNumeric(RegisterColumn column) {
    return column == RegisterColumn::Number || column >= RegisterColumn::Out;
}

}  // namespace quillon
