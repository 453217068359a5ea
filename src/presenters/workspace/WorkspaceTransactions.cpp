// Changes of transactions.

#include <algorithm>
#include <utility>

#include "presenters/workspace/WorkspaceWork.h"
#include "wording/Words.h"

namespace quillon {

namespace {

std::string LabelOf(const char* verb, size_t count, const std::string& rest = {}) {
    return std::string(verb) + ' ' +
           Counted(static_cast<int64_t>(count), "transaction", "transactions") + rest;
}

// As a label that takes no memory before it is asked for.
auto Plain(const char* label) {
    return [label] { return label; };
}

}  // namespace

LedgerStatus CWorkspace::ReadRow(int64_t id, CTransactionEntry& row) {
    const CLookup read = m_database.Read(id, row);
    if (read.HasFailed()) return LedgerStatus::StoreFailed;
    return read ? LedgerStatus::Ok : LedgerStatus::NoSuchTransaction;
}

LedgerStatus CWorkspace::MakeNames(const NewNames& names, int64_t& payeeId, int64_t& categoryId,
                                   ChangeNotice& notice) {
    bool added = false;
    if (!names.payee.empty()) {
        payeeId = m_database.FindOrAddPayee(names.payee, &added);
        if (payeeId == kNoRow) return LedgerStatus::StoreFailed;
        notice.payeeTable |= added;
    }
    if (!names.category.empty()) {
        categoryId = m_database.FindOrAddCategory(names.category, &added);
        if (categoryId == kNoRow) return LedgerStatus::StoreFailed;
        notice.categoryTable |= added;
    }
    return LedgerStatus::Ok;
}

LedgerStatus CWorkspace::EnterTransaction(CTransactionEntry& transaction, const NewNames& names,
                                          const std::string& label) {
    CTransactionEntry entered;
    const LedgerStatus done = Perform(label, Plain("Enter transaction"), [&](ChangeNotice& notice) {
        entered = transaction;
        LedgerStatus status = MakeNames(names, entered.payeeId, entered.categoryId, notice);
        if (status == LedgerStatus::Ok) status = m_ledger.EnterTransaction(entered);
        if (status == LedgerStatus::Ok) notice.AddRow(RowChange::Added, entered);
        return status;
    });
    if (done == LedgerStatus::Ok) transaction = std::move(entered);
    return done;
}

LedgerStatus CWorkspace::ChangeTransaction(CTransactionEntry& wanted, TransferSides sides,
                                           const NewNames& names, EffectOnMove effect,
                                           const std::string& label) {
    CTransactionEntry changed;
    const LedgerStatus done =
        Perform(label, Plain("Change transaction"), [&](ChangeNotice& notice) {
            CTransactionEntry old;
            CTransactionEntry other;
            changed = wanted;
            LedgerStatus status = ReadRow(changed.id, old);
            if (status != LedgerStatus::Ok) return status;
            CLookup both = CLookup::None();
            if (sides == TransferSides::Both) both = m_ledger.FindOtherTransferSide(old.id, other);
            if (both.HasFailed()) return LedgerStatus::StoreFailed;
            status = MakeNames(names, changed.payeeId, changed.categoryId, notice);
            if (status == LedgerStatus::Ok) {
                status = m_ledger.ChangeTransaction(changed, sides, effect);
            }
            if (status != LedgerStatus::Ok) return status;
            notice.AddRow(RowChange::Changed, changed, old.accountId);
            if (both) notice.AddRow(RowChange::Changed, other);
            return status;
        });
    if (done == LedgerStatus::Ok) wanted = std::move(changed);
    return done;
}

LedgerStatus CWorkspace::RemoveRow(int64_t id, TransferSides sides, ChangeNotice& notice) {
    // It went with the other side of its transfer.
    const auto isGone = [id](const RowNotice& row) { return row.row == id; };
    if (sides == TransferSides::Both &&
        std::any_of(notice.rows.begin(), notice.rows.end(), isGone)) {
        return LedgerStatus::Ok;
    }
    CTransactionEntry row;
    CTransactionEntry other;
    LedgerStatus status = ReadRow(id, row);
    if (status != LedgerStatus::Ok) return status;
    CLookup both = CLookup::None();
    if (sides == TransferSides::Both) both = m_ledger.FindOtherTransferSide(id, other);
    if (both.HasFailed()) return LedgerStatus::StoreFailed;
    status = m_ledger.RemoveTransaction(id, sides);
    if (status != LedgerStatus::Ok) return status;
    notice.AddRow(RowChange::Removed, row);
    if (both) notice.AddRow(RowChange::Removed, other);
    return LedgerStatus::Ok;
}

LedgerStatus CWorkspace::RemoveTransactions(std::span<const int64_t> rows, TransferSides sides,
                                            const std::string& label) {
    const auto own = [&] { return LabelOf("Delete", rows.size()); };
    return Perform(label, own, [&](ChangeNotice& notice) {
        for (const int64_t id : rows) {
            const LedgerStatus status = RemoveRow(id, sides, notice);
            if (status != LedgerStatus::Ok) return status;
        }
        return LedgerStatus::Ok;
    });
}

LedgerStatus CWorkspace::EnterTransfer(const TransferRequest& request, CTransactionEntry& paying,
                                       CTransactionEntry& receiving, const NewNames& names,
                                       const std::string& label) {
    CTransactionEntry out;
    CTransactionEntry in;
    const LedgerStatus done = Perform(label, Plain("Transfer funds"), [&](ChangeNotice& notice) {
        TransferRequest made(request);
        int64_t category = kNoRow;  // a transfer has its own
        LedgerStatus status = MakeNames({names.payee, {}}, made.payeeId, category, notice);
        const std::optional<int64_t> known = m_database.FindCategoryId(kTransferCategory);
        if (status == LedgerStatus::Ok) status = m_ledger.EnterTransfer(made, out, in);
        if (status != LedgerStatus::Ok) return status;
        notice.categoryTable |= !known || *known == kNoRow;
        notice.AddRow(RowChange::Added, out);
        notice.AddRow(RowChange::Added, in);
        return LedgerStatus::Ok;
    });
    if (done != LedgerStatus::Ok) return done;
    paying = std::move(out);
    receiving = std::move(in);
    return done;
}

LedgerStatus CWorkspace::AssignCategory(std::span<const int64_t> rows, int64_t categoryId,
                                        const std::string& label) {
    CCategoryEntry category;
    if (categoryId != kNoRow) {
        const CLookup read = m_database.Read(categoryId, category);
        if (read.HasFailed()) return LedgerStatus::StoreFailed;
        if (!read) return LedgerStatus::NoSuchCategory;
    }
    const auto own = [&] {
        if (categoryId == kNoRow) return LabelOf("Clear the category of", rows.size());
        return LabelOf("File", rows.size(), " under '" + category.name.ToUtf8() + "'");
    };
    return ChangeEach(rows, label, own, [&](CTransactionEntry& row) {
        return m_database.UpdateTransactionCategory(row.id, categoryId) ? LedgerStatus::Ok
                                                                        : LedgerStatus::StoreFailed;
    });
}

LedgerStatus CWorkspace::AssignPayee(std::span<const int64_t> rows, int64_t payeeId,
                                     const std::string& label) {
    CPayeeEntry payee;
    if (payeeId != kNoRow) {
        const CLookup read = m_database.Read(payeeId, payee);
        if (read.HasFailed()) return LedgerStatus::StoreFailed;
        if (!read) return LedgerStatus::NoSuchPayee;
    }
    const auto own = [&] {
        if (payeeId == kNoRow) return LabelOf("Clear the payee of", rows.size());
        return LabelOf("Give", rows.size(), " the payee '" + payee.name.ToUtf8() + "'");
    };
    return ChangeEach(rows, label, own, [&](CTransactionEntry& row) {
        return m_database.UpdateTransactionPayee(row.id, payeeId) ? LedgerStatus::Ok
                                                                  : LedgerStatus::StoreFailed;
    });
}

LedgerStatus CWorkspace::MoveToAccount(std::span<const int64_t> rows, int64_t accountId,
                                       const std::string& label) {
    const auto own = [&] {
        return LabelOf("Move", rows.size(), " to '" + Names().Account(accountId) + "'");
    };
    return ChangeEach(rows, label, own, [&](CTransactionEntry& row) {
        row.accountId = accountId;
        return m_ledger.ChangeTransaction(row);
    });
}

}  // namespace quillon
