#pragma once

#include <cstdlib>

namespace quillon {

// With QUILLON_TEST_REOPEN in the environment the fixtures of store and ledger close their
// folder and open it again between any two steps of a test, so that whatever a step leaves
// in memory alone is missed by the next.
inline bool ReopensBetweenSteps() {
    static const bool reopens = std::getenv("QUILLON_TEST_REOPEN") != nullptr;
    return reopens;
}

}  // namespace quillon
