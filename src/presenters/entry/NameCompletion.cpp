#include "presenters/entry/NameCompletion.h"

#include <algorithm>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

// Bytes of letters beyond ASCII belong to words.
bool IsWordByte(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z');
}

bool HasWordStart(const std::string& folded, std::string_view word) {
    size_t place = folded.find(word);
    while (place != std::string::npos) {
        if (place == 0 || !IsWordByte(folded[place - 1]) || !IsWordByte(word[0])) return true;
        place = folded.find(word, place + 1);
    }
    return false;
}

bool Fits(const std::string& folded, std::string_view typed) {
    for (;;) {
        const size_t start = typed.find_first_not_of(' ');
        if (start == std::string_view::npos) return true;
        typed.remove_prefix(start);
        const std::string_view word = typed.substr(0, typed.find(' '));
        if (!HasWordStart(folded, word)) return false;
        typed.remove_prefix(word.size());
    }
}

}  // namespace

void CNameCompletion::Clear() {
    m_names.clear();
    m_lastUses.clear();
}

void CNameCompletion::Add(int64_t id, const std::string& name) {
    if (!name.empty()) m_names.push_back({id, name, FoldCase(name)});
}

void CNameCompletion::NoteUse(int64_t id, int64_t when) {
    int64_t& last = m_lastUses.try_emplace(id, when).first->second;
    last = std::max(last, when);
}

int64_t CNameCompletion::LastUse(int64_t id) const {
    const auto found = m_lastUses.find(id);
    return found == m_lastUses.end() ? INT64_MIN : found->second;
}

std::vector<Completion> CNameCompletion::Complete(std::string_view typed, size_t most) const {
    const std::string folded = FoldCase(typed);
    struct Match {
        const Name* name;
        bool isSame;
        int64_t lastUse;
    };
    std::vector<Match> matches;
    bool isKnown = false;
    for (const Name& name : m_names) {
        if (!Fits(name.folded, folded)) continue;
        matches.push_back({&name, name.folded == folded, LastUse(name.id)});
        isKnown |= name.name == typed;
    }
    std::sort(matches.begin(), matches.end(), [](const Match& a, const Match& b) {
        if (a.isSame != b.isSame) return a.isSame;
        if (a.lastUse != b.lastUse) return a.lastUse > b.lastUse;
        return a.name->folded != b.name->folded ? a.name->folded < b.name->folded
                                                : a.name->id < b.name->id;
    });
    std::vector<Completion> completions;
    for (const Match& match : matches) {
        if (completions.size() >= most) break;
        completions.push_back({match.name->id, match.name->name});
    }
    if (!typed.empty() && !isKnown) completions.push_back({kNoRow, std::string(typed)});
    return completions;
}

int64_t CNameCompletion::Find(std::string_view name, bool toTheLetter) const {
    const std::string folded = FoldCase(name);
    int64_t alike = kNoRow;
    int count = 0;
    for (const Name& known : m_names) {
        if (known.folded != folded) continue;
        if (known.name == name) return known.id;
        alike = known.id;
        ++count;
    }
    return count == 1 && !toTheLetter ? alike : kNoRow;
}

}  // namespace quillon
