#include "import/plan/ImportNotes.h"

#include <algorithm>
#include <utility>

namespace quillon {

namespace {

// What a text has in common with others of its cause: quoted pieces and numbers go.
void MakeShape(CImportNotes::Kind kind, std::string_view text, std::string& shape) {
    shape.assign(1, static_cast<char>('A' + static_cast<int>(kind)));
    bool quoted = false;
    for (const char c : text) {
        if (c == '"') quoted = !quoted;
        if (!quoted && (c < '0' || c > '9')) shape += c;
    }
}

ImportNote Summed(std::string text, int64_t count, int64_t line, int64_t lastLine) {
    if (count > 1) {
        text += " (" + std::to_string(count) + " such";
        if (lastLine > line) {
            text += ", lines " + std::to_string(line) + " to " + std::to_string(lastLine);
        }
        text += ")";
    }
    return {line, std::move(text), count, count > 1 ? lastLine : 0};
}

void Widen(int64_t line, int64_t& first, int64_t& last) {
    first = first == 0 ? line : std::min(first, line);
    last = std::max(last, line);
}

}  // namespace

size_t CImportNotes::CauseOf(Kind kind, std::string_view text) {
    MakeShape(kind, text, m_shape);
    auto found = m_byShape.find(m_shape);
    if (found == m_byShape.end() && m_causes.size() >= kMostCauses) {
        // Wordings without end: counted by their kind.
        m_shape.resize(1);
        found = m_byShape.find(m_shape);
    }
    if (found != m_byShape.end()) return found->second;
    m_causes.emplace_back();
    m_causes.back().text = text;
    m_byShape.emplace(m_shape, m_causes.size() - 1);
    return m_causes.size() - 1;
}

void CImportNotes::Add(Kind kind, int64_t line, std::string_view text) {
    if (m_every) {
        m_listed.push_back({line, std::string(text), 0});
        return;
    }
    const size_t index = CauseOf(kind, text);
    Cause& cause = m_causes[index];
    ++cause.count;
    Widen(line, cause.line, cause.lastLine);
    cause.sameText = cause.sameText && text == cause.text;
    int64_t& listed = m_listedOfKind[static_cast<size_t>(kind)];
    // The eleventh of equal texts makes them one note.
    const bool full = listed >= kListedPerKind;
    if (!full && !(cause.sameText && cause.count > kListedPerCause)) {
        m_listed.push_back({line, std::string(text), index});
        ++listed;
        return;
    }
    if (cause.restCount == 0) cause.restText = text;
    ++cause.restCount;
    Widen(line, cause.restLine, cause.restLastLine);
}

bool CImportNotes::IsOneNote(const Cause& cause, int64_t records) const {
    const bool isHalf = cause.count >= records - cause.count;
    if (cause.count > kListedPerCause) return cause.sameText || isHalf;
    return cause.sameText && isHalf && cause.count > kListedOfAll;
}

std::vector<ImportNote> CImportNotes::Take(int64_t records) {
    std::vector<ImportNote> notes;
    std::vector<bool> isOne;
    for (Cause& cause : m_causes) {
        isOne.push_back(IsOneNote(cause, records));
        if (isOne.back()) {
            notes.push_back(Summed(std::move(cause.text), cause.count, cause.line, cause.lastLine));
        } else if (cause.restCount > 0) {
            notes.push_back(Summed(std::move(cause.restText), cause.restCount, cause.restLine,
                                   cause.restLastLine));
        }
    }
    for (Listed& note : m_listed) {
        if (m_every || !isOne[note.cause]) notes.push_back({note.line, std::move(note.text)});
    }
    std::stable_sort(notes.begin(), notes.end(),
                     [](const ImportNote& a, const ImportNote& b) { return a.line < b.line; });
    *this = CImportNotes(m_every);
    return notes;
}

}  // namespace quillon
