#include "foundation/KeelString.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <limits>
#include <new>
#include <optional>
#include <utility>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

template <typename Unit>
bool IsTrimmed(Unit unit) {
    return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
}

template <typename View>
View Trimmed(View text) {
    while (!text.empty() && IsTrimmed(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsTrimmed(text.back())) text.remove_suffix(1);
    return text;
}

template <typename View>
int32_t FindIn(View text, View needle, int32_t from) {
    if (from < 0 || static_cast<size_t>(from) > text.size()) return -1;
    const size_t found = text.find(needle, static_cast<size_t>(from));
    return found == View::npos ? -1 : static_cast<int32_t>(found);
}

// Empty when nothing was replaced.
template <typename View>
std::optional<std::basic_string<typename View::value_type>> Replaced(View text, View from, View to,
                                                                     int32_t& count) {
    count = 0;
    size_t found = from.empty() ? View::npos : text.find(from);
    if (found == View::npos) return std::nullopt;
    std::basic_string<typename View::value_type> out;
    size_t done = 0;
    for (; found != View::npos; found = text.find(from, done)) {
        out.append(text.substr(done, found - done)).append(to);
        done = found + from.size();
        ++count;
    }
    return out.append(text.substr(done));
}

}  // namespace

CKeelString::CKeelString(const char* text) : CKeelString(View(text)) {}

CKeelString::CKeelString(std::string_view text) {
    Assign(text.data(), text.size(), false);
}

CKeelString::CKeelString(std::u16string_view text) {
    Assign(text.data(), text.size() * 2, true);
}

CKeelString::CKeelString(const CKeelString& other) {
    if (!other.m_buffer) return;
    m_buffer = static_cast<char*>(std::malloc(static_cast<size_t>(other.m_size)));
    if (!m_buffer) throw std::bad_alloc();
    std::memcpy(m_buffer, other.m_buffer, static_cast<size_t>(other.m_size));
    m_size = other.m_size;
    m_wide = other.m_wide;
}

CKeelString::~CKeelString() {
    std::free(m_buffer);
}

CKeelString& CKeelString::operator=(const CKeelString& other) {
    CKeelString copy(other);
    Swap(copy);
    return *this;
}

CKeelString& CKeelString::operator=(CKeelString&& other) noexcept {
    CKeelString taken(std::move(other));
    Swap(taken);
    return *this;
}

CKeelString& CKeelString::operator=(const char* text) {
    return *this = View(text);
}

CKeelString& CKeelString::operator=(std::string_view text) {
    Assign(text.data(), text.size(), false);
    return *this;
}

CKeelString& CKeelString::operator=(std::u16string_view text) {
    Assign(text.data(), text.size() * 2, true);
    return *this;
}

void CKeelString::Swap(CKeelString& other) noexcept {
    std::swap(m_buffer, other.m_buffer);
    std::swap(m_size, other.m_size);
    std::swap(m_wide, other.m_wide);
}

// `text` may lie in the buffer that is replaced.
void CKeelString::Assign(const void* text, size_t bytes, bool wide) {
    CKeelString fresh;
    if (bytes > 0) {
        const size_t terminator = wide ? 2 : 1;
        if (bytes > static_cast<size_t>(std::numeric_limits<int32_t>::max()) - terminator) {
            throw std::bad_alloc();
        }
        fresh.m_buffer = static_cast<char*>(std::malloc(bytes + terminator));
        if (!fresh.m_buffer) throw std::bad_alloc();
        std::memcpy(fresh.m_buffer, text, bytes);
        std::memset(fresh.m_buffer + bytes, 0, terminator);
        fresh.m_size = static_cast<int32_t>(bytes + terminator);
        fresh.m_wide = wide;
    }
    Swap(fresh);
}

