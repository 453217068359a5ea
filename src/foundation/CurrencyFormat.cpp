#include "foundation/CurrencyFormat.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

namespace quillon {

namespace {

constexpr size_t kMaximumWholeDigits = 15;
constexpr size_t kMaximumDecimals = 10;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Adds one to a decimal number of digits only ("99" becomes "100").
void Increase(std::string& digits) {
    for (size_t i = digits.size(); i-- > 0;) {
        if (digits[i] != '9') {
            ++digits[i];
            return;
        }
        digits[i] = '0';
    }
    digits.insert(digits.begin(), '1');
}

// The magnitude in whole cents, at least three digits; rounded half away from
// zero from the shortest decimal that stands for the double.
std::string CentDigits(double amount) {
    // The longest: a sign, "0." and the 340 places of the smallest double.
    char buffer[400];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, std::fabs(amount), std::chars_format::fixed);
    if (error != std::errc()) return "000";
    const std::string_view text(buffer, static_cast<size_t>(end - buffer));
    const size_t point = text.find('.');
    std::string digits(text.substr(0, point));
    std::string decimals;
    if (point != std::string_view::npos) decimals = text.substr(point + 1);
    const bool up = decimals.size() > 2 && decimals[2] >= '5';
    decimals.resize(2, '0');
    digits += decimals;
    if (up) Increase(digits);
    return digits;
}

std::string Format(double amount, bool grouped) {
    if (!std::isfinite(amount)) amount = 0.0;
    const std::string digits = CentDigits(amount);
    const size_t whole = digits.size() - 2;
    std::string out;
    if (amount < 0 && digits.find_first_not_of('0') != std::string::npos) out.push_back('-');
    for (size_t i = 0; i < whole; ++i) {
        if (grouped && i > 0 && (whole - i) % 3 == 0) out.push_back(',');
        out.push_back(digits[i]);
    }
    return out.append(1, '.').append(digits, whole, 2);
}

// Takes the part before the point, without its commas. False: commas that do
// not part thousands.
bool TakeWhole(std::string_view& text, std::string& number) {
    size_t sinceComma = 0;
    bool grouped = false;
    for (; !text.empty() && (IsDigit(text.front()) || text.front() == ','); text.remove_prefix(1)) {
        if (text.front() == ',') {
            const bool placed = grouped
                                    ? sinceComma == 3
                                    : sinceComma >= 1 && sinceComma <= 3 && number.front() != '0';
            if (!placed) return false;
            grouped = true;
            sinceComma = 0;
        } else {
            number.push_back(text.front());
            ++sinceComma;
        }
    }
    return !grouped || sinceComma == 3;
}

// Takes the sign and the "$", in either order, each at most once.
void TakePrefix(std::string_view& text, bool& negative) {
    bool sign = false;
    bool currency = false;
    for (; !text.empty(); text.remove_prefix(1)) {
        const char c = text.front();
        if (!sign && (c == '-' || c == '+')) {
            sign = true;
            negative = c == '-';
        } else if (!currency && c == '$') {
            currency = true;
        } else {
            return;
        }
    }
}

std::string_view WithoutBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::string FormatCurrency(double amount) {
    return Format(amount, true);
}

std::string FormatPlainAmount(double amount) {
    return Format(amount, false);
}

bool ParseAmount(std::string_view text, double& amount) {
    text = WithoutBlanks(text);
    bool negative = false;
    TakePrefix(text, negative);

    std::string number;
    if (!TakeWhole(text, number) || number.size() > kMaximumWholeDigits) return false;
    const bool hasWhole = !number.empty();
    if (!hasWhole) number = "0";
    if (!text.empty()) {
        if (text.front() != '.') return false;
        text.remove_prefix(1);
        if (text.empty() || text.size() > kMaximumDecimals) return false;
        for (const char c : text) {
            if (!IsDigit(c)) return false;
        }
        number.append(1, '.').append(text);
    } else if (!hasWhole) {
        return false;
    }

    double magnitude = 0;
    const auto [end, error] =
        std::from_chars(number.data(), number.data() + number.size(), magnitude);
    if (error != std::errc() || end != number.data() + number.size()) return false;
    amount = negative && magnitude != 0 ? -magnitude : magnitude;
    return true;
}

}  // namespace quillon
