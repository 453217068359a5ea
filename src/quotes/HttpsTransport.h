#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "quotes/StockQuote.h"

namespace quillon {

struct HttpsRequest {
    std::string host;  // name or address, ASCII
    uint16_t port = 443;
    std::string path;  // from its "/" on, encoded
};

struct HttpsAnswer {
    // Success when a whole answer came, whatever its code. Else NotFound, NotConnected,
    // CertificateRefused, TimedOut, TooLarge, RedirectRefused or Failed.
    StockQuoteStatus status = StockQuoteStatus::Failed;
    int httpCode = 0;         // 0: no answer came
    std::string body;         // bytes as sent; empty unless Success
    StockQuoteDetail detail;  // of a failure
};

struct HttpsLimits {
    int64_t connect = 1'000;  // milliseconds until the connection stands
    int64_t silence = 1'000;  // milliseconds without a byte
    // Milliseconds for the whole request with its redirects: a server that sends a byte
    // now and then does not hold the caller.
    int64_t total = 10'000;
    size_t body = 10'240'000;  // bytes
    int redirects = 5;
};

struct HttpsOptions {
    HttpsLimits limits;
    // A file of certificate authorities (PEM) to trust in place of the platform's, where
    // the platform can do that; Windows cannot, and every request fails then.
    std::string certificateFile;
};

// GET over HTTPS. The seam between the quote gateway and the network; tests put pages of
// their own behind it.
//
//   Security   Certificate and host name are always verified, against the platform's
//              trusted authorities. Redirects are followed to https only.
//   Proxies    The platform's: the user's settings on Windows, https_proxy elsewhere.
//   State      No cookies, cache or stored passwords of ours; each request has a
//              connection of its own.
//   Errors     Told by the status; nothing is thrown.
//   Threads    Any number of calls at once.
class CHttpsTransport {
public:
    virtual ~CHttpsTransport() = default;

    virtual HttpsAnswer Get(const HttpsRequest& request) = 0;
};

// libcurl, or WinINet on Windows.
std::unique_ptr<CHttpsTransport> PlatformHttpsTransport(HttpsOptions options = {});

// What every request carries.
inline constexpr char kHttpsAgent[] = "Quote";
inline constexpr char kHttpsLanguageHeader[] = "Accept-Language: en";
inline constexpr char kHttpsConnectionHeader[] = "Connection: Keep-Alive";

}  // namespace quillon