// Appends text of this one's kind, which may lie in this buffer.
void CKeelString::Append(const void* text, size_t bytes) {
    if (bytes == 0) return;
    const size_t unit = m_wide ? 2 : 1;
    const size_t old = static_cast<size_t>(Length()) * unit;
    if (bytes > static_cast<size_t>(std::numeric_limits<int32_t>::max()) - unit - old) {
        throw std::bad_alloc();
    }
    CKeelString fresh;
    fresh.m_buffer = static_cast<char*>(std::malloc(old + bytes + unit));
    if (!fresh.m_buffer) throw std::bad_alloc();
    if (old > 0) std::memcpy(fresh.m_buffer, m_buffer, old);
    std::memcpy(fresh.m_buffer + old, text, bytes);
    std::memset(fresh.m_buffer + old + bytes, 0, unit);
    fresh.m_size = static_cast<int32_t>(old + bytes + unit);
    fresh.m_wide = m_wide;
    Swap(fresh);
}

const char16_t* CKeelString::WideCStr() const {
    if (!m_wide || !m_buffer) return u"";
    return reinterpret_cast<const char16_t*>(m_buffer);
}

std::string_view CKeelString::View() const {
    if (m_wide) return {};
    return {CStr(), static_cast<size_t>(Length())};
}

std::u16string_view CKeelString::WideView() const {
    if (!m_wide) return {};
    return {WideCStr(), static_cast<size_t>(Length())};
}

std::string CKeelString::ToUtf8() const {
    return m_wide ? Utf16ToUtf8(WideView()) : std::string(View());
}

CKeelString CKeelString::ToNarrow() const {
    return m_wide ? CKeelString(ToUtf8()) : *this;
}

CKeelString CKeelString::ToWide() const {
    return m_wide ? *this : CKeelString(std::u16string_view(Utf8ToUtf16(View())));
}

bool CKeelString::SetBufferSize(int32_t bytes, bool wide) {
    if (bytes < 0) return false;
    if (bytes == 0) {
        ReleaseBuffer();
        return true;
    }
    void* block = std::calloc(static_cast<size_t>(bytes), 1);
    if (!block) return false;
    std::free(m_buffer);
    m_buffer = static_cast<char*>(block);
    m_size = bytes;
    m_wide = wide;
    return true;
}

void CKeelString::ReleaseBuffer() {
    std::free(m_buffer);
    m_buffer = nullptr;
    m_size = 0;
    m_wide = false;
}

bool CKeelString::CopyText(const char* text) {
    const std::string_view source = View(text);
    m_wide = false;
    if (source.size() > static_cast<size_t>(Length())) return false;
    if (!m_buffer) return true;
    std::memmove(m_buffer, source.data(), source.size());
    std::memset(m_buffer + source.size(), 0, static_cast<size_t>(m_size) - source.size());
    return true;
}

bool CKeelString::CopyText(const char16_t* text) {
    const std::u16string_view source = text ? std::u16string_view(text) : std::u16string_view();
    m_wide = m_buffer != nullptr;
    if (source.size() > static_cast<size_t>(Length())) return false;
    if (!m_buffer) return true;
    const size_t bytes = source.size() * 2;
    std::memmove(m_buffer, source.data(), bytes);
    std::memset(m_buffer + bytes, 0, static_cast<size_t>(m_size) - bytes);
    return true;
}

bool CKeelString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const bool done = FormatV(format, args);
    va_end(args);
    return done;
}

bool CKeelString::FormatV(const char* format, va_list args) {
    if (!format) return false;
    char scratch[kFormatScratch];
    const int length = std::vsnprintf(scratch, sizeof scratch, format, args);
    if (length <= 0 || length >= kFormatScratch) return false;
    Assign(scratch, static_cast<size_t>(length), false);
    return true;
}

void CKeelString::MakeUpper() {
    SetCase(true);
}

void CKeelString::MakeLower() {
    SetCase(false);
}

void CKeelString::SetCase(bool upper) {
    const int32_t length = Length();
    if (!m_wide) {
        for (int32_t i = 0; i < length; ++i) {
            // Part of a multi-byte character: a locale of single bytes would break it.
            const auto byte = static_cast<unsigned char>(m_buffer[i]);
            if (byte >= 0x80) continue;
            m_buffer[i] = static_cast<char>(upper ? std::toupper(byte) : std::tolower(byte));
        }
        return;
    }
    for (int32_t i = 0; i < length; ++i) {
        char16_t unit;
        std::memcpy(&unit, m_buffer + 2 * static_cast<size_t>(i), 2);
        if (unit >= 0xD800 && unit <= 0xDFFF) continue;
        const std::wint_t mapped = upper ? std::towupper(unit) : std::towlower(unit);
        if (static_cast<char16_t>(mapped) != mapped) continue;
        unit = static_cast<char16_t>(mapped);
        std::memcpy(m_buffer + 2 * static_cast<size_t>(i), &unit, 2);
    }
}

