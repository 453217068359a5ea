#include "foundation/Unicode.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(Unicode, EveryCodePointSurvivesBothWays) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c == 0xD800) c = 0xE000;
        std::string text;
        AppendUtf8(text, c);
        size_t position = 0;
        if (DecodeUtf8(text, position) != c || position != text.size() || !IsValidUtf8(text) ||
            Utf16ToUtf8(Utf8ToUtf16(text)) != text) {
            FAIL() << std::hex << static_cast<uint32_t>(c);
        }
    }
}

TEST(Unicode, IllFormedSequencesBecomeOneMarkEach) {
    const struct {
        const char* name;
        std::string bytes;
        std::string repaired;
    } rows[] = {
        {"plain", "abc", "abc"},
        {"zero byte", "a\0b"s, "a\0b"s},
        {"lone continuation", "a\x80z", "a\uFFFDz"},
        {"overlong slash", "\xC0\xAF", "\uFFFD\uFFFD"},
        {"overlong three bytes", "\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},
        {"overlong four bytes", "\xF0\x80\x80\xAF", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"past the last plane", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"five-byte lead", "\xF8z", "\uFFFDz"},
        {"cut at the end", "a\xE2\x82", "a\uFFFD"},
        {"cut before a letter", "\xF0\x9F\x98z", "\uFFFDz"},
        {"cut before a whole one", "\xE2\x82\xC3\xA9", "\uFFFDé"},
        {"after a long ASCII run", "0123456789abcdef\xFF", "0123456789abcdef\uFFFD"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(IsValidUtf8(row.bytes), row.bytes == row.repaired);
        EXPECT_EQ(RepairUtf8(row.bytes), row.repaired);
        EXPECT_EQ(Utf16ToUtf8(Utf8ToUtf16(row.bytes)), row.repaired);
        EXPECT_EQ(CountCodePoints(row.bytes), CountCodePoints(row.repaired));
    }
    EXPECT_EQ(CountCodePoints("aé😀"), 3U);
    const char16_t lowThenHigh[] = {0xDC00, 0xD800};
    EXPECT_EQ(Utf16ToUtf8({lowThenHigh, 2}), "\uFFFD\uFFFD");
    std::string beyond;
    AppendUtf8(beyond, 0x110000);
    AppendUtf8(beyond, 0xDFFF);
    EXPECT_EQ(beyond, "\uFFFD\uFFFD");
}

TEST(Unicode, SingleByteSets) {
    EXPECT_EQ(Windows1252ToUtf8("Caf\xE9 \x80 5 \x96 \x93q\x94 \x9F"), "Café € 5 – “q” Ÿ");
    EXPECT_EQ(Windows1252ToUtf8("\x81\x8D\x8F\x90\x9D\xA0\xFF"),
              "\u0081\u008D\u008F\u0090\u009D\u00A0ÿ");
    EXPECT_EQ(Latin1ToUtf8("\xE9\x80\xFF"), "é\u0080ÿ");
    EXPECT_TRUE(IsAscii("plain text of more than eight bytes"));
    EXPECT_FALSE(IsAscii("plain text with Å"));
}

TEST(Unicode, ComparesIgnoringCase) {
    const struct {
        const char* a;
        const char* b;
        int order;  // sign
    } rows[] = {
        {"", "", 0},
        {"", "a", -1},
        {"Straße", "STRAßE", 0},
        {"straẞe", "STRAßE", 0},
        {"strasse", "straße", -1},  // simple folding: ß is not ss
        {"É", "é", 0},
        {"é", "e", 1},  // accents count
        {"ŁÓDŹ", "łódź", 0},
        {"ΣΊΣΥΦΟΣ", "σίσυφος", 0},
        {"ПРИВЕТ Ё", "привет ё", 0},
        {"Ք", "ք", 0},
        {"Ⴀ", "ⴀ", 0},
        {"ＡＺ", "ａｚ", 0},
        {"\u212A", "k", 0},  // Kelvin sign
        {"ǅ", "ǆ", 0},
        {"Ǆ", "ǆ", 0},
        {"Ÿ", "ÿ", 0},
        {"µ", "μ", 0},   // micro sign and Greek mu
        {"İ", "i", 1},   // has no simple folding
        {"×", "÷", -1},  // 0xD7 and 0xF7 are 0x20 apart and no letters
        {"[", "{", -1},
        {"_", "A", -1},  // folds to lower case, which lies behind
        {"Zebra", "apple", 1},
        {"ab", "ABC", -1},
        {"\xFF", "\xFF", 0},
        {"\xFE", "\xFF", -1},
        {"\xE9", "é", 1},
        {"\xFF", "\uFFFD", 1},  // a broken byte is not the mark for one
        {"𐐀", "𐐨", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.a) + "|" + row.b);
        const auto sign = [](int n) { return (n > 0) - (n < 0); };
        EXPECT_EQ(sign(CompareIgnoringCase(row.a, row.b)), row.order);
        EXPECT_EQ(sign(CompareIgnoringCase(row.b, row.a)), -row.order);
        EXPECT_EQ(EqualsIgnoringCase(row.a, row.b), row.order == 0);
        EXPECT_EQ(FoldCase(row.a) == FoldCase(row.b), row.order == 0);
        EXPECT_EQ(FoldCase(FoldCase(row.a)), FoldCase(row.a));
    }
}

TEST(Unicode, FoldingIsStable) {
    // What folding yields must itself stay put, or equality would not be transitive.
    int folding = 0;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        const char32_t folded = FoldCodePoint(c);
        ASSERT_EQ(FoldCodePoint(folded), folded) << std::hex << static_cast<uint32_t>(c);
        if (folded != c) ++folding;
    }
    EXPECT_EQ(folding, 26 + 1428);
}

