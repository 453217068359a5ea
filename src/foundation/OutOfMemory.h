#pragma once

#include <new>
#include <utility>

namespace quillon {

// Runs `work`, which returns bool; running out of memory is a false like any other.
template <typename Work>
[[nodiscard]] bool FalseWhenOutOfMemory(Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace quillon
