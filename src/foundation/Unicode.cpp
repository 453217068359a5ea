#include "foundation/Unicode.h"

#include <cstring>

namespace quillon {

namespace {

// Bytes of `text` from `position` on that are ASCII, eight at a time.
size_t AsciiRun(std::string_view text, size_t position) {
    size_t at = position;
    for (; at + 8 <= text.size(); at += 8) {
        uint64_t eight;
        std::memcpy(&eight, text.data() + at, 8);
        if (eight & 0x8080808080808080U) break;
    }
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) ++at;
    return at - position;
}

// As DecodeUtf8, and says whether the sequence was well-formed.
bool Decode(std::string_view text, size_t& position, char32_t& codePoint) {
    const auto byteAt = [&](size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const unsigned lead = byteAt(position++);
    if (lead < 0x80) {
        codePoint = lead;
        return true;
    }
    codePoint = kReplacementCharacter;

    // The second byte's limits keep out overlong forms, surrogates and what
    // lies past U+10FFFF.
    int more = 0;
    unsigned low = 0x80;
    unsigned high = 0xBF;
    char32_t bits = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        more = 1;
        bits = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        more = 2;
        bits = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        more = 3;
        bits = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return false;
    }
    for (; more > 0; --more) {
        const unsigned byte = byteAt(position);
        if (byte < low || byte > high) return false;
        bits = (bits << 6) | (byte & 0x3F);
        low = 0x80;
        high = 0xBF;
        ++position;
    }
    codePoint = bits;
    return true;
}

// Code points of the bytes 0x80 to 0x9F.
constexpr char16_t kWindows1252[32] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

std::string FromSingleBytes(std::string_view text, bool windows) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (size_t at = 0; at < text.size();) {
        const size_t run = AsciiRun(text, at);
        out.append(text, at, run);
        at += run;
        if (at == text.size()) break;
        const auto byte = static_cast<unsigned char>(text[at++]);
        AppendUtf8(out, windows && byte < 0xA0 ? kWindows1252[byte - 0x80] : byte);
    }
    return out;
}

}  // namespace

char32_t DecodeUtf8(std::string_view text, size_t& position) {
    char32_t codePoint = 0;
    Decode(text, position, codePoint);
    return codePoint;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
        codePoint = kReplacementCharacter;
    }
    const auto put = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

bool IsValidUtf8(std::string_view text) {
    char32_t codePoint = 0;
    for (size_t at = AsciiRun(text, 0); at < text.size(); at += AsciiRun(text, at)) {
        if (!Decode(text, at, codePoint)) return false;
    }
    return true;
}

bool IsAscii(std::string_view text) {
    return AsciiRun(text, 0) == text.size();
}

size_t CountCodePoints(std::string_view text) {
    size_t count = 0;
    for (size_t at = 0; at < text.size(); ++count) DecodeUtf8(text, at);
    return count;
}

std::string RepairUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const size_t run = AsciiRun(text, at);
        out.append(text, at, run);
        at += run;
        if (at < text.size()) AppendUtf8(out, DecodeUtf8(text, at));
    }
    return out;
}

std::u16string Utf8ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const char32_t codePoint = DecodeUtf8(text, at);
        if (codePoint < 0x10000) {
            out.push_back(static_cast<char16_t>(codePoint));
        } else {
            out.push_back(static_cast<char16_t>(0xD7C0 + (codePoint >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 | (codePoint & 0x3FF)));
        }
    }
    return out;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        char32_t codePoint = text[at];
        if (codePoint >= 0xD800 && codePoint <= 0xDBFF && at + 1 < text.size() &&
            text[at + 1] >= 0xDC00 && text[at + 1] <= 0xDFFF) {
            ++at;
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[at] - 0xDC00U);
        }
        AppendUtf8(out, codePoint);  // an unpaired surrogate is replaced there
    }
    return out;
}

std::string Windows1252ToUtf8(std::string_view text) {
    return FromSingleBytes(text, true);
}

std::string Latin1ToUtf8(std::string_view text) {
    return FromSingleBytes(text, false);
}

}  // namespace quillon
