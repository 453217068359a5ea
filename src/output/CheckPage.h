#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "finance/records/CheckLayout.h"

namespace quillon {

// A check as it goes onto paper: plain data, so that printer, preview and file draw the
// same. Lengths are hundredths of a millimetre from the page's upper left corner.

// The typefaces to draw with, the first one there is.
inline constexpr char kCheckTypefaces[] = "Helvetica, Arial, 'Liberation Sans', sans-serif";

struct CheckText {
    CheckField field = CheckField::Date;
    std::string text;         // UTF-8, one line, never empty
    int32_t x = 0;            // where its baseline starts
    int32_t y = 0;            // the same
    int32_t length = 0;       // along the baseline, estimated generously
    double fontHeight = 0.0;  // points
};

struct CheckPage {
    int32_t width = 0;
    int32_t height = 0;
    // The check lies on its side, its upper edge along the page's left edge: baselines run
    // up the page and its right edge goes into the printer first. (So placed, a check of
    // any height lies right: the layout knows a check's width only.)
    bool turned = false;
    bool outline = false;  // the edge of the check is to be drawn too
    std::string title;
    std::vector<CheckText> texts;
};

// What is on the check, by field. Empty texts are left out.
using CheckContents = std::array<std::string, kCheckFields.size()>;
inline std::string& TextOf(CheckContents& contents, CheckField field) {
    return contents[static_cast<size_t>(field)];
}

enum class CheckPageProblem {
    None,
    BadPosition,  // as CheckLayoutProblem
    BadWidth,
    TooWide,     // no paper is that wide
    DoesNotFit,  // `field` has no room, even in the smallest print
};

struct CheckPageResult {
    CheckPageProblem problem = CheckPageProblem::None;
    CheckField field = CheckField::Date;  // of DoesNotFit
    CheckPage page;                       // when there is no problem
    std::vector<CheckField> cut;          // texts whose end was left out
};

// Lays the texts out. A text that would run over the check's right edge, or into another
// text on its line, is set smaller, down to 6 points. Payee and memo are then cut, with
// an ellipsis; date and amounts never are.
CheckPageResult LayOutCheck(const CCheckPrintFormat& format, const CheckContents& contents);

}  // namespace quillon
