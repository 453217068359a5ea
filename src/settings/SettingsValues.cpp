#include "settings/SettingsValues.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace quillon {
namespace {

// Reads a number off the front of `text`, as scanf would: blanks, an optional sign,
// digits.
template <typename Number>
bool TakeNumber(std::string_view& text, Number& value) {
    const size_t start = text.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos) return false;
    text.remove_prefix(start);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return false;
    }
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    value = number;
    return true;
}

bool TakeComma(std::string_view& text) {
    if (!text.starts_with(',')) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

bool ParseLeadingInteger(std::string_view text, int64_t& value) {
    value = 0;
    return TakeNumber(text, value);
}

bool ParseLeadingDouble(std::string_view text, double& value) {
    value = 0.0;
    double number = 0.0;
    if (!TakeNumber(text, number) || !std::isfinite(number)) return false;
    value = number;
    return true;
}

bool ParseRectangle(std::string_view text, WindowRectangle& rectangle) {
    WindowRectangle read;
    rectangle = {};
    if (!TakeNumber(text, read.left) || !TakeComma(text) || !TakeNumber(text, read.top) ||
        !TakeComma(text) || !TakeNumber(text, read.right) || !TakeComma(text) ||
        !TakeNumber(text, read.bottom)) {
        return false;
    }
    rectangle = read;
    return true;
}

std::string FormatRectangle(const WindowRectangle& rectangle) {
    return FormatWidths({rectangle.left, rectangle.top, rectangle.right, rectangle.bottom});
}

bool ParseWidths(std::string_view text, std::vector<int32_t>& widths) {
    widths.clear();
    std::vector<int32_t> read;
    do {
        int32_t width = 0;
        if (!TakeNumber(text, width) || width < 0) return false;
        read.push_back(width);
        const size_t comma = text.find(',');
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma);
    } while (TakeComma(text));
    widths.swap(read);
    return true;
}

std::string FormatWidths(const std::vector<int32_t>& widths) {
    std::string text;
    for (const int32_t width : widths) {
        if (!text.empty()) text += ',';
        text += std::to_string(width);
    }
    return text;
}

std::string NumberedKey(std::string_view base, int64_t number) {
    return NamedKey(base, std::to_string(number));
}

std::string NamedKey(std::string_view base, std::string_view name) {
    return std::string(base).append("_").append(name);
}

std::string DateRangeKey(std::string_view part1, std::string_view part2, std::string_view part3,
                         std::string_view part4, int64_t number) {
    return std::string(part1).append(part2).append(part3).append(part4).append(
        std::to_string(number));
}

}  // namespace quillon
