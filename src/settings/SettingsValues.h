#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// The forms that values of the settings file take. Nothing depends on a locale: the
// decimal mark is a point.
//
// A number is read from the start of the text, blanks before it passed over; what
// follows it does not matter. Readers return false and leave 0 (or an empty result)
// when there is no number or it does not fit.

bool ParseLeadingInteger(std::string_view text, int64_t& value);
// Finite numbers only.
bool ParseLeadingDouble(std::string_view text, double& value);

// Screen pixels.
struct WindowRectangle {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    bool operator==(const WindowRectangle&) const = default;
};
// "left,top,right,bottom".
bool ParseRectangle(std::string_view text, WindowRectangle& rectangle);
std::string FormatRectangle(const WindowRectangle& rectangle);

// Pixel widths in column order, "57,72,322". False when any of them is no number or
// is negative.
bool ParseWidths(std::string_view text, std::vector<int32_t>& widths);
std::string FormatWidths(const std::vector<int32_t>& widths);

// "base_number" and "base_text": keys of families such as the last folder per import format.
std::string NumberedKey(std::string_view base, int64_t number);
std::string NamedKey(std::string_view base, std::string_view name);
// The four parts of a report's name and its number, nothing between them.
std::string DateRangeKey(std::string_view part1, std::string_view part2, std::string_view part3,
                         std::string_view part4, int64_t number);

}  // namespace quillon
