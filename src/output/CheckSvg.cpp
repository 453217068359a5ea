#include "output/CheckSvg.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr double kHundredthsPerPoint = 2540.0 / 72.0;

// Characters that XML cannot hold at all become U+FFFD.
std::string XmlText(std::string_view text) {
    std::string xml;
    xml.reserve(text.size());
    for (size_t position = 0; position < text.size();) {
        const char32_t character = DecodeUtf8(text, position);
        switch (character) {
            case U'&':
                xml += "&amp;";
                break;
            case U'<':
                xml += "&lt;";
                break;
            case U'>':
                xml += "&gt;";
                break;
            case U'"':
                xml += "&quot;";
                break;
            default: {
                const bool refused = (character < 0x20 && character != U'\t' &&
                                      character != U'\n' && character != U'\r') ||
                                     character == 0xFFFE || character == 0xFFFF;
                AppendUtf8(xml, refused ? kReplacementCharacter : character);
            }
        }
    }
    return xml;
}

// Hundredths with two decimals and a point, whatever the locale.
std::string Decimal(int64_t hundredths) {
    std::string digits = std::to_string(hundredths);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    return digits.insert(digits.size() - 2, ".");
}

std::string TextElement(const CheckText& text, bool turned) {
    const std::string x = std::to_string(text.x);
    const std::string y = std::to_string(text.y);
    const int64_t size = std::llround(text.fontHeight * kHundredthsPerPoint * 100.0);
    std::string element = "  <text x=\"" + x + "\" y=\"" + y + "\" font-size=\"" + Decimal(size);
    if (turned) element += "\" transform=\"rotate(-90 " + x + " " + y + ")";
    return element + "\" xml:space=\"preserve\">" + XmlText(text.text) + "</text>\n";
}

}  // namespace

std::string CheckSvg(const CheckPage& page) {
    const std::string width = std::to_string(page.width);
    const std::string height = std::to_string(page.height);
    std::string svg =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
        Decimal(page.width) + "mm\" height=\"" + Decimal(page.height) + "mm\" viewBox=\"0 0 " +
        width + " " + height + "\">\n  <title>" + XmlText(page.title) + "</title>\n";
    if (page.outline) {
        // Inside the page, so that no half of the line is lost.
        svg += "  <rect x=\"10\" y=\"10\" width=\"" + std::to_string(page.width - 20) +
               "\" height=\"" + std::to_string(page.height - 20) +
               "\" fill=\"none\" stroke=\"#808080\" stroke-width=\"20\"/>\n";
    }
    svg += "  <g fill=\"#000000\" font-family=\"" + XmlText(kCheckTypefaces) + "\">\n";
    for (const CheckText& text : page.texts) svg += "  " + TextElement(text, page.turned);
    return svg + "  </g>\n</svg>\n";
}

}  // namespace quillon
