#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "import/plan/PlanNames.h"

namespace quillon {

class CQuillonDatabaseInterface;

// Whether a payee of a plan is one of the ledger's, or one name is within the other, ignoring
// case. An empty name is like none.
//
//   Memory     The folded names that were asked about, each once.
//   Errors     Failed(): a payee could not be read, and the answers mean nothing.
//              std::bad_alloc passes through.
//   Ownership  Borrows both.
class CPayeeLikeness {
public:
    CPayeeLikeness(CQuillonDatabaseInterface& database, const CPlanNames& names)
        : m_database(database), m_names(names) {}

    // `number`: of the plan's; `payee`: a row.
    bool AreAlike(uint32_t number, int64_t payee);
    bool Failed() const { return m_failed; }

private:
    struct Folded {
        std::string text;
        uint64_t pairs = 0;  // a bit for each two bytes that follow each other
    };
    static Folded Fold(std::string_view name);
    static bool IsWithin(const Folded& part, const Folded& whole);
    const Folded& OfPlan(uint32_t number);
    const Folded& OfLedger(int64_t payee);

    CQuillonDatabaseInterface& m_database;
    const CPlanNames& m_names;
    std::unordered_map<uint32_t, Folded> m_ofPlan;   // by name
    std::unordered_map<int64_t, Folded> m_ofLedger;  // by row
    bool m_failed = false;
};

}  // namespace quillon
