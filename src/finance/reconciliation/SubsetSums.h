#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace quillon {

// Amounts as whole numbers, in a unit of our choice, so that sums of them do not depend on
// the order of adding.
//
//   A set whose sum in double precision, from -target on, is below 1e-8 has a whole-number
//   sum that differs from `target` by at most `window`. The reverse need not hold.
//
// Amounts in cents have cents as unit and no window, as long as neither what they lack to
// whole cents nor rounding in any sum can reach a cent. Others have the finest binary
// fraction in which no sum passes 2^62; the window then covers the tolerance, the rounding
// to the unit and the rounding of every sum.
struct WholeAmounts {
    std::vector<int64_t> values;  // signed, as many as amounts
    int64_t target = 0;
    int64_t window = 0;

    // `effects` and `target` are finite; sets have at most `largestSet` members.
    static WholeAmounts From(std::span<const double> effects, double target, size_t largestSet);
};

// Binomial coefficients, up to UINT64_MAX.
class CBinomials {
public:
    CBinomials(size_t count, size_t largest);
    // Ways to choose `size` (at most the largest) out of `count`.
    uint64_t operator()(size_t count, size_t size) const { return m_rows[size][count]; }
    // Ways to choose `size` out of 0, 1, 2, ...: ascending.
    std::span<const uint64_t> Row(size_t size) const { return m_rows[size]; }

private:
    std::vector<std::vector<uint64_t>> m_rows;
};

// The sums of all subsets of one size of the first so many amounts, in the order of the
// sums. A subset is named by its rank: how many subsets of the size come before it when
// they are ordered by their highest members. Subsets of the first m amounts therefore have
// the ranks below C(m, size), whatever m is.
class CSubsetSums {
public:
    // The sum of each subset, by rank; at least one and fewer than 2^32.
    explicit CSubsetSums(std::span<const int64_t> byRank);

    // Calls `take(rank)` for the subsets with a rank below `limit` and a sum that is
    // `target`, highest rank first; ends when it returns false, and returns that.
    template <class Take>
    bool ForEachOf(int64_t target, uint64_t limit, Take take) const;

    // The same for sums in target - window to target + window. `ranks` is room to work in.
    template <class Take>
    bool ForEachWithin(int64_t target, int64_t window, uint64_t limit, std::vector<uint32_t>& ranks,
                       Take take) const;

private:
    struct Sum {
        int64_t value;
        uint32_t rank;
    };
    static bool IsBefore(const Sum& a, const Sum& b) {
        return a.value != b.value ? a.value < b.value : a.rank < b.rank;
    }
    size_t SlotOf(int64_t value) const {
        return static_cast<size_t>(static_cast<uint64_t>(value - m_low) >> m_shift);
    }
    // The first sum of the slot that is not before `wanted`.
    const Sum* FirstNotBefore(size_t slot, const Sum& wanted) const;
    void Arrange(std::span<const int64_t> byRank);

    int64_t m_low = 0;
    int64_t m_high = 0;
    int m_shift = 0;                // of an offset from m_low, to get its slot
    std::vector<uint32_t> m_slots;  // first sum of each slot; one more at the end
    std::vector<Sum> m_sums;        // by value, then rank
};

template <class Take>
bool CSubsetSums::ForEachOf(int64_t target, uint64_t limit, Take take) const {
    if (target < m_low || target > m_high) return true;
    const size_t slot = SlotOf(target);
    const Sum* const begin = m_sums.data() + m_slots[slot];
    if (begin == m_sums.data() + m_slots[slot + 1]) return true;
    const Sum* sum = FirstNotBefore(slot, {target, static_cast<uint32_t>(limit)});
    while (sum != begin && (--sum)->value == target) {
        if (!take(sum->rank)) return false;
    }
    return true;
}

template <class Take>
bool CSubsetSums::ForEachWithin(int64_t target, int64_t window, uint64_t limit,
                                std::vector<uint32_t>& ranks, Take take) const {
    const int64_t first = target - window < m_low ? m_low : target - window;
    const int64_t last = target + window > m_high ? m_high : target + window;
    if (first > last) return true;
    ranks.clear();
    const Sum* const end = m_sums.data() + m_sums.size();
    for (const Sum* sum = FirstNotBefore(SlotOf(first), {first, 0});
         sum != end && sum->value <= last; ++sum) {
        if (sum->rank < limit) ranks.push_back(sum->rank);
    }
    if (ranks.size() > 1) std::sort(ranks.begin(), ranks.end(), std::greater<>());
    for (const uint32_t rank : ranks) {
        if (!take(rank)) return false;
    }
    return true;
}

}  // namespace quillon
