#include "settings/ProfileFile.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/AsciiText.h"

namespace quillon {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnd = "\r\n";
// 0x1A is the end-of-file mark that old editors leave behind.
constexpr std::string_view kBlanks = " \t\n\v\f\r\x1A";

std::string_view Trimmed(std::string_view text) {
    return TrimBlanks(text, kBlanks);
}

std::string_view Unquoted(std::string_view value) {
    if (value.size() < 2) return value;
    const char quote = value.front();
    if ((quote != '"' && quote != '\'') || value.back() != quote) return value;
    return value.substr(1, value.size() - 2);
}

// One line of the text; the views point into it.
struct Line {
    enum class Kind { Blank, Section, Value, Other };  // Other: comments, lines without "="
    Kind kind = Kind::Blank;
    std::string_view name;   // of the section or value; of Other lines all but blanks
    std::string_view value;  // quotes included
    size_t start = 0;        // offset in the text
    size_t end = 0;          // behind the line end

    bool IsComment() const { return name.starts_with(';'); }
};

Line Understood(std::string_view content) {
    Line line;
    content = Trimmed(content);
    if (content.empty()) return line;
    line.kind = Line::Kind::Other;
    line.name = content;
    if (line.IsComment()) return line;
    if (content.front() == '[') {
        const size_t bracket = content.rfind(']');
        if (bracket != std::string_view::npos) {
            line.kind = Line::Kind::Section;
            line.name = Trimmed(content.substr(1, bracket - 1));
            return line;
        }
    }
    const size_t equals = content.find('=');
    if (equals == std::string_view::npos) return line;
    line.kind = Line::Kind::Value;
    line.name = Trimmed(content.substr(0, equals));
    line.value = Trimmed(content.substr(equals + 1));
    return line;
}

// Hands out the lines of a text one after the other.
class CLineReader {
public:
    explicit CLineReader(std::string_view text)
        : m_text(text), m_offset(text.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0) {}

    bool Next(Line& line) {
        if (m_offset >= m_text.size()) return false;
        const size_t start = m_offset;
        const size_t breakAt = std::min(m_text.find_first_of(kLineEnd, start), m_text.size());
        m_offset = breakAt;
        if (m_text.substr(m_offset).starts_with(kLineEnd)) {
            m_offset += kLineEnd.size();
        } else if (m_offset < m_text.size()) {
            ++m_offset;
        }
        line = Understood(m_text.substr(start, breakAt - start));
        line.start = start;
        line.end = m_offset;
        return true;
    }

private:
    std::string_view m_text;
    size_t m_offset;
};

struct Place {
    std::optional<Line> line;  // of that name, the first in the section
    bool hasSection = false;
    size_t sectionEnd = 0;  // behind the section's last line that is not blank
};

Place Find(std::string_view text, std::string_view section, std::string_view name) {
    Place place;
    CLineReader lines(text);
    for (Line line; lines.Next(line);) {
        if (line.kind == Line::Kind::Section) {
            if (place.hasSection) break;
            place.hasSection = EqualIgnoringAsciiCase(line.name, Trimmed(section));
        } else if (!place.hasSection || line.kind == Line::Kind::Blank || line.IsComment()) {
            // A comment belongs to its section, but is not found by name.
        } else if (EqualIgnoringAsciiCase(line.name, Trimmed(name))) {
            place.line = line;
            break;
        }
        if (place.hasSection && line.kind != Line::Kind::Blank) place.sectionEnd = line.end;
    }
    return place;
}

bool EndsOpen(std::string_view text) {
    return !text.empty() && text != kUtf8Mark && text.back() != '\n' && text.back() != '\r';
}

}  // namespace

bool CProfileFile::Load(const std::string& path, std::string& text) {
    text.clear();
    std::vector<uint8_t> bytes;
    if (!ReadWholeFile(m_files, path, bytes)) return !m_files.Exists(path);
    text.assign(bytes.begin(), bytes.end());
    return true;
}

bool CProfileFile::Save(const std::string& path, const std::string& text) {
    return ReplaceWholeFile(m_files, path, std::vector<uint8_t>(text.begin(), text.end()));
}

bool CProfileFile::Read(const std::string& path, const std::string& section,
                        const std::string& name, std::string& value) {
    std::string text;
    if (!Load(path, text)) return false;
    const Place place = Find(text, section, name);
    if (!place.line) return false;
    std::string_view found = Unquoted(place.line->value);
    found = found.substr(0, found.find('\0'));
    if (found.empty()) return false;
    value = found.substr(0, kLongestValue);
    return true;
}

bool CProfileFile::Write(const std::string& path, const std::string& section,
                         const std::string& name, const std::string& value) {
    std::string text;
    if (!Load(path, text)) return false;
    if (EndsOpen(text)) text += kLineEnd;
    const Place place = Find(text, section, name);
    // Blanks in front would be lost in reading anyway.
    const std::string_view written = TrimBlanksLeft(value, kBlanks);
    if (place.line && place.line->kind == Line::Kind::Value && place.line->value == written) {
        return true;
    }
    const std::string_view spelling = place.line ? place.line->name : Trimmed(name);
    const std::string line = std::string(spelling).append("=").append(written).append(kLineEnd);
    if (place.line) {
        text.replace(place.line->start, place.line->end - place.line->start, line);
    } else if (place.hasSection) {
        text.insert(place.sectionEnd, line);
    } else {
        text.append("[").append(Trimmed(section)).append("]").append(kLineEnd).append(line);
    }
    return Save(path, text);
}

bool CProfileFile::Remove(const std::string& path, const std::string& section,
                          const std::string& name) {
    std::string text;
    if (!Load(path, text)) return false;
    if (EndsOpen(text)) text += kLineEnd;
    const Place place = Find(text, section, name);
    if (!place.line) return true;
    text.erase(place.line->start, place.line->end - place.line->start);
    return Save(path, text);
}

std::vector<std::string> CProfileFile::Sections(const std::string& path) {
    std::string text;
    std::vector<std::string> names;
    if (!Load(path, text)) return names;
    CLineReader lines(text);
    for (Line line; lines.Next(line);) {
        if (line.kind == Line::Kind::Section) names.emplace_back(line.name);
    }
    return names;
}

std::vector<std::string> CProfileFile::Names(const std::string& path, const std::string& section) {
    std::string text;
    std::vector<std::string> names;
    if (!Load(path, text)) return names;
    bool inside = false;
    CLineReader lines(text);
    for (Line line; lines.Next(line);) {
        if (line.kind == Line::Kind::Section) {
            if (inside) break;
            inside = EqualIgnoringAsciiCase(line.name, Trimmed(section));
        } else if (inside && line.kind == Line::Kind::Value && !line.name.empty()) {
            names.emplace_back(line.name);
        }
    }
    return names;
}

}  // namespace quillon
