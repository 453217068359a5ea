#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "finance/records/FinanceRecords.h"

namespace quillon {

enum class LedgerStatus {
    Ok,
    NoSuchAccount,
    NoSuchTransaction,
    NoSuchCategory,
    NoSuchPayee,
    SameAccount,     // a transfer needs two accounts
    AccountClosed,   // it takes no transactions
    AccountSo,       // it is closed, or open, already
    BadAmount,       // negative, not a number, or above kLargestAmount
    FractionOfCent,  // more than two decimals
    NameMissing,     // an account, category or payee needs a name
    NameTaken,       // another one has it
    // The program's own categories, "Adjustment" and "Transfer":
    CategoryKept,      // are neither renamed nor deleted
    CategoryReserved,  // and take over no rows of a deleted one
    StillUsed,         // rows are filed under the name, and no other one for them was given
    SameTarget,        // the other one is the same one
    StoreFailed,  // a read or write failed, or there was no memory for it; Database().Problem()
                  // tells why
};

// Whether a change of one side of a transfer is made on the other side too.
enum class TransferSides { ThisOnly, Both };

// What becomes of the type of a row that moves to an account of another kind, where the same
// type may move money the other way. Kept: the type is meant as in the account that the row
// leaves, and becomes the one that moves the money the same way in the other (TypeAfterMove).
// AsGiven: it is meant as in the account that the row goes to.
enum class EffectOnMove { Kept, AsGiven };

struct BalanceMismatch {
    int64_t accountId = kNoRow;
    CKeelString account;
    double stored = 0.0;
    double computed = 0.0;  // the sum of the effects of its transactions
};

struct TransferRequest {
    int64_t fromAccountId = kNoRow;
    int64_t toAccountId = kNoRow;
    double amount = 0.0;
    int64_t date = 0;
    int32_t check = 0;  // of the paying side
    int64_t payeeId = kNoRow;
    CKeelString memo;
};

// The ledger above the rows: operations that keep every account's CurrentBalance the
// sum of the effects of its transactions.
//
//   Closed     A closed account takes no rows: none is entered, moved or imported into it.
//              Those it has may still be changed, moved away and deleted, since a mistake
//              can come to light after the closing.
//   Amounts    Whole cents. One that has more decimals is refused, in a change only when
//              it is a new one, as old files may have brought some; an import rounds.
//   Checks     A number above the account's latest one becomes the latest, however it
//              comes in. Nothing lowers that.
//   Commit     Each operation is one commit: the rows and the balances of every account
//              they touch, or nothing. Inside an open batch it is part of the batch; a
//              StoreFailed then leaves the batch to be rolled back.
//   Threads    Each operation holds the database's critical section throughout.
//   Balances   Sums are settled to whole cents where the amounts are (SettledSum), so
//              that errors of binary fractions never add up.
//   Ownership  Borrows the database, which must outlive it; keeps nothing else.
class CLedger {
public:
    explicit CLedger(CQuillonDatabaseInterface& database) : m_database(database) {}

    // Sets the account's id. The opening balance is a transaction of category
    // "Adjustment" dated `date`; there is none when it is 0. What is owed on a credit or
    // loan account is a negative balance. `account.currentBalance` is set from it.
    [[nodiscard]] LedgerStatus OpenAccount(CAccountEntry& account, double openingBalance,
                                           int64_t date);

    // All columns of the row `account.id` but the balance, which stays the sum of its
    // transactions: it is made anew when the account becomes one of another kind.
    [[nodiscard]] LedgerStatus ChangeAccount(const CAccountEntry& account);

    // A closed account keeps its rows and takes no others. AccountSo when it is so already.
    [[nodiscard]] LedgerStatus SetAccountOpen(int64_t accountId, bool open);

