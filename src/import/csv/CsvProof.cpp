#include "import/csv/CsvProof.h"

#include <algorithm>
#include <cmath>

#include "finance/ledger/Balance.h"

namespace quillon {

void CCsvProof::Add(const Row& row) {
    m_positive += row.balance > 0.0;
    m_negative += row.balance < 0.0;
    m_hasMatch = m_hasLast;
    if (m_hasLast) {
        const double difference = row.balance - m_last.balance;
        const auto is = [difference](double amount) {
            return std::fabs(difference - amount) < kHalfCent;
        };
        m_match = {is(row.amount), is(m_last.amount), is(-row.amount), is(-m_last.amount)};
        ++m_pairs;
        m_second += m_match.second;
        m_first += m_match.first;
        m_minusSecond += m_match.minusSecond;
        m_minusFirst += m_match.minusFirst;
        m_rises += row.date > m_last.date;
        m_falls += row.date < m_last.date;
    }
    m_last = row;
    m_hasLast = true;
}

CCsvProof::Finding CCsvProof::Decide() const {
    const int64_t after = std::max(m_second, m_minusFirst);
    if (std::max(m_first, m_minusSecond) > after) return DecideOther();
    if (after == 0) return {};
    const bool isUp = m_minusFirst > m_second || (m_minusFirst == m_second && m_falls > m_rises);
    return {isUp ? CsvDirection::Up : CsvDirection::Down, false, after};
}

// The balances stand before their rows, or the signs are the other way round: in a file of
// newest rows first the one looks as the other does where the oldest are first.
CCsvProof::Finding CCsvProof::DecideOther() const {
    if (m_minusSecond > m_first && m_rises > m_falls) {
        return {CsvDirection::Down, true, m_minusSecond};
    }
    if (m_first > m_minusSecond && m_falls > m_rises) return {CsvDirection::Up, true, m_first};
    return {CsvDirection::Before, false, std::max(m_first, m_minusSecond)};
}

CsvDirection CCsvProof::DecideUnsigned() const {
    const int64_t down = m_second + m_minusSecond;
    const int64_t up = m_first + m_minusFirst;
    const bool isUp = up > down || (up == down && m_falls > m_rises);
    const bool isMixed = isUp ? m_first > 0 && m_minusFirst > 0 : m_second > 0 && m_minusSecond > 0;
    if (!isMixed || std::max(down, up) * 2 <= m_pairs) return CsvDirection::None;
    return isUp ? CsvDirection::Up : CsvDirection::Down;
}

bool CCsvProof::Follows(CsvDirection direction) const {
    if (!m_hasMatch) return true;
    switch (direction) {
        case CsvDirection::Down:
            return m_match.second;
        case CsvDirection::Up:
            return m_match.minusFirst;
        case CsvDirection::Before:
            return m_match.first || m_match.minusSecond;
        case CsvDirection::None:
            break;
    }
    return true;
}

}  // namespace quillon
