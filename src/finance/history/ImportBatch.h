#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "finance/history/History.h"
#include "finance/ledger/Ledger.h"

namespace quillon {

// Imports as the history knows them: what each brought, and taking that back. Where nothing else
// is said std::bad_alloc passes through.

struct ImportBatch {
    HistoryAction action;      // its label is the file's name, its subject the account
    int64_t transactions = 0;  // that it entered
    int64_t matched = 0;       // that were there and that it met
    bool takenBack = false;    // by an action that is done
};

// From the oldest to the newest. False: the history is damaged behind the last one.
bool ListImportBatches(const CHistory& history, std::vector<ImportBatch>& batches);

// Rows of the transactions that an import entered or met, those that are gone left out.
HistoryStatus ListBatchRows(CQuillonDatabaseInterface& database, int64_t number,
                            std::vector<int64_t>& rows);

// Which rows of an import go: those that nothing has changed since, or all.
enum class BatchRows { Unchanged, All };

struct BatchTakenBack {
    int64_t removed = 0;        // transactions
    int64_t restored = 0;       // entries that it had met, and that are by themselves again
    std::vector<int64_t> left;  // rows of transactions that were changed since, and stay
    int64_t payees = 0;         // made by it, of no use any more, and so gone
    int64_t categories = 0;
};

// Takes an import back, as one action that can be undone, a few thousand rows a commit. Balances
// follow from the rows that remain.
//
//   Errors  NoSuchAction, NotDone, Damaged; StoreFailed: whole commits stay, and a second call
//           goes on. std::bad_alloc is a StoreFailed.
HistoryStatus TakeBackImport(CLedger& ledger, int64_t number, BatchRows which,
                             BatchTakenBack& result);

// A transaction of an import that somebody deleted by hand.
struct DeletedLine {
    int64_t date = 0;
    double effect = 0.0;  // on its account: negative went out
    int64_t payeeId = 0;
    int64_t fitId = 0;
};
// Calls `visit` for each that belonged to the account, came by an import that the history still
// holds, and whose import was not taken back. Damaged: there may be more, of which nothing is
// known; StoreFailed: they could not be read.
HistoryStatus ForEachDeletedLine(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                                 const std::function<void(const DeletedLine&)>& visit);

}  // namespace quillon
