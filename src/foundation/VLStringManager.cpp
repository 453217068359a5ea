#include "foundation/VLStringManager.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "foundation/Unicode.h"

namespace quillon {

std::vector<uint8_t> CVLStringManager::Serialise(const CKeelString& text) {
    std::string converted;
    std::string_view content = text.View();
    if (text.IsWide()) {
        converted = text.ToUtf8();
        content = converted;
    }
    content = StoredPart(content);
    std::vector<uint8_t> bytes(content.size() + 1);
    std::copy(content.begin(), content.end(), bytes.begin());
    return bytes;
}

bool CVLStringManager::Deserialise(std::span<const uint8_t> bytes, CKeelString& out) {
    const std::string_view content(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (content.empty() || content.find('\0') != content.size() - 1) return false;
    out = content.substr(0, content.size() - 1);
    return true;
}

void CVLStringManager::Add(CKeelString text) {
    m_texts.push_back(std::move(text));
}

bool CVLStringManager::Insert(size_t position, CKeelString text) {
    if (position > m_texts.size()) return false;
    m_texts.insert(m_texts.begin() + static_cast<std::ptrdiff_t>(position), std::move(text));
    return true;
}

const CKeelString& CVLStringManager::At(size_t position) const {
    static const CKeelString kEmpty;
    return position < m_texts.size() ? m_texts[position] : kEmpty;
}

bool CVLStringManager::Set(size_t position, CKeelString text) {
    if (position >= m_texts.size()) return false;
    m_texts[position] = std::move(text);
    return true;
}

bool CVLStringManager::Remove(size_t position) {
    if (position >= m_texts.size()) return false;
    m_texts.erase(m_texts.begin() + static_cast<std::ptrdiff_t>(position));
    return true;
}

int64_t CVLStringManager::Find(std::string_view text, bool ignoringCase) const {
    const auto found = std::find_if(begin(), end(), [&](const CKeelString& candidate) {
        if (candidate.IsWide()) {
            const std::string narrow = candidate.ToUtf8();
            return ignoringCase ? EqualsIgnoringCase(narrow, text) : narrow == text;
        }
        return ignoringCase ? EqualsIgnoringCase(candidate.View(), text) : candidate.View() == text;
    });
    return found == end() ? -1 : std::distance(begin(), found);
}

void CVLStringManager::Sort(bool ignoringCase) {
    // Sorted by UTF-8 keys: CKeelString's own order leaves empty texts out.
    std::vector<std::pair<std::string, CKeelString>> keyed;
    keyed.reserve(m_texts.size());
    for (CKeelString& text : m_texts) {
        std::string key = text.ToUtf8();
        if (ignoringCase) key = FoldCase(key);
        keyed.emplace_back(std::move(key), std::move(text));
    }
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(keyed.begin(), keyed.end(), m_texts.begin(),
                   [](auto& entry) { return std::move(entry.second); });
}

void CVLStringManager::Split(std::string_view text, std::string_view separator) {
    size_t start = 0;
    if (!separator.empty()) {
        for (size_t found; (found = text.find(separator, start)) != std::string_view::npos;) {
            Add(text.substr(start, found - start));
            start = found + separator.size();
        }
    }
    Add(text.substr(start));
}

std::string CVLStringManager::Join(std::string_view separator) const {
    std::string out;
    for (size_t i = 0; i < m_texts.size(); ++i) {
        if (i > 0) out += separator;
        out += m_texts[i].ToUtf8();
    }
    return out;
}

}  // namespace quillon
