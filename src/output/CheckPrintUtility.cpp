#include "output/CheckPrintUtility.h"

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "settings/SettingsValues.h"

namespace quillon {

namespace {

constexpr std::array<std::string_view, 20> kSmallNumbers{
    "",         "One",     "Two",     "Three",     "Four",     "Five",    "Six",
    "Seven",    "Eight",   "Nine",    "Ten",       "Eleven",   "Twelve",  "Thirteen",
    "Fourteen", "Fifteen", "Sixteen", "Seventeen", "Eighteen", "Nineteen"};
constexpr std::array<std::string_view, 10> kTens{"",      "",      "Twenty",  "Thirty", "Forty",
                                                 "Fifty", "Sixty", "Seventy", "Eighty", "Ninety"};

// The number at the start of the text, 0 without one.
int64_t LeadingNumber(std::string_view text) {
    int64_t number = 0;
    ParseLeadingInteger(text, number);
    return number;
}

// Empty outside 1 to 999.
std::string GroupInWords(int64_t number) {
    if (number <= 0 || number >= 1000) return {};
    const auto value = static_cast<size_t>(number);
    if (value < kSmallNumbers.size()) return std::string(kSmallNumbers[value]);
    if (value < 100) {
        std::string words(kTens[value / 10]);
        if (value % 10 != 0) words.append(" ").append(kSmallNumbers[value % 10]);
        return words;
    }
    std::string words = std::string(kSmallNumbers[value / 100]) + " Hundred";
    if (value % 100 != 0) words.append(" ").append(GroupInWords(number % 100));
    return words;
}

// Cuts the cents off `amount`.
int64_t TakeCents(std::string_view& amount) {
    const size_t point = amount.find('.');
    if (point == std::string_view::npos || point == 0) return 0;
    const int64_t cents = LeadingNumber(amount.substr(point + 1));
    amount = amount.substr(0, point);
    return cents;
}

// Cuts the rightmost group off; 0 when there is none left.
int64_t TakeGroup(std::string_view& amount) {
    const size_t comma = amount.rfind(',');
    if (comma == std::string_view::npos) {
        const int64_t group = LeadingNumber(amount);
        amount = {};
        return group;
    }
    const int64_t group = LeadingNumber(amount.substr(comma + 1));
    amount = amount.substr(0, comma);
    return group;
}

}  // namespace

std::string CCheckPrintUtility::AmountInWords(std::string_view amount) {
    const int64_t cents = TakeCents(amount);
    const int64_t units = TakeGroup(amount);
    const int64_t thousands = TakeGroup(amount);
    const int64_t millions = TakeGroup(amount);

    std::string line;
    if (millions > 0) line.append(GroupInWords(millions)).append(" Million");
    if (thousands > 0) {
        if (!line.empty()) line += ' ';
        line.append(GroupInWords(thousands)).append(" Thousand");
    }
    if (units > 0) {
        if (!line.empty()) line += ' ';
        line.append(GroupInWords(units));
    }
    if (line.empty()) return line;
    char part[40];
    std::snprintf(part, sizeof part, " and %02" PRId64 "/100", cents);
    return line + part;
}

}  // namespace quillon
