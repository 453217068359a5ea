#pragma once

#include <string>
#include <vector>

#include "finance/ledger/Ledger.h"
#include "storage/database/DatabaseManager.h"
#include "storage/journal/Checksums.h"

namespace quillon {

// What an integrity check of the whole ledger found.
struct Verification {
    // A column whose values this version does not know: kept, not shown.
    struct SkippedColumn {
        CKeelString table;
        CKeelString column;
    };
    IntegrityCode code = IntegrityCode::Ok;  // of the tables: the first that is not in order
    std::vector<TableIntegrity> tables;
    std::vector<BalanceMismatch> balances;
    std::vector<PageDamage> pages;
    std::vector<std::string> rebuilt;  // see CDatabaseManager::RebuiltIndexes
    std::vector<SkippedColumn> skipped;

    bool LayoutsAgree() const { return code == IntegrityCode::Ok && balances.empty(); }
    bool IsInOrder() const { return LayoutsAgree() && pages.empty(); }
    // Of everything; balances and pages have no code of their own.
    IntegrityCode Code() const {
        return code == IntegrityCode::Ok && !IsInOrder() ? IntegrityCode::General : code;
    }
};

// Checks every table, index, balance and page. False: a read failed.
[[nodiscard]] bool VerifyLedger(CLedger& ledger, Verification& found);

// Makes anew what follows from the rows: indexes, free room, balances; `repaired` lists the
// balances that were wrong. False: something could not be read or written.
[[nodiscard]] bool RepairLedger(CLedger& ledger, std::vector<BalanceMismatch>& repaired);

// Takes pages that differ from what was written as they are, where nothing else is wrong: there
// is nothing to make them anew from, and the tables agree with them. `accepted` gets what was
// among `found.pages`, which is empty then. False: a write failed.
[[nodiscard]] bool AcceptDamagedPages(CLedger& ledger, Verification& found,
                                      std::vector<PageDamage>& accepted);

}  // namespace quillon
