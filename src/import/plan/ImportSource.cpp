#include "import/plan/ImportSource.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "foundation/Unicode.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr size_t kFewestDigits = 4;
// A number of so many digits is no year: it may end a longer one, as in an IBAN.
constexpr size_t kUsualDigits = 6;

bool IsWordByte(char c) {
    return IsDigit(c) || IsLetter(c);
}

std::string DigitsOf(std::string_view text) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), IsDigit);
    return digits;
}

// Digits of `number` in runs of `text`, which may be grouped by single blanks, dashes or dots.
bool CarriesNumber(std::string_view text, std::string_view number) {
    // What a file hides stands in front.
    const size_t hidden = number.find_last_of("xX*");
    const std::string digits =
        DigitsOf(hidden == std::string_view::npos ? number : number.substr(hidden + 1));
    if (digits.size() < kFewestDigits) return false;
    const bool isHidden = hidden != std::string_view::npos;
    for (size_t at = 0; at < text.size(); ++at) {
        if (!IsDigit(text[at]) || (at > 0 && IsDigit(text[at - 1]))) continue;
        std::string run;
        std::string grouped;
        for (size_t end = at; end < text.size(); ++end) {
            const char c = text[end];
            if (IsDigit(c)) {
                grouped += c;
            } else if ((c != ' ' && c != '-' && c != '.' && c != '/') || end + 1 == text.size() ||
                       !IsDigit(text[end + 1])) {
                break;
            } else if (run.empty()) {
                run = grouped;
            }
        }
        if (run.empty()) run = grouped;
        for (const std::string& shown : {run, grouped}) {
            if (shown.size() >= kFewestDigits && digits.ends_with(shown)) return true;
            if ((isHidden || digits.size() >= kUsualDigits) && shown.ends_with(digits)) return true;
        }
    }
    return false;
}

bool CarriesWord(std::string_view text, std::string_view word) {
    if (word.empty()) return false;
    for (size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
        const size_t end = at + word.size();
        const bool begins = at == 0 || !IsWordByte(text[at - 1]) || !IsWordByte(word.front());
        const bool ends = end == text.size() || !IsWordByte(text[end]) || !IsWordByte(word.back());
        if (begins && ends) return true;
    }
    return false;
}

// Marks the one source that fits; `count` tells how many do.
template <typename Fits>
bool ChooseOnly(std::vector<ImportSource>& sources, const Fits& fits, size_t& count) {
    ImportSource* found = nullptr;
    count = 0;
    for (ImportSource& source : sources) {
        if (!fits(source)) continue;
        ++count;
        found = &source;
    }
    if (count == 1) found->chosen = true;
    return count == 1;
}

SourceChoice ChooseAsked(std::vector<ImportSource>& sources, std::string_view asked) {
    size_t count = 0;
    const std::string folded = FoldCase(std::string(asked));
    const bool found =
        ChooseOnly(
            sources, [&](const ImportSource& s) { return s.name == asked; }, count) ||
        ChooseOnly(
            sources, [&](const ImportSource& s) { return FoldCase(s.name) == folded; }, count) ||
        (asked.size() >= kFewestDigits &&
         ChooseOnly(
             sources, [&](const ImportSource& s) { return s.number.ends_with(asked); }, count));
    return found ? SourceChoice::Made : SourceChoice::Unknown;
}

}  // namespace

SourceChoice ChooseSource(std::vector<ImportSource>& sources, std::string_view asked,
                          std::string_view accountName, std::string_view accountDescription) {
    if (!asked.empty()) return ChooseAsked(sources, asked);
    size_t count = 0;
    const auto hasLines = [](const ImportSource& s) { return s.lines > 0; };
    if (ChooseOnly(sources, hasLines, count) || count == 0) return SourceChoice::Made;
    const std::string name = FoldCase(std::string(accountName));
    const std::string text = name + "\n" + FoldCase(std::string(accountDescription));
    const auto isName = [&](const ImportSource& s) {
        return hasLines(s) && FoldCase(s.name) == name;
    };
    const auto isNumber = [&](const ImportSource& s) {
        return hasLines(s) && CarriesNumber(text, s.number);
    };
    const auto isWord = [&](const ImportSource& s) {
        return hasLines(s) && CarriesWord(text, FoldCase(s.name));
    };
    if (ChooseOnly(sources, isName, count)) return SourceChoice::Made;
    if (count > 0) return SourceChoice::Unclear;
    if (ChooseOnly(sources, isNumber, count)) return SourceChoice::Made;
    if (count > 0) return SourceChoice::Unclear;
    return ChooseOnly(sources, isWord, count) ? SourceChoice::Made : SourceChoice::Unclear;
}

}  // namespace quillon
