#include "settings/SettingsValues.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace quillon {
namespace {

// What cannot be read gives an empty value.
template <class Value, class Parse>
void ExpectParsed(Parse parse, const std::map<const char*, Value>& read,
                  std::initializer_list<const char*> refused) {
    for (const auto& [text, expected] : read) {
        Value value;
        EXPECT_TRUE(parse(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const char* text : refused) {
        Value value = read.begin()->second;
        EXPECT_FALSE(parse(text, value)) << text;
        EXPECT_EQ(value, Value()) << text;
    }
}

TEST(SettingsValues, Rectangle) {
    ExpectParsed<WindowRectangle>(
        ParseRectangle,
        {{"227,44,1427,879", {227, 44, 1427, 879}},
         {" 1, -2, 3, 4 px", {1, -2, 3, 4}}},  // a second screen lies left or above
        {"1,2,3", "1,2,3,", "1 ,2,3,4", "1;2;3;4", "1,2,3,99999999999", ""});
    EXPECT_EQ(FormatRectangle({-8, 0, 1427, 879}), "-8,0,1427,879");
}

TEST(SettingsValues, Widths) {
    ExpectParsed<std::vector<int32_t>>(
        ParseWidths, {{"57,72,322", {57, 72, 322}}, {"1269", {1269}}, {"57, 72px,3", {57, 72, 3}}},
        {"57,,3", "57,72,", "57,-1", "57,wide", ""});
    EXPECT_EQ(FormatWidths({57, 0, 322}), "57,0,322");
}

TEST(SettingsValues, KeysOfFamilies) {
    EXPECT_EQ(NumberedKey("LastSelectedReturnAccount", 3), "LastSelectedReturnAccount_3");
    EXPECT_EQ(NamedKey("ImportFilePath", "QIF"), "ImportFilePath_QIF");
    EXPECT_EQ(DateRangeKey("Payee", "Expense", "Report", "", 12), "PayeeExpenseReport12");
}

}  // namespace
}  // namespace quillon
