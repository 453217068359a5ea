// Transfers: two rows that belong together without saying so in a column.

#include <cstdlib>
#include <new>
#include <tuple>
#include <utility>

#include "finance/Balance.h"
#include "finance/Ledger.h"

namespace quillon {

namespace {

bool IsPaying(const CTransactionEntry& row) {
    return row.transactionType == TransactionType::Transfer;
}

// Whether two rows of the same date can be the sides of one transfer.
bool CanBePair(const CTransactionEntry& one, const CTransactionEntry& two) {
    return IsPaying(one) != IsPaying(two) && one.accountId != two.accountId &&
           one.categoryId == two.categoryId && one.serviceDate == two.serviceDate &&
           std::abs(one.amount - two.amount) < kHalfCent;
}

// Less is closer. The paying row is entered first and the receiving one right after it.
std::tuple<bool, bool, int64_t> Distance(const CTransactionEntry& one,
                                         const CTransactionEntry& two) {
    const CTransactionEntry& paying = IsPaying(one) ? one : two;
    const CTransactionEntry& receiving = IsPaying(one) ? two : one;
    const int64_t apart = receiving.id - paying.id;
    return {apart != 1, !(one.memo == two.memo), std::abs(apart)};
}

const CTransactionEntry* Closest(const CTransactionEntry& row,
                                 const COwnedList<CTransactionEntry>& rows) {
    const CTransactionEntry* closest = nullptr;
    for (const CTransactionEntry& candidate : rows) {
        if (!CanBePair(row, candidate)) continue;
        if (!closest || Distance(row, candidate) < Distance(row, *closest)) closest = &candidate;
    }
    return closest;
}

}  // namespace

LedgerStatus CLedger::EnterTransfer(const TransferRequest& request, CTransactionEntry& paying,
                                    CTransactionEntry& receiving) try {
    if (CheckAmount(request.amount) != LedgerStatus::Ok) return LedgerStatus::BadAmount;
    CAccountEntry from, to;
    LedgerStatus status = ReadAccount(request.fromAccountId, from);
    if (status == LedgerStatus::Ok) status = ReadAccount(request.toAccountId, to);
    if (status != LedgerStatus::Ok) return status;
    if (from.id == to.id) return LedgerStatus::SameAccount;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    CTransactionEntry out;
    out.accountId = from.id;
    out.serviceDate = request.date;
    out.check = request.check;
    out.transactionType = TransactionType::Transfer;
    out.payeeId = request.payeeId;
    out.categoryId = m_database.FindOrAddCategory(kTransferCategory);
    out.amount = request.amount;
    out.memo = request.memo;
    if (out.categoryId == kNoRow) return LedgerStatus::StoreFailed;
    CTransactionEntry in(out);
    in.accountId = to.id;
    in.check = 0;
    in.transactionType =
        IsDebtAccount(to.accountType) ? TransactionType::Payment : TransactionType::Deposit;
    status = EnterTransaction(out);
    if (status == LedgerStatus::Ok) status = EnterTransaction(in);
    if (status == LedgerStatus::Ok && !batch.Commit()) status = LedgerStatus::StoreFailed;
    if (status != LedgerStatus::Ok) return status;
    paying = std::move(out);
    receiving = std::move(in);
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

bool CLedger::FindOtherTransferSide(int64_t transactionId, CTransactionEntry& other) try {
    CTransactionEntry row;
    bool found = false;
    return ReadTransaction(transactionId, row) == LedgerStatus::Ok &&
           FindOtherSide(row, other, found) == LedgerStatus::Ok && found;
} catch (const std::bad_alloc&) {
    return false;
}

LedgerStatus CLedger::FindOtherSide(const CTransactionEntry& row, CTransactionEntry& other,
                                    bool& found) try {
    found = false;
    if (row.categoryId == kNoRow) return LedgerStatus::Ok;
    CCategoryEntry transfer;
    if (!m_database.FindCategoryByName(kTransferCategory, transfer)) {
        return m_database.FoundNone() ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
    }
    if (row.categoryId != transfer.id) return LedgerStatus::Ok;
    COwnedList<CTransactionEntry> sameDay;
    if (!m_database.ListAllTransactions(row.serviceDate, row.serviceDate, sameDay)) {
        return LedgerStatus::StoreFailed;
    }
    const CTransactionEntry* closest = Closest(row, sameDay);
    if (!closest) return LedgerStatus::Ok;
    // Of two equal transfers on one day, the row left alone must not take the other's half.
    const CTransactionEntry* back = Closest(*closest, sameDay);
    if (!back || back->id != row.id) return LedgerStatus::Ok;
    other = *closest;
    found = true;
    return LedgerStatus::Ok;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

}  // namespace quillon
