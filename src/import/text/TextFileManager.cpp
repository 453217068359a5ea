#include "import/text/TextFileManager.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "foundation/TextHash.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

struct MarkRow {
    TextEncoding encoding;
    std::vector<uint8_t> bytes;
};

// In the order they are tried: a later one that fits wins.
const std::vector<MarkRow>& Marks() {
    static const std::vector<MarkRow> rows = {
        {TextEncoding::Utf8, {0xEF, 0xBB, 0xBF}},
        {TextEncoding::HighFirst, {0xFE, 0xFF}},
        {TextEncoding::LowFirst, {0xFF, 0xFE}},
        {TextEncoding::HighFirstLong, {0xFE, 0xFF, 0x00, 0x00}},
        {TextEncoding::LowFirstLong, {0x00, 0x00, 0xFE, 0xFF}},
    };
    return rows;
}

bool HighByteFirst(TextEncoding encoding) {
    return encoding == TextEncoding::HighFirst || encoding == TextEncoding::HighFirstLong;
}

std::unique_ptr<uint8_t[]> NewBlock(int64_t size) {
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[static_cast<size_t>(size)]);
}

std::span<const uint8_t> AsBytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

}  // namespace

// How LF and CR look: `width` bytes with the character in the first or the last one,
// looked for every `step` bytes.
struct CReadOnlyTextFileManager::LineEnds {
    int64_t step = 1;
    int64_t width = 1;
    bool highFirst = false;

    bool Is(const uint8_t* unit, uint8_t character) const {
        const int64_t at = highFirst ? width - 1 : 0;
        for (int64_t i = 0; i < width; ++i) {
            if (unit[i] != (i == at ? character : 0)) return false;
        }
        return true;
    }
};

// Not inline: g++ 12 calls the terminator's bytes uninitialised where it is.
CReadOnlyTextFileManager::CReadOnlyTextFileManager(CFileSystem& files) : m_file(files) {}

TextFileStatus CReadOnlyTextFileManager::Open(const CKeelString& path) {
    Close();
    m_path = path;
    if (path.IsEmpty() || !m_file.OpenExistingForReading(path.ToUtf8())) {
        return TextFileStatus::NotOpened;
    }
    const int64_t size = m_file.Size();
    if (size == 0) {
        m_file.Close();
        return TextFileStatus::Empty;
    }
    if (size > 0) m_buffer = NewBlock(size);
    int64_t count = 0;
    const bool loaded = m_buffer &&
                        m_file.Read({m_buffer.get(), static_cast<size_t>(size)}, count) &&
                        count == size;
    m_file.Close();
    if (!loaded) {
        m_buffer.reset();
        return TextFileStatus::NotLoaded;
    }
    m_size = size;
    return Index();
}

TextFileStatus CReadOnlyTextFileManager::LoadBlock(const uint8_t* bytes, int64_t length) {
    if (!bytes || length < 1) {
        Close();
        return TextFileStatus::Empty;
    }
    std::unique_ptr<uint8_t[]> copy = NewBlock(length);
    if (!copy) {
        Close();
        return TextFileStatus::Failed;
    }
    std::memcpy(copy.get(), bytes, static_cast<size_t>(length));
    return AdoptBlock(std::move(copy), length);
}

TextFileStatus CReadOnlyTextFileManager::AdoptBlock(std::unique_ptr<uint8_t[]> bytes,
                                                    int64_t length) {
    Close();
    if (!bytes || length < 1) return TextFileStatus::Empty;
    m_buffer = std::move(bytes);
    m_size = length;
    return Index();
}

TextFileStatus CReadOnlyTextFileManager::Index() {
    m_lines.clear();
    m_endsWithBreak = false;
    if (!m_buffer) return TextFileStatus::Empty;
    try {
        DetectKind();
        BuildTerminator();
        if (m_kind == TextKind::Binary) return TextFileStatus::NotText;
        SplitLines();
    } catch (const std::bad_alloc&) {
        m_lines.clear();
        return TextFileStatus::Failed;
    }
    return TextFileStatus::Ok;
}

void CReadOnlyTextFileManager::DetectKind() {
    m_kind = TextKind::EightBit;
    m_encoding = TextEncoding::Utf8;
    m_mark.clear();
    for (const MarkRow& row : Marks()) {
        const size_t length = row.bytes.size();
        if (m_size < static_cast<int64_t>(length)) continue;
        if (std::memcmp(m_buffer.get(), row.bytes.data(), length) != 0) continue;
        m_kind = TextKind::Marked;
        m_encoding = row.encoding;
        m_mark = row.bytes;
    }
    if (m_kind == TextKind::Marked) return;
    const int64_t examined = std::min(m_size, kExaminedBytes);
    for (int64_t i = 0; i < examined; ++i) {
        const uint8_t byte = m_buffer[static_cast<size_t>(i)];
        const bool printable = byte >= 0x20 && byte < 0x7F;
        if (!printable && byte != '\n' && byte != '\r' && byte != '\t') {
            m_kind = TextKind::Binary;
            return;
        }
    }
}

