#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "finance/history/ImportBatch.h"
#include "finance/ledger/Ledger.h"
#include "finance/names/NameTables.h"
#include "finance/startup/StartUp.h"
#include "presenters/workspace/ChangeNotice.h"
#include "settings/SettingsFile.h"

namespace quillon {

// Names typed with an entry that no row has yet; they are made with it. Empty for none.
struct NewNames {
    std::string payee;
    std::string category;
};

// A payee whose transactions are another one's, by name.
struct PayeeRenaming {
    int64_t payeeId = kNoRow;
    std::string before;
    std::string after;
    int64_t transactions = 0;
};

// The open ledger of one program: every screen reads through it, and every change goes through
// it and comes back to all of them as one notice.
//
//   Change     One commit and one notice, or neither: nothing is changed on a status other than
//              Ok, and nobody is told. The rules are CLedger's.
//   Labels     Each change has one ("Enter transaction"), its caller's or, when that is empty,
//              the workspace's own. It is what a history of actions shows.
//   Listeners  Are told in the order in which they came. One may leave while others are told;
//              a change made meanwhile is told to all before this one goes on.
//   Ownership  Owns database and ledger; borrows the settings, the file system and the
//              listeners. A listener leaves before it goes, and before the workspace does.
//   Threads    One.
class CWorkspace {
public:
    explicit CWorkspace(const CSettingsFile& settings, CFileSystem& files = PlatformFileSystem());
    CWorkspace(const CWorkspace&) = delete;
    CWorkspace& operator=(const CWorkspace&) = delete;

    // --- opening: CStartUp's steps. When one leads to Ready, names are read and listeners get
    // a notice of everything.
    StartUpStep Start(const std::string& folder = {},
                      CStartUp::Want want = CStartUp::Want::ExistingOrNew);
    StartUpStep GoOnIncomplete();
    PasswordAnswer EnterPassword(std::string_view password);
    PasswordAnswer SetPassword(std::string_view password);
    StartUpStep GoOnWithoutPassword();
    StartUpStep CancelStart();
    const CStartUp& StartUp() const { return m_startUp; }
    bool IsReady() const { return m_startUp.Step() == StartUpStep::Ready && m_database.IsOpen(); }
    bool Close();

    // --- reading
    CQuillonDatabaseInterface& Database() { return m_database; }
    CLedger& Ledger() { return m_ledger; }
    const CSettingsFile& Settings() const { return m_settings; }
    // As of the last notice; read when they are first asked for. Where that failed they are
    // empty and HasNames() is false; the next notice tries again.
    const CNameTables& Names();
    bool HasNames() const { return m_hasNames; }

    // --- listeners
    void Listen(CWorkspaceListener& listener);
    void Leave(CWorkspaceListener& listener);

    // --- transactions
    // Sets the transaction's id, and its payee and category where they were made.
    [[nodiscard]] LedgerStatus EnterTransaction(CTransactionEntry& transaction,
                                                const NewNames& names = {},
                                                const std::string& label = {});
    // See CLedger::ChangeTransaction.
    [[nodiscard]] LedgerStatus ChangeTransaction(CTransactionEntry& changed,
                                                 TransferSides sides = TransferSides::ThisOnly,
                                                 const NewNames& names = {},
                                                 EffectOnMove effect = EffectOnMove::Kept,
                                                 const std::string& label = {});
    // With Both, other sides of transfers go too, also where they are among `rows`.
    [[nodiscard]] LedgerStatus RemoveTransactions(std::span<const int64_t> rows,
                                                  TransferSides sides = TransferSides::ThisOnly,
                                                  const std::string& label = {});
    [[nodiscard]] LedgerStatus EnterTransfer(const TransferRequest& request,
                                             CTransactionEntry& paying,
                                             CTransactionEntry& receiving,
                                             const NewNames& names = {},
                                             const std::string& label = {});
    // kNoRow takes the category, or payee, away.
    [[nodiscard]] LedgerStatus AssignCategory(std::span<const int64_t> rows, int64_t categoryId,
                                              const std::string& label = {});
    [[nodiscard]] LedgerStatus AssignPayee(std::span<const int64_t> rows, int64_t payeeId,
                                           const std::string& label = {});
    // Types keep their effect: see EffectOnMove::Kept.
    [[nodiscard]] LedgerStatus MoveToAccount(std::span<const int64_t> rows, int64_t accountId,
                                             const std::string& label = {});

