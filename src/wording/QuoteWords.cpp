#include "wording/QuoteWords.h"

#include "foundation/PrintableText.h"
#include "quotes/StockQuoteService.h"
#include "settings/SettingsNames.h"
#include "wording/Words.h"

namespace quillon {

namespace {

// What is wrong with a key of the service's section.
std::string SettingText(StockQuoteReason reason) {
    switch (reason) {
        case StockQuoteReason::HostNotBare:
            return std::string(settings::kHost) + " must be a bare name such as quotes.example";
        case StockQuoteReason::PortOutOfRange:
            return std::string(settings::kPort) + " must be a number from 1 to 65535";
        case StockQuoteReason::PathPrefixNotRooted:
            return std::string(settings::kPathPrefix) + " must start with / and hold no blanks";
        case StockQuoteReason::PathEndHasBlanks:
            return std::string(settings::kExchangeSeparator) + " and " + settings::kPathSuffix +
                   " must hold no blanks";
        case StockQuoteReason::PriceMarkerEmpty:
            return std::string(settings::kPriceMarker) + " must not be empty";
        default:
            return {};
    }
}

std::string DetailText(const StockQuoteDetail& detail) {
    const std::string value = std::to_string(detail.value);
    switch (detail.reason) {
        case StockQuoteReason::NoCertificateFiles:
            return std::string(
                       "Windows keeps trusted authorities in its own store; install the "
                       "certificate there and remove the setting ") +
                   settings::kCertificateFile;
        case StockQuoteReason::NoConnection:
            return "no connection within " + value + " ms";
        case StockQuoteReason::NoData:
            return "no data for " + value + " ms";
        case StockQuoteReason::NoAnswer:
            return "no answer";
        case StockQuoteReason::NotDone:
            return "not done within " + value + " ms";
        case StockQuoteReason::BodyTooLarge:
            return "more than " + value + " bytes";
        case StockQuoteReason::NotHttps:
            return "not an https address";
        case StockQuoteReason::TooManyRedirects:
            return "more than " + value + " redirects";
        case StockQuoteReason::OutOfMemory:
            return "not enough memory";
        case StockQuoteReason::LibraryNotStarted:
            return "the HTTPS library did not start";
        case StockQuoteReason::LibraryFailed:
            return "the HTTPS library failed";
        case StockQuoteReason::WindowsError:
            return "Windows error " + value;
        case StockQuoteReason::PlatformText:
            return detail.text;
        default:
            return SettingText(detail.reason);
    }
}

std::string WithDetail(std::string text, const StockQuoteAttempt& attempt) {
    const std::string detail = DetailText(attempt.detail);
    if (!detail.empty()) text += " (" + detail + ")";
    return text;
}

// About what the settings say of the service.
std::string SettingsText(const StockQuoteAttempt& attempt) {
    const std::string section = StockQuoteServiceSection(attempt.service);
    switch (attempt.status) {
        case StockQuoteStatus::UnknownService:
            return "there is no quote service " + std::to_string(attempt.service) +
                   "; choose 0, 1 or 2";
        case StockQuoteStatus::NoHost:
            return "no host is set for it; fill in the key 'Host' of the settings' section " +
                   Quoted(section);
        default:
            return WithDetail("the settings' section " + Quoted(section) + " cannot be used",
                              attempt);
    }
}

// About the page that came.
std::string PageText(const StockQuoteAttempt& attempt) {
    const std::string section = StockQuoteServiceSection(attempt.service);
    switch (attempt.status) {
        case StockQuoteStatus::HttpError:
            return "the service answered with HTTP status " + std::to_string(attempt.httpCode) +
                   "; it may not know the symbol";
        case StockQuoteStatus::NoPriceMarker:
            return "the page has no price marker; if the service changed its pages, the "
                   "settings' section " +
                   Quoted(section) + " can follow it";
        default:
            return "the page gives no price above 0; the service may not know the symbol";
    }
}

}  // namespace

std::string QuoteMessage(const CStockQuoteResult& result) {
    if (result.success) return {};
    std::string reasons;
    for (const StockQuoteAttempt& attempt : result.attempts) {
        if (!reasons.empty()) reasons += "; ";
        if (result.attempts.size() > 1) {
            reasons += "service " + std::to_string(attempt.service);
            if (!attempt.path.empty()) reasons += " " + attempt.path;
            reasons += ": ";
        }
        reasons += QuoteReasonText(attempt);
    }
    return "No price of " + Quoted(Printable(result.symbol)) + ": " + Printable(reasons) + ".";
}

std::string QuoteReasonText(const StockQuoteAttempt& attempt) {
    const std::string host = Quoted(attempt.host);
    switch (attempt.status) {
        case StockQuoteStatus::Success:
            return {};
        case StockQuoteStatus::BadSymbol:
            return "it is not a symbol; write letters, digits and signs such as . - ^ =, at most " +
                   std::to_string(CStockQuote::kLongestSymbol) + ", without blanks and slashes";
        case StockQuoteStatus::UnknownService:
        case StockQuoteStatus::NoHost:
        case StockQuoteStatus::BadSetting:
            return SettingsText(attempt);
        case StockQuoteStatus::NotFound:
            return "there is no host " + host + "; check the name and the network";
        case StockQuoteStatus::NotConnected:
            return WithDetail("no connection to " + host, attempt);
        case StockQuoteStatus::CertificateRefused:
            return WithDetail("the certificate of " + host + " was refused", attempt);
        case StockQuoteStatus::TimedOut:
            return WithDetail(host + " is too slow", attempt);
        case StockQuoteStatus::TooLarge:
            return WithDetail("the answer of " + host + " is too large", attempt);
        case StockQuoteStatus::RedirectRefused:
            return WithDetail(host + " points elsewhere and was not followed", attempt);
        case StockQuoteStatus::HttpError:
        case StockQuoteStatus::NoPriceMarker:
        case StockQuoteStatus::NoPrice:
            return PageText(attempt);
        case StockQuoteStatus::Failed:
            break;
    }
    return WithDetail("the request failed", attempt);
}

}  // namespace quillon
