#include "quotes/StockQuoteGateway.h"

#include <new>
#include <utility>

#include "foundation/platform/Clock.h"
#include "quotes/StockQuotePage.h"
#include "settings/SettingsNames.h"

namespace quillon {

namespace {

bool IsService(int64_t number) {
    return number >= 0 && number < kStockQuoteServices;
}

// The page came, but not with a price: another exchange may know the symbol.
bool HasAnswered(StockQuoteStatus status) {
    return status == StockQuoteStatus::HttpError || status == StockQuoteStatus::NoPriceMarker ||
           status == StockQuoteStatus::NoPrice;
}

CStockQuoteResult Begin(const CStockQuote& quote, int service, StockQuoteAttempt& attempt) {
    CStockQuoteResult result;
    result.symbol = quote.Symbol();
    attempt.service = service;
    attempt.status = quote.IsValid() ? StockQuoteStatus::Success : StockQuoteStatus::BadSymbol;
    return result;
}

void Accept(int service, int64_t time, CStockQuoteResult& result) {
    result.success = true;
    result.service = service;
    result.time = time;
}

}  // namespace

CStockQuoteGateway::CStockQuoteGateway(CHttpsTransport& transport, const CSettingsFile& settings,
                                       CStockSymbols symbols)
    : m_transport(transport), m_settings(settings), m_symbols(std::move(symbols)) {}

CStockQuoteResult CStockQuoteGateway::Request(const CStockQuote& quote, int service,
                                              OnFailure onFailure) {
    StockQuoteAttempt first;
    CStockQuoteResult result = Begin(quote, service, first);
    if (first.status == StockQuoteStatus::Success && !IsService(service)) {
        first.status = StockQuoteStatus::UnknownService;
    }
    if (first.status != StockQuoteStatus::Success) {
        result.attempts.push_back(first);
        return result;
    }
    const int services = onFailure == OnFailure::Stop ? 1 : kStockQuoteServices;
    for (int step = 0; step < services; ++step) {
        const int number = (service + step) % kStockQuoteServices;
        try {
            if (RequestFrom(quote, number, result)) break;
        } catch (const std::bad_alloc&) {
            StockQuoteAttempt attempt;
            attempt.service = number;
            attempt.detail.reason = StockQuoteReason::OutOfMemory;
            result.attempts.push_back(std::move(attempt));
        }
    }
    return result;
}

bool CStockQuoteGateway::RequestFrom(const CStockQuote& quote, int number,
                                     CStockQuoteResult& result) {
    StockQuoteAttempt attempt;
    attempt.service = number;
    StockQuoteService service;
    attempt.status = LoadStockQuoteService(m_settings, number, service, attempt.detail.reason);
    if (attempt.status == StockQuoteStatus::Success && service.host.empty()) {
        attempt.status = StockQuoteStatus::NoHost;
    }
    if (attempt.status != StockQuoteStatus::Success) {
        result.attempts.push_back(std::move(attempt));
        return false;
    }
    attempt.host = service.host;
    std::vector<std::string> endings = {service.pathSuffix};
    if (!service.exchangeSeparator.empty()) {
        endings =
            quote.Exchanges().empty() ? m_symbols.ExchangesOf(quote.Symbol()) : quote.Exchanges();
        for (std::string& ending : endings) {
            ending.insert(0, service.exchangeSeparator).append(service.pathSuffix);
        }
    }
    for (const std::string& ending : endings) {
        attempt.path = service.pathPrefix + quote.EncodedSymbol() + ending;
        const bool found = Fetch(service, attempt, result);
        result.attempts.push_back(attempt);
        if (found) return true;
        if (!HasAnswered(attempt.status)) return false;
    }
    return false;
}

bool CStockQuoteGateway::Fetch(const StockQuoteService& service, StockQuoteAttempt& attempt,
                               CStockQuoteResult& result) {
    HttpsAnswer answer = m_transport.Get({service.host, service.port, attempt.path});
    attempt.status = answer.status;
    attempt.httpCode = answer.httpCode;
    attempt.detail = std::move(answer.detail);
    if (attempt.status != StockQuoteStatus::Success) return false;
    if (answer.httpCode != 200) {
        attempt.status = StockQuoteStatus::HttpError;
        return false;
    }
    attempt.status = CutStockQuote(answer.body, service, result.price, result.name);
    if (attempt.status != StockQuoteStatus::Success) return false;
    Accept(attempt.service, NowFileTime(), result);
    return true;
}

CStockQuoteResult CStockQuoteGateway::FromPage(const CStockQuote& quote, int service,
                                               std::string_view page, int64_t time) const {
    StockQuoteAttempt attempt;
    CStockQuoteResult result = Begin(quote, service, attempt);
    StockQuoteService description;
    if (attempt.status == StockQuoteStatus::Success) {
        attempt.status =
            LoadStockQuoteService(m_settings, service, description, attempt.detail.reason);
    }
    if (attempt.status == StockQuoteStatus::Success) {
        attempt.status = CutStockQuote(page, description, result.price, result.name);
    }
    if (attempt.status == StockQuoteStatus::Success) Accept(service, time, result);
    result.attempts.push_back(std::move(attempt));
    return result;
}

int CStockQuoteGateway::SelectedService() const {
    int64_t number = 0;
    m_settings.ReadInteger(settings::kLastSelection, settings::kLastSelectedStockQuoteService,
                           number);
    return IsService(number) ? static_cast<int>(number) : 0;
}

bool CStockQuoteGateway::SelectService(int service) {
    return IsService(service) &&
           m_settings.WriteInteger(settings::kLastSelection,
                                   settings::kLastSelectedStockQuoteService, service);
}

}  // namespace quillon
