#pragma once

#include <concepts>
#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace quillon {

// Lets the compiler check printf arguments; `text` and `first` are positions.
// g++ takes plain `printf` for the platform's own dialect; ours is the C one everywhere.
#if defined(__clang__)
#define QUILLON_PRINTF(text, first) __attribute__((__format__(printf, text, first)))
#else
#define QUILLON_PRINTF(text, first) __attribute__((__format__(gnu_printf, text, first)))
#endif

class CKeelString;

// What narrow text may come as: literals, std::string, std::string_view.
template <typename T>
concept NarrowText = std::convertible_to<const T&, std::string_view> &&
    !std::derived_from<std::remove_cvref_t<T>, CKeelString>;

// CKeelString is the program's text value: one heap block of exactly the size
// that its text needs.
//
//   Kinds      Narrow text is UTF-8, wide text UTF-16 (char16_t on every
//              machine). Positions and lengths count bytes of narrow text and
//              16-bit units of wide text. A narrow needle, replacement or
//              appendix given to a wide text is converted first.
//   Sizes      SizeInBytes() counts the terminator: "abc" takes 4 bytes, u"abc" 8.
//   Errors     Operations that return bool fail with false and leave the text
//              as it was, except where said. Constructors and operators throw
//              std::bad_alloc when memory runs out.
//   Ownership  The block comes from malloc and dies with the text. Views and
//              C strings are valid until the text changes.
//   Threads    None; callers hold their owner's lock.
class CKeelString {
public:
    CKeelString() = default;
    CKeelString(const char* text);  // null is the empty text
    CKeelString(std::string_view text);
    CKeelString(const std::string& text) : CKeelString(std::string_view(text)) {}
    explicit CKeelString(std::u16string_view text);
    CKeelString(const CKeelString& other);
    CKeelString(CKeelString&& other) noexcept { Swap(other); }
    virtual ~CKeelString();

    CKeelString& operator=(const CKeelString& other);
    CKeelString& operator=(CKeelString&& other) noexcept;
    CKeelString& operator=(const char* text);
    CKeelString& operator=(std::string_view text);
    CKeelString& operator=(const std::string& text) { return *this = std::string_view(text); }
    CKeelString& operator=(std::u16string_view text);

    // Characters without the terminator.
    int32_t Length() const {
        const int32_t characters = m_wide ? m_size / 2 : m_size;
        return characters < 1 ? 0 : characters - 1;
    }
    bool IsEmpty() const { return Length() == 0; }
    bool IsWide() const { return m_wide; }
    // Terminator included; 0 without a buffer.
    int32_t SizeInBytes() const { return m_size; }

    // Narrow text with its terminator, never null; "" when empty. Of wide text
    // use WideCStr(): its bytes mean nothing here.
    const char* CStr() const { return m_buffer ? m_buffer : ""; }
    const char16_t* WideCStr() const;
    // Views are empty when the text is of the other kind.
    std::string_view View() const;
    std::u16string_view WideView() const;
    // The text in UTF-8 or UTF-16, whatever its kind. What is not valid in the
    // source becomes U+FFFD where a conversion takes place.
    std::string ToUtf8() const;
    CKeelString ToNarrow() const;
    CKeelString ToWide() const;

    // A new buffer of exactly `bytes` zero bytes; the old text is gone. 0
    // releases. False: negative, or no memory, and the text is as it was.
    [[nodiscard]] virtual bool SetBufferSize(int32_t bytes, bool wide = false);
    // No buffer, size 0, narrow.
    virtual void ReleaseBuffer();
    // The buffer for filling in, SizeInBytes() long; null without one.
    char* Buffer() { return m_buffer; }

    // Copies into the buffer that is there, zero-filling its rest; the size
    // stays. False: longer than Length(), and nothing is copied. The kind is set
    // first, so it changes even then (and Length() with it).
    [[nodiscard]] virtual bool CopyText(const char* text);
    [[nodiscard]] virtual bool CopyText(const char16_t* text);

