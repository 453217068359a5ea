#include "finance/Balance.h"

#include <cmath>

namespace quillon {

double SettledSum(double sum) {
    constexpr double kCloseToACent = 1e-4;  // in cents
    const double cents = sum * 100.0;
    const double whole = std::round(cents);
    if (!(std::fabs(cents - whole) < kCloseToACent)) return sum;
    return whole == 0.0 ? 0.0 : whole / 100.0;  // never -0
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
