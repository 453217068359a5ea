#include "output/CheckPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "output/CheckPrintUtility.h"
#include "output/CheckSvg.h"
#include "output/TextWidth.h"

namespace quillon {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr int32_t kSixInches = 15240;
constexpr int32_t kPersonalHeight = 6985;

CheckContents Sample() {
    CheckContents contents;
    TextOf(contents, CheckField::Date) = "12/31/2024";
    TextOf(contents, CheckField::Payee) = "Alder Court Apartments";
    TextOf(contents, CheckField::Amount) = "1,234.56";
    TextOf(contents, CheckField::WrittenAmount) = "One Thousand Two Hundred Thirty Four and 56/100";
    TextOf(contents, CheckField::Memo) = "Rent";
    return contents;
}

const CheckText* Find(const CheckPage& page, CheckField field) {
    const auto found = std::find_if(page.texts.begin(), page.texts.end(),
                                    [&](const CheckText& text) { return text.field == field; });
    return found == page.texts.end() ? nullptr : &*found;
}

struct Box {
    int32_t left, top, right, bottom;
};

// The place of a text on the page, a descent of a quarter of the font height included.
Box BoxOf(const CheckPage& page, const CheckText& text) {
    const auto height = static_cast<int32_t>(text.fontHeight * 2540 / 72);
    if (page.turned) {
        return {text.x - height, text.y - text.length, text.x + height / 4, text.y};
    }
    return {text.x, text.y - height, text.x + text.length, text.y + height / 4};
}

TEST(CheckPage, DefaultTextsLieOnAPersonalCheckAndApart) {
    for (const bool turned : {false, true}) {
        SCOPED_TRACE(turned);
        CCheckPrintFormat format;
        format.verticalOrientation = turned;
        const CheckPageResult result = LayOutCheck(format, Sample());
        ASSERT_EQ(result.problem, CheckPageProblem::None);
        EXPECT_TRUE(result.cut.empty());
        const CheckPage& page = result.page;
        EXPECT_EQ(page.width, turned ? kPersonalHeight : kSixInches);
        EXPECT_EQ(page.height, turned ? kSixInches : kPersonalHeight);
        ASSERT_EQ(page.texts.size(), 5u);
        for (const CheckText& text : page.texts) {
            EXPECT_EQ(text.fontHeight, 10.0);
            const Box box = BoxOf(page, text);
            EXPECT_GT(box.left, 0) << text.text;
            EXPECT_GT(box.top, 0) << text.text;
            EXPECT_LT(box.right, page.width) << text.text;
            EXPECT_LT(box.bottom, page.height) << text.text;
            for (const CheckText& other : page.texts) {
                if (other.field == text.field) continue;
                const Box its = BoxOf(page, other);
                EXPECT_TRUE(box.right < its.left || its.right < box.left || box.bottom < its.top ||
                            its.bottom < box.top)
                    << text.text << " over " << other.text;
            }
        }
    }
}

TEST(CheckPage, OffsetsAreSixHundredthsOfAnInch) {
    // 2155/600 in = 91.23 mm; 230/600 in = 9.74 mm, and the baseline four fifths of ten
    // points (2.82 mm) below.
    CCheckPrintFormat format;
    const CheckText upright = *Find(LayOutCheck(format, Sample()).page, CheckField::Date);
    EXPECT_EQ(upright.x, 9123);
    EXPECT_EQ(upright.y, 1256);
    // Turned, the upper edge is the page's left edge and the text runs up from where it
    // starts: 152.40 - 91.23 = 61.17 mm below the leading edge.
    format.verticalOrientation = true;
    const CheckText turned = *Find(LayOutCheck(format, Sample()).page, CheckField::Date);
    EXPECT_EQ(turned.x, 1256);
    EXPECT_EQ(turned.y, 6117);

    // A higher check of the same width does not move the texts.
    format.memoText = "10,310,1700";
    const CheckPage higher = LayOutCheck(format, Sample()).page;
    EXPECT_GT(higher.width, kPersonalHeight);
    EXPECT_EQ(Find(higher, CheckField::Date)->x, 1256);
    EXPECT_EQ(Find(higher, CheckField::Date)->y, 6117);
}

TEST(CheckPage, PaperForBusinessChecks) {
    CCheckPrintFormat format;
    format.checkWidth = 8.5;
    const CheckPage page = LayOutCheck(format, Sample()).page;
    EXPECT_EQ(page.width, 21590);
    EXPECT_EQ(page.height, 8890);
}

TEST(CheckPage, LongPayeesStayClearOfTheAmount) {
    const struct {
        size_t letters;
        double fontHeight;
        bool cut;
    } rows[] = {{20, 10.0, false}, {50, 8.5, false}, {65, 6.5, false}, {400, 6.0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.letters);
        CheckContents contents = Sample();
        const std::string payee(row.letters, 'a');
        TextOf(contents, CheckField::Payee) = payee;
        const CheckPageResult result = LayOutCheck({}, contents);
        ASSERT_EQ(result.problem, CheckPageProblem::None);
        EXPECT_EQ(result.cut, row.cut ? std::vector{CheckField::Payee} : std::vector<CheckField>{});
        const CheckText& text = *Find(result.page, CheckField::Payee);
        EXPECT_EQ(text.fontHeight, row.fontHeight);
        EXPECT_LT(text.x + text.length, Find(result.page, CheckField::Amount)->x);
        if (row.cut) {
            EXPECT_TRUE(text.text.ends_with("a\xE2\x80\xA6"));
        } else {
            EXPECT_EQ(text.text, payee);
        }
    }
    // Characters are never halved.
    CheckContents contents = Sample();
    for (int i = 0; i < 200; ++i) TextOf(contents, CheckField::Memo) += "\xC3\xA9";
    const CheckPageResult result = LayOutCheck({}, contents);
    EXPECT_EQ(result.cut, std::vector{CheckField::Memo});
    const std::string memo = Find(result.page, CheckField::Memo)->text;
    EXPECT_EQ(memo.substr(memo.size() - 5), "\xC3\xA9\xE2\x80\xA6");
}

TEST(CheckPage, AmountsAreNeverCut) {
    CheckContents contents = Sample();
    TextOf(contents, CheckField::Amount) = "777,777,777.77";
    const std::string words = CCheckPrintUtility::AmountInWords("777,777,777.77");
    TextOf(contents, CheckField::WrittenAmount) = words;
    const CheckPageResult longest = LayOutCheck({}, contents);
    ASSERT_EQ(longest.problem, CheckPageProblem::None);
    const CheckText& text = *Find(longest.page, CheckField::WrittenAmount);
    EXPECT_EQ(text.text, words);
    EXPECT_GE(text.fontHeight, 6.0);
    EXPECT_LT(text.x + text.length, longest.page.width);

    const struct {
        const char* name;
        CheckField field;
        const char* position;
        double width;
    } rows[] = {
        {"narrow check", CheckField::WrittenAmount, "10,230,700", 5.2},
        {"behind the check", CheckField::Amount, "10,3601,530", 6.0},
        {"at its edge", CheckField::Date, "10,3400,230", 6.0},
        {"memo behind the check", CheckField::Memo, "10,9000,1180", 6.0},
        {"below all paper", CheckField::Memo, "10,310,2147483647", 6.0},
        {"giant font", CheckField::Date, "2147483647,10,10", 6.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CCheckPrintFormat format;
        format.checkWidth = row.width;
        PositionText(format, row.field) = row.position;
        if (row.field == CheckField::WrittenAmount) format.amountText = "10,2400,400";
        const CheckPageResult result = LayOutCheck(format, contents);
        EXPECT_EQ(result.problem, CheckPageProblem::DoesNotFit);
        EXPECT_EQ(result.field, row.field);
    }
    CCheckPrintFormat format;
    format.checkWidth = 1e300;
    EXPECT_EQ(LayOutCheck(format, contents).problem, CheckPageProblem::TooWide);
    format.checkWidth = 0;
    EXPECT_EQ(LayOutCheck(format, contents).problem, CheckPageProblem::BadWidth);
    format.dateText = "";
    EXPECT_EQ(LayOutCheck(format, contents).problem, CheckPageProblem::BadPosition);
}

TEST(CheckPage, EmptyTextsAreLeftOutAndLinesStayLines) {
    CheckContents contents = Sample();
    TextOf(contents, CheckField::WrittenAmount) = "";
    TextOf(contents, CheckField::Payee) = " \t ";
    TextOf(contents, CheckField::Memo) = "one\r\ntwo\xFF \x7F";
    const CheckPage page = LayOutCheck({}, contents).page;
    EXPECT_EQ(page.texts.size(), 3u);
    EXPECT_EQ(Find(page, CheckField::Payee), nullptr);
    EXPECT_EQ(Find(page, CheckField::Memo)->text, "one  two\xEF\xBF\xBD");
}

TEST(CheckPage, WidthsAreEstimatedFromCharacters) {
    EXPECT_DOUBLE_EQ(EstimatedTextWidth(""), 0.0);
    EXPECT_DOUBLE_EQ(EstimatedTextWidth("0.5"), 0.637 * 2 + 0.318);
    EXPECT_DOUBLE_EQ(EstimatedTextWidth("~"), 0.838);
    EXPECT_DOUBLE_EQ(EstimatedTextWidth("\xC3\xA9"), 0.8);     // é
    EXPECT_DOUBLE_EQ(EstimatedTextWidth("e\xCC\x81"), 0.616);  // e and an accent
    EXPECT_GE(EstimatedTextWidth("\xE4\xB8\x80"), 1.0);        // one, in Chinese
    EXPECT_GE(EstimatedTextWidth("\xF0\x9F\x98\x80"), 1.3);    // a face
}

TEST(CheckSvg, IsOfRealSizeAndEscaped) {
    CheckContents contents;
    TextOf(contents, CheckField::Date) = "12/31/2024";
    TextOf(contents, CheckField::Payee) = "Caf\xC3\xA9 <B> & \"Co\"\xEF\xBF\xBE";
    CheckPage page = LayOutCheck({}, contents).page;
    page.title = "Print Check 7 <&>";
    EXPECT_EQ(
        CheckSvg(page),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"152.40mm\" height=\"69.85mm\" "
        "viewBox=\"0 0 15240 6985\">\n"
        "  <title>Print Check 7 &lt;&amp;&gt;</title>\n"
        "  <g fill=\"#000000\" font-family=\"Helvetica, Arial, 'Liberation Sans', sans-serif\">\n"
        "    <text x=\"9123\" y=\"1256\" font-size=\"352.78\" "
        "xml:space=\"preserve\">12/31/2024</text>\n"
        "    <text x=\"2921\" y=\"2526\" font-size=\"352.78\" "
        "xml:space=\"preserve\">Caf\xC3\xA9 &lt;B&gt; &amp; &quot;Co&quot;\xEF\xBF\xBD</text>\n"
        "  </g>\n"
        "</svg>\n");
}

TEST(CheckSvg, TurnsTextsAndDrawsTheEdge) {
    CCheckPrintFormat format;
    format.verticalOrientation = true;
    CheckPage page = LayOutCheck(format, Sample()).page;
    EXPECT_THAT(CheckSvg(page), Not(HasSubstr("<rect")));
    page.outline = true;
    const std::string svg = CheckSvg(page);
    EXPECT_THAT(svg, HasSubstr("width=\"69.85mm\" height=\"152.40mm\""));
    EXPECT_THAT(svg, HasSubstr("<rect x=\"10\" y=\"10\" width=\"6965\" height=\"15220\""));
    EXPECT_THAT(svg, HasSubstr("x=\"1256\" y=\"6117\" font-size=\"352.78\" "
                               "transform=\"rotate(-90 1256 6117)\""));
}

}  // namespace
}  // namespace quillon
