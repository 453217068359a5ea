#include "import/ofx/OfxTags.h"

#include <algorithm>
#include <cstring>

#include "import/ofx/OfxValues.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCommentEnd = "-->";
constexpr std::string_view kCdata = "<![CDATA[";
constexpr std::string_view kCdataEnd = "]]>";
// Attributes of a real tag are short; a longer stretch is a stray "<".
constexpr size_t kLongestTag = 1000;

bool IsNameCharacter(char c) {
    const bool isAscii = static_cast<unsigned char>(c) < 0x80;
    return (isAscii && IsLetter(c)) || IsDigit(c) || c == '.' || c == '_' || c == '-' || c == ':';
}

bool StartsAt(std::string_view text, size_t at, std::string_view with) {
    return text.compare(at, with.size(), with) == 0;
}

// Keeping a file on disk in its normal form puts CR LF in front of every "<", also of those
// that begin no element: the value is the same in both forms.
std::string WithoutInsertedBreaks(std::string_view text) {
    std::string value;
    value.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (StartsAt(text, i, "\r\n<")) {
            ++i;
        } else {
            value += text[i];
        }
    }
    return value;
}

std::string Unwrapped(std::string_view raw) {
    std::string value;
    value.reserve(raw.size());
    for (size_t at = 0; at < raw.size();) {
        size_t special = raw.find('<', at);
        while (special != std::string_view::npos && !StartsAt(raw, special, kComment) &&
               !StartsAt(raw, special, kCdata)) {
            special = raw.find('<', special + 1);
        }
        value += DecodeEntities(raw.substr(at, special - at));
        if (special == std::string_view::npos) break;
        const bool comment = StartsAt(raw, special, kComment);
        const size_t from = special + (comment ? kComment.size() : kCdata.size());
        const std::string_view end = comment ? kCommentEnd : kCdataEnd;
        const size_t close = raw.find(end, from);
        if (!comment) value += raw.substr(from, close - from);
        if (close == std::string_view::npos) break;
        at = close + end.size();
    }
    return value;
}

bool IsBreak(char c) {
    return c == '\r' || c == '\n';
}
bool IsSpace(char c) {
    return c == ' ' || c == '\t';
}

std::string WithoutBreaks(std::string_view text, LineBreaks breaks) {
    std::string value;
    value.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        if (IsBreak(text[i]) || IsSpace(text[i])) {
            size_t end = i;
            bool hasBreak = false;
            for (; end < text.size() && (IsBreak(text[end]) || IsSpace(text[end])); ++end) {
                hasBreak = hasBreak || IsBreak(text[end]);
            }
            if (!hasBreak) {
                value.append(end - i, ' ');
            } else if (breaks == LineBreaks::AreBlanks) {
                value += ' ';
            }
            i = end;
        } else {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte >= 0x20 && byte != 0x7F) value += text[i];
            ++i;
        }
    }
    return value;
}

}  // namespace

bool COfxTags::SkipTo(std::string_view end, size_t from, bool& none) {
    const size_t found = none ? std::string_view::npos : m_text.find(end, from);
    none = found == std::string_view::npos;
    if (none) return false;
    m_at = found + end.size();
    return true;
}

bool COfxTags::ReadTag(size_t at, OfxTag& tag) const {
    const size_t limit = std::min(m_text.size(), at + kLongestTag);
    size_t i = at + 1;
    const bool declaration = i < limit && m_text[i] == '?';
    const bool closing = i < limit && m_text[i] == '/';
    if (declaration || closing) ++i;
    const size_t nameStart = i;
    while (i < limit && IsNameCharacter(m_text[i])) ++i;
    const size_t nameEnd = i;
    if (nameEnd == nameStart) return false;
    while (i < limit && m_text[i] != '>') {
        if (m_text[i] == '<') return false;
        ++i;
    }
    if (i >= limit) return false;
    tag.name = declaration ? std::string_view() : m_text.substr(nameStart, nameEnd - nameStart);
    tag.closing = closing;
    tag.empty = m_text[i - 1] == '/';
    // Behind the name only attributes: "<b and c>" of some memo is text.
    if (nameEnd < i && !tag.empty && !declaration &&
        !Contains(m_text.substr(nameEnd, i - nameEnd), "=") &&
        !TrimBlanks(m_text.substr(nameEnd, i - nameEnd)).empty()) {
        return false;
    }
    tag.start = at;
    tag.end = i + 1;
    return true;
}

bool COfxTags::Next(OfxTag& tag) {
    while (m_at < m_text.size()) {
        const size_t at = m_text.find('<', m_at);
        if (at == std::string_view::npos) break;
        m_at = at + 1;
        if (StartsAt(m_text, at, kComment)) {
            (void)SkipTo(kCommentEnd, at + kComment.size(), m_noCommentEnd);
        } else if (StartsAt(m_text, at, kCdata)) {
            (void)SkipTo(kCdataEnd, at + kCdata.size(), m_noCdataEnd);
        } else if (ReadTag(at, tag)) {
            m_at = tag.end;
            return true;
        }
    }
    m_at = m_text.size();
    return false;
}

std::string CleanOfxValue(std::string_view raw, LineBreaks breaks, bool& changed) {
    const std::string_view trimmed = TrimBlanks(raw);
    changed = std::any_of(trimmed.begin(), trimmed.end(), [](char c) {
        return c == '<' || c == '&' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    });
    if (!changed) return {};
    const std::string value = WithoutBreaks(Unwrapped(WithoutInsertedBreaks(trimmed)), breaks);
    return std::string(TrimBlanks(value));
}

}  // namespace quillon
