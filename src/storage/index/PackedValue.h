#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "foundation/CalendarDate.h"

namespace quillon {

// How values that sort as signed numbers are written down smaller, as whole units. Values
// are those of CIndexManager::SortValue.
enum class Packing : uint8_t {
    Plain,  // any number; the unit is 1
    Days,   // date-times at midnight; days
    Cents,  // doubles of two decimals; cents
};

namespace packing {

// Above it not every cent has a double of its own.
inline constexpr int64_t kMostCents = 1'000'000'000'000'000;

// A double's bits as a number that sorts as the doubles do; doing it twice undoes it.
constexpr int64_t SortedBits(int64_t bits) {
    return bits >= 0 ? bits : bits ^ std::numeric_limits<int64_t>::max();
}

inline int64_t ValueOfCents(int64_t cents) {
    return SortedBits(std::bit_cast<int64_t>(static_cast<double>(cents) / 100.0));
}

constexpr int64_t FloorDays(int64_t ticks) {
    return ticks / kTicksPerDay - (ticks % kTicksPerDay < 0 ? 1 : 0);
}

constexpr int64_t CeilDays(int64_t ticks) {
    return ticks / kTicksPerDay + (ticks % kTicksPerDay > 0 ? 1 : 0);
}

// Cents of the largest value of cents that is not above `value`, whose double is finite.
inline int64_t FloorCents(int64_t value) {
    if (value >= ValueOfCents(kMostCents)) return kMostCents;
    if (value < ValueOfCents(-kMostCents)) return -kMostCents - 1;
    auto cents = static_cast<int64_t>(std::floor(std::bit_cast<double>(SortedBits(value)) * 100.0));
    // The product is rounded: the cent lies beside it at the most.
    while (ValueOfCents(cents) > value) --cents;
    while (ValueOfCents(cents + 1) <= value) ++cents;
    return cents;
}

}  // namespace packing

// False: the value is no whole number of units.
inline bool ToUnits(Packing kind, int64_t value, int64_t& units) {
    if (kind == Packing::Plain) {
        units = value;
        return true;
    }
    if (kind == Packing::Days) {
        units = value / kTicksPerDay;
        return units * kTicksPerDay == value;
    }
    const double number = std::bit_cast<double>(packing::SortedBits(value)) * 100.0;
    constexpr auto kMost = static_cast<double>(packing::kMostCents);
    if (!(number >= -kMost && number <= kMost)) return false;
    units = static_cast<int64_t>(number + (number < 0 ? -0.5 : 0.5));
    return packing::ValueOfCents(units) == value;
}

// The value of so many units.
inline int64_t FromUnits(Packing kind, int64_t units) {
    if (kind == Packing::Plain) return units;
    if (kind == Packing::Days) return units * kTicksPerDay;
    return packing::ValueOfCents(units);
}

// The units whose values lie between `lowest` and `highest`, ends included. False: none do.
inline bool UnitsBetween(Packing kind, int64_t lowest, int64_t highest, int64_t& first,
                         int64_t& last) {
    first = lowest;
    last = highest;
    if (kind == Packing::Days) {
        first = packing::CeilDays(lowest);
        last = packing::FloorDays(highest);
    } else if (kind == Packing::Cents) {
        first = packing::FloorCents(lowest);
        if (first < -packing::kMostCents || packing::ValueOfCents(first) != lowest) ++first;
        last = packing::FloorCents(highest);
    }
    return first <= last;
}

}  // namespace quillon
