#pragma once

#include <string>
#include <vector>

#include "finance/ledger/Ledger.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

// One line for people: why the ledger in `folder` could not be opened or written, and
// what to do. `detail` is the file concerned, or empty.
std::string DatabaseMessage(DatabaseProblem problem, const std::string& folder,
                            const std::string& detail);

// That these files of indexes, at least one, were made anew.
std::string RebuiltMessage(const std::vector<std::string>& files);

// The same as DatabaseMessage for a read or write that failed while the database was open.
std::string StoreMessage(const CQuillonDatabaseInterface& database);

// Throws CFailure unless the ledger's operation was done.
void RequireDone(LedgerStatus status, const CQuillonDatabaseInterface& database);
// The same for a row that must be there.
void RequireFound(CLookup found, const CQuillonDatabaseInterface& database);
// Throws CFailure when a read or write failed.
void RequireStored(bool done, const CQuillonDatabaseInterface& database);

}  // namespace quillon
