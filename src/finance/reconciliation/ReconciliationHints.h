#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "finance/reconciliation/ReconciliationSolver.h"

namespace quillon {

// Mistakes that would explain a difference between bank and register.
enum class ReconciliationHintKind {
    WrongSide,      // a candidate of half the difference came in instead of out, or out
    Transposed,     // a candidate with two neighbouring digits swapped
    EnteredTwice,   // two lines of one payee and amount a few days apart; one is the difference
    OutsideDays,    // one line before the look-back days is the difference
    AllCandidates,  // all candidates together, a set that the search never tries
};

struct ReconciliationHint {
    ReconciliationHintKind kind;
    std::vector<const RegisterLine*> lines;  // not owned, in register order, at least one
    double rightAmount = 0.0;                // of Transposed: with the digits in their places
    int64_t days = 0;                        // of OutsideDays: as many would include the line
};

struct HintRequest {
    std::span<const RegisterLine> lines;  // the whole register
    // In register order, their entries set; they end where the register does.
    std::span<const ReconciliationCandidate> candidates;
    int64_t startDate = 0;  // candidates are dated from here on
    double difference = 0.0;
};

// At most kMostHintsOfAKind of each kind, the newest first. When solutions were found only
// EnteredTwice says something new about them, so only that is looked for.
inline constexpr size_t kMostHintsOfAKind = 3;
std::vector<ReconciliationHint> FindReconciliationHints(const HintRequest& request,
                                                        bool solutionsFound);

// "wrongSide" and so on, for programs.
const char* KeyOf(ReconciliationHintKind kind);

}  // namespace quillon