void CReadOnlyTextFileManager::BuildTerminator() {
    if (!IsSixteenBit()) {
        m_terminator = {13, 10};
    } else if (HighByteFirst(m_encoding)) {
        m_terminator = {0, 13, 0, 10};
    } else {
        m_terminator = {13, 0, 10, 0};
    }
}

CReadOnlyTextFileManager::LineEnds CReadOnlyTextFileManager::Ends() const {
    if (!IsSixteenBit()) return {};
    return {2, m_encoding >= TextEncoding::HighFirstLong ? 4 : 2, HighByteFirst(m_encoding)};
}

void CReadOnlyTextFileManager::SplitLines() {
    const LineEnds ends = Ends();
    const uint8_t* const bytes = m_buffer.get();
    int64_t start = MarkLength();
    const auto forEachBreak = [&](auto&& found) {
        if (ends.width == 1) {
            for (int64_t at = MarkLength(); at < m_size;) {
                const void* hit = std::memchr(bytes + at, '\n', static_cast<size_t>(m_size - at));
                if (!hit) return;
                at = static_cast<const uint8_t*>(hit) - bytes;
                found(at);
                ++at;
            }
            return;
        }
        for (int64_t at = MarkLength(); at + ends.width <= m_size;) {
            if (ends.Is(bytes + at, '\n')) {
                found(at);
                at += ends.width;
            } else {
                at += ends.step;
            }
        }
    };
    size_t breaks = 0;
    forEachBreak([&](int64_t) { ++breaks; });
    m_lines.reserve(breaks + 1);
    forEachBreak([&](int64_t at) {
        m_lines.push_back(start);
        start = at + ends.width;
    });
    m_endsWithBreak = breaks > 0 && start >= m_size;
    if (start < m_size) m_lines.push_back(start);
}

std::string_view CReadOnlyTextFileManager::LineBytes(int64_t index) const {
    if (!m_buffer || index < 0 || index >= LineCount()) return {};
    const int64_t start = m_lines[static_cast<size_t>(index)];
    int64_t end = index + 1 < LineCount() ? m_lines[static_cast<size_t>(index) + 1] : m_size;
    const uint8_t* const bytes = m_buffer.get();
    for (const LineEnds ends = Ends(); end - start >= ends.width; end -= ends.width) {
        const uint8_t* const last = bytes + end - ends.width;
        if (!ends.Is(last, '\n') && !ends.Is(last, '\r')) break;
    }
    return {reinterpret_cast<const char*>(bytes + start), static_cast<size_t>(end - start)};
}

std::optional<CReadOnlyTextFileLineEntry> CReadOnlyTextFileManager::Line(int64_t index) const {
    if (!m_buffer || index < 0 || index >= LineCount()) return {};
    const std::string_view bytes = LineBytes(index);
    return CReadOnlyTextFileLineEntry{m_lines[static_cast<size_t>(index)],
                                      static_cast<int64_t>(bytes.size()), Crc64(AsBytes(bytes))};
}

std::string CReadOnlyTextFileManager::LineText(int64_t index) const {
    const std::string_view bytes = LineBytes(index);
    if (!IsSixteenBit()) return std::string(bytes);
    const size_t high = HighByteFirst(m_encoding) ? 0 : 1;
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        units.push_back(static_cast<char16_t>(static_cast<uint8_t>(bytes[i + high]) << 8 |
                                              static_cast<uint8_t>(bytes[i + 1 - high])));
    }
    return Utf16ToUtf8(units);
}

uint64_t CReadOnlyTextFileManager::Checksum() const {
    return m_buffer ? Crc64(Bytes()) : ~uint64_t{0};
}

TextFileStatus CReadOnlyTextFileManager::Save(const CKeelString& path) {
    if (!m_buffer || m_lines.empty()) return TextFileStatus::NotText;
    const std::span<const uint8_t> whole[] = {Bytes()};
    const TextFileStatus status = WritePieces(path, whole);
    if (status == TextFileStatus::Ok) m_modified = false;
    return status;
}

TextFileStatus CReadOnlyTextFileManager::WritePieces(
    const CKeelString& path, std::span<const std::span<const uint8_t>> pieces) {
    if (path.IsEmpty() || !m_file.Create(path.ToUtf8())) return TextFileStatus::NotOpened;
    // Lines are short; writing them one by one would be a system call each.
    constexpr size_t kChunk = 1 << 20;
    std::vector<uint8_t> chunk;
    bool written = true;
    const auto write = [&](std::span<const uint8_t> bytes) {
        int64_t count = 0;
        written = written && (bytes.empty() || m_file.Write(bytes, count));
    };
    for (const std::span<const uint8_t> piece : pieces) {
        if (chunk.size() + piece.size() > kChunk) {
            write(chunk);
            chunk.clear();
        }
        if (piece.size() > kChunk) {
            write(piece);
        } else {
            chunk.insert(chunk.end(), piece.begin(), piece.end());
        }
    }
    write(chunk);
    m_file.Close();
    return written ? TextFileStatus::Ok : TextFileStatus::Empty;
}

