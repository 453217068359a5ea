#include "import/text/CurrencyNames.h"

#include <algorithm>
#include <iterator>

#include "foundation/Unicode.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

// ISO 4217, those in use.
constexpr std::string_view kCurrencies =
    "AED AFN ALL AMD ANG AOA ARS AUD AWG AZN BAM BBD BDT BGN BHD BIF BMD BND BOB BRL BSD BTN "
    "BWP BYN BZD CAD CDF CHF CLP CNY COP CRC CUP CVE CZK DEM DJF DKK DOP DZD EGP ERN ETB EUR "
    "FIM FJD FKP FRF GBP GEL GHS GIP GMD GNF GTQ GYD HKD HNL HRK HTG HUF IDR ILS INR IQD IRR "
    "ISK ITL JMD JOD JPY KES KGS KHR KMF KPW KRW KWD KYD KZT LAK LBP LKR LRD LSL LYD MAD MDL "
    "MGA MKD MMK MNT MOP MRU MUR MVR MWK MXN MYR MZN NAD NGN NIO NLG NOK NPR NZD OMR PAB PEN "
    "PGK PHP PKR PLN PYG QAR RON RSD RUB RWF SAR SBD SCR SDG SEK SGD SHP SLE SOS SRD SSP STN "
    "SVC SYP SZL THB TJS TMT TND TOP TRY TTD TWD TZS UAH UGX USD UYU UZS VES VND VUV WST XAF "
    "XCD XOF XPF YER ZAR ZMW ZWL ";

// Other words that stand for money, in lower case.
constexpr std::string_view kMoneyWords[] = {
    "kr", "z\xC5\x82", "zl", "k\xC4\x8D", "kc", "ft",   "fr",    "sfr", "rs",  "rm",  "r",
    "us", "au",        "ca", "nz",        "hk", "euro", "euros", "lei", "dkr", "nkr", "skr"};

constexpr MoneySign kMoneySigns[] = {
    {"$", "$"},
    {"\xE2\x82\xAC", "EUR"},
    {"\xC2\xA3", "GBP"},
    {"\xC2\xA5", "JPY"},
    {"\xE2\x82\xB9", "INR"},
    {"\xE2\x82\xBD", "RUB"},
    {"\xE2\x82\xA9", "KRW"},
    {"\xE2\x82\xAA", "ILS"},
    {"\xE2\x82\xAB", "VND"},
    {"\xE2\x82\xB1", "PHP"},
    {"\xE2\x82\xB4", "UAH"},
    {"\xE2\x82\xBA", "TRY"},
};

}  // namespace

const MoneySign* MoneySignAt(std::string_view text) {
    for (const MoneySign& sign : kMoneySigns) {
        if (text.substr(0, sign.bytes.size()) == sign.bytes) return &sign;
    }
    return nullptr;
}

bool IsCurrencyCode(std::string_view word) {
    if (word.size() != 3) return false;
    const size_t at = kCurrencies.find(UpperAscii(word));
    return at != std::string_view::npos && at % 4 == 0;
}

bool IsCurrencyWord(std::string_view word) {
    return IsCurrencyCode(word) ||
           std::any_of(std::begin(kMoneyWords), std::end(kMoneyWords),
                       [word](std::string_view known) { return EqualsIgnoringCase(word, known); });
}

std::string CurrencyName(std::string_view word) {
    for (const MoneySign& sign : kMoneySigns) {
        if (word == sign.bytes) return std::string(sign.currency);
    }
    return UpperAscii(word);
}

}  // namespace quillon
