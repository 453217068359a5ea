#include "output/CheckPage.h"

#include <algorithm>
#include <cmath>

#include "foundation/Unicode.h"
#include "output/TextWidth.h"

namespace quillon {

namespace {

constexpr double kHundredthsPerInch = 2540.0;
constexpr double kHundredthsPerPoint = kHundredthsPerInch / 72.0;
constexpr double kLargestInches = 100.0;
// Printers leave about this much of the edge white.
constexpr double kMargin = 0.1 * kHundredthsPerInch;
// Between a text and the next one on its line.
constexpr double kGap = 0.05 * kHundredthsPerInch;
// Of a font's height, what lies above the baseline.
constexpr double kAscent = 0.8;
constexpr double kSmallestPoints = 6.0;
constexpr double kPointStep = 0.5;
constexpr char kEllipsis[] = "\xE2\x80\xA6";

// Personal checks are 2.75 inches high, business checks 3.5.
constexpr double kWidestPersonalInches = 7.0;
constexpr double kPersonalHeight = 2.75 * kHundredthsPerInch;
constexpr double kBusinessHeight = 3.5 * kHundredthsPerInch;

int32_t Rounded(double hundredths) {
    return static_cast<int32_t>(std::lround(hundredths));
}

double FromUnits(int32_t units) {
    return units * kHundredthsPerInch / kCheckUnitsPerInch;
}

// A text on the check as it lies before the reader.
struct Line {
    CheckField field = CheckField::Date;
    std::string text;
    double left = 0.0;
    double top = 0.0;
    double bottom = 0.0;
    double baseline = 0.0;
    double points = 0.0;
    double length = 0.0;
};

double LengthOf(const std::string& text, double points) {
    return EstimatedTextWidth(text) * points * kHundredthsPerPoint;
}

// Control characters would be boxes or worse; they become blanks.
std::string OneLine(const std::string& text) {
    const std::string repaired = RepairUtf8(text);
    std::string line;
    line.reserve(repaired.size());
    for (size_t position = 0; position < repaired.size();) {
        const char32_t character = DecodeUtf8(repaired, position);
        const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
        AppendUtf8(line, control ? U' ' : character);
    }
    const size_t last = line.find_last_not_of(' ');
    line.resize(last == std::string::npos ? 0 : last + 1);
    return line;
}

// Sorted by field, texts without contents left out. The layout is a sound one.
std::vector<Line> MakeLines(const CCheckPrintFormat& format, const CheckContents& contents) {
    std::vector<Line> lines;
    for (const CheckField field : kCheckFields) {
        Line line;
        line.field = field;
        line.text = OneLine(contents[static_cast<size_t>(field)]);
        CheckPosition position;
        if (line.text.empty() ||
            !ParseCheckPosition(PositionText(format, field).ToUtf8(), position)) {
            continue;
        }
        line.points = position.fontHeight;
        line.left = FromUnits(position.horizontal);
        line.top = FromUnits(position.vertical);
        line.bottom = line.top + line.points * kHundredthsPerPoint;
        line.baseline = line.top + kAscent * line.points * kHundredthsPerPoint;
        lines.push_back(std::move(line));
    }
    return lines;
}

// What `line` may take up: to the check's right edge or the next text beside it.
double RoomFor(const Line& line, const std::vector<Line>& lines, double checkWidth) {
    double right = checkWidth - kMargin;
    for (const Line& other : lines) {
        const bool beside =
            other.left > line.left && other.top < line.bottom && line.top < other.bottom;
        if (beside) right = std::min(right, other.left - kGap);
    }
    return right - line.left;
}

// The longest start of the text that fits with an ellipsis; empty when none does.
std::string CutTo(const std::string& text, double points, double room) {
    std::string kept;
    size_t end = 0;
    for (size_t position = 0; position < text.size();) {
        DecodeUtf8(text, position);
        if (LengthOf(text.substr(0, position) + kEllipsis, points) > room) break;
        end = position;
    }
    while (end > 0 && text[end - 1] == ' ') --end;
    if (end > 0) kept = text.substr(0, end) + kEllipsis;
    return kept;
}

bool MayBeCut(CheckField field) {
    return field == CheckField::Payee || field == CheckField::Memo;
}

// False: there is no room for it.
bool Fit(Line& line, double room, std::vector<CheckField>& cut) {
    if (room <= 0.0 || line.bottom > kLargestInches * kHundredthsPerInch) return false;
    const double fitting = room / LengthOf(line.text, 1.0);
    if (line.points > fitting) {
        const double smallest = std::min(kSmallestPoints, line.points);
        const double stepped = std::floor(fitting / kPointStep) * kPointStep;
        if (stepped < smallest) {
            if (!MayBeCut(line.field)) return false;
            line.text = CutTo(line.text, smallest, room);
            if (line.text.empty()) return false;
            cut.push_back(line.field);
        }
        line.points = std::max(smallest, stepped);
    }
    line.length = LengthOf(line.text, line.points);
    return true;
}

CheckPage Place(const std::vector<Line>& lines, double checkWidth, bool turned) {
    double checkHeight = checkWidth <= kWidestPersonalInches * kHundredthsPerInch ? kPersonalHeight
                                                                                  : kBusinessHeight;
    for (const Line& line : lines) checkHeight = std::max(checkHeight, line.bottom + kMargin);
    CheckPage page;
    page.turned = turned;
    page.width = Rounded(turned ? checkHeight : checkWidth);
    page.height = Rounded(turned ? checkWidth : checkHeight);
    page.texts.reserve(lines.size());
    for (const Line& line : lines) {
        CheckText text;
        text.field = line.field;
        text.text = line.text;
        text.x = Rounded(turned ? line.baseline : line.left);
        text.y = Rounded(turned ? checkWidth - line.left : line.baseline);
        text.length = Rounded(line.length);
        text.fontHeight = line.points;
        page.texts.push_back(std::move(text));
    }
    return page;
}

}  // namespace

CheckPageResult LayOutCheck(const CCheckPrintFormat& format, const CheckContents& contents) {
    CheckPageResult result;
    switch (FindLayoutProblem(format)) {
        case CheckLayoutProblem::BadPosition:
            result.problem = CheckPageProblem::BadPosition;
            return result;
        case CheckLayoutProblem::BadWidth:
            result.problem = CheckPageProblem::BadWidth;
            return result;
        case CheckLayoutProblem::None:
            break;
    }
    if (format.checkWidth > kLargestInches) {
        result.problem = CheckPageProblem::TooWide;
        return result;
    }
    const double checkWidth = format.checkWidth * kHundredthsPerInch;
    std::vector<Line> lines = MakeLines(format, contents);
    for (Line& line : lines) {
        if (!Fit(line, RoomFor(line, lines, checkWidth), result.cut)) {
            result.problem = CheckPageProblem::DoesNotFit;
            result.field = line.field;
            return result;
        }
    }
    result.page = Place(lines, checkWidth, format.verticalOrientation);
    return result;
}

}  // namespace quillon
