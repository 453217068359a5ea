#include "wording/QuoteWords.h"

#include <gtest/gtest.h>

#include <set>

namespace quillon {
namespace {

using Reason = StockQuoteReason;
using Status = StockQuoteStatus;

StockQuoteAttempt Attempt(Status status, const StockQuoteDetail& detail = {}) {
    return {.service = 1,
            .status = status,
            .host = "quotes.example",
            .path = "/stocks/ACME/",
            .httpCode = 404,
            .detail = detail};
}

TEST(QuoteWords, EveryStatusHasAReasonOfItsOwn) {
    std::set<std::string> said;
    for (int code = 0; code <= static_cast<int>(Status::Failed); ++code) {
        const std::string text = QuoteReasonText(Attempt(static_cast<Status>(code)));
        EXPECT_EQ(text.empty(), code == 0);
        EXPECT_FALSE(text.ends_with('.')) << text;
        EXPECT_TRUE(said.insert(text).second) << text;
    }
}

TEST(QuoteWords, Details) {
    constexpr char kSettings[] = "the settings' section 'StockQuoteService1' cannot be used";
    const struct {
        Status status;
        StockQuoteDetail detail;
        std::string text;
    } rows[] = {
        {Status::BadSetting,
         {Reason::HostNotBare},
         std::string(kSettings) + " (Host must be a bare name such as quotes.example)"},
        {Status::BadSetting,
         {Reason::PortOutOfRange},
         std::string(kSettings) + " (Port must be a number from 1 to 65535)"},
        {Status::BadSetting,
         {Reason::PathPrefixNotRooted},
         std::string(kSettings) + " (PathPrefix must start with / and hold no blanks)"},
        {Status::BadSetting,
         {Reason::PathEndHasBlanks},
         std::string(kSettings) + " (ExchangeSeparator and PathSuffix must hold no blanks)"},
        {Status::BadSetting,
         {Reason::PriceMarkerEmpty},
         std::string(kSettings) + " (PriceMarker must not be empty)"},
        {Status::CertificateRefused,
         {Reason::NoCertificateFiles},
         "the certificate of 'quotes.example' was refused (Windows keeps trusted authorities in "
         "its own store; install the certificate there and remove the setting CertificateFile)"},
        {Status::TimedOut,
         {Reason::NoConnection, 1'000},
         "'quotes.example' is too slow (no connection within 1000 ms)"},
        {Status::TimedOut,
         {Reason::NoData, 1'000},
         "'quotes.example' is too slow (no data for 1000 ms)"},
        {Status::TimedOut, {Reason::NoAnswer}, "'quotes.example' is too slow (no answer)"},
        {Status::TimedOut,
         {Reason::NotDone, 10'000},
         "'quotes.example' is too slow (not done within 10000 ms)"},
        {Status::TooLarge,
         {Reason::BodyTooLarge, 10'240'000},
         "the answer of 'quotes.example' is too large (more than 10240000 bytes)"},
        {Status::RedirectRefused,
         {Reason::NotHttps},
         "'quotes.example' points elsewhere and was not followed (not an https address)"},
        {Status::RedirectRefused,
         {Reason::TooManyRedirects, 5},
         "'quotes.example' points elsewhere and was not followed (more than 5 redirects)"},
        {Status::Failed, {Reason::OutOfMemory}, "the request failed (not enough memory)"},
        {Status::Failed,
         {Reason::LibraryNotStarted},
         "the request failed (the HTTPS library did not start)"},
        {Status::Failed, {Reason::LibraryFailed}, "the request failed (the HTTPS library failed)"},
        {Status::NotConnected,
         {Reason::WindowsError, 12'029},
         "no connection to 'quotes.example' (Windows error 12029)"},
        {Status::NotConnected,
         {Reason::PlatformText, 0, "Empty reply"},
         "no connection to 'quotes.example' (Empty reply)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(QuoteReasonText(Attempt(row.status, row.detail)), row.text);
    }
}

TEST(QuoteWords, AllAttemptsInOneLine) {
    CStockQuoteResult result;
    result.symbol = "AC\nME";
    result.attempts = {Attempt(Status::HttpError)};
    EXPECT_EQ(QuoteMessage(result),
              "No price of 'AC ME': the service answered with HTTP status 404; it may not know "
              "the symbol.");
    // Whatever a server says stays on the line.
    result.attempts.push_back(Attempt(Status::Failed, {Reason::PlatformText, 0, "two\nlines"}));
    result.attempts.back().path = "";
    EXPECT_EQ(QuoteMessage(result),
              "No price of 'AC ME': service 1 /stocks/ACME/: the service answered with HTTP "
              "status 404; it may not know the symbol; service 1: the request failed (two "
              "lines).");
    result.success = true;
    EXPECT_EQ(QuoteMessage(result), "");
}

}  // namespace
}  // namespace quillon
