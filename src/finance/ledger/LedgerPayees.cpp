// Payees: who is paid and who pays.

#include <new>

#include "finance/ledger/Ledger.h"

namespace quillon {

namespace {

// The rows of a payee.
struct PayeeRows {
    COwnedList<CTransactionEntry> transactions;
    COwnedList<CMemorizedTransactionEntry> memorized;

    int64_t Count() const { return int64_t{transactions.Count()} + memorized.Count(); }

    bool Read(CQuillonDatabaseInterface& database, int64_t payeeId) {
        return database.ListTransactionsByPayee(payeeId, transactions) &&
               database.ListMemorizedTransactionsByPayee(payeeId, memorized);
    }

    bool MoveTo(CQuillonDatabaseInterface& database, int64_t payeeId) {
        for (const CTransactionEntry& row : transactions) {
            if (!database.UpdateTransactionPayee(row.id, payeeId)) return false;
        }
        for (CMemorizedTransactionEntry& row : memorized) {
            row.payeeId = payeeId;
            if (!database.Update(row)) return false;
        }
        return true;
    }
};

LedgerStatus ReadPayee(CQuillonDatabaseInterface& database, int64_t payeeId, CPayeeEntry& payee) {
    const CLookup read = database.Read(payeeId, payee);
    if (read.HasFailed()) return LedgerStatus::StoreFailed;
    return read ? LedgerStatus::Ok : LedgerStatus::NoSuchPayee;
}

}  // namespace

LedgerStatus CLedger::AddPayee(std::string_view name, CPayeeEntry& payee) try {
    const CFinanceSection section(m_database);
    const LedgerStatus status = CheckName(name, m_database.FindPayeeId(name), kNoRow);
    if (status != LedgerStatus::Ok) return status;
    CPayeeEntry added;
    added.name = name;
    if (!m_database.Add(added)) return LedgerStatus::StoreFailed;
    payee = added;
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RenamePayee(int64_t payeeId, std::string_view name) try {
    const CFinanceSection section(m_database);
    CPayeeEntry payee;
    LedgerStatus status = ReadPayee(m_database, payeeId, payee);
    if (status == LedgerStatus::Ok) {
        status = CheckName(name, m_database.FindPayeeId(name), payeeId);
    }
    if (status != LedgerStatus::Ok) return status;
    return m_database.RenamePayee(payeeId, name) ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

LedgerStatus CLedger::RemovePayee(int64_t payeeId, int64_t moveTo) try {
    const CFinanceSection section(m_database);
    CPayeeEntry payee;
    LedgerStatus status = ReadPayee(m_database, payeeId, payee);
    if (status == LedgerStatus::Ok && moveTo == payeeId) status = LedgerStatus::SameTarget;
    if (status == LedgerStatus::Ok && moveTo != kNoRow) {
        status = ReadPayee(m_database, moveTo, payee);
    }
    if (status != LedgerStatus::Ok) return status;
    PayeeRows rows;
    if (!rows.Read(m_database, payeeId)) return LedgerStatus::StoreFailed;
    if (moveTo == kNoRow && rows.Count() > 0) return LedgerStatus::StillUsed;

    CFinanceBatch batch(m_database);
    const bool removed = batch.Begun() && rows.MoveTo(m_database, moveTo) &&
                         m_database.Delete<CPayeeEntry>(payeeId) && batch.Commit();
    return removed ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

bool CLedger::CountPayeeUses(int64_t payeeId, int64_t& uses) try {
    const CFinanceSection section(m_database);
    PayeeRows rows;
    if (!rows.Read(m_database, payeeId)) return false;
    uses = rows.Count();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace quillon
