#include "quotes/StockQuoteService.h"

#include <algorithm>
#include <string_view>

#include "settings/SettingsNames.h"

namespace quillon {

namespace {

// A search engine's finance pages. The title goes on behind the name: "Acme Corp (ACME) ...".
StockQuoteService SearchEngine() {
    StockQuoteService service;
    service.pathPrefix = "/finance/quote/";
    service.exchangeSeparator = ":";
    service.priceMarker = "data-last-price=";
    service.nameMarker = "<meta property=\"og:title\" content=\"";
    service.nameEnds = {"(", "/>", ">", "<"};
    return service;
}

// A stock-analysis site, which keeps the values in a script.
StockQuoteService AnalysisSite() {
    StockQuoteService service;
    service.pathPrefix = "/stocks/";
    service.pathSuffix = "/";
    service.blockMarker = "quote:{";
    service.priceMarker = ",p:";
    service.secondMarker = ",u:";
    service.nameMarker = "nameFull:";
    service.nameEnds = {",", "}", "<"};
    return service;
}

// A market-news site.
StockQuoteService NewsSite() {
    StockQuoteService service;
    service.pathPrefix = "/investing/stock/";
    service.priceMarker = "<meta name=\"price\" content=\"";
    service.nameMarker = "<meta name=\"name\" content=\"";
    service.nameEnds = {"/>", ">", "<"};
    return service;
}

std::vector<std::string> Split(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const size_t bar = std::min(list.find('|'), list.size());
        if (bar > 0) parts.emplace_back(list.substr(0, bar));
        list.remove_prefix(std::min(bar + 1, list.size()));
    }
    return parts;
}

bool IsHostName(std::string_view host) {
    return std::all_of(host.begin(), host.end(), [](char character) {
        return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
               (character >= 'a' && character <= 'z') || character == '.' || character == '-';
    });
}

// What may stand in a request's path without being encoded.
bool IsPath(std::string_view path) {
    return std::all_of(path.begin(), path.end(),
                       [](char character) { return character > 0x20 && character < 0x7F; });
}

class CServiceSettings {
public:
    CServiceSettings(const CSettingsFile& settings, int number)
        : m_settings(settings), m_section(StockQuoteServiceSection(number)) {}

    void Read(const char* key, std::string& value) const {
        if (m_settings.ReadString(m_section, key, value) && value == settings::kNoMarker) {
            value.clear();
        }
    }

    bool ReadPort(uint16_t& port) const {
        std::string text;
        if (!m_settings.ReadString(m_section, settings::kPort, text)) return true;
        int64_t number = 0;
        if (!m_settings.ReadInteger(m_section, settings::kPort, number) || number < 1 ||
            number > 65'535 || std::to_string(number) != text) {
            return false;
        }
        port = static_cast<uint16_t>(number);
        return true;
    }

private:
    const CSettingsFile& m_settings;
    std::string m_section;
};

// What is wrong with the service.
StockQuoteReason Problem(const StockQuoteService& service) {
    if (!IsHostName(service.host)) return StockQuoteReason::HostNotBare;
    if (!IsPath(service.pathPrefix) || !service.pathPrefix.starts_with('/')) {
        return StockQuoteReason::PathPrefixNotRooted;
    }
    if (!IsPath(service.exchangeSeparator) || !IsPath(service.pathSuffix)) {
        return StockQuoteReason::PathEndHasBlanks;
    }
    return service.priceMarker.empty() ? StockQuoteReason::PriceMarkerEmpty
                                       : StockQuoteReason::None;
}

}  // namespace

std::string StockQuoteServiceSection(int number) {
    return settings::kStockQuoteService + std::to_string(number);
}

StockQuoteStatus LoadStockQuoteService(const CSettingsFile& settings, int number,
                                       StockQuoteService& service, StockQuoteReason& reason) {
    static constexpr StockQuoteService (*kServices[kStockQuoteServices])() = {
        SearchEngine, AnalysisSite, NewsSite};
    if (number < 0 || number >= kStockQuoteServices) return StockQuoteStatus::UnknownService;
    service = kServices[number]();

    const CServiceSettings own(settings, number);
    own.Read(settings::kHost, service.host);
    own.Read(settings::kPathPrefix, service.pathPrefix);
    own.Read(settings::kExchangeSeparator, service.exchangeSeparator);
    own.Read(settings::kPathSuffix, service.pathSuffix);
    own.Read(settings::kBlockMarker, service.blockMarker);
    own.Read(settings::kPriceMarker, service.priceMarker);
    own.Read(settings::kSecondMarker, service.secondMarker);
    own.Read(settings::kNameMarker, service.nameMarker);
    std::string ends;
    own.Read(settings::kNameEnd, ends);
    if (!ends.empty()) service.nameEnds = Split(ends);

    reason = own.ReadPort(service.port) ? Problem(service) : StockQuoteReason::PortOutOfRange;
    return reason == StockQuoteReason::None ? StockQuoteStatus::Success
                                            : StockQuoteStatus::BadSetting;
}

}  // namespace quillon
