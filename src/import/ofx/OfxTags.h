#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon {

// One tag: "<NAME>", "</NAME>" or "<NAME/>", attributes allowed.
struct OfxTag {
    std::string_view name;  // as written, without slashes; empty for "<?...?>"
    bool closing = false;
    bool empty = false;  // closes itself
    size_t start = 0;    // of "<"
    size_t end = 0;      // behind ">"
};

// Walks the tags of a text in one pass. Comments and CDATA sections are passed over; a
// "<" that begins no tag is text. Borrows the text; nothing fails.
class COfxTags {
public:
    explicit COfxTags(std::string_view text) : m_text(text) {}
    // False at the end of the text.
    bool Next(OfxTag& tag);

private:
    bool SkipTo(std::string_view end, size_t from, bool& none);
    bool ReadTag(size_t at, OfxTag& tag) const;

    std::string_view m_text;
    size_t m_at = 0;
    bool m_noCommentEnd = false;  // none in the rest: looked for once
    bool m_noCdataEnd = false;
};

// How line breaks inside a value count.
enum class LineBreaks { AreBlanks, AreNothing };

// A value as it stands between two tags: trimmed, comments dropped, CDATA unwrapped,
// entities decoded, line breaks with the blanks around them as told, other control
// characters dropped. False in `changed`: the trimmed text itself is the value, and
// nothing is returned.
std::string CleanOfxValue(std::string_view raw, LineBreaks breaks, bool& changed);

}  // namespace quillon