char CKeelString::At(int32_t index) const {
    return !m_wide && IsValidIndex(index) ? m_buffer[index] : '\0';
}

char16_t CKeelString::UnitAt(int32_t index) const {
    if (!IsValidIndex(index)) return 0;
    if (m_wide) return WideView()[static_cast<size_t>(index)];
    return static_cast<unsigned char>(m_buffer[index]);
}

int32_t CKeelString::Find(std::string_view needle, int32_t from) const {
    if (!m_wide) return FindIn(View(), needle, from);
    return FindIn(WideView(), std::u16string_view(Utf8ToUtf16(needle)), from);
}

CKeelString CKeelString::Left(int32_t count) const {
    return Mid(0, count);
}

CKeelString CKeelString::Mid(int32_t from, int32_t count) const {
    const int32_t start = std::clamp(from, 0, Length());
    const int32_t rest = Length() - start;
    const auto at = static_cast<size_t>(start);
    const auto size = static_cast<size_t>(std::clamp(count, 0, rest));
    return m_wide ? CKeelString(WideView().substr(at, size)) : CKeelString(View().substr(at, size));
}

CKeelString CKeelString::Right(int32_t count) const {
    return Mid(Length() - std::clamp(count, 0, Length()));
}

void CKeelString::Trim() {
    if (m_wide) {
        const std::u16string_view trimmed = Trimmed(WideView());
        if (trimmed.size() != WideView().size()) *this = trimmed;
    } else {
        const std::string_view trimmed = Trimmed(View());
        if (trimmed.size() != View().size()) *this = trimmed;
    }
}

int32_t CKeelString::Replace(std::string_view from, std::string_view to) {
    int32_t count = 0;
    if (m_wide) {
        const std::u16string wideFrom = Utf8ToUtf16(from);
        const std::u16string wideTo = Utf8ToUtf16(to);
        const auto text = Replaced<std::u16string_view>(WideView(), wideFrom, wideTo, count);
        if (text) *this = std::u16string_view(*text);
    } else {
        const auto text = Replaced<std::string_view>(View(), from, to, count);
        if (text) *this = std::string_view(*text);
    }
    return count;
}

CKeelString& CKeelString::operator+=(const CKeelString& other) {
    if (IsEmpty()) return *this = other;
    if (!other.m_wide) return *this += other.View();
    if (!m_wide) return *this += std::string_view(other.ToUtf8());
    const std::u16string_view text = other.WideView();
    Append(text.data(), text.size() * 2);
    return *this;
}

CKeelString& CKeelString::operator+=(std::string_view text) {
    if (IsEmpty()) return *this = text;
    if (!m_wide) {
        Append(text.data(), text.size());
    } else {
        const std::u16string wide = Utf8ToUtf16(text);
        Append(wide.data(), wide.size() * 2);
    }
    return *this;
}

int CKeelString::Compare(const CKeelString& other) const {
    if (IsEmpty() || other.IsEmpty()) return 0;
    // Of wide text two bytes are one unit; pairs of narrow bytes in byte order
    // are the bytes themselves, and the terminator puts "ab" before "abc".
    if (m_wide && other.m_wide) return WideView().compare(other.WideView());
    const auto size = static_cast<size_t>(Length()) * (m_wide ? 2U : 1U);
    const auto otherSize = static_cast<size_t>(other.Length()) * (other.m_wide ? 2U : 1U);
    const int order = std::memcmp(m_buffer, other.m_buffer, std::min(size, otherSize));
    if (order != 0) return order;
    return static_cast<int>(size > otherSize) - static_cast<int>(size < otherSize);
}

bool CKeelString::Equals(const CKeelString& other) const {
    if (IsEmpty() || other.IsEmpty()) return IsEmpty() && other.IsEmpty();
    return m_wide == other.m_wide && View() == other.View() && WideView() == other.WideView();
}

}  // namespace quillon
