#pragma once

#include <string>
#include <string_view>

#include "quotes/StockQuoteService.h"

namespace quillon {

// Cuts price and name out of a quote page by plain scanning: it need not be well-formed,
// nor text at all. Time grows with the page's length, memory does not.
//
//   Price   Behind the markers, quotation marks and blanks left out: the leading run of
//           digits and points, thousands separators dropped. It counts when the run is
//           exactly one number above 0. "12,50" and "1e5" are no prices: half a number
//           would be a wrong one.
//   Name    Behind its marker up to the first of the name's ends, quotation marks left
//           out. A comma with a blank behind it is part of a name. Entities (&amp;) and
//           \u escapes are decoded. Longer ones than kLongestName are none.
//
// Success, NoPriceMarker or NoPrice; `price` and `name` are 0 and empty unless Success.
inline constexpr size_t kLongestName = 500;  // bytes, as it stands in the page

StockQuoteStatus CutStockQuote(std::string_view page, const StockQuoteService& service,
                               double& price, std::string& name);

}  // namespace quillon
