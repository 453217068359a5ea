#include "foundation/AsciiText.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(AsciiText, CaseLeavesOtherBytesAlone) {
    EXPECT_EQ(LowerAscii("@AZ[`az{\xC3\x89"), "@az[`az{\xC3\x89");
    EXPECT_EQ(UpperAscii("@AZ[`az{\xC3\xA9"), "@AZ[`AZ{\xC3\xA9");
    EXPECT_TRUE(EqualIgnoringAsciiCase("Data.Base", "dATA.bASE"));
    EXPECT_FALSE(EqualIgnoringAsciiCase("@", "`")) << "one bit apart, as A is from a";
    EXPECT_FALSE(EqualIgnoringAsciiCase("data", "dat"));
}

TEST(AsciiText, TrimsBlanks) {
    EXPECT_EQ(TrimBlanks(" \t a b\r\n"), "a b");
    EXPECT_EQ(TrimBlanks("a"), "a");
    EXPECT_EQ(TrimBlanks(" \n"), "");
    EXPECT_EQ(TrimBlanks(""), "");
    EXPECT_EQ(TrimBlanksLeft("  a "), "a ");
    EXPECT_EQ(TrimBlanks("\v a\x1A", "\v\x1A"), " a");
}

}  // namespace
}  // namespace quillon
