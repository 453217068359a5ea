#include "finance/ledger/Balance.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quillon {

double SettledSum(double sum) {
    constexpr double kCloseToACent = 1e-4;  // in cents
    const double cents = sum * 100.0;
    const double whole = std::round(cents);
    if (!(std::fabs(cents - whole) < kCloseToACent)) return sum;
    return whole == 0.0 ? 0.0 : whole / 100.0;  // never -0
}

double RoundToCents(double amount) {
    if (!std::isfinite(amount)) return amount;
    const double cents = std::fabs(amount) * 100.0;
    // What reading the decimals and the product above may have lost.
    const double lost = std::min(cents * std::numeric_limits<double>::epsilon(), 0.01);
    const double whole = std::round(cents + lost);
    if (whole == 0.0) return 0.0;
    return std::copysign(whole / 100.0, amount);
}

bool HasWholeCents(double amount) {
    constexpr double kNoise = 1e-6;  // in the currency unit, as SettledSum has it in cents
    const double spacing = std::fabs(amount) * std::numeric_limits<double>::epsilon();
    return std::fabs(amount - RoundToCents(amount)) <= std::max(kNoise, spacing);
}

void CMoneySum::Add(double amount) {
    const double sum = m_sum + amount;
    // What the larger of the two pushed out of the smaller one.
    if (std::fabs(m_sum) >= std::fabs(amount)) {
        m_lost += (m_sum - sum) + amount;
    } else {
        m_lost += (amount - sum) + m_sum;
    }
    m_sum = sum;
}

}  // namespace quillon
