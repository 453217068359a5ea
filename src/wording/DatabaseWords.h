#pragma once

#include <string>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"
#include "wording/Words.h"

namespace quillon {

// One line: why the ledger in `folder` could not be opened or written, and what to do.
// `detail` is the file concerned, or empty.
std::string DatabaseMessage(DatabaseProblem problem, const std::string& folder,
                            const std::string& detail, Medium medium);
// The same for a read or write that failed while the database was open.
std::string StoreMessage(const CQuillonDatabaseInterface& database, Medium medium);

// That these files of indexes, at least one, were made anew.
std::string RebuiltMessage(const std::vector<std::string>& files);

// That what was done so far can no longer be undone.
std::string HistoryLostMessage();

// The tables, or the number of steps, that could not be brought up to date.
std::string IncompleteSchemaText(const SchemaOutcome& schema);

}  // namespace quillon
