#include "import/text/MonthNames.h"

#include <array>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr size_t kShortest = 3;

// Lower case, without accents, one blank between names. What is no beginning of a name is
// an abbreviation of its own ("mrz").
constexpr std::array<std::string_view, 12> kNames = {
    "january januar janner janvier enero janeiro gennaio januari ledna leden stycznia styczen",
    "february februar feber fevrier febrero fevereiro febbraio februari unora unor lutego luty",
    "march marz maerz mrz mars marzo marco maart mrt marts brezna brezen marca marzec",
    "april avril abril aprile dubna duben kwietnia kwiecien",
    "may mai mayo maio maggio mei maj kvetna kveten maja",
    "june juni juin junio junho giugno cervna cerven cvn czerwca czerwiec",
    "july juli juillet julio julho luglio cervence cervenec cvc lipca lipiec",
    "august aout agosto augustus augusti srpna srpen sierpnia sierpien",
    "september septembre septiembre setiembre setembro settembre zari wrzesnia wrzesien",
    "october oktober octobre octubre outubro ottobre rijna rijen pazdziernika pazdziernik",
    "november novembre noviembre novembro listopadu listopad listopada",
    "december dezember decembre diciembre dezembro dicembre desember prosince prosinec "
    "grudnia grudzien",
};

// Letters beyond ASCII, folded, and what stands for each without its accent.
struct Accents {
    char plain;
    std::u32string_view letters;
};
constexpr Accents kAccents[] = {
    {'a', U"àáâãäåąæăā"}, {'c', U"çćč"},      {'d', U"ďđ"}, {'e', U"èéêëęěēė"},
    {'g', U"ğģ"},         {'i', U"ìíîïıīį"},  {'k', U"ķ"},  {'l', U"łľĺļ"},
    {'n', U"ñńňņ"},       {'o', U"òóôõöøő"},  {'r', U"řŕ"}, {'s', U"śšşșß"},
    {'t', U"ťţț"},        {'u', U"ùúûüůűūų"}, {'y', U"ýÿ"}, {'z', U"źžż"},
};

char PlainLetter(char32_t code) {
    if (code >= 'a' && code <= 'z') return static_cast<char>(code);
    for (const Accents& row : kAccents) {
        if (row.letters.find(code) != std::u32string_view::npos) return row.plain;
    }
    return '?';
}

// Whether the month has a name that begins with `word`; `whole`: one that is the word.
bool HasName(std::string_view names, std::string_view word, bool& whole) {
    bool begins = false;
    for (size_t at = 0; at < names.size();) {
        const std::string_view rest = names.substr(at);
        const std::string_view name = rest.substr(0, rest.find(' '));
        if (name.substr(0, word.size()) == word) {
            begins = true;
            whole = whole || name.size() == word.size();
        }
        at += name.size() + 1;
    }
    return begins;
}

}  // namespace

std::string PlainLetters(std::string_view word) {
    std::string plain;
    plain.reserve(word.size());
    for (size_t at = 0; at < word.size();) {
        plain += PlainLetter(FoldCodePoint(DecodeUtf8(word, at)));
    }
    return plain;
}

int MonthFromName(std::string_view word) {
    constexpr size_t kLongest = 32;  // bytes; no name comes near it
    if (word.size() > kLongest) return 0;
    const std::string plain = PlainLetters(word);
    if (plain.size() < kShortest) return 0;
    int found = 0;
    bool isSeveral = false;
    for (size_t i = 0; i < kNames.size(); ++i) {
        bool whole = false;
        if (!HasName(kNames[i], plain, whole)) continue;
        if (whole) return static_cast<int>(i) + 1;
        isSeveral = found != 0;
        found = static_cast<int>(i) + 1;
    }
    return isSeveral ? 0 : found;
}

}  // namespace quillon
