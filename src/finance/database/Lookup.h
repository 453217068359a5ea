#pragma once

#include <cstdint>

namespace quillon {

// What looking for one row came to. It reads as true when the row was found; a caller to
// whom "there is none" and "it could not be read" are not the same asks further.
class [[nodiscard]] CLookup {
public:
    static constexpr CLookup Found() { return CLookup(Answer::Found); }
    static constexpr CLookup None() { return CLookup(Answer::None); }
    static constexpr CLookup Failed() { return CLookup(Answer::Failed); }

    constexpr explicit operator bool() const { return m_answer == Answer::Found; }
    constexpr bool IsNone() const { return m_answer == Answer::None; }
    constexpr bool HasFailed() const { return m_answer == Answer::Failed; }

private:
    enum class Answer : uint8_t { Found, None, Failed };
    constexpr explicit CLookup(Answer answer) : m_answer(answer) {}

    Answer m_answer;
};

}  // namespace quillon
