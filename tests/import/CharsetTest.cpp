#include "import/text/Charset.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/Bytes.h"

namespace quillon {
namespace {

using Note = ImportNoteCode;

TEST(Charset, IsToldFromTheBytes) {
    const Bytes utf16 = {'!', 0, 'T', 0, 'y', 0, 'p', 0, 'e', 0, '\n', 0, 0xE9, 0};
    Bytes utf16High;
    for (size_t i = 0; i < utf16.size(); i += 2) {
        utf16High.push_back(utf16[i + 1]);
        utf16High.push_back(utf16[i]);
    }
    const struct {
        const char* name;
        Bytes bytes;
        Charset charset;
        int64_t line;
        std::string text;
    } rows[] = {
        {"ASCII", Text("abc"), Charset::Utf8, 0, "abc"},
        {"UTF-8", Text("a\nb\xC3\xA9"), Charset::Utf8, 2, "a\nb\xC3\xA9"},
        {"code page 1252", Text("a\n\xE9t\xE9 \x80"), Charset::Windows1252, 2,
         "a\n\xC3\xA9t\xC3\xA9 \xE2\x82\xAC"},
        {"UTF-8 mark", Join({0xEF, 0xBB, 0xBF}, Text("x")), Charset::Utf8, 1, "x"},
        {"UTF-16 mark, low", Join({0xFF, 0xFE}, utf16), Charset::Utf16Low, 1, "!Type\n\xC3\xA9"},
        {"UTF-16 mark, high", Join({0xFE, 0xFF}, utf16High), Charset::Utf16High, 1,
         "!Type\n\xC3\xA9"},
        {"UTF-16 without a mark", utf16, Charset::Utf16Low, 1, "!Type\n\xC3\xA9"},
        {"UTF-16 without a mark, high", utf16High, Charset::Utf16High, 1, "!Type\n\xC3\xA9"},
        {"UTF-32 mark", {0xFF, 0xFE, 0, 0, 'A', 0, 0, 0}, Charset::Utf32Low, 1, "A"},
        {"surrogates",
         {0xFF, 0xFE, 0x3D, 0xD8, 0x00, 0xDE},
         Charset::Utf16Low,
         1,
         "\xF0\x9F\x98\x80"},
        {"odd byte at the end", {0xFF, 0xFE, 'A', 0, 'B'}, Charset::Utf16Low, 1, "A"},
        {"one accent too few for UTF-8", Text("\xC3\xA9 \xC3\xA9 \xE9t\xE9"), Charset::Windows1252,
         1, "\xC3\x83\xC2\xA9 \xC3\x83\xC2\xA9 \xC3\xA9t\xC3\xA9"},
        {"accents at line ends", Text("\xC3\xA9 caf\xE9\n"), Charset::Windows1252, 1,
         "\xC3\x83\xC2\xA9 caf\xC3\xA9\n"},
        {"a name cut inside a character",
         Text("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 "
              "\xC3\n"),
         Charset::Utf8, 1,
         "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 "
         "\xEF\xBF\xBD\n"},
        {"broken behind a mark", Join({0xEF, 0xBB, 0xBF}, Text("\xC3\xA9 \xE9t")), Charset::Utf8, 1,
         "\xC3\xA9 \xEF\xBF\xBDt"},
        // The file ends inside a character.
        {"broken UTF-8", Text("\xC3\xA9 \xC3\xA9 \xC3"), Charset::Utf8, 1,
         "\xC3\xA9 \xC3\xA9 \xEF\xBF\xBD"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const CharsetFinding finding = DetectCharset(row.bytes);
        EXPECT_EQ(finding.charset, row.charset);
        EXPECT_EQ(finding.line, row.line);
        EXPECT_FALSE(finding.binary);
        std::string text = ConvertToUtf8(row.bytes, finding);
        if (!NeedsConversion(finding)) text = ToString(Slice(row.bytes, finding.markLength));
        EXPECT_EQ(text, row.text);
    }
    EXPECT_TRUE(DetectCharset(FromHex("89504E470D0A1A0A0000000D49484452")).binary);
    EXPECT_FALSE(DetectCharset(Bytes()).binary);
}

TEST(Charset, ReturnsEndLinesWhereLineFeedsDoNot) {
    const struct {
        const char* text;
        const char* broken;
    } rows[] = {
        {"a\rb\r", "a\nb\n"},         {"a\r\rb\r\n", "a\n\nb\r\n"},
        {"a\r\nb\r\n", "a\r\nb\r\n"}, {"a\r\r\nb\r\r\n", "a\r\r\nb\r\r\n"},
        {"a\rb\nc\n", "a\rb\nc\n"},
    };
    for (const auto& row : rows) {
        Bytes bytes = Text(row.text);
        EXPECT_EQ(BreakAtReturns(bytes), std::string(row.text) != row.broken);
        EXPECT_EQ(ToString(bytes), row.broken);
    }
}

TEST(Charset, TheHeaderMayContradict) {
    constexpr auto kAnsi = static_cast<int64_t>(Charset::Windows1252);
    const struct {
        const char* text;
        const char* declared;
        std::optional<Note> note;
        std::vector<ImportValue> values;
    } rows[] = {
        {"ASCII", "UTF-16", {}, {}},
        {"Caf\xC3\xA9", "UTF-8", Note::TextIs, {static_cast<int64_t>(Charset::Utf8)}},
        {"Caf\xC3\xA9", "1252", Note::TextIsUtf8, {"1252"}},
        {"Caf\xE9 ", "1252", Note::TextIs, {kAnsi}},
        {"Caf\xE9 ", "NONE", Note::TextIs, {kAnsi}},
        {"Caf\xE9 ", "UTF-8", Note::TextIsNotAsDeclared, {kAnsi, "UTF-8"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " " + row.declared);
        CImportNotes notes;
        NoteCharset(DetectCharset(Text(row.text)), notes, row.declared);
        const std::vector<ImportNote> taken = notes.Take();
        ASSERT_EQ(taken.size(), row.note ? 1U : 0U);
        if (!row.note) continue;
        EXPECT_EQ(taken[0].code, *row.note);
        EXPECT_EQ(taken[0].values, row.values);
    }
}

}  // namespace
}  // namespace quillon
