#include "cli/terminal/Values.h"

#include <charconv>

#include "cli/terminal/Failure.h"
#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

template <class Number>
bool ParseWhole(const std::string& text, Number& number) {
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end;
}

template <class Code>
std::vector<std::string> Keys(int32_t count) {
    std::vector<std::string> keys;
    keys.reserve(static_cast<size_t>(count));
    for (int32_t code = 0; code < count; ++code) keys.push_back(KeyOf(static_cast<Code>(code)));
    return keys;
}

}  // namespace

int64_t RequireDate(const std::string& text) {
    int64_t date = 0;
    // Only this one form: 1/2/2024 is another day in another country.
    if (ParseCalendarDate(text, date) && FormatIsoDate(date) == text) return date;
    throw CFailure(Quoted(text) + " is not a date; write YYYY-MM-DD, a day that exists.");
}

double RequireAmount(const std::string& text) {
    double amount = 0.0;
    if (!ParseAmount(text, amount)) {
        throw CFailure(Quoted(text) + " is not an amount; write it like 1234.50.");
    }
    if (amount > kLargestAmount || amount < -kLargestAmount) {
        throw CFailure("The amount " + text + " is too large for the ledger.");
    }
    // To the last bit: what was typed, not what came out of a sum.
    if (amount != RoundToCents(amount)) {
        throw CFailure("The amount " + text +
                       " has more than two decimals; write it in whole cents, like 1234.50.");
    }
    return amount;
}

double RequireMagnitude(const std::string& text, const std::string& what) {
    const double amount = RequireAmount(text);
    if (amount >= 0) return amount;
    throw CFailure("The amount " + text + " is negative; write it without sign, " + what + ".");
}

int64_t RequireId(const std::string& text) {
    int64_t id = 0;
    if (ParseWhole(text, id) && id > 0) return id;
    throw CFailure(Quoted(text) + " is not a row's number; the first column of a list holds them.");
}

int32_t RequireCheckNumber(const std::string& text) {
    int32_t number = 0;
    if (ParseWhole(text, number) && number >= 0) return number;
    throw CFailure(Quoted(text) + " is not a check number; write a whole number, 0 for none.");
}

const std::string& RequireLine(const std::string& text, const std::string& what) {
    for (const char character : text) {
        if (static_cast<unsigned char>(character) < 0x20) {
            throw CFailure("The " + what +
                           " holds a line break or another control character; "
                           "write it on one line.");
        }
    }
    if (IsValidUtf8(text)) return text;
    throw CFailure("The " + what + " is not UTF-8 text; check the terminal's character set.");
}

std::vector<std::string> AccountTypeKeys() {
    return Keys<AccountType>(kAccountTypeCount);
}

std::vector<std::string> TransactionTypeKeys() {
    return Keys<TransactionType>(kTransactionTypeCount);
}

AccountType RequireAccountType(const std::string& key) {
    AccountType type = AccountType::Checking;
    if (FromName(key, type)) return type;
    throw CFailure(Quoted(key) + " is not an account type.", ExitStatus::WrongUsage);
}

TransactionType RequireTransactionType(const std::string& key) {
    TransactionType type = TransactionType::Payment;
    if (FromName(key, type)) return type;
    throw CFailure(Quoted(key) + " is not a transaction type.", ExitStatus::WrongUsage);
}

}  // namespace quillon
