#include "presenters/rules/RuleOutlook.h"

#include <algorithm>
#include <utility>

#include "foundation/Unicode.h"
#include "import/plan/RenamingRules.h"

namespace quillon {

namespace {

bool CountRows(CQuillonDatabaseInterface& database, int64_t payeeId,
               const CWorkspace::WantTransaction& wants, int64_t& count) {
    COwnedList<CTransactionEntry> rows;
    if (!database.ListTransactionsByPayee(payeeId, rows)) return false;
    count = std::count_if(rows.begin(), rows.end(), wants);
    return true;
}

}  // namespace

bool LookAhead(CQuillonDatabaseInterface& database, const CWorkspace::WantTransaction& wants,
               RuleOutlook& outlook) {
    outlook = {};
    CRenamingRules rules;
    COwnedList<CPayeeEntry> payees;
    if (!rules.Load(database) || !database.List(payees)) return false;
    for (const CPayeeEntry& payee : payees) {
        PayeeRenaming renaming;
        renaming.payeeId = payee.id;
        renaming.before = payee.name.ToUtf8();
        renaming.after = rules.Apply(renaming.before);
        if (renaming.after == renaming.before) continue;
        if (!CountRows(database, payee.id, wants, renaming.transactions)) return false;
        if (renaming.transactions == 0) continue;
        outlook.transactions += renaming.transactions;
        outlook.renamings.push_back(std::move(renaming));
    }
    std::stable_sort(outlook.renamings.begin(), outlook.renamings.end(),
                     [](const PayeeRenaming& a, const PayeeRenaming& b) {
                         return CompareIgnoringCase(a.before, b.before) < 0;
                     });
    return true;
}

}  // namespace quillon
