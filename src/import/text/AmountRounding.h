#pragma once

#include <cmath>

#include "finance/ledger/Balance.h"

namespace quillon {

// Rounds the amounts of one register or statement to cents. Each by itself is rounded to its
// own cent; where the file states a balance and amounts rounded so would miss the sum, what
// one loses is carried to the next that has more than two decimals, so that the rounded lines
// add up to the sum of the written ones. Amounts of whole cents never change, and one that no
// ledger takes has no part in the sum. Amounts are in units of the currency, signed; nothing
// fails.
class CAmountRounding {
public:
    // First every amount once,
    void Add(double amount) {
        if (!IsAmount(amount)) return;
        m_written.Add(amount);
        m_rounded.Add(RoundToCents(amount));
    }
    // then, when the file states a balance, this,
    void KeepSum() {
        m_carries = RoundToCents(m_written.Value()) != RoundToCents(m_rounded.Value());
    }
    // and every amount again in the same order.
    double Round(double amount) {
        if (!m_carries || !IsAmount(amount) || HasWholeCents(amount)) return RoundToCents(amount);
        const double rounded = RoundToCents(amount + m_carry);
        m_carry += amount - rounded;
        return rounded;
    }

private:
    // An amount times a rate may be neither.
    static bool IsAmount(double amount) { return std::fabs(amount) <= kLargestAmount; }

    CMoneySum m_written;
    CMoneySum m_rounded;
    bool m_carries = false;
    double m_carry = 0.0;
};

}  // namespace quillon
