#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace quillon {

// Sorts by a signed 64-bit value, keeping the order of equal ones. Bytes that are the
// same in all values cost nothing, so small numbers and dates take two or three passes.
template <typename Item, typename ValueOf>
void RadixSort(std::vector<Item>& items, ValueOf valueOf) {
    constexpr size_t kBytes = 8;
    // Flipping the sign bit puts negative values first.
    const auto digitOf = [&](const Item& item, size_t byte) {
        const uint64_t bits = static_cast<uint64_t>(valueOf(item)) ^ (uint64_t{1} << 63);
        return static_cast<size_t>(bits >> (8 * byte) & 0xFF);
    };
    std::array<std::array<size_t, 256>, kBytes> counts{};
    for (const Item& item : items) {
        for (size_t byte = 0; byte < kBytes; ++byte) ++counts[byte][digitOf(item, byte)];
    }
    std::vector<Item> other(items.size());
    for (size_t byte = 0; byte < kBytes && !items.empty(); ++byte) {
        std::array<size_t, 256>& places = counts[byte];
        if (places[digitOf(items.front(), byte)] == items.size()) continue;
        size_t next = 0;
        for (size_t& place : places) place = std::exchange(next, next + place);
        for (const Item& item : items) other[places[digitOf(item, byte)]++] = item;
        items.swap(other);
    }
}

}  // namespace quillon
