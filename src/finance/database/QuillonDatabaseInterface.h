#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "finance/database/Lookup.h"
#include "finance/database/TransactionColumns.h"
#include "finance/history/History.h"
#include "finance/records/FinanceRecords.h"
#include "finance/schema/FinanceSchema.h"
#include "foundation/FileSystem.h"
#include "foundation/KeelList.h"
#include "foundation/ReentrantLock.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

class CFinanceRows;

// What Open() found and did.
struct FinanceOpenResult {
    bool opened = false;
    bool created = false;  // the folder held no ledger: there was no table in it
    SchemaOutcome schema;
    DatabaseProblem problem = DatabaseProblem::None;
    std::string detail;           // file concerned, or empty
    std::string setAsideJournal;  // a damaged journal was kept under this name
    // Files of indexes that were damaged or missing, made anew from the rows. More may be found
    // when they are first used: see CDatabaseManager::RebuiltIndexes.
    std::vector<std::string> rebuilt;
    // The history of actions was damaged and is lost; the ledger is not.
    bool historyLost = false;
};

// How a password compares with the stored one.
enum class PasswordCheck {
    Right,
    Wrong,   // another, an empty one, or the database has none
    Failed,  // the stored one could not be read
};

// The one place where the finance program meets its record store.
//
//   Results    true when the operation ran; an empty list is a success. False: no
//              database is open, no such row, a value that cannot be stored, or a
//              read or write that failed (Problem() tells why). A
//              failed write changes nothing.
//   Look-ups   A read of one row answers CLookup: found, none, or failed. Unless it is
//              found the record is untouched.
//   Records    Add sets the record's `id`. Stamps are written by the database
//              and ignored in what is passed in. A list of the caller's first loses
//              what it held; after a false it is empty or partly filled and means
//              nothing.
//   None       A negative reference is stored as 0, and -1 in the file reads as 0.
//   Names      Look-ups by name compare the bytes exactly and cost one index seek;
//              of several rows with the name the oldest is found.
//   Order      Transactions come in register order (date, then row identifier),
//              all other lists in the order the rows were made.
//   Balances   Nothing here touches an account's balance but Update of an account and
//              UpdateAccountBalance. CLedger keeps balances right.
//   Brackets   Every write is a commit of its own unless a batch is open, and then
//              part of it. See CFinanceBatch.
//   Threads    Each operation holds the interface's critical section from its first
//              call of the engine to its last. CFinanceSection holds it over several.
class CQuillonDatabaseInterface {
public:
    explicit CQuillonDatabaseInterface(CFileSystem& files = PlatformFileSystem());
    ~CQuillonDatabaseInterface();
    CQuillonDatabaseInterface(const CQuillonDatabaseInterface&) = delete;
    CQuillonDatabaseInterface& operator=(const CQuillonDatabaseInterface&) = delete;

    // --- life
    // Opens the folder, making what is missing, creates and seeds missing tables and
    // upgrades old ones. Accounts from before there were check layouts get `checkLayout`, or
    // the usual one when it is null. A database that is open is closed first.
    FinanceOpenResult Open(const std::string& folder,
                           const CCheckPrintFormat* checkLayout = nullptr);
    bool Close();
    bool IsOpen() const { return m_database.IsOpen(); }
    // The record store below, for finance itself, which checks and repairs it.
    CDatabaseManager& Store() { return m_database; }
    const CDatabaseManager& Store() const { return m_database; }
    // With a separator at its end; empty when closed.
    const std::string& Folder() const { return m_database.Folder(); }
    // Why the last operation failed, and the file concerned, or empty.
    DatabaseProblem Problem() const { return m_database.Problem(); }
    const std::string& ProblemDetail() const { return m_database.ProblemDetail(); }
    // See CDatabaseManager::RebuiltIndexes.
    std::vector<std::string> RebuiltIndexes() { return m_database.RebuiltIndexes(); }
    int64_t TableCount() const { return static_cast<int64_t>(m_database.Tables().size()); }
    // Writes a backup, sealed with the ledger's password where it has one: see BackupWriter.h.
    BackupCode Backup(const std::string& path, BackupReport& report,
                      const BackupOptions& options = {});
    // Of the open database, which no other has; 0 when closed.
    uint64_t Identifier() { return m_database.Journal().DatabaseId(); }
    // Runs the store's timers when they are due; `nowMs` is any steady clock.
    void RunTimers(int64_t nowMs);

    CReentrantLock& Section();
    // Callers hold the section.
    CHistory& History() { return m_history; }

