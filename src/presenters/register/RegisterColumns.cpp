#include "presenters/register/RegisterColumns.h"

namespace quillon {

namespace {

using enum RegisterColumn;

constexpr RegisterColumn kChecking[] = {Number, Date, Type, Payee,  Category,
                                        Memo,   Out,  In,   Balance};
constexpr RegisterColumn kSavings[] = {Type, Date, Payee, Category, Memo, Out, In, Balance};
constexpr RegisterColumn kDebt[] = {Date, Type, Payee, Category, Memo, Out, In, Balance};

std::string_view OutHeading(AccountType account) {
    switch (account) {
        case AccountType::Checking:
            return "Payment";
        case AccountType::Credit:
            return "Charge";
        case AccountType::Loan:
            return "Principal";
        default:
            return "Withdrawal";
    }
}

}  // namespace

std::span<const RegisterColumn> RegisterColumnsOf(AccountType account) {
    if (account == AccountType::Checking) return kChecking;
    if (IsDebtAccount(account)) return kDebt;
    return kSavings;
}

std::string_view RegisterHeading(RegisterColumn column, AccountType account, bool balanceRuns) {
    switch (column) {
        case Number:
            return "Number";
        case Date:
            return "Date";
        case Type:
            return "Type";
        case Payee:
            return "Payee";
        case Category:
            return "Category";
        case Memo:
            return "Memo";
        case Out:
            return OutHeading(account);
        case In:
            return IsDebtAccount(account) ? "Payment" : "Deposit";
        case Balance:
            return balanceRuns ? "Balance" : "Balance after";
    }
    return {};
}

}  // namespace quillon
