#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

// The elements of a statement download that mean something here.
enum class OfxElement : uint8_t {
    Other,
    Ofx,
    StatementLine,
    TransactionList,
    BankStatement,
    CardStatement,
    InvestmentStatement,
    AccountFrom,
    Status,
    InvestmentAction,
    LedgerBalance,
    // Those with a value:
    Date,
    UserDate,
    Amount,
    Type,
    Id,
    Check,
    Name,
    Memo,
    CorrectId,
    CorrectAction,
    Currency,  // an aggregate; some banks write the symbol straight into it
    OriginalCurrency,
    CurrencySymbol,
    CurrencyRate,
    DefaultCurrency,
    AccountId,
    AccountType,
    BankId,
    Balance,
    Code,
    Severity,
    Message,
};

// By the element's name, in any case.
OfxElement OfxElementOf(std::string_view name);

}  // namespace quillon
