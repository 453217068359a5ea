#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileInterface.h"
#include "foundation/KeelString.h"

namespace quillon {

// What every operation of the text file managers answers.
enum class TextFileStatus : int32_t {
    Ok = 0,
    NotOpened = 1,  // no path, or the file cannot be opened or created
    NotText = 2,    // binary; or nothing to save
    Empty = 3,      // no file contents, no block, nothing loaded; or a failed write
    Failed = 4,     // the block could not be copied, or nothing to detect in
    NotLoaded = 5,  // the file could not be read whole
};

enum class TextKind : int32_t {
    EightBit = 0,  // no byte-order mark
    Marked = 1,    // the mark tells the encoding
    Binary = 2,    // not split into lines
};

// The marks and the units that lines are cut in.
//
//   encoding  mark         unit
//   0         EF BB BF     8 bits
//   1         FE FF        16 bits, high byte first
//   2         FF FE        16 bits, low byte first
//   3         FE FF 00 00  16 bits, high byte first; line ends are 32 bits
//   4         00 00 FE FF  16 bits, low byte first; line ends are 32 bits
enum class TextEncoding : int32_t {
    Utf8 = 0,
    HighFirst = 1,
    LowFirst = 2,
    HighFirstLong = 3,
    LowFirstLong = 4,
};

// One line of a loaded buffer, which its manager owns.
struct CReadOnlyTextFileLineEntry {
    int64_t offset = 0;     // bytes from the buffer's start
    int64_t length = 0;     // bytes, without CR and LF at the end
    uint64_t checksum = 0;  // CRC-64 of those bytes
};

// Reads a text file (or a block of memory) whole, finds out its encoding and
// knows where its lines are.
//
//   Lines      End at LF; every CR and LF in front of that is trimmed. Text behind
//              the last LF is a line too. The mark belongs to no line.
//   Kinds      Without a mark the first 100 bytes decide: a byte of 0x80 or above,
//              or a control character other than LF, CR and TAB, makes it binary.
//   Errors     Status codes; nothing throws. A failed load leaves nothing loaded.
//   Memory     The file's size and eight bytes a line.
//   Ownership  Owns the buffer; views live until the next load or Close. Borrows the file
//              system.
//   Threads    Any number may read a loaded text; what loads, changes or closes it is alone.
class CReadOnlyTextFileManager {
public:
    // As many bytes are looked at for telling text from binary.
    static constexpr int64_t kExaminedBytes = 100;

    explicit CReadOnlyTextFileManager(CFileSystem& files = PlatformFileSystem());
    virtual ~CReadOnlyTextFileManager() = default;
    CReadOnlyTextFileManager(const CReadOnlyTextFileManager&) = delete;
    CReadOnlyTextFileManager& operator=(const CReadOnlyTextFileManager&) = delete;

    // 1 no path or not opened, 3 empty, 5 not read; else what Index() says.
    TextFileStatus Open(const CKeelString& path);
    // Copies the block. 3 no block, 4 no memory; else what Index() says.
    TextFileStatus LoadBlock(const uint8_t* bytes, int64_t length);
    // Takes the block over instead of copying it.
    TextFileStatus AdoptBlock(std::unique_ptr<uint8_t[]> bytes, int64_t length);
    // Finds kind and lines again. 0 lines known, 2 binary, 3 nothing loaded, 4 failed.
    TextFileStatus Index();

    int64_t LineCount() const { return static_cast<int64_t>(m_lines.size()); }
    // Nothing: no such line, or nothing loaded.
    std::optional<CReadOnlyTextFileLineEntry> Line(int64_t index) const;
    // The line's bytes as they are in the buffer; empty for no such line.
    std::string_view LineBytes(int64_t index) const;
    // The line in UTF-8, converted when the text has 16-bit units.
    std::string LineText(int64_t index) const;

    // CRC-64 of the whole buffer, all ones when nothing is loaded.
    uint64_t Checksum() const;
    // Writes the buffer as it was loaded. 0 written, 1 not created, 2 no lines, 3 not
    // written whole.
    TextFileStatus Save(const CKeelString& path);
    void Close();