    // Sets the transaction's id.
    [[nodiscard]] LedgerStatus EnterTransaction(CTransactionEntry& transaction);
    // All columns of the row `changed.id`. Another account moves it there.
    // With Both, the other side of a transfer (when there is one) takes on date, amount,
    // category and memo, and turns round where the change does: it keeps the opposite effect.
    [[nodiscard]] LedgerStatus ChangeTransaction(const CTransactionEntry& changed,
                                                 TransferSides sides = TransferSides::ThisOnly,
                                                 EffectOnMove effect = EffectOnMove::Kept);
    [[nodiscard]] LedgerStatus RemoveTransaction(int64_t transactionId,
                                                 TransferSides sides = TransferSides::ThisOnly);
    // Many at once, each by itself: other sides of transfers stay.
    [[nodiscard]] LedgerStatus RemoveTransactions(std::span<const int64_t> transactionIds);

    // Two rows of category "Transfer": type Transfer on the paying account; Deposit, or
    // Payment when it is a credit or loan account, on the receiving one.
    [[nodiscard]] LedgerStatus EnterTransfer(const TransferRequest& request,
                                             CTransactionEntry& paying,
                                             CTransactionEntry& receiving);
    // The row of category "Transfer" in another account that has the same date and amount
    // and moves the money the other way. Among several rows those are pairs whose
    // identifiers are closest. None: the row is no side of a transfer, or its other side is
    // gone or was changed.
    CLookup FindOtherTransferSide(int64_t transactionId, CTransactionEntry& other);

    // A new category has all flags set. Names are compared by their bytes.
    [[nodiscard]] LedgerStatus AddCategory(std::string_view name, CCategoryEntry& category);
    [[nodiscard]] LedgerStatus RenameCategory(int64_t categoryId, std::string_view name);
    // Transactions, memorized transactions and budget items filed under the category go to
    // `moveTo`, which so merges the two; with kNoRow there must be none.
    [[nodiscard]] LedgerStatus RemoveCategory(int64_t categoryId, int64_t moveTo = kNoRow);
    // How many rows those are. False: a read failed.
    bool CountCategoryUses(int64_t categoryId, int64_t& uses);

    // The same for payees, whose rows are transactions and memorized transactions.
    [[nodiscard]] LedgerStatus AddPayee(std::string_view name, CPayeeEntry& payee);
    [[nodiscard]] LedgerStatus RenamePayee(int64_t payeeId, std::string_view name);
    [[nodiscard]] LedgerStatus RemovePayee(int64_t payeeId, int64_t moveTo = kNoRow);
    bool CountPayeeUses(int64_t payeeId, int64_t& uses);

    // Accounts whose stored balance differs from the sum by half a cent or more. Reads
    // every transaction once. False: a read failed.
    bool VerifyBalances(std::vector<BalanceMismatch>& mismatches);
    // Stores the computed balance of each of them, in one commit; lists what was wrong.
    [[nodiscard]] bool RepairBalances(std::vector<BalanceMismatch>& repaired);

    CQuillonDatabaseInterface& Database() { return m_database; }

private:
    friend class CLedgerImport;
    // An account as it was read, and what an operation does to it.
    struct Touched {
        CAccountEntry account;
        double effect = 0.0;
        int32_t check = 0;  // the highest number entered
    };
    using Effects = std::map<int64_t, Touched>;  // by account

    struct EffectSum {
        AccountType type = AccountType::Checking;
        CMoneySum money;
    };
    using EffectSums = std::map<int64_t, EffectSum>;  // by account

    static LedgerStatus CheckMagnitude(double amount);
    static LedgerStatus CheckAmount(double amount);
    LedgerStatus ReadAccount(int64_t accountId, CAccountEntry& account);
    LedgerStatus ReadTransaction(int64_t transactionId, CTransactionEntry& transaction);
    CLookup FindOtherSide(const CTransactionEntry& row, CTransactionEntry& other);
    // The account's place in `effects`, read when it is not there yet.
    LedgerStatus Touch(int64_t accountId, Effects& effects, Touched*& touched);
    LedgerStatus NoteGone(const CTransactionEntry& row, Effects& effects);
    LedgerStatus NoteEntered(const CTransactionEntry& row, Effects& effects);
    LedgerStatus ApplyEffects(const Effects& effects);
    LedgerStatus CheckChange(const CTransactionEntry& old, CTransactionEntry& changed,
                             EffectOnMove effect, Effects& effects);
    LedgerStatus RemoveRows(std::span<const CTransactionEntry> rows);
    LedgerStatus ChangeRow(const CTransactionEntry& old, const CTransactionEntry& changed,
                           Effects& effects);
    // `other` as the other side of `changed`.
    LedgerStatus Oppose(const CTransactionEntry& changed, CTransactionEntry& other,
                        Effects& effects);
    // Adjustment and Transfer are CategoryKept.
    LedgerStatus ReadOrdinaryCategory(int64_t categoryId, CCategoryEntry& category);
    // Adds up the effects of the accounts that `sums` has places for.
    bool SumEffects(EffectSums& sums);
    LedgerStatus CheckAccountName(const CKeelString& name, int64_t ownId);
    // `holder`: the row that has the name, 0 for none; nothing when it could not be read.
    static LedgerStatus CheckName(std::string_view name, std::optional<int64_t> holder,
                                  int64_t ownId);