TEST(Unicode, ContainsIgnoringCase) {
    const struct {
        const char* haystack;
        const char* needle;
        bool found;
    } rows[] = {
        {"", "", true},
        {"abc", "", true},
        {"", "a", false},
        {"Grocery Store", "STORE", true},
        {"Grocery Store", "stores", false},
        {"Café Müller", "MÜLLER", true},
        {"Café Müller", "cafe", false},
        {"Café Müller", "AFÉ M", true},
        {"10 \u212A", "k", true},
        {"milk", "\u212A", true},
        {"plain", "é", false},
        {"aab", "AB", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.haystack) + "|" + row.needle);
        EXPECT_EQ(ContainsIgnoringCase(row.haystack, row.needle), row.found);
    }
}

TEST(Unicode, MatchesWildcard) {
    const struct {
        const char* pattern;
        const char* value;
        bool matches;
    } rows[] = {
        {"", "", true},
        {"", "a", false},
        {"*", "", true},
        {"?", "", false},
        {"?", "é", true},
        {"??", "é", false},
        {"?", "😀", true},
        {"abc", "ABC", true},
        {"abc", "abcd", false},  // the whole value
        {"bc", "abc", false},
        {"a*", "abc", true},
        {"*c", "abc", true},
        {"*b*", "abc", true},
        {"a*c*e", "abcdxe", true},
        {"a*c*e", "abcdx", false},
        {"*ab", "aab", true},
        {"*aab", "aaaab", true},
        {"a**b", "ab", true},
        {"*?", "", false},
        {"*?*", "a", true},
        {"SHELL*#???", "Shell Oil #123", true},
        {"SHELL*#???", "Shell Oil #12", false},
        {"*ÉCOLE*", "Mon école à Lyon", true},
        {"a?c",
         "a\xFF"
         "c",
         true},
        {"*\\*", "a\\", true},  // no escapes: a backslash is itself
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.pattern) + "|" + row.value);
        EXPECT_EQ(MatchesWildcard(row.pattern, row.value), row.matches);
    }
}

TEST(Unicode, ManyStarsDoNotExplode) {
    std::string pattern;
    for (int i = 0; i < 50; ++i) pattern += "*a";
    pattern += "*b";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(MatchesWildcard(pattern, std::string(20000, 'a')));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

}  // namespace
}  // namespace quillon
