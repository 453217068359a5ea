#include "finance/reconciliation/ReconciliationSolver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "finance/reconciliation/SubsetSearch.h"
#include "foundation/CalendarDate.h"

namespace quillon {

namespace {

constexpr int64_t kMostDaysBeforeFirst = 20'000;

bool IsExcluded(const SolverRequest& request, size_t index) {
    return index < request.excluded.size() && request.excluded[index];
}

// Whole days from `date` to `first`, a part of a day counted as one, are fewer than 20,000.
bool LiesWithinReach(int64_t date, int64_t first) {
    constexpr int64_t kReach = (kMostDaysBeforeFirst - 1) * kTicksPerDay;
    if (first < std::numeric_limits<int64_t>::min() + kReach) return true;
    return date >= first - kReach;
}

void FindSingle(const SolverRequest& request, CReconciliationSets& found) {
    const auto& candidates = request.candidates;
    for (size_t i = candidates.size(); i-- > 0;) {
        const int32_t member[] = {static_cast<int32_t>(i)};
        if (!IsExcluded(request, i) && ExplainsDifference(candidates, member, request.difference) &&
            LiesWithinReach(candidates[i].date, candidates[0].date)) {
            found.Add(member);
            return;
        }
    }
}

SolverStatus FindSets(const SolverRequest& request, CReconciliationSets& found) {
    const auto count = static_cast<int64_t>(request.candidates.size());
    const int64_t largest =
        std::min<int64_t>({request.maximum, SolverRequest::kLargestMaximum, count - 1});
    if (largest < 2 || !std::isfinite(request.difference)) return SolverStatus::Complete;
    std::vector<int32_t> members;
    members.reserve(request.candidates.size());
    for (size_t i = 0; i < request.candidates.size(); ++i) {
        const ReconciliationCandidate& candidate = request.candidates[i];
        // A sum with an infinite amount never comes back from there.
        const bool counts = candidate.direction == ReconciliationCandidate::kOut ||
                            candidate.direction == ReconciliationCandidate::kIn;
        if (IsExcluded(request, i) || (counts && !std::isfinite(candidate.amount))) continue;
        members.push_back(static_cast<int32_t>(i));
    }
    const auto sizes = std::min(static_cast<size_t>(largest), members.size());
    if (sizes < 2) return SolverStatus::Complete;
    return CSubsetSearch(request, std::move(members), sizes, found).Run();
}

}  // namespace

bool ExplainsDifference(std::span<const ReconciliationCandidate> candidates,
                        std::span<const int32_t> members, double difference) {
    double rest = difference;
    for (const int32_t member : members) {
        const ReconciliationCandidate& candidate = candidates[static_cast<size_t>(member)];
        if (candidate.direction == ReconciliationCandidate::kOut) {
            rest -= candidate.amount;
        } else if (candidate.direction == ReconciliationCandidate::kIn) {
            rest += candidate.amount;
        }
    }
    return std::fabs(rest) < kSameAmount;
}

void CReconciliationSets::Add(std::span<const int32_t> members) {
    m_ends.push_back(m_members.size() + members.size());
    try {
        m_members.insert(m_members.end(), members.begin(), members.end());
    } catch (...) {
        m_ends.pop_back();
        throw;
    }
}

void CReconciliationSets::Clear() {
    m_members.clear();
    m_ends.clear();
}

SolverStatus SolveReconciliation(const SolverRequest& request, CReconciliationSets& found) {
    found.Clear();
    SolverStatus status = SolverStatus::Complete;
    try {
        FindSingle(request, found);
        if (found.IsEmpty()) status = FindSets(request, found);
    } catch (const std::bad_alloc&) {
        status = SolverStatus::TooMany;
    }
    if (status == SolverStatus::Cancelled) found.Clear();
    return status;
}

uint64_t CountSubsets(int64_t count, int32_t maximum) {
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    if (count <= 0 || maximum <= 0 || maximum > count) return 0;
    uint64_t total = 0;
    uint64_t binomial = 1;
    for (int32_t size = 1; size <= maximum; ++size) {
        const auto factor = static_cast<uint64_t>(count - size + 1);
        // A product that wrapped around could pass for a small one.
        if (binomial > kMost / factor) return kMost;
        binomial = binomial * factor / static_cast<uint64_t>(size);
        if (total > kMost - binomial) return kMost;
        total += binomial;
    }
    return total;
}

int32_t ReducedMaximum(int64_t count, int32_t maximum) {
    if (CountSubsets(count, maximum) <= kMostSubsets) return maximum;
    int32_t reduced = maximum;
    while (CountSubsets(count, reduced) > kMostSubsets) --reduced;
    return std::max(reduced, kLeastReducedMaximum);
}

}  // namespace quillon
