#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "finance/records/FinanceRecords.h"
#include "foundation/PrintableText.h"
#include "wording/Words.h"

namespace quillon {

// Values as people type them. Each throws CFailure with the value in the message.

// YYYY-MM-DD, as midnight UTC.
int64_t RequireDate(const std::string& text);
// A signed amount that the ledger can hold, of two decimals at most.
double RequireAmount(const std::string& text);
// The same, 0 or above: `what` tells where the direction comes from.
double RequireMagnitude(const std::string& text, const std::string& what);
int64_t RequireId(const std::string& text);
// 0 or above.
int32_t RequireCheckNumber(const std::string& text);
// A text that the ledger can hold on one line: no line breaks and no zeros.
const std::string& RequireLine(const std::string& text, const std::string& what);

// "checking", "deposit": see KeyOf.
std::vector<std::string> AccountTypeKeys();
std::vector<std::string> TransactionTypeKeys();
AccountType RequireAccountType(const std::string& key);
TransactionType RequireTransactionType(const std::string& key);

}  // namespace quillon
