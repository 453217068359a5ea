#include "import/text/Charset.h"

#include <algorithm>
#include <cstring>

#include "foundation/Unicode.h"
#include "foundation/platform/CharsetConversion.h"

namespace quillon {

namespace {

struct Mark {
    Charset charset;
    size_t length;
    uint8_t bytes[4];
};

// Longer marks first: FF FE 00 00 begins like FF FE.
constexpr Mark kMarks[] = {
    {Charset::Utf32Low, 4, {0xFF, 0xFE, 0x00, 0x00}},
    {Charset::Utf32High, 4, {0x00, 0x00, 0xFE, 0xFF}},
    {Charset::Utf8, 3, {0xEF, 0xBB, 0xBF, 0}},
    {Charset::Utf16Low, 2, {0xFF, 0xFE, 0, 0}},
    {Charset::Utf16High, 2, {0xFE, 0xFF, 0, 0}},
};

std::string_view AsText(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Unmarked 16-bit text of a European language has a zero in every other byte.
bool LooksSixteenBit(std::span<const uint8_t> bytes, size_t zeroAt) {
    const size_t count = std::min<size_t>(bytes.size(), 400) & ~size_t{1};
    if (count < 8) return false;
    size_t zeros = 0;
    for (size_t i = 0; i < count; i += 2) {
        if (bytes[i + 1 - zeroAt] == 0) return false;
        zeros += bytes[i + zeroAt] == 0;
    }
    return zeros * 10 >= count / 2 * 9;
}

bool IsBinary(std::span<const uint8_t> bytes) {
    const size_t count = std::min<size_t>(bytes.size(), 8192);
    size_t controls = 0;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t byte = bytes[i];
        const bool text = byte >= 0x20 || (byte >= 9 && byte <= 13) || byte == 0x1A;
        controls += !text;
    }
    return controls * 10 > count;
}

// Whether the broken sequence from `start` to `end` is the beginning of a whole one that
// the end of its line, element or file cut off.
bool IsCutOff(std::string_view text, size_t start, size_t end) {
    const uint8_t lead = static_cast<uint8_t>(text[start]);
    if (lead < 0xC2 || lead > 0xF4) return false;
    return end == text.size() || text[end] == '\n' || text[end] == '\r' || text[end] == '<';
}

// `isMarked`: a mark says that it is UTF-8, and it takes more than a broken character to
// make it something else.
void JudgeEightBit(std::span<const uint8_t> bytes, bool isMarked, CharsetFinding& finding) {
    const std::string_view text = AsText(bytes);
    finding.line = FirstLineBeyondAscii(bytes);
    if (finding.line == 0) return;
    int64_t good = 0;
    int64_t cut = 0;
    int64_t broken = 0;
    bool endsCut = false;
    for (size_t at = 0; at < text.size();) {
        if (static_cast<uint8_t>(text[at]) < 0x80) {
            ++at;
            continue;
        }
        const size_t start = at;
        const char32_t code = DecodeUtf8(text, at);
        if (code != kReplacementCharacter || text.compare(start, 3, "\xEF\xBF\xBD") == 0) {
            ++good;
        } else if (IsCutOff(text, start, at)) {
            ++cut;
            endsCut = at == text.size();
        } else {
            ++broken;
        }
    }
    if (isMarked ? broken + cut > good : broken > 0) {
        finding.charset = Charset::Windows1252;
        return;
    }
    // At the end of a line a letter of Windows-1252 looks like a cut sequence.
    constexpr int64_t kGoodForOneCut = 10;
    const bool isFileCut = cut == 1 && endsCut;
    if (!isMarked && (isFileCut ? good == 0 : good < cut * kGoodForOneCut)) {
        finding.charset = Charset::Windows1252;
    } else {
        finding.badBytes = cut + broken;
    }
}

std::string FromUnits(std::span<const uint8_t> bytes, size_t width, bool highFirst) {
    std::string text;
    text.reserve(bytes.size() / width);
    const auto unit = [&](size_t at) {
        char32_t value = 0;
        for (size_t i = 0; i < width; ++i) {
            value = value << 8 | bytes[at + (highFirst ? i : width - 1 - i)];
        }
        return value;
    };
    for (size_t at = 0; at + width <= bytes.size(); at += width) {
        char32_t code = unit(at);
        if (width == 2 && code >= 0xD800 && code < 0xDC00 && at + 4 <= bytes.size()) {
            const char32_t low = unit(at + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                at += 2;
            }
        }
        AppendUtf8(text, code);
    }
    return text;
}

// A system that lacks the character set gets the text in the usual one.
std::string FromSystem(std::string_view text, SystemCharset charset) {
    std::string converted;
    return ConvertFromCharset(text, charset, converted) ? converted : Windows1252ToUtf8(text);
}

}  // namespace

int64_t LineAt(std::string_view text, size_t offset) {
    return 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n');
}

int64_t FirstLineBeyondAscii(std::span<const uint8_t> text) {
    const auto above =
        std::find_if(text.begin(), text.end(), [](uint8_t byte) { return byte >= 0x80; });
    if (above == text.end()) return 0;
    return LineAt(AsText(text), static_cast<size_t>(above - text.begin()));
}

CharsetFinding DetectCharset(std::span<const uint8_t> bytes) {
    CharsetFinding finding;
    for (const Mark& mark : kMarks) {
        if (bytes.size() < mark.length) continue;
        if (std::memcmp(bytes.data(), mark.bytes, mark.length) != 0) continue;
        finding.charset = mark.charset;
        finding.markLength = mark.length;
        finding.line = 1;
        if (mark.charset == Charset::Utf8) {
            const std::span<const uint8_t> text = bytes.subspan(mark.length);
            if (!IsValidUtf8(AsText(text))) JudgeEightBit(text, true, finding);
            finding.line = 1;
            finding.binary = IsBinary(text);
        }
        return finding;
    }
    if (LooksSixteenBit(bytes, 1) || LooksSixteenBit(bytes, 0)) {
        finding.charset = LooksSixteenBit(bytes, 1) ? Charset::Utf16Low : Charset::Utf16High;
        finding.line = 1;
        return finding;
    }
    finding.binary = IsBinary(bytes);
    if (!finding.binary) JudgeEightBit(bytes, false, finding);
    return finding;
}

void NoteCharset(const CharsetFinding& finding, CImportNotes& notes, std::string_view declared) {
    using Note = ImportNoteCode;
    if (finding.line == 0) return;
    const bool eightBit =
        finding.charset == Charset::Windows1252 || finding.charset == Charset::Latin1;
    const auto charset = static_cast<int64_t>(finding.charset);
    if (finding.charset == Charset::Utf8 && (declared == "1252" || declared == "ISO-8859-1")) {
        notes.Add(Note::TextIsUtf8, finding.line, {declared});
    } else if (eightBit && !declared.empty() && declared != "1252" && declared != "ISO-8859-1" &&
               declared != "8859-1" && declared != "NONE") {
        notes.Add(Note::TextIsNotAsDeclared, finding.line, {charset, declared});
    } else {
        notes.Add(Note::TextIs, finding.line, {charset});
    }
    if (finding.badBytes > 0) notes.Add(Note::CharactersReplaced, 0, {finding.badBytes});
}

bool BreakAtReturns(std::span<uint8_t> text) {
    const auto isLone = [text](size_t at) {
        return text[at] == '\r' && (at + 1 == text.size() || text[at + 1] != '\n');
    };
    size_t lone = 0;
    size_t breaks = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        breaks += text[i] == '\n';
        lone += isLone(i);
    }
    if (lone <= breaks) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (isLone(i)) text[i] = '\n';
    }
    return true;
}

