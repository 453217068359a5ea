#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "finance/records/FinanceRecords.h"

namespace quillon {

class CSettingsFile;

// The layout of a check: what CCheckPrintFormat keeps as texts, as numbers.
//
//   Offsets      Six hundredths to the inch, from the check's left and upper edge to the
//                upper left corner of the text. The date of a new layout, 2155,230, is
//                3.6 inches from the left and 0.4 from the top.
//   Font height  Points.
//   Width        Inches, of the check along its text.

inline constexpr int32_t kCheckUnitsPerInch = 600;

// In the order in which dialogs number them.
enum class CheckField { Date = 0, Payee = 1, Amount = 2, WrittenAmount = 3, Memo = 4 };
inline constexpr std::array<CheckField, 5> kCheckFields{
    CheckField::Date, CheckField::Payee, CheckField::Amount, CheckField::WrittenAmount,
    CheckField::Memo};

// "Date Position" and its kin, the titles of the dialogs that edit them.
std::string_view PositionTitle(CheckField field);

struct CheckPosition {
    int32_t fontHeight = 0;
    int32_t horizontal = 0;
    int32_t vertical = 0;

    bool operator==(const CheckPosition&) const = default;
};

// "10,2155,230": three positive whole numbers, blanks around each allowed. False leaves
// `position` untouched.
[[nodiscard]] bool ParseCheckPosition(std::string_view text, CheckPosition& position);
std::string FormatCheckPosition(const CheckPosition& position);
// The whole text is a number, blanks around it allowed. False leaves `inches` untouched.
[[nodiscard]] bool ParseCheckWidth(std::string_view text, double& inches);

// The layout of an account that has none of its own, from the settings' section CheckPrint; a
// setting that is missing or cannot be used is the built-in one.
CCheckPrintFormat DefaultCheckFormat(const CSettingsFile& settings);

CKeelString& PositionText(CCheckPrintFormat& format, CheckField field);
const CKeelString& PositionText(const CCheckPrintFormat& format, CheckField field);

enum class CheckLayoutProblem {
    None,
    BadPosition,  // of any of the five
    BadWidth,     // not above 0, or no number
};
// Looks at the whole layout.
CheckLayoutProblem FindLayoutProblem(const CCheckPrintFormat& format);
// What the user is told, paragraphs parted by an empty line. Empty for None.
std::string_view MessageOf(CheckLayoutProblem problem);

}  // namespace quillon
