#include "quotes/StockQuotePage.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr size_t kLongestNumber = 64;
constexpr size_t kLongestEntity = 10;  // between "&" and ";"

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool IsLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

bool IsDigitAt(std::string_view text, size_t position) {
    return position < text.size() && IsDigit(text[position]);
}

// Moves `text` behind the marker. No marker is everywhere.
bool SkipPast(std::string_view& text, const std::string& marker) {
    const size_t position = text.find(marker);
    if (position == std::string_view::npos) return false;
    text.remove_prefix(position + marker.size());
    return true;
}

// --- price

// The comma at `position` between groups of a whole number: `run` is what came before.
bool IsThousandsSeparator(std::string_view text, size_t position, const std::string& run,
                          size_t group) {
    return group >= 1 && group <= 3 && (group == 3 || group == run.size()) &&
           run.find('.') == std::string::npos && IsDigitAt(text, position + 1) &&
           IsDigitAt(text, position + 2) && IsDigitAt(text, position + 3) &&
           !IsDigitAt(text, position + 4);
}

// "e5", "e-5": the number goes on in a form that is not read here.
bool StartsExponent(std::string_view text) {
    if (text.empty() || (text[0] != 'e' && text[0] != 'E')) return false;
    const bool hasSign = text.size() > 1 && (text[1] == '-' || text[1] == '+');
    return IsDigitAt(text, hasSign ? 2 : 1);
}

// The leading run of digits and points; empty when there is none that is a number's whole.
std::string LeadingRun(std::string_view text) {
    std::string run;
    size_t group = 0;  // digits since the start or the last separator
    for (size_t position = 0; position < text.size(); ++position) {
        const char character = text[position];
        if (IsBlank(character) || character == '"' || character == '\'') continue;
        if (character == ',') {
            if (!IsThousandsSeparator(text, position, run, group)) {
                return IsDigitAt(text, position + 1) ? std::string() : run;
            }
            group = 0;
            continue;
        }
        if (!IsDigit(character) && character != '.') {
            return StartsExponent(text.substr(position)) ? std::string() : run;
        }
        if (run.size() == kLongestNumber) return {};
        run += character;
        ++group;
    }
    return run;
}

bool ReadPrice(std::string_view text, double& price) {
    const std::string run = LeadingRun(text);
    double number = 0.0;
    const char* const end = run.data() + run.size();
    const auto [rest, error] = std::from_chars(run.data(), end, number);
    if (error != std::errc() || rest != end || !(number > 0.0)) return false;
    price = number;
    return true;
}

// --- name

// Behind a value's closing quotation mark: another attribute of the same tag.
bool StartsAttribute(std::string_view text) {
    size_t position = 0;
    while (position < text.size() && position < kLongestName && IsBlank(text[position])) ++position;
    const size_t start = position;
    while (position < text.size() && position - start < kLongestName &&
           (IsLetter(text[position]) || text[position] == '-' || text[position] == ':')) {
        ++position;
    }
    return start > 0 && position > start && position < text.size() && text[position] == '=';
}

bool EndsAt(std::string_view text, size_t position, const std::vector<std::string>& ends) {
    const std::string_view rest = text.substr(position);
    if (rest[0] == ',' && rest.size() > 1 && IsBlank(rest[1]) &&
        (position == 0 || text[position - 1] != '"')) {
        return false;  // "Acme, Inc."
    }
    return std::any_of(ends.begin(), ends.end(),
                       [&](const std::string& end) { return rest.starts_with(end); });
}

// The name as it stands in the page, without quotation marks.
std::string RawName(std::string_view text, const std::vector<std::string>& ends) {
    std::string name;
    for (size_t position = 0; position < text.size(); ++position) {
        const char character = text[position];
        if (character == '"') {
            if (!name.empty() && StartsAttribute(text.substr(position + 1))) return name;
            continue;
        }
        const bool isEscapedMark =
            character == '\\' && position + 1 < text.size() && text[position + 1] == '"';
        if (isEscapedMark) continue;
        if (EndsAt(text, position, ends)) return name;
        if (name.size() == kLongestName) return {};
        name += character;
    }
    return name;
}

