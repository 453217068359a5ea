#include "foundation/KeelString.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(KeelString, SizesAreExact) {
    const struct {
        const char* name;
        CKeelString text;
        int32_t length;
        int32_t bytes;
        bool wide;
    } rows[] = {
        {"nothing", CKeelString(), 0, 0, false},
        {"null pointer", CKeelString(static_cast<const char*>(nullptr)), 0, 0, false},
        {"empty", CKeelString(""), 0, 0, false},
        {"narrow", CKeelString("abc"), 3, 4, false},
        {"wide", CKeelString(u"abc"), 3, 8, true},
        {"two bytes for one character", CKeelString("é"), 2, 3, false},
        {"surrogate pair", CKeelString(u"😀"), 2, 6, true},
        {"zero inside", CKeelString("a\0b"s), 3, 4, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.text.Length(), row.length);
        EXPECT_EQ(row.text.SizeInBytes(), row.bytes);
        EXPECT_EQ(row.text.IsWide(), row.wide);
        const CKeelString copy(row.text);
        EXPECT_EQ(copy.SizeInBytes(), row.bytes);
        EXPECT_TRUE(copy == row.text);
    }
}

TEST(KeelString, BuffersAreZeroFilledAndReplaced) {
    CKeelString text("old text");
    ASSERT_TRUE(text.SetBufferSize(6, true));
    EXPECT_EQ(text.Length(), 2);
    EXPECT_EQ(text.WideView(), u"\0\0"s);

    EXPECT_FALSE(text.SetBufferSize(-1));
    EXPECT_EQ(text.SizeInBytes(), 6);

    ASSERT_TRUE(text.SetBufferSize(1));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(text == CKeelString());
    EXPECT_STREQ(text.CStr(), "");

    ASSERT_TRUE(text.SetBufferSize(8, true));
    text.ReleaseBuffer();
    EXPECT_EQ(text.SizeInBytes(), 0);
    EXPECT_FALSE(text.IsWide());
}

TEST(KeelString, CopyTextNeverGrows) {
    CKeelString text("12345");
    EXPECT_TRUE(text.CopyText("abc"));
    EXPECT_EQ(text.SizeInBytes(), 6);
    EXPECT_EQ(text.View(), "abc\0\0"s);
    EXPECT_TRUE(text.CopyText("vwxyz"));
    EXPECT_FALSE(text.CopyText("abcdef"));
    EXPECT_EQ(text.View(), "vwxyz");

    // Six bytes hold two units and their terminator.
    EXPECT_FALSE(text.CopyText(u"abc"));
    EXPECT_TRUE(text.IsWide());
    EXPECT_TRUE(text.CopyText(u"ab"));
    EXPECT_EQ(text.WideView(), u"ab");

    CKeelString none;
    EXPECT_FALSE(none.CopyText("a"));
    EXPECT_TRUE(none.CopyText(""));
    EXPECT_FALSE(none.CopyText(u"a"));
    EXPECT_EQ(none.SizeInBytes(), 0);
}

TEST(KeelString, FormatKeepsToItsScratchBuffer) {
    CKeelString text("kept");
    EXPECT_FALSE(text.Format("%s", ""));
    EXPECT_EQ(text, "kept");
    EXPECT_FALSE(text.Format("%s", std::string(4112, 'x').c_str()));
    EXPECT_EQ(text, "kept");

    EXPECT_TRUE(text.Format("%s-%d", text.CStr(), 7));
    EXPECT_EQ(text, "kept-7");
    EXPECT_TRUE(text.Format("%s", std::string(4111, 'x').c_str()));
    EXPECT_EQ(text.SizeInBytes(), 4112);

    CKeelString wide(u"wide");
    EXPECT_TRUE(wide.Format("%c", 'n'));
    EXPECT_FALSE(wide.IsWide());
    EXPECT_EQ(wide.SizeInBytes(), 2);
}

TEST(KeelString, OrderingLeavesEmptyTextsOut) {
    const struct {
        CKeelString a;
        CKeelString b;
        bool less;
        bool greater;
        bool equal;
    } rows[] = {
        {"", "", false, false, true},
        {"", "a", false, false, false},
        {"a", "", false, false, false},
        {CKeelString(), CKeelString(u"a"), false, false, false},
        {"a", "a", false, false, true},
        {"ab", "ba", true, false, false},  // not as 16-bit little-endian numbers
        {"ab", "abc", true, false, false},
        {"abc", "ab", false, true, false},
        {"Z", "a", true, false, false},  // bytes, no locale
        {"z", "é", true, false, false},  // bytes are unsigned
        {CKeelString(u"a"), CKeelString(u"\u0100"), true, false, false},
        {CKeelString(u"ab"), CKeelString(u"ab"), false, false, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.a.ToUtf8() + "|" + row.b.ToUtf8());
        EXPECT_EQ(row.a < row.b, row.less);
        EXPECT_EQ(row.a > row.b, row.greater);
        EXPECT_EQ(row.a == row.b, row.equal);
        EXPECT_EQ(row.a <= row.b, row.less || row.equal);
        EXPECT_EQ(row.a >= row.b, row.greater || row.equal);
    }
    // The same letters, but not the same text.
    EXPECT_FALSE(CKeelString("ab") == CKeelString(u"ab"));
    EXPECT_FALSE(CKeelString(u"ab") == "ab");
    EXPECT_FALSE(CKeelString("a\0b"s) == "a");
}

