#include <iconv.h>

#include <cerrno>
#include <utility>

#include "foundation/Unicode.h"
#include "foundation/platform/CharsetConversion.h"

namespace quillon {

namespace {

const char* SystemName(SystemCharset charset) {
    switch (charset) {
        case SystemCharset::Windows1250:
            return "CP1250";
        case SystemCharset::Iso8859_2:
            return "ISO-8859-2";
        case SystemCharset::Iso8859_9:
            return "ISO-8859-9";
        case SystemCharset::Iso8859_15:
            return "ISO-8859-15";
        case SystemCharset::ShiftJis:
            break;
    }
    return "CP932";
}

class CConverter {
public:
    explicit CConverter(SystemCharset charset)
        : m_handle(iconv_open("UTF-8", SystemName(charset))) {}
    ~CConverter() {
        if (IsOpen()) iconv_close(m_handle);
    }
    CConverter(const CConverter&) = delete;
    CConverter& operator=(const CConverter&) = delete;

    bool IsOpen() const { return m_handle != iconv_t(-1); }

    bool Convert(std::string_view text, std::string& converted) {
        char buffer[4096];
        // The call takes a pointer to bytes that it does not change.
        char* from = const_cast<char*>(text.data());
        size_t left = text.size();
        while (left > 0) {
            char* to = buffer;
            size_t room = sizeof buffer;
            const size_t done = iconv(m_handle, &from, &left, &to, &room);
            const int why = errno;
            converted.append(buffer, sizeof buffer - room);
            if (done != size_t(-1) || why == E2BIG) continue;
            if (why != EILSEQ && why != EINVAL) return false;
            AppendUtf8(converted, kReplacementCharacter);
            ++from;
            --left;
        }
        return true;
    }

private:
    iconv_t m_handle;
};

}  // namespace

bool ConvertFromCharset(std::string_view text, SystemCharset charset, std::string& converted) {
    CConverter converter(charset);
    if (!converter.IsOpen()) return false;
    std::string made;
    made.reserve(text.size() + text.size() / 8);
    if (!converter.Convert(text, made)) return false;
    converted = std::move(made);
    return true;
}

}  // namespace quillon
