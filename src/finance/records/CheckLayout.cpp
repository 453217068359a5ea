#include "finance/records/CheckLayout.h"

#include <charconv>
#include <cmath>
#include <system_error>

#include "settings/SettingsFile.h"
#include "settings/SettingsNames.h"

namespace quillon {

namespace {

std::string_view WithoutBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool ParsePositive(std::string_view text, int32_t& number) {
    text = WithoutBlanks(text);
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number > 0;
}

// Up to the next comma; `text` keeps what follows it. False: no comma.
bool TakePiece(std::string_view& text, std::string_view& piece) {
    const size_t comma = text.find(',');
    if (comma == std::string_view::npos) return false;
    piece = text.substr(0, comma);
    text.remove_prefix(comma + 1);
    return true;
}

const char* SettingOf(CheckField field) {
    switch (field) {
        case CheckField::Date:
            return settings::kDateText;
        case CheckField::Payee:
            return settings::kPayeeText;
        case CheckField::Amount:
            return settings::kAmountText;
        case CheckField::WrittenAmount:
            return settings::kWrittenAmountText;
        case CheckField::Memo:
            break;
    }
    return settings::kMemoText;
}

}  // namespace

std::string_view PositionTitle(CheckField field) {
    switch (field) {
        case CheckField::Date:
            return "Date Position";
        case CheckField::Payee:
            return "Payee Position";
        case CheckField::Amount:
            return "Numeric Amount Position";
        case CheckField::WrittenAmount:
            return "Written Amount Position";
        case CheckField::Memo:
            return "Memo Position";
    }
    return {};
}

bool ParseCheckPosition(std::string_view text, CheckPosition& position) {
    std::string_view height;
    std::string_view horizontal;
    CheckPosition read;
    if (!TakePiece(text, height) || !TakePiece(text, horizontal) ||
        !ParsePositive(height, read.fontHeight) || !ParsePositive(horizontal, read.horizontal) ||
        !ParsePositive(text, read.vertical)) {
        return false;
    }
    position = read;
    return true;
}

std::string FormatCheckPosition(const CheckPosition& position) {
    return std::to_string(position.fontHeight) + "," + std::to_string(position.horizontal) + "," +
           std::to_string(position.vertical);
}

bool ParseCheckWidth(std::string_view text, double& inches) {
    text = WithoutBlanks(text);
    double read = 0.0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, read);
    if (error != std::errc() || rest != end) return false;
    inches = read;
    return true;
}

CCheckPrintFormat DefaultCheckFormat(const CSettingsFile& settings) {
    CCheckPrintFormat format;
    std::string value;
    CheckPosition position;
    for (const CheckField field : kCheckFields) {
        if (settings.ReadString(settings::kCheckPrint, SettingOf(field), value) &&
            ParseCheckPosition(value, position)) {
            PositionText(format, field) = FormatCheckPosition(position);
        }
    }
    double width = 0.0;
    if (settings.ReadString(settings::kCheckPrint, settings::kCheckWidth, value) &&
        ParseCheckWidth(value, width) && std::isfinite(width) && width > 0.0) {
        format.checkWidth = width;
    }
    return format;
}

const CKeelString& PositionText(const CCheckPrintFormat& format, CheckField field) {
    switch (field) {
        case CheckField::Date:
            return format.dateText;
        case CheckField::Payee:
            return format.payeeText;
        case CheckField::Amount:
            return format.amountText;
        case CheckField::WrittenAmount:
            return format.writtenAmountText;
        case CheckField::Memo:
            break;
    }
    return format.memoText;
}

CKeelString& PositionText(CCheckPrintFormat& format, CheckField field) {
    return const_cast<CKeelString&>(
        PositionText(static_cast<const CCheckPrintFormat&>(format), field));
}

CheckLayoutProblem FindLayoutProblem(const CCheckPrintFormat& format) {
    CheckPosition position;
    for (const CheckField field : kCheckFields) {
        if (!ParseCheckPosition(PositionText(format, field).ToUtf8(), position)) {
            return CheckLayoutProblem::BadPosition;
        }
    }
    const bool positive = std::isfinite(format.checkWidth) && format.checkWidth > 0.0;
    return positive ? CheckLayoutProblem::None : CheckLayoutProblem::BadWidth;
}

std::string_view MessageOf(CheckLayoutProblem problem) {
    switch (problem) {
        case CheckLayoutProblem::BadPosition:
            return "One or more of the values entered are not valid.\n\n"
                   "Make sure the values entered are all positive integers.";
        case CheckLayoutProblem::BadWidth:
            return "The check width must be a positive value.\n\n"
                   "Typical check widths are 6 inches for personal checks and 8.5 inches for "
                   "corporate checks.";
        case CheckLayoutProblem::None:
            break;
    }
    return {};
}

}  // namespace quillon
