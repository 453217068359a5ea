#include "quotes/StockQuote.h"

#include <algorithm>

namespace quillon {

namespace {

bool IsLetterOrDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
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

}  // namespace quillon
