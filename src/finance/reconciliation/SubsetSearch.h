#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "finance/reconciliation/ReconciliationSolver.h"
#include "finance/reconciliation/SubsetSums.h"

namespace quillon {

// The search for sets of two and more.
//
// Sets are taken apart into their highest members, which are walked from the highest
// downward, and the others, which are looked up by their sum. For every size r there is a
// table of the sums of r of the first reach[r] candidates; a walk goes on until the rest
// of the set is in a table. That is meeting in the middle, with the middle wherever it is
// cheapest: between halves of the candidates for few of them and large sets, between
// members for many candidates and small sets. Since both parts are walked from the highest
// downward, sets come out in the order of listing.
class CSubsetSearch {
public:
    // `members`: the candidates that may be in a set, ascending; at least 2. Sets have 2 to
    // `largest` (at most members.size()) of them. `found` grows; all must outlive this.
    CSubsetSearch(const SolverRequest& request, std::vector<int32_t> members, size_t largest,
                  CReconciliationSets& found);
    SolverStatus Run();

private:
    // The steps of a walk for each count of candidates and size of the rest.
    using Steps = std::vector<std::vector<uint64_t>>;  // [size][count]

    std::vector<size_t> ReachWithin(uint64_t budget) const;
    Steps CountSteps(const std::vector<size_t>& reach) const;
    void ChooseReach();
    bool MakeTables();
    void NoteBounds();

    bool Walk(size_t count, size_t size, int64_t target);
    bool LookUp(size_t count, size_t size, int64_t target);
    bool CanReach(size_t count, size_t size, int64_t target) const {
        return target + m_whole.window >= m_least[size][count] &&
               target - m_whole.window <= m_most[size][count];
    }
    // `rank` of `size` lower members behind the walked ones.
    bool Record(size_t size, uint32_t rank);
    // False: the user has had enough.
    bool Did(uint64_t steps);

    const SolverRequest& m_request;
    const std::vector<int32_t> m_members;
    const size_t m_largest;
    CReconciliationSets& m_found;
    const CBinomials m_binomials;
    WholeAmounts m_whole;
    std::vector<size_t> m_reach;                // by size
    Steps m_steps;                              // of m_reach
    std::vector<CSubsetSums> m_tables;          // by size
    std::vector<std::vector<int64_t>> m_least;  // sum of [size] of the first [count]
    std::vector<std::vector<int64_t>> m_most;
    std::vector<int32_t> m_walked;  // members, descending
    std::vector<int32_t> m_set;     // room to work in
    std::vector<uint32_t> m_ranks;  // room to work in
    double m_done = 0.0;            // steps
    double m_total = 0.0;
    uint64_t m_untilReport = 0;
    SolverStatus m_status = SolverStatus::Complete;
};

}  // namespace quillon