    // --- batches: everything between begin and commit is one commit. They nest; the
    // outermost decides, and a roll back inside makes the outer commit fail. What other
    // threads write meanwhile would belong to it: CFinanceBatch keeps them out.
    [[nodiscard]] bool BeginBatch();
    [[nodiscard]] bool CommitBatch();
    void RollbackBatch();

    // --- rows of any table. Record: one of the classes of FinanceRecords.h.
    // Of a payee whose name another row has, that row's id is set and nothing is added.
    template <class Record>
    [[nodiscard]] bool Add(Record& record);
    // All columns of the row `record.id`. False also when it gives a payee another one's name.
    template <class Record>
    [[nodiscard]] bool Update(const Record& record);
    // Rows that refer to it are the caller's to see to: CLedger does.
    template <class Record>
    [[nodiscard]] bool Delete(int64_t rowId);
    template <class Record>
    bool List(COwnedList<Record>& records);
    template <class Record>
    CLookup Read(int64_t rowId, Record& record);

    // --- accounts
    [[nodiscard]] bool UpdateAccountBalance(int64_t accountId, double balance);
    [[nodiscard]] bool UpdateAccountLatestCheckNumber(int64_t accountId, int32_t checkNumber);
    [[nodiscard]] bool SetAccountActive(int64_t accountId, bool active);
    bool ListAccountsByType(AccountType type, COwnedList<CAccountEntry>& accounts);
    CLookup FindAccountByName(std::string_view name, CAccountEntry& account);

    // --- transactions
    [[nodiscard]] bool UpdateTransactionCategory(int64_t transactionId, int64_t categoryId);
    [[nodiscard]] bool UpdateTransactionPayee(int64_t transactionId, int64_t payeeId);
    // What a statement says of a row that people had entered.
    [[nodiscard]] bool UpdateTransactionStatement(int64_t transactionId, int64_t fitId,
                                                  int32_t check);
    // Those with a statement identifier (FitID not 0).
    bool ListTransactionsWithStatementIds(int64_t accountId,
                                          COwnedList<CTransactionEntry>& transactions);
    // `from` and `to` are included.
    bool ListTransactions(int64_t accountId, int64_t from, int64_t to,
                          COwnedList<CTransactionEntry>& transactions);
    bool ListAllTransactions(int64_t from, int64_t to, COwnedList<CTransactionEntry>& transactions);
    bool ListTransactionsByAccount(int64_t accountId, COwnedList<CTransactionEntry>& transactions);
    bool ListTransactionsByPayee(int64_t payeeId, COwnedList<CTransactionEntry>& transactions);
    bool ListTransactionsByCategory(int64_t categoryId,
                                    COwnedList<CTransactionEntry>& transactions);
    // Of any account: of that date and category, and less than half a cent from `amount`.
    bool ListTransactionsAlike(int64_t date, double amount, int64_t categoryId,
                               COwnedList<CTransactionEntry>& transactions);
    bool CountTransactions(int64_t accountId, int64_t& count);
    // The latest of the account and payee: of several of that date the one entered last.
    CLookup FindNewestTransaction(int64_t accountId, int64_t payeeId,
                                  CTransactionEntry& transaction);

    // --- many transactions at once, by columns: see TransactionColumns.h.
    bool ReadTransactionNumbers(int64_t accountId, TransactionNumbers& numbers);
    bool ReadTransactionUses(int64_t accountId, TransactionUses& uses);
    // Of the rows between the dates, which are included, those that `choose` says.
    bool ReadTransactionIdentities(int64_t accountId, int64_t from, int64_t to,
                                   const TransactionChoice& choose,
                                   TransactionIdentities& identities);
    // Those with a statement identifier, without payees and checks.
    bool ReadStatementIdentities(int64_t accountId, TransactionIdentities& identities);
    // When each of the rows was entered; 0 for one that is gone.
    bool ReadTransactionCreations(std::span<const int64_t> rowIds, std::vector<int64_t>& stamps);
    // Calls `visit(i, memo, electronic)` for each of the rows in turn; a text that cannot be
    // read, or whose row is gone, is empty. std::bad_alloc, and what `visit` throws, passes.
    void ReadTransactionTexts(std::span<const int64_t> rowIds, const TransactionTextVisit& visit);
    // Calls `visit(accountId, type, amount)` for every transaction, in no order, out of
    // the indexes in memory. False: a row could not be read.
    bool WalkTransactionAmounts(
        const std::function<void(int64_t accountId, TransactionType type, double amount)>& visit);
    // The balance of the account before a place in its register: the sum of the effects of its
    // transactions of earlier dates, and of those of the date with a lower identifier. Out of
    // the indexes; no row is read.
    bool ReadBalanceBefore(const CAccountEntry& account, int64_t date, int64_t transactionId,
                           double& balance);