bool ParseCode(std::string_view digits, int base, uint32_t& code) {
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, code, base);
    return error == std::errc() && rest == end && !digits.empty();
}

// The character that an entity stands for, without "&" and ";". False: none that is known.
bool EntityCode(std::string_view entity, uint32_t& code) {
    static constexpr struct {
        std::string_view name;
        uint32_t code;
    } kEntities[] = {{"amp", '&'},   {"lt", '<'},     {"gt", '>'},   {"quot", '"'},
                     {"apos", '\''}, {"nbsp", 0xA0},  {"reg", 0xAE}, {"trade", 0x2122},
                     {"copy", 0xA9}, {"eacute", 0xE9}};
    for (const auto& known : kEntities) {
        if (known.name == entity) {
            code = known.code;
            return true;
        }
    }
    if (!entity.starts_with('#')) return false;
    entity.remove_prefix(1);
    const bool isHex = entity.starts_with('x') || entity.starts_with('X');
    if (isHex) entity.remove_prefix(1);
    return ParseCode(entity, isHex ? 16 : 10, code);
}

// Appends the character written at `position` as an entity and moves behind it.
bool DecodeEntity(std::string_view text, size_t& position, std::string& decoded) {
    const std::string_view rest = text.substr(position + 1, kLongestEntity + 1);
    const size_t end = rest.find(';');
    uint32_t code = 0;
    if (end == std::string_view::npos || !EntityCode(rest.substr(0, end), code)) return false;
    AppendUtf8(decoded, code == 0 ? kReplacementCharacter : static_cast<char32_t>(code));
    position += end + 2;
    return true;
}

// The same for "\u0026" and, of characters beyond 16 bits, pairs of them.
bool DecodeEscape(std::string_view text, size_t& position, std::string& decoded) {
    const auto unitAt = [&](size_t start, uint32_t& unit) {
        return text.substr(std::min(start, text.size())).starts_with("\\u") &&
               text.size() >= start + 6 && ParseCode(text.substr(start + 2, 4), 16, unit);
    };
    uint32_t unit = 0;
    if (!unitAt(position, unit)) return false;
    position += 6;
    uint32_t low = 0;
    if (unit >= 0xD800 && unit < 0xDC00 && unitAt(position, low) && low >= 0xDC00 && low < 0xE000) {
        position += 6;
        unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    AppendUtf8(decoded, static_cast<char32_t>(unit));
    return true;
}

std::string Decode(std::string_view text) {
    std::string decoded;
    for (size_t position = 0; position < text.size();) {
        const char character = text[position];
        if (character == '&' && DecodeEntity(text, position, decoded)) continue;
        if (character == '\\' && DecodeEscape(text, position, decoded)) continue;
        decoded += character;
        ++position;
    }
    return decoded;
}

// One line: blanks and control characters become single blanks, none at the ends.
std::string OnOneLine(std::string_view text) {
    std::string line;
    for (size_t position = 0; position < text.size();) {
        const char32_t character = DecodeUtf8(text, position);
        const bool isBlank = character <= 0x20 || (character >= 0x7F && character <= 0xA0);
        if (!isBlank) {
            AppendUtf8(line, character);
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    if (line.ends_with(' ')) line.pop_back();
    return line;
}

}  // namespace

StockQuoteStatus CutStockQuote(std::string_view page, const StockQuoteService& service,
                               double& price, std::string& name) {
    price = 0.0;
    name.clear();
    std::string_view priceText = page;
    if (!SkipPast(priceText, service.blockMarker) || !SkipPast(priceText, service.priceMarker)) {
        return StockQuoteStatus::NoPriceMarker;
    }
    if (!service.secondMarker.empty()) {
        priceText = priceText.substr(0, priceText.find(service.secondMarker));
    }
    if (!ReadPrice(priceText, price)) return StockQuoteStatus::NoPrice;

    std::string_view nameText = page;
    if (!service.nameMarker.empty() && SkipPast(nameText, service.nameMarker)) {
        name = OnOneLine(Decode(RawName(nameText, service.nameEnds)));
    }
    return StockQuoteStatus::Success;
}

}  // namespace quillon
