#include "import/text/CharsetWords.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "foundation/Unicode.h"
#include "foundation/platform/CharsetConversion.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

struct NamedCharset {
    std::string_view name;
    Charset charset;
};
constexpr NamedCharset kNames[] = {
    {"windows-1250", Charset::Windows1250}, {"cp1250", Charset::Windows1250},
    {"windows-1252", Charset::Windows1252}, {"cp1252", Charset::Windows1252},
    {"iso-8859-15", Charset::Iso8859_15},   {"iso-8859-1", Charset::Latin1},
    {"iso-8859-2", Charset::Iso8859_2},     {"iso-8859-9", Charset::Iso8859_9},
    {"shift_jis", Charset::ShiftJis},       {"shift-jis", Charset::ShiftJis},
};

// Letters beyond ASCII of languages that are written in a set, in lower case.
constexpr std::u32string_view kWestern = U"àâäáãåæçéèêëíîïìñóôöõøòúûüùÿœßšž";
constexpr std::u32string_view kWesternLanguages[] = {
    U"äöüß", U"àâæçéèêëîïôœùûüÿ", U"áéíñóúü", U"áâãàçéêíóôõúü", U"àèéìíîòóù", U"åäöæøéü", U"äõöüšž",
};
constexpr std::u32string_view kCentralLanguages[] = {
    U"ąćęłńóśźż", U"áčďéěíňóřšťúůýž", U"áäčďéíĺľňóôŕšťúýž", U"áéíóöőúüű", U"ăâîşţ", U"čćđšž",
    U"äöüß",
};
constexpr std::u32string_view kTurkish[] = {U"çğıöşüâîû"};
// Signs that stand with words of any language and tell nothing.
constexpr std::u32string_view kSigns = U"€°ªº«»–—’‘“”„…•·©®§´\u00A0";

using Counts = std::array<int64_t, 256>;

bool IsAsciiLetter(uint8_t byte) {
    return byte < 0x80 && IsLetter(static_cast<char>(byte));
}

// How often each byte beyond ASCII stands in a word.
Counts CountInWords(std::span<const uint8_t> bytes) {
    Counts counts{};
    const auto isWord = [bytes](size_t at) {
        return at < bytes.size() && (IsAsciiLetter(bytes[at]) || bytes[at] >= 0xC0);
    };
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] >= 0x80 && ((i > 0 && isWord(i - 1)) || isWord(i + 1))) ++counts[bytes[i]];
    }
    return counts;
}

struct Candidate {
    Charset charset;
    SystemCharset system;
    std::span<const std::u32string_view> languages;
};
constexpr Candidate kCandidates[] = {
    {Charset::Windows1250, SystemCharset::Windows1250, kCentralLanguages},
    {Charset::Iso8859_2, SystemCharset::Iso8859_2, kCentralLanguages},
    {Charset::Iso8859_15, SystemCharset::Iso8859_15, kWesternLanguages},
    {Charset::Iso8859_9, SystemCharset::Iso8859_9, kTurkish},
};

// What each byte beyond ASCII is, in lower case.
using Letters = std::array<char32_t, 256>;

Letters LettersOf(const auto& convert) {
    Letters letters{};
    for (size_t byte = 0x80; byte < letters.size(); ++byte) {
        const char one = static_cast<char>(byte);
        const std::string text = convert(std::string_view(&one, 1));
        size_t at = 0;
        if (!text.empty()) letters[byte] = FoldCodePoint(DecodeUtf8(text, at));
    }
    return letters;
}

int64_t CountIn(const Counts& counts, const Letters& letters, std::u32string_view alphabet) {
    int64_t count = 0;
    for (size_t byte = 0x80; byte < counts.size(); ++byte) {
        const bool fits = alphabet.find(letters[byte]) != std::u32string_view::npos ||
                          kSigns.find(letters[byte]) != std::u32string_view::npos;
        if (letters[byte] != 0 && fits) count += counts[byte];
    }
    return count;
}

