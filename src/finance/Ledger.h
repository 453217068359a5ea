#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "finance/FinanceRecords.h"
#include "finance/QuillonDatabaseInterface.h"

namespace quillon {

enum class LedgerStatus {
    Ok,
    NoSuchAccount,
    NoSuchTransaction,
    SameAccount,  // a transfer needs two accounts
    BadAmount,    // negative, not a number, or above kLargestAmount
    NameMissing,  // an account needs a name
    NameTaken,    // another account has it
    StoreFailed,  // a read or write failed, or there was no memory for it; Database().Problem()
                  // tells why
};

// Whether a change of one side of a transfer is made on the other side too.
enum class TransferSides { ThisOnly, Both };

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
//   Commit     Each operation is one commit: the rows and the balances of every account
//              they touch, or nothing. Inside an open batch it is part of the batch; a
//              StoreFailed then leaves the batch to be rolled back.
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

    // Sets the transaction's id. A check number above the account's latest one becomes
    // the latest.
    [[nodiscard]] LedgerStatus EnterTransaction(CTransactionEntry& transaction);
    // All columns of the row `changed.id`. Another account moves it there. With Both, the
    // other side of a transfer (when there is one) takes on date, amount and memo.
    [[nodiscard]] LedgerStatus ChangeTransaction(const CTransactionEntry& changed,
                                                 TransferSides sides = TransferSides::ThisOnly);
    [[nodiscard]] LedgerStatus RemoveTransaction(int64_t transactionId,
                                                 TransferSides sides = TransferSides::ThisOnly);

    // Two rows of category "Transfer": type Transfer on the paying account; Deposit, or
    // Payment when it is a credit or loan account, on the receiving one.
    [[nodiscard]] LedgerStatus EnterTransfer(const TransferRequest& request,
                                             CTransactionEntry& paying,
                                             CTransactionEntry& receiving);
    // The row of category "Transfer" in another account that has the same date and amount
    // and moves the money the other way. Of several the one entered with it. False: the
    // row is no side of a transfer, or its other side is gone or was changed.
    bool FindOtherTransferSide(int64_t transactionId, CTransactionEntry& other);

    // Accounts whose stored balance differs from the sum by half a cent or more. Reads
    // every transaction once. False: a read failed.
    bool VerifyBalances(std::vector<BalanceMismatch>& mismatches);
    // Stores the computed balance of each of them, in one commit; lists what was wrong.
    [[nodiscard]] bool RepairBalances(std::vector<BalanceMismatch>& repaired);

    CQuillonDatabaseInterface& Database() { return m_database; }

private:
    friend class CLedgerImport;
    using Effects = std::map<int64_t, double>;

    LedgerStatus CheckAmount(double amount) const;
    LedgerStatus ReadAccount(int64_t accountId, CAccountEntry& account);
    LedgerStatus ReadTransaction(int64_t transactionId, CTransactionEntry& transaction);
    // Ok with `found` false: the row is no side of a transfer, or the other side is gone.
    LedgerStatus FindOtherSide(const CTransactionEntry& row, CTransactionEntry& other, bool& found);
    // Adds the row's effect (times `sign`) to `effects`.
    LedgerStatus NoteEffect(const CTransactionEntry& transaction, double sign, Effects& effects);
    LedgerStatus ApplyEffects(const Effects& effects);
    LedgerStatus ChangeRow(const CTransactionEntry& old, const CTransactionEntry& changed,
                           Effects& effects);

    CQuillonDatabaseInterface& m_database;
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
    // `transaction.accountId` is set to the import's account. BadAmount leaves the import
    // going; after StoreFailed it takes nothing more and Finish fails.
    [[nodiscard]] LedgerStatus Enter(CTransactionEntry& transaction);
    // Commits the rest. False: the last batch was rolled back.
    [[nodiscard]] bool Finish();
    // Transactions that are safely stored.
    int64_t Committed() const { return m_committed; }

private:
    [[nodiscard]] bool CommitBatch();
    void Abandon();

    CLedger& m_ledger;
    int64_t m_accountId;
    int32_t m_recordsPerCommit;
    CAccountEntry m_account;
    double m_effects = 0.0;  // of the open batch
    int32_t m_pending = 0;   // rows in the open batch
    int64_t m_committed = 0;
    bool m_inBatch = false;
    bool m_failed = false;
};

}  // namespace quillon