    // Printf into a scratch buffer of kFormatScratch bytes, then assigned. False
    // with the text unchanged: nothing rendered, a format error, or a rendering
    // that the scratch buffer cannot hold. The arguments may lie in this text.
    static constexpr int32_t kFormatScratch = 4112;
    bool Format(const char* format, ...) QUILLON_PRINTF(2, 3);
    virtual bool FormatV(const char* format, va_list args) QUILLON_PRINTF(2, 0);

    // Character by character through the runtime, so that no length changes.
    // Bytes of multi-byte characters and surrogates stay as they are; to compare
    // beyond ASCII see Unicode.h.
    virtual void MakeUpper();
    virtual void MakeLower();

    bool IsValidIndex(int32_t index) const { return index >= 0 && index < Length(); }
    // 0 when the text is empty, the index is not valid, or the text is wide.
    char At(int32_t index) const;
    // The same of either kind: a byte of narrow text, a unit of wide text.
    char16_t UnitAt(int32_t index) const;
    char16_t LastCharacter() const { return UnitAt(Length() - 1); }

    // Position of `needle` at or after `from`, -1 for none. An empty needle is
    // found at `from`.
    virtual int32_t Find(std::string_view needle, int32_t from = 0) const;
    bool Contains(std::string_view needle) const { return Find(needle) >= 0; }
    // Parts, clamped to the text.
    virtual CKeelString Left(int32_t count) const;
    virtual CKeelString Mid(int32_t from, int32_t count = INT32_MAX) const;
    virtual CKeelString Right(int32_t count) const;
    // Drops blanks, tabs, CR and LF at both ends.
    virtual void Trim();
    // Every occurrence, left to right, without looking into what was put in.
    // Returns their number; an empty `from` has none.
    virtual int32_t Replace(std::string_view from, std::string_view to);

    CKeelString& operator+=(const CKeelString& other);
    CKeelString& operator+=(std::string_view text);
    CKeelString& operator+=(const char* text) { return *this += View(text); }
    CKeelString& operator+=(const std::string& text) { return *this += std::string_view(text); }
    CKeelString& operator+=(char character) { return *this += std::string_view(&character, 1); }

    friend CKeelString operator+(const CKeelString& a, const CKeelString& b) {
        CKeelString sum(a);
        sum += b;
        return sum;
    }
    template <NarrowText T>
    friend CKeelString operator+(const CKeelString& a, const T& b) {
        CKeelString sum(a);
        sum += std::string_view(b);
        return sum;
    }
    template <NarrowText T>
    friend CKeelString operator+(const T& a, const CKeelString& b) {
        CKeelString sum{std::string_view(a)};
        sum += b;
        return sum;
    }

    // The same kind and the same characters. All empty texts are equal.
    friend bool operator==(const CKeelString& a, const CKeelString& b) { return a.Equals(b); }
    template <NarrowText T>
    friend bool operator==(const CKeelString& a, const T& b) {
        const std::string_view text(b);
        return a.IsEmpty() ? text.empty() : !a.IsWide() && a.View() == text;
    }

    // Two bytes at a time in byte order, not by locale. An empty text is neither
    // before nor after anything, so this is no strict weak order when empty
    // texts take part: do not sort by it without setting them apart.
    friend bool operator<(const CKeelString& a, const CKeelString& b) { return a.Compare(b) < 0; }
    friend bool operator>(const CKeelString& a, const CKeelString& b) { return a.Compare(b) > 0; }
    // Before (after) or equal: an empty text is at or before another empty one only.
    friend bool operator<=(const CKeelString& a, const CKeelString& b) { return a < b || a == b; }
    friend bool operator>=(const CKeelString& a, const CKeelString& b) { return a > b || a == b; }

    void Swap(CKeelString& other) noexcept;

protected:
    // Negative, 0 or positive; 0 when either is empty.
    virtual int Compare(const CKeelString& other) const;
    virtual bool Equals(const CKeelString& other) const;

private:
    static std::string_view View(const char* text) {
        return text ? std::string_view(text) : std::string_view();
    }
    void Assign(const void* text, size_t bytes, bool wide);
    void Append(const void* text, size_t bytes);
    void SetCase(bool upper);

    char* m_buffer = nullptr;  // owned, from malloc
    int32_t m_size = 0;        // bytes, terminator included
    bool m_wide = false;
};

}  // namespace quillon
