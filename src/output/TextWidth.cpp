#include "output/TextWidth.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

// Thousandths of the font height, from the blank to the tilde: the wider of Liberation
// Sans (as wide as Helvetica and Arial) and DejaVu Sans (as wide as Verdana, nearly).
constexpr char32_t kFirstMeasured = 0x20;
constexpr std::array<int16_t, 95> kMeasured{
    318,  401, 460, 838, 637, 951, 780, 275, 391, 391, 500, 838, 318, 361, 318, 337,  // blank
    637,  637, 637, 637, 637, 637, 637, 637, 637, 637, 337, 337, 838, 838, 838, 557,  // 0
    1016, 685, 687, 723, 771, 667, 611, 778, 752, 295, 500, 667, 558, 863, 749, 788,  // @
    667,  788, 723, 667, 611, 732, 685, 989, 686, 667, 686, 391, 337, 391, 838, 557,  // P
    500,  613, 635, 550, 635, 616, 353, 635, 634, 278, 278, 580, 278, 975, 634, 612,  // `
    635,  635, 412, 521, 393, 634, 592, 818, 592, 592, 525, 637, 337, 637, 838};      // p

int16_t WidthOf(char32_t character) {
    if (character < kFirstMeasured) return 0;
    const size_t index = character - kFirstMeasured;
    if (index < kMeasured.size()) return kMeasured[index];
    if (character >= 0x300 && character < 0x370) return 0;  // combining marks
    const bool wideLetter =
        character == 0xC6 || character == 0xE6 || character == 0x152 || character == 0x153;
    if (character >= 0xC0 && character < 0x180 && !wideLetter) return 800;  // accented letters
    return character < 0x1F000 ? 1150 : 1400;  // other scripts, and pictures
}

}  // namespace

double EstimatedTextWidth(std::string_view text) {
    double thousandths = 0.0;
    for (size_t position = 0; position < text.size();) {
        thousandths += WidthOf(DecodeUtf8(text, position));
    }
    return thousandths / 1000.0;
}

}  // namespace quillon