void CReadOnlyTextFileManager::Close() {
    m_file.Close();
    m_buffer.reset();
    m_size = 0;
    m_lines = {};
    m_kind = TextKind::EightBit;
    m_encoding = TextEncoding::Utf8;
    m_mark.clear();
    m_terminator = {13, 10};
    m_endsWithBreak = false;
    m_modified = false;
}

// --- CTextFileManager

void CTextFileManager::ClearList() {
    // One by one: a chain of owners would unwind as deep as the list is long.
    while (m_first) m_first = std::move(m_first->m_next);
    m_last = nullptr;
    m_count = 0;
}

void CTextFileManager::Reset() {
    ClearList();
    Close();
    m_path = CKeelString();
}

TextFileStatus CTextFileManager::BuildList() {
    ClearList();
    if (!m_buffer || m_kind == TextKind::Binary) return TextFileStatus::NotText;
    for (int64_t i = 0; i < LineCount(); ++i) {
        if (!Append(LineBytes(i))) {
            ClearList();
            return TextFileStatus::Failed;
        }
    }
    m_modified = false;
    return TextFileStatus::Ok;
}

CTextFileLineEntry* CTextFileManager::Append(std::string_view text) {
    return InsertAfter(m_last, text);
}

CTextFileLineEntry* CTextFileManager::InsertAfter(CTextFileLineEntry* line, std::string_view text) {
    const int64_t length = static_cast<int64_t>(text.size());
    std::unique_ptr<uint8_t[]> copy;
    if (length > 0) {
        copy = NewBlock(length);
        if (!copy) return nullptr;
        std::memcpy(copy.get(), text.data(), text.size());
    }
    std::unique_ptr<CTextFileLineEntry> entry(new (std::nothrow)
                                                  CTextFileLineEntry(std::move(copy), length));
    if (!entry) return nullptr;
    CTextFileLineEntry* const added = entry.get();
    std::unique_ptr<CTextFileLineEntry>& link = line ? line->m_next : m_first;
    entry->m_next = std::move(link);
    link = std::move(entry);
    if (!added->m_next) m_last = added;
    ++m_count;
    m_modified = true;
    return added;
}

bool CTextFileManager::RemoveAfter(CTextFileLineEntry* line) {
    std::unique_ptr<CTextFileLineEntry>& link = line ? line->m_next : m_first;
    if (!link) return false;
    if (m_last == link.get()) m_last = line;
    link = std::move(link->m_next);
    --m_count;
    m_modified = true;
    return true;
}

bool CTextFileManager::SetText(CTextFileLineEntry& line, std::string_view text) {
    std::unique_ptr<uint8_t[]> copy;
    if (!text.empty()) {
        copy = NewBlock(static_cast<int64_t>(text.size()));
        if (!copy) return false;
        std::memcpy(copy.get(), text.data(), text.size());
    }
    line.m_text = std::move(copy);
    line.m_length = static_cast<int64_t>(text.size());
    m_modified = true;
    return true;
}

std::vector<std::span<const uint8_t>> CTextFileManager::Pieces() const {
    std::vector<std::span<const uint8_t>> pieces;
    pieces.reserve(static_cast<size_t>(m_count) * 2 + 1);
    if (m_kind == TextKind::Marked) pieces.push_back(m_mark);
    for (const CTextFileLineEntry* line = FirstLine(); line; line = line->Next()) {
        pieces.push_back(AsBytes(line->Text()));
        if (line->Next() || m_endsWithBreak) pieces.push_back(m_terminator);
    }
    return pieces;
}

TextFileStatus CTextFileManager::SaveList(const CKeelString& path) {
    if (!m_first) return TextFileStatus::NotText;
    const TextFileStatus status = WritePieces(path, Pieces());
    if (status == TextFileStatus::Ok) m_modified = false;
    return status;
}

std::unique_ptr<uint8_t[]> CTextFileManager::ExportList(int64_t& length) {
    length = 0;
    if (!m_first) return nullptr;
    const std::vector<std::span<const uint8_t>> pieces = Pieces();
    int64_t total = 0;
    for (const std::span<const uint8_t> piece : pieces) {
        total += static_cast<int64_t>(piece.size());
    }
    std::unique_ptr<uint8_t[]> block = NewBlock(std::max<int64_t>(total, 1));
    if (!block) return nullptr;
    uint8_t* to = block.get();
    for (const std::span<const uint8_t> piece : pieces) {
        to = std::copy(piece.begin(), piece.end(), to);
    }
    length = total;
    m_modified = false;
    return block;
}

uint64_t CTextFileManager::ListChecksum() const {
    if (!m_first) return ~uint64_t{0};
    uint64_t state = kCrc64Start;
    for (const CTextFileLineEntry* line = FirstLine(); line; line = line->Next()) {
        state = Crc64Update(state, AsBytes(line->Text()));
    }
    return ~state;
}

}  // namespace quillon
