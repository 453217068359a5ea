#include "finance/reconciliation/SubsetSums.h"

#include <bit>
#include <cmath>
#include <limits>

#include "finance/reconciliation/ReconciliationSolver.h"

namespace quillon {

namespace {

// What a double loses at most in rounding, relative to it.
constexpr double kRounding = 0x1p-53;

double LargestMagnitude(std::span<const double> effects, double target) {
    double largest = std::fabs(target);
    for (const double effect : effects) largest = std::max(largest, std::fabs(effect));
    return largest;
}

// False: not the unit to use.
bool AsCents(std::span<const double> effects, double target, size_t largestSet,
             WholeAmounts& whole) {
    constexpr double kCloseToACent = 1e-5;
    constexpr double kBelowACent = 0.0099;
    constexpr double kMostCents = 0x1p53;
    const double largest = LargestMagnitude(effects, target);
    if (!(largest * 100.0 < kMostCents)) return false;
    double most = 0.0;  // that an amount lacks to whole cents
    const auto convert = [&most](double amount) {
        const double cents = std::round(amount * 100.0);
        most = std::max(most, std::fabs(amount - cents / 100.0));
        return static_cast<int64_t>(cents);
    };
    whole.target = convert(target);
    for (const double effect : effects) whole.values.push_back(convert(effect));
    if (most > kCloseToACent) return false;
    const auto terms = static_cast<double>(largestSet + 1);
    // The conversion itself rounds too, and each of the sum's steps rounds what it has.
    const double conversion = terms * (most + 4 * kRounding * largest);
    const double summing = 1.01 * terms * kRounding * terms * largest;
    return kSameAmount + conversion + summing < kBelowACent;
}

WholeAmounts AsBinaryFractions(std::span<const double> effects, double target, size_t largestSet) {
    // In units every partial sum, of largestSet + 1 terms, stays below 2^61.
    constexpr int kSumBits = 61;
    // Finer than this no amount needs to be, and the tolerance stays well below 2^61.
    constexpr int kFinest = 80;
    const double largest = LargestMagnitude(effects, target);
    const int termBits =
        static_cast<int>(std::bit_width(largestSet));  // largestSet + 1 <= 2^termBits
    int exponent = -1'100;                             // largest < 2^exponent
    if (largest > 0) exponent = std::ilogb(largest) + 1;
    const int scale = std::min(kSumBits - termBits - exponent, kFinest);

    WholeAmounts whole;
    whole.values.reserve(effects.size());
    whole.target = std::llround(std::ldexp(target, scale));
    for (const double effect : effects) {
        whole.values.push_back(std::llround(std::ldexp(effect, scale)));
    }
    const auto terms = static_cast<double>(largestSet + 1);
    // Each step of a sum below 2^61 units rounds by at most 2^61 * 2^-53 of them.
    const double summing = 1.01 * terms * std::ldexp(kRounding, kSumBits);
    const double window = std::ldexp(kSameAmount, scale) + summing + terms + 2;
    whole.window = std::llround(window);
    return whole;
}

}  // namespace

WholeAmounts WholeAmounts::From(std::span<const double> effects, double target, size_t largestSet) {
    WholeAmounts cents;
    cents.values.reserve(effects.size());
    if (AsCents(effects, target, largestSet, cents)) return cents;
    return AsBinaryFractions(effects, target, largestSet);
}

CBinomials::CBinomials(size_t count, size_t largest) {
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    m_rows.reserve(largest + 1);
    m_rows.emplace_back(count + 1, 1);
    for (size_t size = 1; size <= largest; ++size) {
        const std::vector<uint64_t>& smaller = m_rows.back();
        std::vector<uint64_t> row(count + 1, 0);
        for (size_t i = 1; i <= count; ++i) {
            row[i] = row[i - 1] > kMost - smaller[i - 1] ? kMost : row[i - 1] + smaller[i - 1];
        }
        m_rows.push_back(std::move(row));
    }
}

CSubsetSums::CSubsetSums(std::span<const int64_t> byRank) {
    const auto [low, high] = std::minmax_element(byRank.begin(), byRank.end());
    m_low = *low;
    m_high = *high;
    // About a slot for each sum, so that most are found in one step.
    const auto range = static_cast<uint64_t>(m_high - m_low);
    while ((range >> m_shift) >= std::max<uint64_t>(byRank.size(), 2)) ++m_shift;
    m_slots.assign(static_cast<size_t>(range >> m_shift) + 2, 0);
    Arrange(byRank);
}

void CSubsetSums::Arrange(std::span<const int64_t> byRank) {
    for (const int64_t value : byRank) ++m_slots[SlotOf(value) + 1];
    for (size_t slot = 1; slot < m_slots.size(); ++slot) m_slots[slot] += m_slots[slot - 1];
    m_sums.resize(byRank.size());
    std::vector<uint32_t> next(m_slots.begin(), m_slots.end() - 1);
    for (size_t rank = 0; rank < byRank.size(); ++rank) {
        m_sums[next[SlotOf(byRank[rank])]++] = {byRank[rank], static_cast<uint32_t>(rank)};
    }
    if (m_shift == 0) return;  // a slot holds one value, and its ranks came in order
    for (size_t slot = 0; slot + 1 < m_slots.size(); ++slot) {
        if (m_slots[slot + 1] - m_slots[slot] < 2) continue;
        std::sort(m_sums.begin() + m_slots[slot], m_sums.begin() + m_slots[slot + 1], IsBefore);
    }
}

const CSubsetSums::Sum* CSubsetSums::FirstNotBefore(size_t slot, const Sum& wanted) const {
    constexpr std::ptrdiff_t kFew = 12;
    const Sum* const begin = m_sums.data() + m_slots[slot];
    const Sum* const end = m_sums.data() + m_slots[slot + 1];
    if (end - begin > kFew) return std::lower_bound(begin, end, wanted, IsBefore);
    const Sum* sum = begin;
    while (sum != end && IsBefore(*sum, wanted)) ++sum;
    return sum;
}

}  // namespace quillon
