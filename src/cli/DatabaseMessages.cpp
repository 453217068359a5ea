#include "cli/DatabaseMessages.h"

#include "cli/terminal/Failure.h"

namespace quillon {

void RequireDone(LedgerStatus status, const CQuillonDatabaseInterface& database) {
    if (status == LedgerStatus::Ok) return;
    RequireStored(status != LedgerStatus::StoreFailed, database);
    throw CFailure(LedgerMessage(status, Medium::Terminal));
}

void RequireDone(LedgerStatus status, const CQuillonDatabaseInterface& database,
                 const NameTrouble& trouble) {
    if (status == LedgerStatus::Ok) return;
    RequireStored(status != LedgerStatus::StoreFailed, database);
    throw CFailure(NameMessage(status, trouble, Medium::Terminal));
}

void RequireFound(CLookup found, const CQuillonDatabaseInterface& database) {
    RequireStored(static_cast<bool>(found), database);
}

void RequireStored(bool done, const CQuillonDatabaseInterface& database) {
    if (!done) throw CFailure(StoreMessage(database, Medium::Terminal));
}

}  // namespace quillon
