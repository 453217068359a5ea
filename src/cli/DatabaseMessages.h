#pragma once

#include <string>

#include "finance/ledger/Ledger.h"
#include "wording/DatabaseWords.h"
#include "wording/LedgerWords.h"

namespace quillon {

// Throws CFailure unless the ledger's operation was done.
void RequireDone(LedgerStatus status, const CQuillonDatabaseInterface& database);
// The same for the row of a name.
void RequireDone(LedgerStatus status, const CQuillonDatabaseInterface& database,
                 const NameTrouble& trouble);
// The same for a row that must be there.
void RequireFound(CLookup found, const CQuillonDatabaseInterface& database);
// Throws CFailure when a read or write failed.
void RequireStored(bool done, const CQuillonDatabaseInterface& database);

}  // namespace quillon
