#include "import/ofx/OfxRewrite.h"

#include <algorithm>
#include <cstring>

#include "foundation/FileInterface.h"
#include "import/text/Charset.h"

namespace quillon {

namespace {

// Text in units of one byte, or of two in either order.
struct Units {
    size_t width = 1;
    size_t at = 0;  // the character's byte within a unit

    bool Is(const uint8_t* unit, char character) const {
        for (size_t i = 0; i < width; ++i) {
            if (unit[i] != (i == at ? static_cast<uint8_t>(character) : 0)) return false;
        }
        return true;
    }
    void Put(std::vector<uint8_t>& to, char character) const {
        for (size_t i = 0; i < width; ++i) {
            to.push_back(i == at ? static_cast<uint8_t>(character) : uint8_t{0});
        }
    }
};

Units UnitsOf(std::span<const uint8_t> bytes) {
    switch (DetectCharset(bytes.first(std::min<size_t>(bytes.size(), 1024))).charset) {
        case Charset::Utf16Low:
            return {2, 0};
        case Charset::Utf16High:
            return {2, 1};
        case Charset::Utf32Low:
            return {4, 0};
        case Charset::Utf32High:
            return {4, 3};
        default:
            return {1, 0};
    }
}

bool IsPair(const uint8_t* at, const Units& units) {
    return units.Is(at, '\r') && units.Is(at + units.width, '\n');
}

// Where the character stands at or behind `from`; the text's size when nowhere.
size_t Find(std::span<const uint8_t> text, size_t from, char character, const Units& units) {
    if (from >= text.size()) return text.size();
    if (units.width == 1) {
        const void* const found = std::memchr(text.data() + from, character, text.size() - from);
        if (!found) return text.size();
        return static_cast<size_t>(static_cast<const uint8_t*>(found) - text.data());
    }
    for (; from + units.width <= text.size(); from += units.width) {
        if (units.Is(text.data() + from, character)) return from;
    }
    return text.size();
}

std::vector<uint8_t> WithBreaks(std::span<const uint8_t> bytes, const Units& units) {
    size_t tags = 0;
    const size_t first = Find(bytes, 0, '<', units);
    for (size_t at = first; at < bytes.size(); at = Find(bytes, at + units.width, '<', units)) {
        ++tags;
    }
    std::vector<uint8_t> text;
    text.reserve(bytes.size() + tags * 2 * units.width);
    size_t from = 0;
    for (size_t at = first; at < bytes.size(); at = Find(bytes, at + units.width, '<', units)) {
        text.insert(text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(from),
                    bytes.begin() + static_cast<std::ptrdiff_t>(at));
        units.Put(text, '\r');
        units.Put(text, '\n');
        from = at;
    }
    text.insert(text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end());
    return text;
}

void MergePairs(std::vector<uint8_t>& text, const Units& units) {
    const size_t pair = 2 * units.width;
    size_t to = 0;
    size_t from = 0;
    while (from < text.size()) {
        // Up to the next CR as it is, then one pair for two.
        const size_t at = Find(text, from, '\r', units);
        std::memmove(text.data() + to, text.data() + from, at - from);
        to += at - from;
        from = at;
        if (from >= text.size()) break;
        const bool twice = text.size() - from >= 2 * pair && IsPair(text.data() + from, units) &&
                           IsPair(text.data() + from + pair, units);
        const size_t kept = twice ? pair : units.width;
        std::memmove(text.data() + to, text.data() + from, kept);
        to += kept;
        from += twice ? 2 * pair : kept;
    }
    text.resize(to);
}

bool Holds(CFileSystem& files, const std::string& path, std::span<const uint8_t> bytes) {
    constexpr size_t kChunk = 1 << 20;
    CFileInterface file(files);
    if (!file.OpenExistingForReading(path) || file.Size() != static_cast<int64_t>(bytes.size())) {
        return false;
    }
    std::vector<uint8_t> chunk(std::min(kChunk, bytes.size()));
    for (size_t at = 0; at < bytes.size(); at += chunk.size()) {
        chunk.resize(std::min(chunk.size(), bytes.size() - at));
        if (!file.ReadExactlyAt(static_cast<int64_t>(at), chunk) ||
            std::memcmp(chunk.data(), bytes.data() + at, chunk.size()) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::vector<uint8_t> NormaliseStatement(std::span<const uint8_t> bytes) {
    const Units units = UnitsOf(bytes);
    std::vector<uint8_t> text = WithBreaks(bytes, units);
    if (text.size() != bytes.size()) MergePairs(text, units);
    return text;
}

std::optional<ImportNoteCode> ReplaceByNormalForm(CFileSystem& files, const std::string& path,
                                                  std::span<const uint8_t> normal) {
    if (ReplaceWholeFile(files, path, normal)) return {};
    return ImportNoteCode::NotRewritten;
}

std::optional<ImportNoteCode> KeepNormalForm(CFileSystem& files, const std::string& path,
                                             std::span<const uint8_t> bytes) {
    const std::vector<uint8_t> normal = NormaliseStatement(bytes);
    if (std::equal(normal.begin(), normal.end(), bytes.begin(), bytes.end())) return {};
    if (!Holds(files, path, bytes)) {
        return ImportNoteCode::ChangedMeanwhile;
    }
    return ReplaceByNormalForm(files, path, normal);
}

}  // namespace quillon
