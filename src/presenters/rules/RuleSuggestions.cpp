#include "presenters/rules/RuleSuggestions.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "foundation/Unicode.h"
#include "import/plan/RenamingRules.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr size_t kFewestLetters = 3;

struct Word {
    size_t start = 0;
    size_t end = 0;
};

std::vector<Word> WordsOf(std::string_view name) {
    std::vector<Word> words;
    for (size_t at = 0; at < name.size();) {
        const size_t start = name.find_first_not_of(' ', at);
        if (start == std::string_view::npos) break;
        const size_t end = std::min(name.find(' ', start), name.size());
        words.push_back({start, end});
        at = end;
    }
    return words;
}

std::string_view TextOf(std::string_view name, const Word& word) {
    return name.substr(word.start, word.end - word.start);
}

size_t LettersIn(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), IsLetter));
}

// A number of a shop, a date, a reference.
bool IsNumbered(std::string_view word) {
    return std::any_of(word.begin(), word.end(), IsDigit);
}

// As the name of a place begins, but not what is said of a person or a purpose.
bool IsProper(std::string_view word) {
    return (word[0] >= 'A' && word[0] <= 'Z') || static_cast<unsigned char>(word[0]) >= 0x80;
}

// "WA", as a place ends.
bool IsRegion(std::string_view word) {
    return word.size() == 2 && std::all_of(word.begin(), word.end(), [](char letter) {
               return letter >= 'A' && letter <= 'Z';
           });
}

struct Core {
    std::string_view text;
    bool beforePlace = false;  // a city and its region follow
    // The words behind the first number, where they are no place: names that differ in them
    // are not one.
    std::string tail = {};
};

std::string TailOf(std::string_view name, std::span<const Word> words) {
    constexpr std::ptrdiff_t kLongestPlace = 3;
    std::string tail;
    std::ptrdiff_t count = 0;
    bool isPlace = true;
    for (const Word& word : words) {
        const std::string_view text = TextOf(name, word);
        if (IsNumbered(text) || LettersIn(text) == 0) continue;
        ++count;
        isPlace = isPlace && IsProper(text);
        tail.append(text).append(" ");
    }
    return isPlace && count <= kLongestPlace ? std::string() : tail;
}

// The words in front of the first number, or of a city and its region; all of them where the
// name has neither. Signs at the end ("STORE #") are not part of it.
Core CoreOf(std::string_view name) {
    const std::vector<Word> words = WordsOf(name);
    size_t count = 0;
    while (count < words.size() && !IsNumbered(TextOf(name, words[count]))) ++count;
    const bool beforePlace =
        count == words.size() && count > 2 && IsRegion(TextOf(name, words.back()));
    if (beforePlace) count -= 2;
    if (count == 0) return {};
    const std::string_view text =
        name.substr(words[0].start, words[count - 1].end - words[0].start);
    const size_t last = text.find_last_not_of(" -#*:,./");
    return {text.substr(0, last == std::string_view::npos ? 0 : last + 1), beforePlace,
            beforePlace ? std::string() : TailOf(name, std::span(words).subspan(count))};
}

// "BLUE BOTTLE" -> "Blue Bottle"; what has small letters already is somebody's spelling.
std::string Title(std::string_view core) {
    std::string title(core);
    const auto isSmall = [](char letter) { return letter >= 'a' && letter <= 'z'; };
    if (std::any_of(title.begin(), title.end(), isSmall)) return title;
    bool starts = true;
    for (char& letter : title) {
        const bool isLetter = letter >= 'A' && letter <= 'Z';
        if (isLetter && !starts) letter = static_cast<char>(letter - 'A' + 'a');
        starts = !isLetter && letter != '\'' && static_cast<unsigned char>(letter) < 0x80;
    }
    return title;
}

// A name that is the core alone, in whatever case, is what people call it.
std::string ReplacementFor(std::string_view core, std::span<const std::string> names) {
    for (const std::string& name : names) {
        if (EqualsIgnoringCase(name, core)) return name;
    }
    return Title(core);
}

// By core and, behind a line end, tail.
using Groups = std::map<std::string, std::vector<std::string>, std::less<>>;

std::string KeyOf(const Core& core) {
    return core.tail.empty() ? std::string(core.text) : std::string(core.text) + '\n' + core.tail;
}

// "FRESH MARKET SAN" is "FRESH MARKET" where that is a core, too: the city has two words.
std::string_view WithoutCity(std::string_view core, const Groups& groups) {
    std::string_view shorter = core;
    for (;;) {
        const size_t blank = shorter.rfind(' ');
        if (blank == std::string_view::npos) return core;
        shorter = shorter.substr(0, blank);
        if (groups.contains(shorter)) return shorter;
    }
}

Groups GroupByCore(std::span<const std::string> names) {
    Groups groups;
    for (const std::string& name : names) {
        const Core core = CoreOf(name);
        if (LettersIn(core.text) >= kFewestLetters) groups.try_emplace(KeyOf(core));
    }
    for (const std::string& name : names) {
        const Core core = CoreOf(name);
        const auto group = groups.find(
            core.beforePlace ? std::string(WithoutCity(core.text, groups)) : KeyOf(core));
        if (group != groups.end()) group->second.push_back(name);
    }
    return groups;
}

// The rule changes the names of its group alone.
bool StaysInside(const std::string& search, std::span<const std::string> group,
                 std::span<const std::string> all) {
    const auto holds = [&](const std::string& name) { return Contains(name, search); };
    return std::count_if(all.begin(), all.end(), holds) ==
           std::count_if(group.begin(), group.end(), holds);
}

}  // namespace

std::vector<RuleSuggestion> SuggestRules(std::span<const std::string> names) {
    std::vector<RuleSuggestion> suggestions;
    for (auto& [key, group] : GroupByCore(names)) {
        const std::string core = key.substr(0, key.find('\n'));
        if (group.size() < 2 || !StaysInside(core, group, names)) continue;
        RuleSuggestion suggestion;
        suggestion.search = core;
        suggestion.replacement = ReplacementFor(core, names);
        std::sort(group.begin(), group.end());
        suggestion.payees = std::move(group);
        suggestions.push_back(std::move(suggestion));
    }
    return suggestions;
}

bool SuggestRules(CQuillonDatabaseInterface& database, std::vector<RuleSuggestion>& suggestions) {
    suggestions.clear();
    CRenamingRules rules;
    COwnedList<CPayeeEntry> payees;
    if (!rules.Load(database) || !database.List(payees)) return false;
    std::vector<std::string> names;
    for (const CPayeeEntry& payee : payees) {
        std::string name = payee.name.ToUtf8();
        if (rules.Apply(name) == name) names.push_back(std::move(name));
    }
    suggestions = SuggestRules(names);
    return true;
}

}  // namespace quillon