bool NeedsConversion(const CharsetFinding& finding) {
    return finding.charset != Charset::Utf8 || finding.badBytes > 0;
}

std::string ConvertToUtf8(std::span<const uint8_t> bytes, const CharsetFinding& finding) {
    if (!NeedsConversion(finding)) return {};
    const std::span<const uint8_t> text = bytes.subspan(finding.markLength);
    switch (finding.charset) {
        case Charset::Utf8:
            return RepairUtf8(AsText(text));
        case Charset::Windows1252:
        case Charset::Latin1:  // of the same letters; what differs is unused there
            return Windows1252ToUtf8(AsText(text));
        case Charset::Utf16Low:
            return FromUnits(text, 2, false);
        case Charset::Utf16High:
            return FromUnits(text, 2, true);
        case Charset::Utf32Low:
            return FromUnits(text, 4, false);
        case Charset::Utf32High:
            return FromUnits(text, 4, true);
        case Charset::Windows1250:
            return FromSystem(AsText(text), SystemCharset::Windows1250);
        case Charset::Iso8859_2:
            return FromSystem(AsText(text), SystemCharset::Iso8859_2);
        case Charset::Iso8859_9:
            return FromSystem(AsText(text), SystemCharset::Iso8859_9);
        case Charset::Iso8859_15:
            return FromSystem(AsText(text), SystemCharset::Iso8859_15);
        case Charset::ShiftJis:
            return FromSystem(AsText(text), SystemCharset::ShiftJis);
    }
    return {};
}

}  // namespace quillon
