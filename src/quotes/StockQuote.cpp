#include "quotes/StockQuote.h"

#include <algorithm>

#include "quotes/StockQuoteService.h"

namespace quillon {

namespace {

bool IsLetterOrDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
}

std::string WithDetail(std::string text, const StockQuoteAttempt& attempt) {
    if (!attempt.detail.empty()) text += " (" + attempt.detail + ")";
    return text;
}

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

// About what the settings say of the service.
std::string ExplainSettings(const StockQuoteAttempt& attempt) {
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
std::string ExplainPage(const StockQuoteAttempt& attempt) {
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

bool CStockQuote::IsValid() const {
    if (m_symbol.size() > kLongestSymbol) return false;
    const auto isVisible = [](char character) {
        return character > 0x20 && character < 0x7F && character != '/' && character != '\\';
    };
    // "." and ".." would walk up the path.
    return std::all_of(m_symbol.begin(), m_symbol.end(), isVisible) &&
           std::any_of(m_symbol.begin(), m_symbol.end(), IsLetterOrDigit);
}

std::string CStockQuote::EncodedSymbol() const {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : m_symbol) {
        if (IsLetterOrDigit(character) ||
            std::string_view("-._~").find(character) != std::string_view::npos) {
            encoded += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        encoded += '%';
        encoded += kDigits[byte >> 4];
        encoded += kDigits[byte & 0x0F];
    }
    return encoded;
}

std::string Explain(const StockQuoteAttempt& attempt) {
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
            return ExplainSettings(attempt);
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
            return ExplainPage(attempt);
        case StockQuoteStatus::Failed:
            break;
    }
    return WithDetail("the request failed", attempt);
}

}  // namespace quillon