    CQuillonDatabaseInterface& m_database;
};

// What a statement says of an entry that people had made.
struct StatementMatch {
    int64_t transactionId = kNoRow;
    double signedAmount = 0.0;  // that the entry has, if it still is the same
    int64_t fitId = 0;          // becomes the entry's; 0: none
    int32_t check = 0;          // the same, where it has none
};

// Enters many transactions into one account: a commit, with the account's balance, per
// `recordsPerCommit` of them. Payees and categories added in between through the same
// database belong to the same commits.
//
//     CLedgerImport import(ledger, accountId);
//     if (import.Begin() != LedgerStatus::Ok) ...
//     for (...) import.Enter(transaction);
//     if (!import.Finish()) ...
//
// Destroying it before Finish rolls the unfinished batch back; what was committed stays,
// and each commit left the ledger in order.
//
//   Amounts    More than two decimals are rounded (RoundToCents).
//   Threads    From Begin to Finish the calling thread holds the database's critical
//              section, save for a moment between two batches: who works in between must
//              not wait for a thread that wants the database.
class CLedgerImport {
public:
    static constexpr int32_t kRecordsPerCommit = 2000;

    CLedgerImport(CLedger& ledger, int64_t accountId, int32_t recordsPerCommit = kRecordsPerCommit)
        : m_ledger(ledger), m_accountId(accountId), m_recordsPerCommit(recordsPerCommit) {}
    ~CLedgerImport();
    CLedgerImport(const CLedgerImport&) = delete;
    CLedgerImport& operator=(const CLedgerImport&) = delete;

    [[nodiscard]] LedgerStatus Begin();
    const CAccountEntry& Account() const { return m_account; }
    // `transaction.accountId` is set to the import's account, and the amount to what is
    // stored. BadAmount leaves the import going; after StoreFailed, or AccountClosed because
    // another thread closed it between two batches, it takes nothing more and Finish fails.
    [[nodiscard]] LedgerStatus Enter(CTransactionEntry& transaction);
    // Part of the same commits. NoSuchTransaction, which changes nothing and leaves the import
    // going: there is no such entry in the account any more, it has another amount, or an
    // identifier, which `fitId` is set to.
    [[nodiscard]] LedgerStatus Match(StatementMatch& match);
    // Commits the rest. False: the last batch was rolled back.
    [[nodiscard]] bool Finish();
    // Transactions that are safely stored, and entries matched.
    int64_t Committed() const { return m_committed; }
    int64_t CommittedMatches() const { return m_committedMatches; }

private:
    [[nodiscard]] LedgerStatus OpenBatch();
    [[nodiscard]] bool CommitBatch();
    void Abandon();
    void Leave();
    // Commits the batch when it is full.
    [[nodiscard]] LedgerStatus EndRow();

    CLedger& m_ledger;
    int64_t m_accountId;
    int32_t m_recordsPerCommit;
    CAccountEntry m_account;
    std::optional<CFinanceSection> m_section;  // with the open batch
    double m_effects = 0.0;                    // of the open batch
    int32_t m_check = 0;                       // the highest number in it
    int32_t m_pending = 0;                     // rows in it
    int32_t m_pendingMatches = 0;              // entries matched in it
    int64_t m_committed = 0;
    int64_t m_committedMatches = 0;
    bool m_inBatch = false;
    bool m_failed = false;
};

}  // namespace quillon