    // --- categories
    // The seven flags of `category`, not its name.
    [[nodiscard]] bool UpdateCategoryFlags(const CCategoryEntry& category);
    CLookup FindCategoryByName(std::string_view name, CCategoryEntry& category);
    // Row identifier, 0 when there is none. Nothing: a read failed.
    std::optional<int64_t> FindCategoryId(std::string_view name);
    // Row identifier, 0 on failure. A new one has all flags set, but for "Adjustment"
    // and "Transfer", which have none. `added` (may be null) tells whether it is new.
    int64_t FindOrAddCategory(std::string_view name, bool* added = nullptr);

    // --- payees
    // False also when another payee has the name.
    [[nodiscard]] bool RenamePayee(int64_t payeeId, std::string_view name);
    CLookup FindPayeeByName(std::string_view name, CPayeeEntry& payee);
    // Row identifier, 0 when there is none. Nothing: a read failed.
    std::optional<int64_t> FindPayeeId(std::string_view name);
    // Row identifier, 0 on failure. The empty name is a name like any other.
    int64_t FindOrAddPayee(std::string_view name, bool* added = nullptr);

    // --- memorized transactions, budget, check layouts (one per account)
    // Writes lastServiceDate and originalDay of `memorized`; see AdvanceTo().
    [[nodiscard]] bool UpdateMemorizedServiceDate(const CMemorizedTransactionEntry& memorized);
    bool ListMemorizedTransactionsByAccount(int64_t accountId,
                                            COwnedList<CMemorizedTransactionEntry>& memorized);
    bool ListMemorizedTransactionsByPayee(int64_t payeeId,
                                          COwnedList<CMemorizedTransactionEntry>& memorized);
    bool ListBudgetItemsByCategory(int64_t categoryId, COwnedList<CBudgetItem>& items);
    CLookup FindCheckFormat(int64_t accountId, CCheckPrintFormatEntry& format);

    // --- stocks
    [[nodiscard]] bool UpdateOpenPositionLastPrice(int64_t positionId, double lastPrice);
    bool ReadCoreAccountBalance(double& balance);
    [[nodiscard]] bool UpdateCoreAccountBalance(double balance);
    bool ReadInvestmentBalance(double& balance);
    [[nodiscard]] bool UpdateInvestmentBalance(double balance);

    // --- security
    // Empty when no password is set. Also the key material of protected backups.
    bool ReadPasswordHash(CKeelString& hash);
    [[nodiscard]] bool SetPasswordHash(const CKeelString& hash);
    bool ReadSecurityEnabled(bool& enabled);
    [[nodiscard]] bool SetSecurityEnabled(bool enabled);
    PasswordCheck CheckPassword(std::string_view password);
    // Stores the password's digest and turns protection on, in one commit. False for an
    // empty password.
    [[nodiscard]] bool SetPassword(std::string_view password);
    // Forgets the hash and turns protection off, in one commit.
    [[nodiscard]] bool ClearPassword();

    int64_t RowCount(std::string_view table);

private:
    FinanceOpenResult OpenFolder(const std::string& folder, const CCheckPrintFormat& layout);

    CDatabaseManager m_database;
    CHistory m_history;
    std::unique_ptr<CFinanceRows> m_rows;  // critical section and query
};

// The critical section for a scope: what one operation read is still so when the next one
// writes. Let go of by the thread that made it; operations inside take it again.
class [[nodiscard]] CFinanceSection {
public:
    explicit CFinanceSection(CQuillonDatabaseInterface& database) : m_scope(database.Section()) {}

private:
    CLockScope m_scope;
};

// A batch for a scope: rolled back unless committed. It holds the critical section.
class CFinanceBatch {
public:
    explicit CFinanceBatch(CQuillonDatabaseInterface& database)
        : m_section(database), m_bracket(database) {}

    bool Begun() const { return m_bracket.Begun(); }
    [[nodiscard]] bool Commit() { return m_bracket.Commit(); }

private:
    CFinanceSection m_section;
    CBracketScope<CQuillonDatabaseInterface> m_bracket;
};

}  // namespace quillon
