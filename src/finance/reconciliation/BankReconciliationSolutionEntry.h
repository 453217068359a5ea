#pragma once

#include <unordered_set>
#include <vector>

#include "finance/ledger/AccountRegister.h"
#include "foundation/KeelList.h"

namespace quillon {

// One set of transactions that explains the difference. Refers to lines of the register,
// in register order, and owns none of them.
class CBankReconciliationSolutionEntry : public CEntryBase {
public:
    // Throws std::bad_alloc.
    void Add(const RegisterLine& line) {
        // The list holds any payload; what it holds here is only read.
        m_lines.AddTail(const_cast<RegisterLine*>(&line));
    }

    int32_t Count() const { return m_lines.Count(); }
    const CKeelList& List() const { return m_lines; }
    std::vector<const RegisterLine*> Lines() const;
    // Row identifiers of the transactions.
    std::vector<int64_t> Ids() const;
    bool ContainsAnyOf(const std::unordered_set<int64_t>& ids) const;
    // What the set does to the account, positive into it.
    double Effect() const;

private:
    CKeelList m_lines;
};

}  // namespace quillon