    const CKeelString& Path() const { return m_path; }
    std::span<const uint8_t> Bytes() const { return {m_buffer.get(), static_cast<size_t>(m_size)}; }
    TextKind Kind() const { return m_kind; }
    // Means something for TextKind::Marked only.
    TextEncoding Encoding() const { return m_encoding; }
    int64_t MarkLength() const { return static_cast<int64_t>(m_mark.size()); }
    std::span<const uint8_t> Mark() const { return m_mark; }
    // CR LF in the text's units.
    std::span<const uint8_t> Terminator() const { return m_terminator; }
    bool EndsWithLineBreak() const { return m_endsWithBreak; }
    bool IsModified() const { return m_modified; }

protected:
    bool IsSixteenBit() const {
        return m_kind == TextKind::Marked && m_encoding != TextEncoding::Utf8;
    }
    void DetectKind();
    void BuildTerminator();
    // Writes the pieces to a new file: 1 not created, 3 not written.
    TextFileStatus WritePieces(const CKeelString& path,
                               std::span<const std::span<const uint8_t>> pieces);

    CKeelString m_path;
    CFileInterface m_file;
    std::unique_ptr<uint8_t[]> m_buffer;
    int64_t m_size = 0;  // bytes
    TextKind m_kind = TextKind::EightBit;
    TextEncoding m_encoding = TextEncoding::Utf8;
    std::vector<uint8_t> m_mark;  // empty without one
    std::vector<uint8_t> m_terminator{13, 10};
    bool m_endsWithBreak = false;
    bool m_modified = false;
    std::vector<int64_t> m_lines;  // where each starts

private:
    struct LineEnds;
    LineEnds Ends() const;
    void SplitLines();
};

// The whole buffer as text, in its units; the views of lines lie in it.
inline std::string_view TextOf(const CReadOnlyTextFileManager& text) {
    return {reinterpret_cast<const char*>(text.Bytes().data()), text.Bytes().size()};
}

// One line of an editable text: its own copy of the bytes, without a line end.
class CTextFileLineEntry {
public:
    CTextFileLineEntry(std::unique_ptr<uint8_t[]> text, int64_t length)
        : m_text(std::move(text)), m_length(length) {}

    std::string_view Text() const {
        return {reinterpret_cast<const char*>(m_text.get()), static_cast<size_t>(m_length)};
    }
    int64_t Length() const { return m_length; }
    CTextFileLineEntry* Next() const { return m_next.get(); }

private:
    friend class CTextFileManager;
    std::unique_ptr<uint8_t[]> m_text;  // null when empty
    int64_t m_length = 0;               // bytes
    std::unique_ptr<CTextFileLineEntry> m_next;
};

// The same with lines that can be changed and saved back. The list is built from the
// loaded buffer on demand and is apart from it afterwards.
class CTextFileManager : public CReadOnlyTextFileManager {
public:
    using CReadOnlyTextFileManager::CReadOnlyTextFileManager;
    ~CTextFileManager() override { ClearList(); }

    // No path, 8-bit text, no lines, CR LF, no line break at the end.
    void Reset();
    // The list becomes the loaded buffer's lines. 2 nothing loaded or binary, 4 no memory.
    TextFileStatus BuildList();

    CTextFileLineEntry* FirstLine() const { return m_first.get(); }
    int64_t ListCount() const { return m_count; }
    // Bytes in the text's units, without a line end. Null: no memory.
    CTextFileLineEntry* Append(std::string_view text);
    // Behind `line`, or in front of all when it is null.
    CTextFileLineEntry* InsertAfter(CTextFileLineEntry* line, std::string_view text);
    // Removes the line behind `line` (the first when it is null). False: there is none.
    bool RemoveAfter(CTextFileLineEntry* line);
    // False: no memory, and the line is as it was.
    [[nodiscard]] bool SetText(CTextFileLineEntry& line, std::string_view text);
    void SetEndsWithLineBreak(bool breaks) { m_endsWithBreak = breaks; }

    // Mark, lines, and a terminator behind each; behind the last one only when the loaded
    // file ended with a line break. 0 written, 1 not created, 2 no lines, 3 not written.
    TextFileStatus SaveList(const CKeelString& path);
    // The same bytes in a new block of `length` bytes; null: no lines or no memory.
    std::unique_ptr<uint8_t[]> ExportList(int64_t& length);
    // CRC-64 over all lines' bytes one after the other; all ones without lines.
    uint64_t ListChecksum() const;

private:
    void ClearList();
    std::vector<std::span<const uint8_t>> Pieces() const;

    std::unique_ptr<CTextFileLineEntry> m_first;
    CTextFileLineEntry* m_last = nullptr;
    int64_t m_count = 0;
};

}  // namespace quillon
