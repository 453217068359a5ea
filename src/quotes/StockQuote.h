#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon {

// What became of one request to one service.
enum class StockQuoteStatus {
    Success,
    UnknownService,      // only 0, 1 and 2 are services
    BadSymbol,           // no symbol that a request can be made of
    NoHost,              // the settings do not say where the service is
    BadSetting,          // a setting of the service cannot be used
    NotFound,            // no machine of that name
    NotConnected,        // nothing answers there, or the line broke
    CertificateRefused,  // whoever answers cannot prove to be the host
    TimedOut,
    TooLarge,         // more than the transport takes
    RedirectRefused,  // away from HTTPS, or too often
    HttpError,        // an answer other than 200
    NoPriceMarker,    // not a page of the expected form
    NoPrice,          // no number above 0 where the price belongs
    Failed,           // anything else
};

// What is known of a failure beyond its status.
enum class StockQuoteReason {
    None,
    // --- BadSetting
    HostNotBare,          // more than a name
    PortOutOfRange,       // no number from 1 to 65535
    PathPrefixNotRooted,  // without its "/", or with a blank
    PathEndHasBlanks,     // exchange separator or suffix
    PriceMarkerEmpty,
    // --- CertificateRefused
    NoCertificateFiles,  // the platform takes authorities from its own store alone
    // --- TimedOut
    NoConnection,  // within `value` milliseconds
    NoData,        // for `value` milliseconds
    NoAnswer,
    NotDone,  // as a whole within `value` milliseconds
    // --- TooLarge
    BodyTooLarge,  // more than `value` bytes
    // --- RedirectRefused
    NotHttps,
    TooManyRedirects,  // more than `value`
    // --- Failed
    OutOfMemory,
    LibraryNotStarted,
    LibraryFailed,
    // --- with any status
    WindowsError,  // of number `value`
    PlatformText,  // `text` is what the platform says, in its own words
};

struct StockQuoteDetail {
    StockQuoteReason reason = StockQuoteReason::None;
    int64_t value = 0;
    std::string text{};
};

// One symbol's request: what to ask for, and the exchanges to ask at where a service
// wants one.
class CStockQuote {
public:
    static constexpr size_t kLongestSymbol = 32;  // bytes

    CStockQuote() = default;
    explicit CStockQuote(std::string symbol) : m_symbol(std::move(symbol)) {}
    CStockQuote(std::string symbol, std::vector<std::string> exchanges)
        : m_symbol(std::move(symbol)), m_exchanges(std::move(exchanges)) {}

    const std::string& Symbol() const { return m_symbol; }
    // In the order in which they are tried; empty: the list of symbols decides.
    const std::vector<std::string>& Exchanges() const { return m_exchanges; }

    // Visible ASCII characters, at least one of them a letter or a digit, and no
    // slash of either kind.
    bool IsValid() const;
    // As part of a path: all but letters, digits and "-._~" as %XX.
    std::string EncodedSymbol() const;

private:
    std::string m_symbol;
    std::vector<std::string> m_exchanges;
};

// One request that a quote took, in the order in which they were made.
struct StockQuoteAttempt {
    int service = -1;
    StockQuoteStatus status = StockQuoteStatus::Failed;
    std::string host;  // empty when it did not get that far
    std::string path;  // the same
    int httpCode = 0;  // of the answer, 0 for none
    StockQuoteDetail detail;
};

// The answer to a CStockQuote.
struct CStockQuoteResult {
    std::string symbol;
    double price = 0.0;  // per share, above 0 on success
    std::string name;    // of the company; empty when the page does not tell
    bool success = false;
    int service = -1;  // the one that answered, -1 for none
    int64_t time = 0;  // file time of the answer, 0 for none
    std::vector<StockQuoteAttempt> attempts;
};

}  // namespace quillon
