#include "import/text/TextFileManager.h"

#include <gtest/gtest.h>

#include "foundation/TextHash.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"

namespace quillon {
namespace {

using Lines = std::vector<std::string>;

int Code(TextFileStatus status) {
    return static_cast<int>(status);
}

Lines LinesOf(const CReadOnlyTextFileManager& text) {
    Lines lines;
    for (int64_t i = 0; i < text.LineCount(); ++i) lines.push_back(text.LineText(i));
    return lines;
}

TEST(TextFileManager, TellsKindsAndCutsLines) {
    const Bytes accentLate = Join(Bytes(100, 'a'), {0xE9});
    const struct {
        const char* name;
        Bytes bytes;
        int code;
        TextKind kind;
        Lines lines;
        bool breakAtEnd;
    } rows[] = {
        {"one line", Text("abc"), 0, TextKind::EightBit, {"abc"}, false},
        {"line break only", Text("\r\n"), 0, TextKind::EightBit, {""}, true},
        {"several CR in front of LF", Text("A\r\r\nB"), 0, TextKind::EightBit, {"A", "B"}, false},
        {"CR alone ends no line", Text("A\rB\n"), 0, TextKind::EightBit, {"A\rB"}, true},
        {"CR at the end is trimmed", Text("A\nB\r"), 0, TextKind::EightBit, {"A", "B"}, false},
        {"empty lines", Text("\n\nx\n"), 0, TextKind::EightBit, {"", "", "x"}, true},
        {"tab", Text("a\tb"), 0, TextKind::EightBit, {"a\tb"}, false},
        {"zero byte", {'a', 0, 'b'}, 2, TextKind::Binary, {}, false},
        {"delete character", {'a', 0x7F}, 2, TextKind::Binary, {}, false},
        {"accent among the first 100",
         Join(Bytes(99, 'a'), {0xE9}),
         2,
         TextKind::Binary,
         {},
         false},
        {"accent behind them", accentLate, 0, TextKind::EightBit, {ToString(accentLate)}, false},
        {"UTF-8 mark",
         Join({0xEF, 0xBB, 0xBF}, Text("\xC3\xA9\nb")),
         0,
         TextKind::Marked,
         {"\xC3\xA9", "b"},
         false},
        {"mark alone", {0xEF, 0xBB, 0xBF}, 0, TextKind::Marked, {}, false},
        {"16 bits, low byte first",
         {0xFF, 0xFE, 'A', 0, '\r', 0, '\n', 0, 0xE9, 0},
         0,
         TextKind::Marked,
         {"A", "\xC3\xA9"},
         false},
        {"16 bits, high byte first",
         {0xFE, 0xFF, 0, 'A', 0, '\n', 0, 'B', 0, '\n'},
         0,
         TextKind::Marked,
         {"A", "B"},
         true},
        // U+0A41: a byte that is LF inside a unit that is not.
        {"LF byte inside a unit",
         {0xFF, 0xFE, 'A', '\n', 'B', 0},
         0,
         TextKind::Marked,
         {"\xE0\xA9\x81"
          "B"},
         false},
        {"UTF-32 mark taken for 16 bits",
         {0xFF, 0xFE, 0, 0, 'A', 0, 0, 0},
         0,
         TextKind::Marked,
         {std::string("\0A\0", 3)},
         false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CReadOnlyTextFileManager text;
        EXPECT_EQ(Code(text.LoadBlock(row.bytes.data(), static_cast<int64_t>(row.bytes.size()))),
                  row.code);
        EXPECT_EQ(text.Kind(), row.kind);
        EXPECT_EQ(LinesOf(text), row.lines);
        EXPECT_EQ(text.EndsWithLineBreak(), row.breakAtEnd);
    }
}

// The four-byte marks cut in 16-bit units but look for line ends of 32 bits.
TEST(TextFileManager, LongMarksTestThirtyTwoBitLineEnds) {
    const struct {
        const char* name;
        Bytes bytes;
        TextEncoding encoding;
        std::vector<int64_t> lengths;
        Bytes terminator;
    } rows[] = {
        {"high byte first",
         {0xFE, 0xFF, 0, 0, 0, 'A', 0, 0, 0, '\r', 0, 0, 0, '\n', 0, 'B'},
         TextEncoding::HighFirstLong,
         {2, 2},
         {0, 13, 0, 10}},
        {"low byte first",
         {0, 0, 0xFE, 0xFF, 'A', 0, '\n', 0, 0, 0, 'B', 0},
         TextEncoding::LowFirstLong,
         {2, 2},
         {13, 0, 10, 0}},
        {"a 16-bit line end is none",
         {0, 0, 0xFE, 0xFF, 'A', 0, '\n', 0, 'B', 0},
         TextEncoding::LowFirstLong,
         {6},
         {13, 0, 10, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CReadOnlyTextFileManager text;
        ASSERT_EQ(Code(text.LoadBlock(row.bytes.data(), static_cast<int64_t>(row.bytes.size()))),
                  0);
        EXPECT_EQ(text.Encoding(), row.encoding);
        EXPECT_EQ(text.MarkLength(), 4);
        std::vector<int64_t> lengths;
        for (int64_t i = 0; i < text.LineCount(); ++i) lengths.push_back(text.Line(i)->length);
        EXPECT_EQ(lengths, row.lengths);
        EXPECT_EQ(Bytes(text.Terminator().begin(), text.Terminator().end()), row.terminator);
    }
}

TEST(TextFileManager, LoadingReportsWhatFailed) {
    CMemoryFileSystem files;
    files.Bytes("empty.txt") = {};
    files.Bytes("two.txt") = Text("a\nb");
    CReadOnlyTextFileManager text(files);
    EXPECT_EQ(Code(text.Open("")), 1);
    EXPECT_EQ(Code(text.Open("missing.txt")), 1);
    EXPECT_EQ(Code(text.Open("empty.txt")), 3);
    EXPECT_EQ(Code(text.Index()), 3);
    EXPECT_EQ(Code(text.LoadBlock(nullptr, 4)), 3);
    EXPECT_EQ(Code(text.LoadBlock(Text("a").data(), 0)), 3);
    files.FailNth(CMemoryFileSystem::Call::Read, 1);
    EXPECT_EQ(Code(text.Open("two.txt")), 5);
    EXPECT_EQ(text.Checksum(), ~uint64_t{0});
    files.StopFailing();

    ASSERT_EQ(Code(text.Open("two.txt")), 0);
    EXPECT_FALSE(text.Line(-1));
    EXPECT_FALSE(text.Line(2));
    ASSERT_TRUE(text.Line(1));
    EXPECT_EQ(text.Line(1)->offset, 2);
    EXPECT_EQ(static_cast<int64_t>(text.Line(1)->checksum), TextHash("b"));
    EXPECT_EQ(static_cast<int64_t>(text.Checksum()), TextHash("a\nb"));
    text.Close();
    EXPECT_EQ(text.LineCount(), 0);
    EXPECT_FALSE(text.Line(0));
}

TEST(TextFileManager, SavingReportsWhatFailed) {
    CMemoryFileSystem files;
    CTextFileManager text(files);
    EXPECT_EQ(Code(text.Save("out.txt")), 2);
    EXPECT_EQ(Code(text.SaveList("out.txt")), 2);
    const Bytes bytes = Text("a\nb\n");
    ASSERT_EQ(Code(text.LoadBlock(bytes.data(), 4)), 0);
    ASSERT_EQ(Code(text.BuildList()), 0);
    files.FailNth(CMemoryFileSystem::Call::Create, 1);
    EXPECT_EQ(Code(text.SaveList("out.txt")), 1);
    files.FailNth(CMemoryFileSystem::Call::Write, 1);
    EXPECT_EQ(Code(text.SaveList("out.txt")), 3);
    files.StopFailing();
    EXPECT_EQ(Code(text.Save("copy.txt")), 0);
    EXPECT_EQ(files.Bytes("copy.txt"), bytes);
}

TEST(TextFileManager, EditedLinesAreSavedWithMarkAndTerminators) {
    const struct {
        const char* name;
        Bytes loaded;
        Bytes saved;
    } rows[] = {
        {"line feeds become CR LF", Text("a\n\nb\n"), Text("a\r\n\r\nb\r\n")},
        {"no break at the end stays so", Text("a\nb"), Text("a\r\nb")},
        {"mark", Join({0xEF, 0xBB, 0xBF}, Text("a\nb")), Join({0xEF, 0xBB, 0xBF}, Text("a\r\nb"))},
        {"16 bits",
         {0xFF, 0xFE, 'a', 0, '\n', 0, 'b', 0},
         {0xFF, 0xFE, 'a', 0, 13, 0, 10, 0, 'b', 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem files;
        CTextFileManager text(files);
        ASSERT_EQ(Code(text.LoadBlock(row.loaded.data(), static_cast<int64_t>(row.loaded.size()))),
                  0);
        ASSERT_EQ(Code(text.BuildList()), 0);
        EXPECT_EQ(Code(text.SaveList("out.txt")), 0);
        EXPECT_EQ(files.Bytes("out.txt"), row.saved);
        int64_t length = 0;
        const std::unique_ptr<uint8_t[]> block = text.ExportList(length);
        EXPECT_EQ(Bytes(block.get(), block.get() + length), row.saved);
    }
}

TEST(TextFileManager, ListIsEditedApartFromTheBuffer) {
    CMemoryFileSystem files;
    CTextFileManager text(files);
    const Bytes bytes = Text("one\ntwo\nthree");
    ASSERT_EQ(Code(text.LoadBlock(bytes.data(), static_cast<int64_t>(bytes.size()))), 0);
    ASSERT_EQ(Code(text.BuildList()), 0);
    EXPECT_FALSE(text.IsModified());
    // Over several lines the register is carried on.
    EXPECT_EQ(static_cast<int64_t>(text.ListChecksum()), TextHash("onetwothree"));

    ASSERT_TRUE(text.SetText(*text.FirstLine(), "ONE"));
    EXPECT_TRUE(text.RemoveAfter(text.FirstLine()));
    ASSERT_NE(text.InsertAfter(nullptr, "zero"), nullptr);
    ASSERT_NE(text.Append("four"), nullptr);
    EXPECT_TRUE(text.IsModified());
    EXPECT_EQ(text.ListCount(), 4);
    EXPECT_EQ(Code(text.SaveList("out.txt")), 0);
    EXPECT_FALSE(text.IsModified());
    EXPECT_EQ(ToString(files.Bytes("out.txt")), "zero\r\nONE\r\nthree\r\nfour");
    EXPECT_EQ(LinesOf(text), (Lines{"one", "two", "three"}));

    // Removing the last line leaves a list that can be appended to.
    CTextFileLineEntry* third = text.FirstLine()->Next()->Next();
    EXPECT_TRUE(text.RemoveAfter(third));
    EXPECT_FALSE(text.RemoveAfter(third));
    ASSERT_NE(text.Append("five"), nullptr);
    EXPECT_EQ(third->Next()->Text(), "five");

    text.Reset();
    EXPECT_EQ(text.ListCount(), 0);
    EXPECT_EQ(text.FirstLine(), nullptr);
    EXPECT_FALSE(text.EndsWithLineBreak());
    EXPECT_EQ(Code(text.BuildList()), 2);
}

TEST(TextFileManager, MillionLinesInAListUnwindWithoutDepth) {
    CTextFileManager text;
    for (int i = 0; i < 1'000'000; ++i) ASSERT_NE(text.Append("x"), nullptr);
    EXPECT_EQ(text.ListCount(), 1'000'000);
}

}  // namespace
}  // namespace quillon
