// Text files as they lie on disk: kinds, lines, and the editable list of them.

#include <algorithm>

#include "Fuzz.h"
#include "foundation/TextHash.h"
#include "import/text/TextFileManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

void CheckLines(const CReadOnlyTextFileManager& text, std::span<const uint8_t> bytes) {
    FUZZ_CHECK(std::ranges::equal(text.Bytes(), bytes), "the buffer is the file");
    int64_t end = text.MarkLength();
    for (int64_t i = 0; i < text.LineCount(); ++i) {
        const std::optional<CReadOnlyTextFileLineEntry> line = text.Line(i);
        FUZZ_CHECK(line && line->length >= 0, "every line is there");
        FUZZ_CHECK(line->offset >= end, "lines do not overlap");
        end = line->offset + line->length;
        FUZZ_CHECK(end <= static_cast<int64_t>(bytes.size()), "lines lie in the file");
        const std::string_view content = text.LineBytes(i);
        const std::span own(reinterpret_cast<const uint8_t*>(content.data()), content.size());
        FUZZ_CHECK(line->checksum == Crc64(own), "the checksum is the line's");
        const std::string shown = text.LineText(i);
        Touch(shown);
        FUZZ_CHECK(shown.size() <= 3 * content.size() + 4, "UTF-8 grows by half at the most");
        const bool isEightBit =
            text.Kind() == TextKind::EightBit ||
            (text.Kind() == TextKind::Marked && text.Encoding() == TextEncoding::Utf8);
        if (!isEightBit) continue;
        FUZZ_CHECK(shown == content, "8-bit text is shown as it is");
        FUZZ_CHECK(content.find('\n') == std::string_view::npos, "a line holds no line feed");
        FUZZ_CHECK(content.empty() || content.back() != '\r', "line ends are trimmed");
    }
    FUZZ_CHECK(!text.Line(-1) && !text.Line(text.LineCount()), "no others");
}

Bytes ExportOf(CTextFileManager& text) {
    int64_t length = 0;
    const std::unique_ptr<uint8_t[]> block = text.ExportList(length);
    return block ? Bytes(block.get(), block.get() + length) : Bytes();
}

// The list, saved and read again, is the same list.
void CheckList(CTextFileManager& text, CMemoryFileSystem& files) {
    FUZZ_CHECK(text.BuildList() == TextFileStatus::Ok, "a text with lines makes a list");
    FUZZ_CHECK(text.ListCount() == text.LineCount(), "with as many lines");
    int64_t index = 0;
    for (const CTextFileLineEntry* line = text.FirstLine(); line; line = line->Next()) {
        FUZZ_CHECK(line->Text() == text.LineBytes(index++), "the same lines");
    }
    if (text.ListCount() == 0) return;
    FUZZ_CHECK(text.SaveList("list.txt") == TextFileStatus::Ok, "which can be saved");
    const Bytes exported = ExportOf(text);
    FUZZ_CHECK(files.Bytes("list.txt") == exported, "saved as exported");

    const uint64_t checksum = text.ListChecksum();
    CTextFileLineEntry* added = text.InsertAfter(nullptr, "new");
    FUZZ_CHECK(added && text.SetText(*added, "") && text.FirstLine() == added, "a line in front");
    FUZZ_CHECK(text.ListChecksum() == checksum, "an empty line changes no checksum");
    FUZZ_CHECK(text.RemoveAfter(nullptr), "and goes again");
    FUZZ_CHECK(ExportOf(text) == exported, "leaving what was there");
    FUZZ_CHECK(text.Append("last") != nullptr, "a line at the end");
    while (text.RemoveAfter(nullptr)) {
    }
    FUZZ_CHECK(text.ListCount() == 0 && text.FirstLine() == nullptr, "all lines can go");
}

TextFileStatus StatusOfBlock(std::span<const uint8_t> bytes) {
    CReadOnlyTextFileManager block;
    return block.LoadBlock(bytes.data(), static_cast<int64_t>(bytes.size()));
}

void Check(std::span<const uint8_t> bytes) {
    CMemoryFileSystem files;
    files.Bytes("in.txt") = CopyOf(bytes);
    CTextFileManager text(files);
    const TextFileStatus status = text.Open("in.txt");
    FUZZ_CHECK(files.Bytes("in.txt") == CopyOf(bytes), "reading changes no file");
    FUZZ_CHECK(StatusOfBlock(bytes) == status, "a file and a block are read alike");
    if (status == TextFileStatus::NotText) {
        FUZZ_CHECK(text.Kind() == TextKind::Binary && text.LineCount() == 0, "binary has no lines");
    }
    if (status != TextFileStatus::Ok) return;
    CheckLines(text, bytes);
    if (text.LineCount() == 0) return;
    FUZZ_CHECK(text.Save("copy.txt") == TextFileStatus::Ok, "what was read can be saved");
    FUZZ_CHECK(files.Bytes("copy.txt") == CopyOf(bytes), "and is the same file");
    CheckList(text, files);
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
