#include "finance/reconciliation/BankReconciliationSolutionEntry.h"

#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

template <class Visit>
void ForEachLine(const CKeelList& list, Visit visit) {
    for (const CKeelListElement* element = list.Head(); element; element = element->Next()) {
        if (!visit(*static_cast<const RegisterLine*>(element->Payload()))) return;
    }
}

}  // namespace

std::vector<const RegisterLine*> CBankReconciliationSolutionEntry::Lines() const {
    std::vector<const RegisterLine*> lines;
    lines.reserve(static_cast<size_t>(Count()));
    ForEachLine(m_lines, [&](const RegisterLine& line) {
        lines.push_back(&line);
        return true;
    });
    return lines;
}

std::vector<int64_t> CBankReconciliationSolutionEntry::Ids() const {
    std::vector<int64_t> ids;
    ids.reserve(static_cast<size_t>(Count()));
    ForEachLine(m_lines, [&](const RegisterLine& line) {
        ids.push_back(line.row.id);
        return true;
    });
    return ids;
}

bool CBankReconciliationSolutionEntry::ContainsAnyOf(const std::unordered_set<int64_t>& ids) const {
    bool found = false;
    ForEachLine(m_lines, [&](const RegisterLine& line) {
        found = ids.contains(line.row.id);
        return !found;
    });
    return found;
}

double CBankReconciliationSolutionEntry::Effect() const {
    CMoneySum sum;
    ForEachLine(m_lines, [&](const RegisterLine& line) {
        sum.Add(line.effect);
        return true;
    });
    return sum.Value();
}

}  // namespace quillon
