#pragma once

#include <string>

#include "quotes/StockQuote.h"

namespace quillon {

// Why there is no price: what was wrong with each attempt, and what to do. Empty when there
// is one.
std::string QuoteMessage(const CStockQuoteResult& result);

// Of one attempt, as a clause without full stop. Empty for a success. It may hold what a
// server or the system said, character for character.
std::string QuoteReasonText(const StockQuoteAttempt& attempt);

}  // namespace quillon