TEST(KeelString, CaseConversionKeepsMultiByteCharactersWhole) {
    CKeelString text("aé z\xFF");
    text.MakeUpper();
    EXPECT_EQ(text, "Aé Z\xFF");
    text.MakeLower();
    EXPECT_EQ(text, "aé z\xFF");

    CKeelString wide(u"ab😀");
    wide.MakeUpper();
    EXPECT_EQ(wide.WideView(), u"AB😀");
}

TEST(KeelString, CharactersAndParts) {
    const CKeelString text("ledger");
    const struct {
        int32_t from;
        int32_t count;
        const char* part;
    } rows[] = {
        {0, 6, "ledger"}, {1, 2, "ed"},  {4, 100, "er"}, {6, 1, ""},
        {99, 1, ""},      {-3, 2, "le"}, {2, -1, ""},    {1, INT32_MAX, "edger"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.part);
        EXPECT_EQ(text.Mid(row.from, row.count), row.part);
        const CKeelString wide = text.ToWide().Mid(row.from, row.count);
        EXPECT_EQ(wide.ToUtf8(), row.part);
    }
    EXPECT_EQ(text.Left(3), "led");
    EXPECT_EQ(text.Right(2), "er");
    EXPECT_EQ(text.Right(-1), "");
    EXPECT_EQ(text.LastCharacter(), 'r');
    EXPECT_EQ(CKeelString().LastCharacter(), '\0');
    EXPECT_EQ(CKeelString(u"10 €").LastCharacter(), u'€');
    EXPECT_EQ(text.At(6), '\0');
    EXPECT_FALSE(text.IsValidIndex(6));
    EXPECT_FALSE(text.IsValidIndex(-1));
    EXPECT_TRUE(text.IsValidIndex(5));
    EXPECT_EQ(text.ToWide().UnitAt(1), u'e');
}

TEST(KeelString, FindReplaceTrim) {
    const CKeelString text("banana");
    for (const CKeelString& either : {text, text.ToWide()}) {
        SCOPED_TRACE(either.IsWide());
        EXPECT_EQ(either.Find("an"), 1);
        EXPECT_EQ(either.Find("an", 2), 3);
        EXPECT_EQ(either.Find("an", 4), -1);
        EXPECT_EQ(either.Find("", 6), 6);
        EXPECT_EQ(either.Find("a", 7), -1);
        EXPECT_EQ(either.Find("a", -1), -1);
    }

    const struct {
        const char* from;
        const char* to;
        const char* result;
        int32_t count;
    } rows[] = {
        {"a", "aa", "baanaanaa", 3}, {"an", "", "ba", 2},    {"ana", "-", "b-na", 1},
        {"x", "y", "banana", 0},     {"", "y", "banana", 0}, {"banana", "", "", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        for (CKeelString either : {text, text.ToWide()}) {
            EXPECT_EQ(either.Replace(row.from, row.to), row.count);
            EXPECT_EQ(either.ToUtf8(), row.result);
        }
    }

    for (const auto& [raw, trimmed] :
         {std::pair{" \t\r\n a b \n", "a b"}, {"\t \r", ""}, {"a", "a"}, {"\v a", "\v a"}}) {
        CKeelString narrow(raw);
        narrow.Trim();
        EXPECT_EQ(narrow, trimmed);
        CKeelString wide = CKeelString(raw).ToWide();
        wide.Trim();
        EXPECT_EQ(wide.ToUtf8(), trimmed);
    }
}

TEST(KeelString, AppendingConvertsToTheKindThatIsThere) {
    CKeelString narrow("é");
    narrow += CKeelString(u"ü");
    EXPECT_EQ(narrow, "éü");
    CKeelString wide(u"é");
    wide += CKeelString("ü");
    EXPECT_EQ(wide.WideView(), u"éü");
    wide += 'x';
    EXPECT_EQ(wide.SizeInBytes(), 8);
    CKeelString empty;
    empty += CKeelString(u"a");
    EXPECT_TRUE(empty.IsWide());

    CKeelString twice("ab");
    twice += twice;
    twice += twice.View().substr(1, 2);
    EXPECT_EQ(twice, "ababba");
    EXPECT_EQ("<" + twice + ">", "<ababba>");
}

TEST(KeelString, AssigningAPartOfItself) {
    CKeelString text("abcdef");
    text = text.View().substr(2);
    EXPECT_EQ(text, "cdef");
    text = text.CStr() + 1;
    EXPECT_EQ(text, "def");
    CKeelString& same = text;
    text = same;
    text = std::move(same);
    EXPECT_EQ(text, "def");

    CKeelString moved(std::move(text));
    EXPECT_EQ(moved, "def");
    EXPECT_EQ(text.SizeInBytes(), 0);  // NOLINT: what moving leaves behind is promised
}

TEST(KeelString, ConversionsMarkWhatIsNotValid) {
    EXPECT_EQ(CKeelString("a\xFFz").ToWide().WideView(), u"a\uFFFDz");
    const char16_t unpaired[] = {u'a', 0xD800, u'z'};
    EXPECT_EQ(CKeelString(std::u16string_view(unpaired, 3)).ToUtf8(), "a\uFFFDz");
    EXPECT_EQ(CKeelString("😀").ToWide().ToNarrow(), "😀");
    // Of another kind there is nothing to see.
    EXPECT_EQ(CKeelString(u"a").View(), "");
    EXPECT_EQ(CKeelString("a").WideView(), u"");
}

}  // namespace
}  // namespace quillon
