#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "finance/ledger/AccountRegister.h"

namespace quillon {

// A transaction that may be outstanding: entered here and not yet seen by the bank.
struct ReconciliationCandidate {
    static constexpr int32_t kOut = 0;  // a withdrawal, payment or check
    static constexpr int32_t kIn = 1;   // a deposit; any other direction adds nothing

    const RegisterLine* entry = nullptr;  // not owned; the solver does not look at it
    double amount = 0.0;                  // magnitude, currency units
    int32_t direction = kOut;
    int64_t date = 0;  // ticks, see foundation/CalendarDate.h
};

// Two amounts are the same, and a set explains the difference, below this.
inline constexpr double kSameAmount = 1e-8;

// Whether the candidates of the ascending `members`, if outstanding, make up the whole
// difference between bank and register. Summed in double precision from the difference on,
// in the order of the members; this sum and no other is the verdict on a set.
bool ExplainsDifference(std::span<const ReconciliationCandidate> candidates,
                        std::span<const int32_t> members, double difference);

// Sets of candidate indexes, each ascending, one behind the other.
class CReconciliationSets {
public:
    size_t Count() const { return m_ends.size(); }
    bool IsEmpty() const { return m_ends.empty(); }
    std::span<const int32_t> operator[](size_t set) const {
        const size_t begin = set == 0 ? 0 : m_ends[set - 1];
        return std::span(m_members).subspan(begin, m_ends[set] - begin);
    }
    // What they take, here and as solutions with lists of their own: 1 for each member of
    // each set, and a few for the set.
    size_t Room() const { return m_members.size() + m_ends.size() * kRoomOfASet; }

    // Throws std::bad_alloc, and nothing is added.
    void Add(std::span<const int32_t> members);
    void Clear();

    static constexpr size_t kRoomOfASet = 3;

private:
    std::vector<int32_t> m_members;
    std::vector<size_t> m_ends;
};

enum class SolverStatus {
    Complete,   // every set that there is
    TooMany,    // the first sets in the order of listing; there are more than fit
    Cancelled,  // nothing was found out
};

struct SolverRequest {
    // Sets hold at most this many members whatever is asked for.
    static constexpr int32_t kLargestMaximum = 60;
    // Keeps a search, the solutions and what is printed of them below 512 MiB.
    static constexpr size_t kMostRoom = 5'500'000;

    std::span<const ReconciliationCandidate> candidates;
    double difference = 0.0;  // statement balance minus register balance
    int32_t maximum = 0;      // members of a set
    // The list takes no set by which its Room() would pass this.
    size_t mostRoom = kMostRoom;
    // Candidates in no set, by index; empty for none. They count in n all the same.
    std::vector<bool> excluded{};
    // Told the share done, 0 to 1, some times a second; false ends the search. May be empty.
    std::function<bool(double share)> progress{};
};

// Finds the sets of candidates that explain the difference, in this order and no other:
//
//   1. Of single candidates the last one that does, unless it lies 20,000 days or more
//      before the first candidate.
//   2. When there is none: sets of 2, 3, ... members up to `maximum`, never all candidates.
//      Of two sets with as many members the one whose highest members are higher comes
//      first: as numbers with a bit per candidate they descend.
//
// Sets are found by their sums without trying them all (SubsetSums.h), and each is listed
// or not by ExplainsDifference alone. Time is about the square root of the number of sets,
// and memory does not depend on it.
SolverStatus SolveReconciliation(const SolverRequest& request, CReconciliationSets& found);

// --- the work bound
// Sets that a search over `count` candidates with up to `maximum` members stands for; 0
// when `maximum` is more than `count` or not positive. UINT64_MAX when the number, or a
// product on the way to it, takes more than 64 bits.
uint64_t CountSubsets(int64_t count, int32_t maximum);

inline constexpr uint64_t kMostSubsets = 5'000'000'000;
inline constexpr int32_t kLeastReducedMaximum = 5;

// The largest maximum, not above the given one, that keeps within kMostSubsets; never less
// than kLeastReducedMaximum when it had to be reduced, which may exceed the bound again.
int32_t ReducedMaximum(int64_t count, int32_t maximum);

}  // namespace quillon
