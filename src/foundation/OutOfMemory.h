#pragma once

#include <new>
#include <utility>

namespace quillon {

// std::bad_alloc passes through the stores, the tables and the journal: only the outermost call
// can tell want of memory from damage, and roll back what was begun. CDatabaseManager, the query
// layer, backup and restore are outermost and throw nothing.

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
