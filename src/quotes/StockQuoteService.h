#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quotes/StockQuote.h"
#include "settings/SettingsFile.h"

namespace quillon {

// Services are numbered from 0.
inline constexpr int kStockQuoteServices = 3;

// Where a service's quote pages are and where the values stand in them. An empty marker
// means that the page has none.
struct StockQuoteService {
    std::string host;  // empty: only the settings can tell
    uint16_t port = 443;
    // Path of a page: prefix, symbol, separator and exchange (none when the separator
    // is empty), suffix.
    std::string pathPrefix;
    std::string exchangeSeparator;
    std::string pathSuffix;

    std::string blockMarker;   // the price is searched behind it
    std::string priceMarker;   // directly before the price
    std::string secondMarker;  // the price is before it
    std::string nameMarker;    // directly before the name
    std::vector<std::string> nameEnds;
};

// "StockQuoteService0": the section that overrides what the program knows of a service.
std::string StockQuoteServiceSection(int number);

// What the program knows, and over it what the settings say:
//
//   Host, Port, PathPrefix, ExchangeSeparator, PathSuffix
//   BlockMarker, PriceMarker, SecondMarker, NameMarker   "none" for no marker
//   NameEnd                                              several with "|" between them
//
// Success, UnknownService, or BadSetting with its `reason`. A missing host is no failure
// here: a saved page needs none.
StockQuoteStatus LoadStockQuoteService(const CSettingsFile& settings, int number,
                                       StockQuoteService& service, StockQuoteReason& reason);

}  // namespace quillon