int64_t BestCount(const Counts& counts, const Letters& letters,
                  std::span<const std::u32string_view> languages) {
    int64_t best = 0;
    for (const std::u32string_view alphabet : languages) {
        best = std::max(best, CountIn(counts, letters, alphabet));
    }
    return best;
}

Charset CharsetOfWords(std::span<const uint8_t> bytes) {
    constexpr int64_t kHundred = 100;
    // Letters of several languages are a little less likely than those of one.
    constexpr int64_t kSeveral = 97;
    const Counts counts = CountInWords(bytes);
    const Letters western =
        LettersOf([](std::string_view byte) { return Windows1252ToUtf8(byte); });
    int64_t best = std::max(BestCount(counts, western, kWesternLanguages) * kHundred,
                            CountIn(counts, western, kWestern) * kSeveral);
    Charset charset = Charset::Windows1252;
    for (const Candidate& candidate : kCandidates) {
        const Letters letters = LettersOf([&candidate](std::string_view byte) {
            std::string text;
            return ConvertFromCharset(byte, candidate.system, text) ? text : std::string();
        });
        const int64_t score = BestCount(counts, letters, candidate.languages) * kHundred;
        if (score <= best) continue;
        best = score;
        charset = candidate.charset;
    }
    return charset;
}

bool IsShiftJisLead(uint8_t byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xEF);
}

// All bytes form characters, most of them of two bytes, as letters in words do not.
bool IsShiftJis(std::span<const uint8_t> bytes) {
    int64_t pairs = 0;
    int64_t kana = 0;         // and signs; their lead bytes are letters of no language
    int64_t plainTrails = 0;  // of the others: an ASCII letter for a second byte
    for (size_t i = 0; i < bytes.size(); ++i) {
        const uint8_t byte = bytes[i];
        if (byte < 0x80 || (byte >= 0xA1 && byte <= 0xDF)) continue;
        if (!IsShiftJisLead(byte)) return false;
        if (++i == bytes.size()) break;  // cut off
        const uint8_t trail = bytes[i];
        if (trail < 0x40 || trail == 0x7F || trail > 0xFC) return false;
        ++pairs;
        const bool isKana = byte <= 0x84;
        kana += isKana;
        plainTrails += !isKana && trail < 0x80;
    }
    constexpr int64_t kFewest = 3;
    return pairs >= kFewest && (kana * 4 >= pairs || plainTrails * 2 <= pairs - kana);
}

// As the text's beginning names it.
Charset DeclaredCharset(std::span<const uint8_t> bytes) {
    constexpr size_t kBeginning = 1024;
    const std::string text = LowerAscii(
        {reinterpret_cast<const char*>(bytes.data()), std::min(bytes.size(), kBeginning)});
    for (const std::string_view word : {"charset", "encoding"}) {
        const size_t at = text.find(word);
        if (at == std::string::npos) continue;
        const size_t start = text.find_first_not_of(" =:\";,\t", at + word.size());
        if (start == std::string::npos) continue;
        const Charset charset = CharsetOfName(std::string_view(text).substr(start, 16));
        if (charset != Charset::Utf8) return charset;
    }
    return Charset::Utf8;
}

}  // namespace

Charset CharsetOfName(std::string_view name) {
    const std::string lower = LowerAscii(name);
    const auto* const found =
        std::find_if(std::begin(kNames), std::end(kNames), [&lower](const NamedCharset& known) {
            return lower.starts_with(known.name) && !IsDigits(lower.substr(known.name.size(), 1));
        });
    return found == std::end(kNames) ? Charset::Utf8 : found->charset;
}

Charset EightBitCharset(std::span<const uint8_t> bytes) {
    const Charset declared = DeclaredCharset(bytes);
    if (declared != Charset::Utf8) return declared;
    return IsShiftJis(bytes) ? Charset::ShiftJis : CharsetOfWords(bytes);
}

}  // namespace quillon
