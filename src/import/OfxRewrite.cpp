#include "import/OfxRewrite.h"

#include <algorithm>
#include <cstring>

#include "import/Charset.h"

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

}  // namespace

std::vector<uint8_t> NormaliseStatement(std::span<const uint8_t> bytes) {
    const Units units = UnitsOf(bytes);
    const size_t width = units.width;
    const size_t whole = bytes.size() / width * width;
    std::vector<uint8_t> text;
    size_t tags = 0;
    for (size_t i = 0; i < whole; i += width) tags += units.Is(bytes.data() + i, '<');
    if (tags == 0) {
        text.assign(bytes.begin(), bytes.end());
        return text;
    }
    text.reserve(bytes.size() + tags * 2 * width);
    for (size_t i = 0; i < whole; i += width) {
        if (units.Is(bytes.data() + i, '<')) {
            units.Put(text, '\r');
            units.Put(text, '\n');
        }
        for (size_t j = 0; j < width; ++j) text.push_back(bytes[i + j]);
    }
    text.insert(text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(whole), bytes.end());

    size_t to = 0;
    for (size_t from = 0; from < text.size();) {
        uint8_t* const at = text.data() + from;
        const bool twoPairs =
            text.size() - from >= 4 * width && IsPair(at, units) && IsPair(at + 2 * width, units);
        const size_t kept = twoPairs ? 2 * width : std::min(width, text.size() - from);
        std::memmove(text.data() + to, at, kept);
        to += kept;
        from += twoPairs ? 4 * width : kept;
    }
    text.resize(to);
    return text;
}

bool ReplaceThroughNewFile(CFileSystem& files, const std::string& path,
                           std::span<const uint8_t> bytes) {
    std::string beside;
    for (int number = 1; number < 1000; ++number) {
        beside = path + "." + std::to_string(number) + ".new";
        if (!files.Exists(beside) && !files.FolderExists(beside)) break;
        beside.clear();
    }
    if (beside.empty()) return false;
    if (!WriteWholeFile(files, beside, bytes, true) || !files.Rename(beside, path)) {
        if (files.Exists(beside)) (void)files.Remove(beside);
        return false;
    }
    const std::string folder = FolderOf(path);
    (void)files.SyncFolder(folder.empty() ? "." : folder);
    return true;
}

}  // namespace quillon
