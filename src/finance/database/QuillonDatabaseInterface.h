#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "finance/database/Lookup.h"
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
//              read or write that failed (Database().Problem() tells why). A
//              failed write changes nothing.
//   Look-ups   A read of one row answers CLookup: found, none, or failed. Unless it is
//              found the record is untouched.
//   Records    Add... sets the record's `id`. Stamps are written by the database
//              and ignored in what is passed in. A list of the caller's first loses
//              what it held; after a false it is empty or partly filled and means
//              nothing.
//   None       A negative reference is stored as 0, and -1 in the file reads as 0.
//   Names      Look-ups by name compare the bytes exactly and cost one index seek;
//              of several rows with the name the oldest is found.
//   Order      Transactions come in register order (date, then row identifier),
//              all other lists in the order the rows were made.
//   Balances   Nothing here touches an account's balance but UpdateAccount and
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
    CDatabaseManager& Database() { return m_database; }
    const CDatabaseManager& Database() const { return m_database; }
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
    // Runs the store's timers when they are due; `nowMs` is any steady clock.
    void RunTimers(int64_t nowMs);

    CReentrantLock& Section();

    // --- batches: everything between begin and commit is one commit. They nest; the
    // outermost decides, and a roll back inside makes the outer commit fail. What other
    // threads write meanwhile would belong to it: CFinanceBatch keeps them out.
    [[nodiscard]] bool BeginBatch();
    [[nodiscard]] bool CommitBatch();
    void RollbackBatch();

    // --- accounts
    [[nodiscard]] bool AddAccount(CAccountEntry& account);
    [[nodiscard]] bool UpdateAccount(const CAccountEntry& account);
    [[nodiscard]] bool UpdateAccountBalance(int64_t accountId, double balance);
    [[nodiscard]] bool UpdateAccountLatestCheckNumber(int64_t accountId, int32_t checkNumber);
    [[nodiscard]] bool SetAccountActive(int64_t accountId, bool active);
    bool ListAccounts(COwnedList<CAccountEntry>& accounts);
    bool ListAccountsByType(AccountType type, COwnedList<CAccountEntry>& accounts);
    CLookup ReadAccount(int64_t accountId, CAccountEntry& account);
    CLookup FindAccountByName(std::string_view name, CAccountEntry& account);

    // --- transactions
    [[nodiscard]] bool AddTransaction(CTransactionEntry& transaction);
    [[nodiscard]] bool UpdateTransaction(const CTransactionEntry& transaction);
    [[nodiscard]] bool UpdateTransactionCategory(int64_t transactionId, int64_t categoryId);
    [[nodiscard]] bool UpdateTransactionPayee(int64_t transactionId, int64_t payeeId);
    [[nodiscard]] bool DeleteTransaction(int64_t transactionId);
    CLookup ReadTransaction(int64_t transactionId, CTransactionEntry& transaction);
    // Those with a statement identifier (FitID not 0).
    bool ListTransactionsWithStatementIds(int64_t accountId,
                                          COwnedList<CTransactionEntry>& transactions);
    // `from` and `to` are included.
    bool ListTransactions(int64_t accountId, int64_t from, int64_t to,
                          COwnedList<CTransactionEntry>& transactions);
    // The balance of the account before a place in its register: the sum of the effects of its
    // transactions of earlier dates, and of those of the date with a lower identifier. Out of
    // the indexes; no row is read.
    bool ReadBalanceBefore(const CAccountEntry& account, int64_t date, int64_t transactionId,
                           double& balance);
    bool CountTransactions(int64_t accountId, int64_t& count);
    bool ListAllTransactions(int64_t from, int64_t to, COwnedList<CTransactionEntry>& transactions);
    bool ListTransactionsByAccount(int64_t accountId, COwnedList<CTransactionEntry>& transactions);
    bool ListTransactionsByPayee(int64_t payeeId, COwnedList<CTransactionEntry>& transactions);
    bool ListTransactionsByCategory(int64_t categoryId,
                                    COwnedList<CTransactionEntry>& transactions);
    // Of any account: of that date and category, and less than half a cent from `amount`.
    bool ListTransactionsAlike(int64_t date, double amount, int64_t categoryId,
                               COwnedList<CTransactionEntry>& transactions);

    // --- categories
    [[nodiscard]] bool AddCategory(CCategoryEntry& category);
    [[nodiscard]] bool UpdateCategory(const CCategoryEntry& category);
    // The seven flags of `category`, not its name.
    [[nodiscard]] bool UpdateCategoryFlags(const CCategoryEntry& category);
    // Rows that refer to it are the caller's to see to.
    [[nodiscard]] bool DeleteCategory(int64_t categoryId);
    bool ListCategories(COwnedList<CCategoryEntry>& categories);
    CLookup ReadCategory(int64_t categoryId, CCategoryEntry& category);
    CLookup FindCategoryByName(std::string_view name, CCategoryEntry& category);
    // Row identifier, 0 when there is none. Nothing: a read failed.
    std::optional<int64_t> FindCategoryId(std::string_view name);
    // Row identifier, 0 on failure. A new one has all flags set, but for "Adjustment"
    // and "Transfer", which have none. `added` (may be null) tells whether it is new.
    int64_t FindOrAddCategory(std::string_view name, bool* added = nullptr);

    // --- payees
    // A name that exists gives the existing row's id and adds nothing.
    [[nodiscard]] bool AddPayee(CPayeeEntry& payee);
    // False also when another payee has the name.
    [[nodiscard]] bool RenamePayee(int64_t payeeId, std::string_view name);
    // Rows that refer to it are the caller's to see to.
    [[nodiscard]] bool DeletePayee(int64_t payeeId);
    bool ListPayees(COwnedList<CPayeeEntry>& payees);
    CLookup ReadPayee(int64_t payeeId, CPayeeEntry& payee);
    CLookup FindPayeeByName(std::string_view name, CPayeeEntry& payee);
    // Row identifier, 0 when there is none. Nothing: a read failed.
    std::optional<int64_t> FindPayeeId(std::string_view name);
    // Row identifier, 0 on failure. The empty name is a name like any other.
    int64_t FindOrAddPayee(std::string_view name, bool* added = nullptr);

    // --- renaming rules
    [[nodiscard]] bool AddRenamingRule(CRenamingRuleEntry& rule);
    [[nodiscard]] bool UpdateRenamingRule(const CRenamingRuleEntry& rule);
    [[nodiscard]] bool DeleteRenamingRule(int64_t ruleId);
    bool ListRenamingRules(COwnedList<CRenamingRuleEntry>& rules);

    // --- memorized transactions
    [[nodiscard]] bool AddMemorizedTransaction(CMemorizedTransactionEntry& memorized);
    [[nodiscard]] bool UpdateMemorizedTransaction(const CMemorizedTransactionEntry& memorized);
    // Writes lastServiceDate and originalDay of `memorized`; see AdvanceTo().
    [[nodiscard]] bool UpdateMemorizedServiceDate(const CMemorizedTransactionEntry& memorized);
    [[nodiscard]] bool DeleteMemorizedTransaction(int64_t memorizedId);
    bool ListMemorizedTransactions(COwnedList<CMemorizedTransactionEntry>& memorized);
    bool ListMemorizedTransactionsByAccount(int64_t accountId,
                                            COwnedList<CMemorizedTransactionEntry>& memorized);
    bool ListMemorizedTransactionsByPayee(int64_t payeeId,
                                          COwnedList<CMemorizedTransactionEntry>& memorized);

    // --- budget
    [[nodiscard]] bool AddBudgetItem(CBudgetItem& item);
    [[nodiscard]] bool UpdateBudgetItem(const CBudgetItem& item);
    [[nodiscard]] bool DeleteBudgetItem(int64_t itemId);
    bool ListBudgetItems(COwnedList<CBudgetItem>& items);
    bool ListBudgetItemsByCategory(int64_t categoryId, COwnedList<CBudgetItem>& items);

    // --- check layouts, one per account
    [[nodiscard]] bool AddCheckFormat(CCheckPrintFormatEntry& format);
    [[nodiscard]] bool UpdateCheckFormat(const CCheckPrintFormatEntry& format);
    [[nodiscard]] bool DeleteCheckFormat(int64_t formatId);
    CLookup ReadCheckFormat(int64_t accountId, CCheckPrintFormatEntry& format);

    // --- stocks
    [[nodiscard]] bool AddOpenPosition(CStockOpenPositionEntry& position);
    [[nodiscard]] bool UpdateOpenPosition(const CStockOpenPositionEntry& position);
    [[nodiscard]] bool UpdateOpenPositionLastPrice(int64_t positionId, double lastPrice);
    [[nodiscard]] bool DeleteOpenPosition(int64_t positionId);
    bool ListOpenPositions(COwnedList<CStockOpenPositionEntry>& positions);
    [[nodiscard]] bool AddClosedPosition(CStockClosedPositionEntry& position);
    [[nodiscard]] bool UpdateClosedPosition(const CStockClosedPositionEntry& position);
    [[nodiscard]] bool DeleteClosedPosition(int64_t positionId);
    bool ListClosedPositions(COwnedList<CStockClosedPositionEntry>& positions);
    [[nodiscard]] bool AddWatchListEntry(CStockWatchListEntry& entry);
    [[nodiscard]] bool UpdateWatchListEntry(const CStockWatchListEntry& entry);
    [[nodiscard]] bool DeleteWatchListEntry(int64_t entryId);
    bool ListWatchList(COwnedList<CStockWatchListEntry>& entries);
    [[nodiscard]] bool AddStockSector(CStockSectorEntry& sector);
    [[nodiscard]] bool UpdateStockSector(const CStockSectorEntry& sector);
    [[nodiscard]] bool DeleteStockSector(int64_t sectorId);
    bool ListStockSectors(COwnedList<CStockSectorEntry>& sectors);
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

    // --- whole-table sums
    // Calls `visit(accountId, type, amount)` for every transaction, in no order, out of
    // the indexes in memory. False: a row could not be read.
    bool WalkTransactionAmounts(
        const std::function<void(int64_t accountId, TransactionType type, double amount)>& visit);
    int64_t RowCount(std::string_view table);

private:
    CDatabaseManager m_database;
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