    // --- accounts
    [[nodiscard]] LedgerStatus OpenAccount(CAccountEntry& account, double openingBalance,
                                           int64_t date, const std::string& label = {});
    [[nodiscard]] LedgerStatus ChangeAccount(const CAccountEntry& account,
                                             const std::string& label = {});
    [[nodiscard]] LedgerStatus SetAccountOpen(int64_t accountId, bool open,
                                              const std::string& label = {});

    // --- names
    [[nodiscard]] LedgerStatus AddCategory(std::string_view name, CCategoryEntry& category,
                                           const std::string& label = {});
    [[nodiscard]] LedgerStatus RenameCategory(int64_t categoryId, std::string_view name,
                                              const std::string& label = {});
    [[nodiscard]] LedgerStatus RemoveCategory(int64_t categoryId, int64_t moveTo = kNoRow,
                                              const std::string& label = {});
    [[nodiscard]] LedgerStatus AddPayee(std::string_view name, CPayeeEntry& payee,
                                        const std::string& label = {});
    [[nodiscard]] LedgerStatus RenamePayee(int64_t payeeId, std::string_view name,
                                           const std::string& label = {});
    [[nodiscard]] LedgerStatus RemovePayee(int64_t payeeId, int64_t moveTo = kNoRow,
                                           const std::string& label = {});

    // Gives the transactions of those payees that `wants` to the payees named `after`, made where
    // there are none. A payee that nothing is filed under any more goes.
    using WantTransaction = std::function<bool(const CTransactionEntry& transaction)>;
    [[nodiscard]] LedgerStatus RenamePayees(std::span<const PayeeRenaming> renamings,
                                            const WantTransaction& wants,
                                            const std::string& label = {});

    // --- history: of each change, in the order of the commits. Listeners get one notice.
    HistoryOutcome Undo();
    HistoryOutcome Redo();
    // What Undo and Redo would do, as people read it; empty for nothing.
    std::string NextUndo();
    std::string NextRedo();
    HistoryStatus TakeBackImport(int64_t number, BatchRows which, BatchTakenBack& result);

    // After changes that went past the workspace, an import's for one: names are read and
    // listeners told to read everything.
    void ReadAgain(const std::string& label);

private:
    // The one road of a change: work(notice) inside a batch, the commit, the notice. The history
    // knows it under the notice's label. `ownLabel()` is the workspace's. Want of memory is a
    // StoreFailed, so that work and label do what takes some.
    template <class OwnLabel, class Work>
    LedgerStatus Perform(const std::string& label, OwnLabel ownLabel, Work work);
    // change(row) of each row, in one commit. It may alter the row's account.
    template <class OwnLabel, class Change>
    LedgerStatus ChangeEach(std::span<const int64_t> rows, const std::string& label,
                            OwnLabel ownLabel, Change change);
    LedgerStatus MakeNames(const NewNames& names, int64_t& payeeId, int64_t& categoryId,
                           ChangeNotice& notice);
    LedgerStatus ReadRow(int64_t id, CTransactionEntry& row);
    LedgerStatus RemoveRow(int64_t id, TransferSides sides, ChangeNotice& notice);
    LedgerStatus RenameRows(const std::string& payee, const std::vector<CTransactionEntry>& rows,
                            ChangeNotice& notice);
    LedgerStatus RemoveUnusedPayee(int64_t payeeId, ChangeNotice& notice);
    void NoteRowsFiled(const COwnedList<CTransactionEntry>& rows, ChangeNotice& notice);
    HistoryOutcome Take(bool isUndo);
    void ReadNames();
    void Tell(const ChangeNotice& notice);
    StartUpStep Arrive(StartUpStep step);

    const CSettingsFile& m_settings;
    CQuillonDatabaseInterface m_database;
    CLedger m_ledger;
    CStartUp m_startUp;
    CNameTables m_names;
    bool m_wantsNames = false;  // somebody asked for them
    bool m_hasNames = false;
    std::vector<CWorkspaceListener*> m_listeners;  // borrowed; null where one left meanwhile
    int m_telling = 0;
};

}  // namespace quillon
