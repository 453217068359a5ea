// Transfers: two rows that belong together without saying so in a column.

#include <algorithm>
#include <cstdlib>
#include <new>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"

namespace quillon {

namespace {

// Rows that may be sides of transfers: of one date, amount and category.
struct Side {
    const CTransactionEntry* row = nullptr;
    bool comesIn = false;
};

// Two sides that fit together. Less is closer; the paying row is entered first.
struct Pair {
    int64_t apart = 0;
    bool payingIsSecond = false;
    int64_t payingId = kNoRow;
    int64_t receivingId = kNoRow;

    bool operator<(const Pair& other) const {
        return std::tie(apart, payingIsSecond, payingId, receivingId) <
               std::tie(other.apart, other.payingIsSecond, other.payingId, other.receivingId);
    }
};

// More equal rows of one day than this are a stream of payments, among which only near
// ones are looked at.
constexpr size_t kMostSides = 200;

void KeepNearest(std::vector<Side>& sides, int64_t rowId) {
    if (sides.size() <= kMostSides) return;
    const auto far = [rowId](const Side& side) { return std::llabs(side.row->id - rowId); };
    const auto end = sides.begin() + static_cast<std::ptrdiff_t>(kMostSides);
    std::nth_element(sides.begin(), end, sides.end(),
                     [&](const Side& a, const Side& b) { return far(a) < far(b); });
    sides.erase(end, sides.end());
}

std::vector<Pair> PairsByCloseness(const std::vector<Side>& sides) {
    std::vector<Pair> pairs;
    for (const Side& paying : sides) {
        if (paying.comesIn) continue;
        for (const Side& receiving : sides) {
            if (!receiving.comesIn || receiving.row->accountId == paying.row->accountId) continue;
            const int64_t apart = receiving.row->id - paying.row->id;
            pairs.push_back({std::llabs(apart), apart < 0, paying.row->id, receiving.row->id});
        }
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

// The closest are a transfer, then the closest of the others, and so on: a side left alone
// never takes the half of another transfer. 0 when nothing is left for the row.
int64_t PartnerOf(int64_t rowId, const std::vector<Side>& sides) {
    std::set<int64_t> taken;
    for (const Pair& pair : PairsByCloseness(sides)) {
        if (taken.count(pair.payingId) != 0 || taken.count(pair.receivingId) != 0) continue;
        if (pair.payingId == rowId) return pair.receivingId;
        if (pair.receivingId == rowId) return pair.payingId;
        taken.insert({pair.payingId, pair.receivingId});
    }
    return kNoRow;
}

}  // namespace

LedgerStatus CLedger::EnterTransfer(const TransferRequest& request, CTransactionEntry& paying,
                                    CTransactionEntry& receiving) try {
    const CFinanceSection section(m_database);
    CAccountEntry from, to;
    LedgerStatus status = CheckAmount(request.amount);
    if (status == LedgerStatus::Ok) status = ReadAccount(request.fromAccountId, from);
    if (status == LedgerStatus::Ok) status = ReadAccount(request.toAccountId, to);
    if (status != LedgerStatus::Ok) return status;
    if (from.id == to.id) return LedgerStatus::SameAccount;
    if (!from.active || !to.active) return LedgerStatus::AccountClosed;

    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    CTransactionEntry out;
    out.accountId = from.id;
    out.serviceDate = request.date;
    out.check = request.check;
    out.transactionType = TransferType(false, from.accountType);
    out.payeeId = request.payeeId;
    out.categoryId = m_database.FindOrAddCategory(kTransferCategory);
    out.amount = request.amount;
    out.memo = request.memo;
    if (out.categoryId == kNoRow) return LedgerStatus::StoreFailed;
    CTransactionEntry in(out);
    in.accountId = to.id;
    in.check = 0;
    in.transactionType = TransferType(true, to.accountType);
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

CLookup CLedger::FindOtherTransferSide(int64_t transactionId, CTransactionEntry& other) try {
    const CFinanceSection section(m_database);
    CTransactionEntry row;
    const CLookup read = m_database.Read(transactionId, row);
    return read ? FindOtherSide(row, other) : read;
} catch (const std::bad_alloc&) {
    return CLookup::Failed();
}

CLookup CLedger::FindOtherSide(const CTransactionEntry& row, CTransactionEntry& other) {
    if (row.categoryId == kNoRow) return CLookup::None();
    const std::optional<int64_t> transfer = m_database.FindCategoryId(kTransferCategory);
    if (!transfer) return CLookup::Failed();
    if (row.categoryId != *transfer) return CLookup::None();
    COwnedList<CTransactionEntry> alike;
    COwnedList<CAccountEntry> accounts;
    if (!m_database.ListTransactionsAlike(row.serviceDate, row.amount, *transfer, alike)) {
        return CLookup::Failed();
    }
    if (alike.Count() < 2) return CLookup::None();
    if (!m_database.List(accounts)) return CLookup::Failed();
    std::map<int64_t, AccountType> types;
    for (const CAccountEntry& account : accounts) types[account.id] = account.accountType;
    std::vector<Side> sides;
    for (const CTransactionEntry& side : alike) {
        const auto type = types.find(side.accountId);
        if (type == types.end()) continue;
        sides.push_back({&side, BalanceEffect(side.transactionType, 1.0, type->second) > 0});
    }
    KeepNearest(sides, row.id);
    const int64_t partner = PartnerOf(row.id, sides);
    for (const Side& side : sides) {
        if (side.row->id != partner) continue;
        other = *side.row;
        return CLookup::Found();
    }
    return CLookup::None();
}

LedgerStatus CLedger::Oppose(const CTransactionEntry& changed, CTransactionEntry& other,
                             Effects& effects) {
    if (changed.accountId == other.accountId) return LedgerStatus::SameAccount;
    Touched* its = nullptr;
    Touched* others = nullptr;
    LedgerStatus status = Touch(changed.accountId, effects, its);
    if (status == LedgerStatus::Ok) status = Touch(other.accountId, effects, others);
    if (status != LedgerStatus::Ok) return status;
    other.serviceDate = changed.serviceDate;
    other.amount = changed.amount;
    other.categoryId = changed.categoryId;
    other.memo = changed.memo;
    const auto comesIn = [](const CTransactionEntry& row, const Touched& touched) {
        return BalanceEffect(row.transactionType, 1.0, touched.account.accountType) > 0;
    };
    const bool isIncoming = comesIn(changed, *its);
    if (comesIn(other, *others) == isIncoming) {
        other.transactionType = TransferType(!isIncoming, others->account.accountType);
    }
    return LedgerStatus::Ok;
}

}  // namespace quillon
