#pragma once

#include <string_view>

#include "quotes/HttpsTransport.h"
#include "quotes/StockQuote.h"
#include "quotes/StockQuoteService.h"
#include "quotes/StockSymbols.h"
#include "settings/SettingsFile.h"

namespace quillon {

// CStockQuoteGateway fetches the current price and the company's name of a symbol from
// one of three web services.
//
//   Settings   Section "StockQuoteService" + number replaces what the program knows of
//              a service (StockQuoteService.h). No host is known beforehand: a service
//              without one fails with NoHost.
//   Exchange   A service that wants the exchange in its path gets the one of the quote,
//              else of the list of symbols. Where there are several, the next is tried
//              after an answer without a price, not after one that never came.
//   Errors     Told by the result's attempts; nothing is thrown.
//   Ownership  Borrows transport and settings, which must outlive it.
//   Threads    A request runs on the calling thread and takes at most the transport's
//              total time, twice that where two exchanges are tried. Nothing is cached.
class CStockQuoteGateway {
public:
    enum class OnFailure { Stop, NextService };

    CStockQuoteGateway(CHttpsTransport& transport, const CSettingsFile& settings,
                       CStockSymbols symbols);

    // With NextService the others follow in the order of their numbers, wrapping around,
    // until one has a price. A bad symbol or service number makes no network call.
    CStockQuoteResult Request(const CStockQuote& quote, int service,
                              OnFailure onFailure = OnFailure::Stop);

    // The same from a saved page, without network. `time` is the page's file time.
    CStockQuoteResult FromPage(const CStockQuote& quote, int service, std::string_view page,
                               int64_t time) const;

    // The user's choice; 0 when none is stored or it is no service.
    int SelectedService() const;
    // False: no service, or the settings cannot be written.
    [[nodiscard]] bool SelectService(int service);

private:
    bool RequestFrom(const CStockQuote& quote, int number, CStockQuoteResult& result);
    // One page; true when it had a price. False tells by the attempt whether it came.
    bool Fetch(const StockQuoteService& service, StockQuoteAttempt& attempt,
               CStockQuoteResult& result);

    CHttpsTransport& m_transport;
    const CSettingsFile& m_settings;
    CStockSymbols m_symbols;
};

}  // namespace quillon
