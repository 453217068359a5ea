#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "finance/reconciliation/ReconciliationSolver.h"

namespace quillon {

// The search by trying every set, as an oracle for tests and a measure for the benchmark.
// It shares nothing with the product but the candidates.
class CPlainReconciliation {
public:
    using Set = std::vector<int32_t>;

    CPlainReconciliation(std::vector<ReconciliationCandidate> candidates, double difference,
                         int32_t maximum)
        : m_candidates(std::move(candidates)), m_difference(difference), m_maximum(maximum) {}

    const std::vector<Set>& Solutions() const { return m_found; }

    const std::vector<Set>& Solve() {
        m_found.clear();
        const auto count = static_cast<int32_t>(m_candidates.size());
        for (int32_t i = 0; i < count; ++i) {
            m_set = {i};
            if (!Explains() || DaysBeforeFirst(i) >= 20'000) continue;
            m_found = {m_set};
        }
        if (!m_found.empty() || count <= 1 || m_maximum <= 1) return m_found;
        for (int32_t size = 2; size < count && size <= m_maximum; ++size) Combine(size);
        return m_found;
    }

private:
    // Rounded up when a part of a day remains.
    int64_t DaysBeforeFirst(int32_t i) const {
        const int64_t ticks = m_candidates[0].date - m_candidates[static_cast<size_t>(i)].date;
        const int64_t days = ticks / 864'000'000'000;
        return ticks > 0 && ticks % 864'000'000'000 != 0 ? days + 1 : days;
    }

    bool Explains() const {
        double sum = m_difference;
        for (const int32_t i : m_set) {
            const ReconciliationCandidate& candidate = m_candidates[static_cast<size_t>(i)];
            if (candidate.direction == 0) sum -= candidate.amount;
            if (candidate.direction == 1) sum += candidate.amount;
        }
        return std::fabs(sum) < 1e-8;
    }

    void Test() {
        if (Explains()) m_found.push_back(m_set);
    }

    void Combine(int32_t size) {
        const auto top = static_cast<size_t>(size) - 1;
        m_set.assign(static_cast<size_t>(size), 0);
        m_set[top] = static_cast<int32_t>(m_candidates.size()) - 1;
        Refill(top);
        for (;;) {
            Test();
            size_t j = 0;
            while (--m_set[j] <= static_cast<int32_t>(j)) {
                Test();
                if (j == top) return;
                ++j;
            }
            Refill(j);
        }
    }

    void Refill(size_t from) {
        for (size_t j = from; j > 0; --j) m_set[j - 1] = m_set[j] - 1;
    }

    std::vector<ReconciliationCandidate> m_candidates;
    double m_difference;
    int32_t m_maximum;
    Set m_set;
    std::vector<Set> m_found;
};

}  // namespace quillon
