#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/KeelString.h"

namespace quillon {

// CVLStringManager keeps a list of texts of any length and knows their stored form.
//
//   Errors     false and -1. Adding throws std::bad_alloc when memory runs out.
//   Ownership  Texts are copied in and are the list's.
//   Threads    None; callers hold their owner's lock.
class CVLStringManager {
public:
    CVLStringManager() = default;
    virtual ~CVLStringManager() = default;

    // The part of a text that can be stored: all before its first zero character. Whoever
    // keys, compares or counts a text that is to be stored does so with this part.
    static std::string_view StoredPart(std::string_view text) {
        return text.substr(0, text.find('\0'));
    }
    // The stored form of a text: the UTF-8 bytes of its stored part and one zero byte. Wide
    // text is converted.
    static std::vector<uint8_t> Serialise(const CKeelString& text);
    // False with `out` untouched when the bytes do not end in a zero byte, or
    // hold another one before it.
    [[nodiscard]] static bool Deserialise(std::span<const uint8_t> bytes, CKeelString& out);

    virtual size_t Count() const { return m_texts.size(); }
    virtual bool IsEmpty() const { return Count() == 0; }
    virtual void Add(CKeelString text);
    // At `position`, which may be the end. False when it is past it.
    [[nodiscard]] virtual bool Insert(size_t position, CKeelString text);
    // The empty text when `position` is past the end.
    virtual const CKeelString& At(size_t position) const;
    [[nodiscard]] virtual bool Set(size_t position, CKeelString text);
    virtual bool Remove(size_t position);
    virtual void Clear() { m_texts.clear(); }
    // Position of the first equal text, -1 for none.
    virtual int64_t Find(std::string_view text, bool ignoringCase = false) const;
    // By bytes, or by folded characters; stable. Empty texts come first.
    virtual void Sort(bool ignoringCase = false);

    // Adds the pieces between the separators: one more than there are
    // separators, empty ones too. An empty separator does not split.
    virtual void Split(std::string_view text, std::string_view separator);
    virtual std::string Join(std::string_view separator) const;

    auto begin() const { return m_texts.begin(); }
    auto end() const { return m_texts.end(); }

private:
    std::vector<CKeelString> m_texts;
};

}  // namespace quillon
