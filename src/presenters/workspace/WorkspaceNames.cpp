// Changes of accounts, categories and payees.

#include <utility>

#include "presenters/workspace/WorkspaceWork.h"
#include "wording/Words.h"

namespace quillon {

namespace {

// "Rename payee 'Grocer'", made when it is asked for.
template <class Name>
auto Named(const char* action, const Name& name) {
    return [action, &name] { return action + (' ' + Quoted(std::string(name))); };
}

}  // namespace

LedgerStatus CWorkspace::OpenAccount(CAccountEntry& account, double openingBalance, int64_t date,
                                     const std::string& label) {
    CAccountEntry opened;
    const auto own = [&] { return "New account " + Quoted(account.name.ToUtf8()); };
    const LedgerStatus done = Perform(label, own, [&](ChangeNotice& notice) {
        opened = account;
        const LedgerStatus status = m_ledger.OpenAccount(opened, openingBalance, date);
        if (status != LedgerStatus::Ok) return status;
        COwnedList<CTransactionEntry> rows;
        if (!m_database.ListTransactionsByAccount(opened.id, rows)) {
            return LedgerStatus::StoreFailed;
        }
        for (const CTransactionEntry& row : rows) notice.AddRow(RowChange::Added, row);
        notice.accountTable = true;
        notice.categoryTable = !rows.IsEmpty();  // "Adjustment" may be new
        notice.AddAccount(opened.id);
        return LedgerStatus::Ok;
    });
    if (done == LedgerStatus::Ok) account = std::move(opened);
    return done;
}

LedgerStatus CWorkspace::ChangeAccount(const CAccountEntry& account, const std::string& label) {
    const auto own = [&] { return "Change account " + Quoted(account.name.ToUtf8()); };
    return Perform(label, own, [&](ChangeNotice& notice) {
        const LedgerStatus status = m_ledger.ChangeAccount(account);
        notice.accountTable = true;
        notice.AddAccount(account.id);
        return status;
    });
}

LedgerStatus CWorkspace::SetAccountOpen(int64_t accountId, bool open, const std::string& label) {
    const auto own = Named(open ? "Reopen account" : "Close account", Names().Account(accountId));
    return Perform(label, own, [&](ChangeNotice& notice) {
        const LedgerStatus status = m_ledger.SetAccountOpen(accountId, open);
        notice.accountTable = true;
        notice.AddAccount(accountId);
        return status;
    });
}

// The rows that a removed name leaves to another one.
void CWorkspace::NoteRowsFiled(const COwnedList<CTransactionEntry>& rows, ChangeNotice& notice) {
    for (const CTransactionEntry& row : rows) notice.AddRow(RowChange::Changed, row);
}

LedgerStatus CWorkspace::AddCategory(std::string_view name, CCategoryEntry& category,
                                     const std::string& label) {
    return Perform(label, Named("New category", name), [&](ChangeNotice& notice) {
        notice.categoryTable = true;
        return m_ledger.AddCategory(name, category);
    });
}

LedgerStatus CWorkspace::RenameCategory(int64_t categoryId, std::string_view name,
                                        const std::string& label) {
    const auto own = Named("Rename category", Names().Category(categoryId));
    return Perform(label, own, [&](ChangeNotice& notice) {
        notice.categoryTable = true;
        return m_ledger.RenameCategory(categoryId, name);
    });
}

LedgerStatus CWorkspace::RemoveCategory(int64_t categoryId, int64_t moveTo,
                                        const std::string& label) {
    const auto own = Named("Delete category", Names().Category(categoryId));
    return Perform(label, own, [&](ChangeNotice& notice) {
        COwnedList<CTransactionEntry> rows;
        if (!m_database.ListTransactionsByCategory(categoryId, rows)) {
            return LedgerStatus::StoreFailed;
        }
        NoteRowsFiled(rows, notice);
        notice.categoryTable = true;
        return m_ledger.RemoveCategory(categoryId, moveTo);
    });
}

LedgerStatus CWorkspace::AddPayee(std::string_view name, CPayeeEntry& payee,
                                  const std::string& label) {
    return Perform(label, Named("New payee", name), [&](ChangeNotice& notice) {
        notice.payeeTable = true;
        return m_ledger.AddPayee(name, payee);
    });
}

LedgerStatus CWorkspace::RenamePayee(int64_t payeeId, std::string_view name,
                                     const std::string& label) {
    const auto own = Named("Rename payee", Names().Payee(payeeId));
    return Perform(label, own, [&](ChangeNotice& notice) {
        notice.payeeTable = true;
        return m_ledger.RenamePayee(payeeId, name);
    });
}

LedgerStatus CWorkspace::RemovePayee(int64_t payeeId, int64_t moveTo, const std::string& label) {
    const auto own = Named("Delete payee", Names().Payee(payeeId));
    return Perform(label, own, [&](ChangeNotice& notice) {
        COwnedList<CTransactionEntry> rows;
        if (!m_database.ListTransactionsByPayee(payeeId, rows)) return LedgerStatus::StoreFailed;
        NoteRowsFiled(rows, notice);
        notice.payeeTable = true;
        return m_ledger.RemovePayee(payeeId, moveTo);
    });
}

LedgerStatus CWorkspace::RenameRows(const std::string& payee,
                                    const std::vector<CTransactionEntry>& rows,
                                    ChangeNotice& notice) {
    if (rows.empty()) return LedgerStatus::Ok;
    bool added = false;
    const int64_t payeeId = m_database.FindOrAddPayee(payee, &added);
    if (payeeId == kNoRow) return LedgerStatus::StoreFailed;
    notice.payeeTable |= added;
    for (const CTransactionEntry& row : rows) {
        if (!m_database.UpdateTransactionPayee(row.id, payeeId)) return LedgerStatus::StoreFailed;
        notice.AddRow(RowChange::Changed, row);
    }
    return LedgerStatus::Ok;
}

LedgerStatus CWorkspace::RemoveUnusedPayee(int64_t payeeId, ChangeNotice& notice) {
    int64_t uses = 0;
    if (!m_ledger.CountPayeeUses(payeeId, uses)) return LedgerStatus::StoreFailed;
    if (uses > 0) return LedgerStatus::Ok;
    notice.payeeTable = true;
    return m_ledger.RemovePayee(payeeId);
}

LedgerStatus CWorkspace::RenamePayees(std::span<const PayeeRenaming> renamings,
                                      const WantTransaction& wants, const std::string& label) {
    const auto own = [&] {
        return "Rename " + Counted(static_cast<int64_t>(renamings.size()), "payee", "payees");
    };
    return Perform(label, own, [&](ChangeNotice& notice) {
        // What is one's new name may be the old one of another: whose a row is counts before
        // anything is changed.
        std::vector<std::vector<CTransactionEntry>> rows(renamings.size());
        for (size_t i = 0; i < renamings.size(); ++i) {
            COwnedList<CTransactionEntry> list;
            if (!m_database.ListTransactionsByPayee(renamings[i].payeeId, list)) {
                return LedgerStatus::StoreFailed;
            }
            for (CTransactionEntry& row : list) {
                if (wants(row)) rows[i].push_back(std::move(row));
            }
        }
        LedgerStatus status = LedgerStatus::Ok;
        for (size_t i = 0; i < renamings.size() && status == LedgerStatus::Ok; ++i) {
            status = RenameRows(renamings[i].after, rows[i], notice);
        }
        for (size_t i = 0; i < renamings.size() && status == LedgerStatus::Ok; ++i) {
            status = RemoveUnusedPayee(renamings[i].payeeId, notice);
        }
        return status;
    });
}

}  // namespace quillon
