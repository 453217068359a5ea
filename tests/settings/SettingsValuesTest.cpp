#include "settings/SettingsValues.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(SettingsValues, Rectangle) {
    const struct {
        const char* text;
        bool read;
        WindowRectangle rectangle;
    } rows[] = {
        {"227,44,1427,879", true, {227, 44, 1427, 879}},
        {" 1, -2, 3, 4 px", true, {1, -2, 3, 4}},  // a second screen lies left or above
        {"1,2,3", false, {}},
        {"1,2,3,", false, {}},
        {"1 ,2,3,4", false, {}},
        {"1;2;3;4", false, {}},
        {"1,2,3,99999999999", false, {}},
        {"", false, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        WindowRectangle rectangle{7, 7, 7, 7};
        EXPECT_EQ(ParseRectangle(row.text, rectangle), row.read);
        EXPECT_EQ(rectangle, row.rectangle);
    }
    EXPECT_EQ(FormatRectangle({-8, 0, 1427, 879}), "-8,0,1427,879");
}

TEST(SettingsValues, Widths) {
    using Widths = std::vector<int32_t>;
    const struct {
        const char* text;
        bool read;
        Widths widths;
    } rows[] = {
        {"57,72,322", true, {57, 72, 322}},
        {"1269", true, {1269}},
        {"57, 72px,3", true, {57, 72, 3}},
        {"57,,3", false, {}},
        {"57,72,", false, {}},
        {"57,-1", false, {}},
        {"57,wide", false, {}},
        {"", false, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Widths widths{7};
        EXPECT_EQ(ParseWidths(row.text, widths), row.read);
        EXPECT_EQ(widths, row.widths);
    }
    EXPECT_EQ(FormatWidths({57, 0, 322}), "57,0,322");
}

TEST(SettingsValues, KeysOfFamilies) {
    EXPECT_EQ(NumberedKey("LastSelectedReturnAccount", 3), "LastSelectedReturnAccount_3");
    EXPECT_EQ(NamedKey("ImportFilePath", "QIF"), "ImportFilePath_QIF");
    EXPECT_EQ(DateRangeKey("Payee", "Expense", "Report", "", 12), "PayeeExpenseReport12");
}

}  // namespace
}  // namespace quillon
