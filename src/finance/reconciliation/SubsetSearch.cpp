#include "finance/reconciliation/SubsetSearch.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace quillon {

namespace {

// Sums in all tables together: some 24 bytes each while they are made.
constexpr uint64_t kMostSums = 6'000'000;
// What making and sorting a sum costs, in steps of a walk.
constexpr uint64_t kStepsPerSum = 4;
constexpr uint64_t kStepsPerReport = 1 << 18;

uint64_t Plus(uint64_t a, uint64_t b) {
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    return a > kMost - b ? kMost : a + b;
}

std::vector<double> EffectsOf(const SolverRequest& request, const std::vector<int32_t>& members) {
    std::vector<double> effects;
    effects.reserve(members.size());
    for (const int32_t member : members) {
        const auto& candidate = request.candidates[static_cast<size_t>(member)];
        const bool out = candidate.direction == ReconciliationCandidate::kOut;
        const bool in = candidate.direction == ReconciliationCandidate::kIn;
        effects.push_back(out ? -candidate.amount : in ? candidate.amount : 0.0);
    }
    return effects;
}

}  // namespace

CSubsetSearch::CSubsetSearch(const SolverRequest& request, std::vector<int32_t> members,
                             size_t largest, CReconciliationSets& found)
    : m_request(request),
      m_members(std::move(members)),
      m_largest(largest),
      m_found(found),
      m_binomials(m_members.size(), largest) {
    m_whole = WholeAmounts::From(EffectsOf(request, m_members), -request.difference, m_largest);
}

SolverStatus CSubsetSearch::Run() {
    ChooseReach();
    NoteBounds();
    if (!MakeTables()) return m_status;
    for (size_t size = 2; size <= m_largest; ++size) {
        if (!Walk(m_members.size(), size, m_whole.target)) return m_status;
    }
    return m_status;
}

// --- preparing

// How far each table gets with at most `budget` sums.
std::vector<size_t> CSubsetSearch::ReachWithin(uint64_t budget) const {
    std::vector<size_t> reach;
    reach.reserve(m_largest + 1);
    for (size_t size = 0; size <= m_largest; ++size) {
        const auto row = m_binomials.Row(size);
        const auto beyond = std::upper_bound(row.begin(), row.end(), budget);
        reach.push_back(static_cast<size_t>(beyond - row.begin()) - 1);
    }
    return reach;
}

CSubsetSearch::Steps CSubsetSearch::CountSteps(const std::vector<size_t>& reach) const {
    Steps steps(m_largest + 1, std::vector<uint64_t>(m_members.size() + 1, 1));
    for (size_t size = 1; size <= m_largest; ++size) {
        for (size_t count = reach[size] + 1; count <= m_members.size(); ++count) {
            steps[size][count] = Plus(steps[size][count - 1], steps[size - 1][count - 1]);
        }
    }
    return steps;
}

void CSubsetSearch::ChooseReach() {
    uint64_t cheapest = std::numeric_limits<uint64_t>::max();
    for (uint64_t budget = 16; budget <= kMostSums; budget *= 2) {
        const std::vector<size_t> reach = ReachWithin(budget);
        uint64_t sums = 0;
        for (size_t size = 0; size <= m_largest; ++size) {
            sums += m_binomials(reach[size], size);
        }
        if (sums > kMostSums && !m_reach.empty()) break;
        const Steps steps = CountSteps(reach);
        uint64_t cost = sums * kStepsPerSum;
        for (size_t size = 2; size <= m_largest; ++size) {
            cost = Plus(cost, steps[size][m_members.size()]);
        }
        if (cost >= cheapest && !m_reach.empty()) continue;
        cheapest = cost;
        m_reach = reach;
    }
    m_steps = CountSteps(m_reach);
    m_total = static_cast<double>(cheapest);
}

