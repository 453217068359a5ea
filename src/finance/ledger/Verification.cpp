#include "finance/ledger/Verification.h"

#include "foundation/OutOfMemory.h"

namespace quillon {

namespace {

void ListSkippedColumns(const CDatabaseManager& store, Verification& found) {
    for (const auto& table : store.Tables()) {
        for (const CTableColumn& column : table->Columns()) {
            if (IsColumnType(column.type)) continue;
            found.skipped.push_back({table->Name(), column.name});
        }
    }
}

}  // namespace

bool VerifyLedger(CLedger& ledger, Verification& found) {
    return FalseWhenOutOfMemory([&] {
        const CFinanceSection section(ledger.Database());
        CDatabaseManager& store = ledger.Database().Store();
        found = Verification();
        found.code = store.Verify(found.tables);
        if (!ledger.VerifyBalances(found.balances) || !store.VerifyPages(found.pages)) return false;
        found.rebuilt = store.RebuiltIndexes();
        ListSkippedColumns(store, found);
        return true;
    });
}

bool RepairLedger(CLedger& ledger, std::vector<BalanceMismatch>& repaired) {
    const CFinanceSection section(ledger.Database());
    CDatabaseManager& store = ledger.Database().Store();
    return store.RebuildIndexes() && store.RemoveDeleted() && ledger.RepairBalances(repaired) &&
           store.Flush();
}

bool AcceptDamagedPages(CLedger& ledger, Verification& found, std::vector<PageDamage>& accepted) {
    accepted.clear();
    if (found.pages.empty() || !found.LayoutsAgree()) return true;
    if (!ledger.Database().Store().AcceptPages()) return false;
    accepted.swap(found.pages);
    return true;
}

}  // namespace quillon