// Sums by rank: the subsets with the highest member p are those of one member fewer out of
// the first p, in their order, and p.
bool CSubsetSearch::MakeTables() {
    m_tables.reserve(m_largest + 1);
    std::vector<int64_t> smaller{0};
    m_tables.emplace_back(smaller);
    for (size_t size = 1; size <= m_largest; ++size) {
        std::vector<int64_t> sums;
        sums.reserve(static_cast<size_t>(m_binomials(m_reach[size], size)));
        for (size_t highest = size - 1; highest < m_reach[size]; ++highest) {
            const auto lower = static_cast<size_t>(m_binomials(highest, size - 1));
            for (size_t rank = 0; rank < lower; ++rank) {
                sums.push_back(smaller[rank] + m_whole.values[highest]);
            }
        }
        m_tables.emplace_back(sums);
        if (!Did(sums.size() * kStepsPerSum)) return false;
        smaller = std::move(sums);
    }
    return true;
}

// The least and the most that so many of the first amounts can add up to. Where there are
// fewer amounts than that, nothing reaches.
void CSubsetSearch::NoteBounds() {
    constexpr int64_t kFar = int64_t{1} << 62;
    const size_t counts = m_members.size() + 1;
    m_least.assign(m_largest + 1, std::vector<int64_t>(counts, kFar));
    m_most.assign(m_largest + 1, std::vector<int64_t>(counts, -kFar));
    std::vector<int64_t> ascending;  // the largest few and the smallest few seen so far
    std::vector<int64_t> descending;
    const auto insert = [this](std::vector<int64_t>& few, int64_t value, auto before) {
        few.insert(std::upper_bound(few.begin(), few.end(), value, before), value);
        if (few.size() > m_largest) few.pop_back();
    };
    for (size_t count = 0; count < counts; ++count) {
        if (count > 0) {
            insert(ascending, m_whole.values[count - 1], std::less<>());
            insert(descending, m_whole.values[count - 1], std::greater<>());
        }
        int64_t least = 0;
        int64_t most = 0;
        m_least[0][count] = m_most[0][count] = 0;
        for (size_t size = 1; size <= ascending.size(); ++size) {
            m_least[size][count] = least += ascending[size - 1];
            m_most[size][count] = most += descending[size - 1];
        }
    }
}

// --- walking

// The sets of `size` of the first `count` members.
bool CSubsetSearch::Walk(size_t count, size_t size, int64_t target) {
    while (count > m_reach[size]) {
        if (!CanReach(count, size, target)) return Did(m_steps[size][count]);
        --count;
        m_walked.push_back(m_members[count]);
        const bool goOn = Walk(count, size - 1, target - m_whole.values[count]);
        m_walked.pop_back();
        if (!goOn) return false;
    }
    return LookUp(count, size, target);
}

bool CSubsetSearch::LookUp(size_t count, size_t size, int64_t target) {
    const uint64_t limit = m_binomials(count, size);
    const auto record = [this, size](uint32_t rank) { return Record(size, rank); };
    const CSubsetSums& table = m_tables[size];
    const bool goOn = m_whole.window == 0
                          ? table.ForEachOf(target, limit, record)
                          : table.ForEachWithin(target, m_whole.window, limit, m_ranks, record);
    return goOn && Did(1);
}

bool CSubsetSearch::Record(size_t size, uint32_t rank) {
    m_set.assign(m_walked.begin(), m_walked.end());
    uint64_t rest = rank;
    for (size_t left = size; left > 0; --left) {
        // The highest member is the last one with no more subsets before it than the rank.
        const auto row = m_binomials.Row(left);
        const auto beyond = std::upper_bound(row.begin(), row.end(), rest);
        const auto member = static_cast<size_t>(beyond - row.begin()) - 1;
        rest -= row[member];
        m_set.push_back(m_members[member]);
    }
    std::reverse(m_set.begin(), m_set.end());
    if (!ExplainsDifference(m_request.candidates, m_set, m_request.difference)) return true;
    if (m_found.Room() + m_set.size() + CReconciliationSets::kRoomOfASet > m_request.mostRoom) {
        m_status = SolverStatus::TooMany;
        return false;
    }
    m_found.Add(m_set);
    return true;
}

bool CSubsetSearch::Did(uint64_t steps) {
    m_done += static_cast<double>(steps);
    m_untilReport += steps;
    if (m_untilReport < kStepsPerReport || !m_request.progress) return true;
    m_untilReport = 0;
    if (m_request.progress(std::min(m_done / m_total, 1.0))) return true;
    m_status = SolverStatus::Cancelled;
    return false;
}

}  // namespace quillon
