#include "StoreWorkloads.h"

#include <string>

#include "AllocationGauge.h"
#include "StoreContent.h"
#include "finance/history/ImportBatch.h"
#include "finance/ledger/AccountRegister.h"
#include "foundation/CalendarDate.h"
#include "import/ofx/QFXImportManager.h"
#include "import/qif/QIFImportManager.h"
#include "query/NoSQLDatabaseInterface.h"
#include "storage/backup/BackupRestore.h"
#include "storage/database/DatabaseManager.h"
#include "support/Bytes.h"

namespace quillon {

namespace {

constexpr const char* kBackupPath = "ledger.backup";
constexpr const char* kQfxPath = "statement.qfx";
constexpr const char* kQifPath = "statement.qif";

template <class Make>
auto Given(Make make) {
    const CAllocationPause pause;
    return make();
}

// --- below the finance layer

bool MakeItems(CDatabaseManager& store) {
    CBracketScope batch(store);
    return batch.Begun() && store.CreateTable("Items") &&
           store.AddColumn("Items", "Name", ColumnType::Text, true, true) &&
           store.AddColumn("Items", "Count", ColumnType::Int32, true, false) &&
           store.AddColumn("Items", "Amount", ColumnType::Double, true, false) &&
           store.AddColumn("Items", "Notes", ColumnType::Text, false, false) && batch.Commit();
}

std::string Notes(int number) {
    const std::string words = "groceries and the weekly market, receipt " + std::to_string(number);
    return words + "; " + words + "; " + words;
}

bool SetItem(CDatabaseManager& store, int number, const char* name) {
    const auto text = Given([&] { return CKeelString(name + std::to_string(number)); });
    const auto notes = Given([&] { return CKeelString(Notes(number)); });
    return store.SetText("Name", text) && store.SetInt32("Count", number) &&
           store.SetDouble("Amount", number * 1.25) && store.SetText("Notes", notes);
}

bool AddItem(CDatabaseManager& store, int number) {
    return store.BeginRow("Items") && SetItem(store, number, "item ") && store.CommitRow() >= 0;
}

bool ChangeItem(CDatabaseManager& store, int64_t row, int number) {
    return store.BeginRowUpdate("Items", row) && SetItem(store, number, "changed ") &&
           store.CommitRow() == row;
}

// Free room, deleted entries, some of it flushed and the rest in the journal.
bool PrepareItems(CWorkSession& session) {
    CDatabaseManager& store = session.Store();
    if (!session.Open() || !MakeItems(store)) return false;
    for (int i = 0; i < 5; ++i) {
        if (!AddItem(store, i)) return false;
    }
    return store.AddBlob(Text(Notes(1))) == 0 && store.AddBlob(Text("b")) == 1 &&
           store.DeleteRow("Items", 1) && store.Flush() && store.DeleteRow("Items", 3) &&
           ChangeItem(store, 2, 22);
}

bool OpenStep(CWorkSession& session) {
    return session.Open();
}

bool CloseStep(CWorkSession& session) {
    return session.Finance() ? session.Finance()->Close() : session.Store().Close();
}

const WorkStep kOpen = {"open", OpenStep, 0, true};
const WorkStep kClose = {"close", CloseStep, 0};

template <class Act>
WorkStep OnStore(const char* name, Act act, int commits = 1) {
    return {name, [act](CWorkSession& s) { return act(s.Store()); }, commits};
}

const WorkStep kAddItem = OnStore("add a row", [](auto& store) { return AddItem(store, 9); });
const WorkStep kChangeItem =
    OnStore("change a row", [](auto& store) { return ChangeItem(store, 0, 8); });
const WorkStep kReplaceBlob = OnStore("replace a BLOB", [](auto& store) {
    const auto blob = Given([] { return Text(Notes(7)); });
    return store.ReplaceBlob(1, blob);
});
const WorkStep kDeleteBlob =
    OnStore("delete a BLOB", [](auto& store) { return store.DeleteBlob(0); });
const WorkStep kRemoveDeleted = OnStore(
    "remove deleted", [](auto& store) { return store.RemoveDeleted(); }, 0);

WorkStep DeleteItem(int64_t row) {
    return OnStore("delete a row", [row](auto& store) { return store.DeleteRow("Items", row); });
}

bool NothingToPrepare(CWorkSession&) {
    return true;
}

StoreWorkload FirstStart() {
    const WorkStep make = OnStore("make a table", MakeItems);
    return {"first start of a store", false, NothingToPrepare, {kOpen, make, kAddItem, kClose}};
}

StoreWorkload SingleCommits() {
    return {"single commits",
            false,
            PrepareItems,
            {kOpen, kAddItem, kChangeItem, DeleteItem(4), kReplaceBlob, kDeleteBlob}};
}

StoreWorkload Batches() {
    const auto batch = [](CDatabaseManager& store) {
        const auto blob = Given([] { return Text("c"); });
        CBracketScope scope(store);
        return scope.Begun() && store.DeleteRow("Items", 0) && AddItem(store, 7) &&
               ChangeItem(store, 4, 6) && store.AddBlob(blob) >= 0 && store.DeleteBlob(0) &&
               AddItem(store, 17) && scope.Commit();
    };
    return {"batch", false, PrepareItems, {kOpen, OnStore("batch", batch), kAddItem, kClose}};
}

StoreWorkload Upkeep() {
    const WorkStep flush = OnStore(
        "flush", [](auto& store) { return store.Flush(); }, 0);
    const WorkStep rebuild = OnStore(
        "rebuild indexes", [](auto& store) { return store.RebuildIndexes(); }, 0);
    return {"flush and remove deleted",
            false,
            PrepareItems,
            {kOpen, DeleteItem(0), flush, DeleteItem(2), kRemoveDeleted, kAddItem, rebuild}};
}

StoreWorkload Schema() {
    const auto addColumn = [](auto& store) {
        return store.AddColumn("Items", "More", ColumnType::Int64, true, true);
    };
    const auto removeColumn = [](auto& store) { return store.RemoveColumn("Items", "Notes"); };
    const auto makeTable = [](auto& store) {
        const auto text = Given([] { return CKeelString("x"); });
        CBracketScope batch(store);
        return batch.Begun() && store.CreateTable("Second") &&
               store.AddColumn("Second", "Text", ColumnType::Text, true, false) &&
               store.BeginRow("Second") && store.SetText("Text", text) && store.CommitRow() == 0 &&
               batch.Commit();
    };
    const auto removeTable = [](auto& store) { return store.RemoveTable("Items"); };
    return {"columns and tables",
            false,
            PrepareItems,
            {kOpen, OnStore("add a column", addColumn), OnStore("remove a column", removeColumn),
             OnStore("make a table", makeTable), OnStore("remove a table", removeTable)}};
}

StoreWorkload OldVersion() {
    const auto prepare = [](CWorkSession& s) {
        return PrepareItems(s) && s.Store().Close() && MakeOldVersion(s.Files(), kLedgerFolder);
    };
    return {"conversion of an old version", false, prepare, {kOpen, kAddItem, kClose}};
}

// A journal that outgrows what it keeps, and what empties it, every few commits.
constexpr JournalRooms kSmallRooms{.step = 4096, .kept = 2 * 4096, .checkpoint = 5 * 4096};

StoreWorkload GrowingJournal() {
    const WorkStep addBlob = OnStore("add a large BLOB", [](auto& store) {
        const auto blob = Given([] { return Text(Notes(3) + std::string(9000, 'p')); });
        return store.AddBlob(blob) >= 0;
    });
    return {"journal that grows",
            false,
            PrepareItems,
            {kOpen, kAddItem, addBlob, kChangeItem, DeleteItem(4), kReplaceBlob, kAddItem,
             kDeleteBlob, kRemoveDeleted, addBlob, kAddItem, kClose},
            kSmallRooms};
}

// --- the ledger

const int64_t kDay = FileTimeFromDate(2024, 5, 17);

bool OpenAccounts(CWorkSession& session) {
    for (const char* name : {"Checking", "Savings"}) {
        CAccountEntry account;
        account.name = Given([&] { return CKeelString(name); });
        account.accountType = *name == 'C' ? AccountType::Checking : AccountType::Savings;
        if (session.Ledger().OpenAccount(account, 1000.0, kDay) != LedgerStatus::Ok) return false;
    }
    return true;
}

CTransactionEntry Payment(double amount, const char* memo) {
    const CAllocationPause pause;
    CTransactionEntry entry;
    entry.accountId = 1;
    entry.transactionType = TransactionType::Payment;
    entry.amount = amount;
    entry.serviceDate = kDay;
    entry.memo = memo;
    return entry;
}

bool EnterPayment(CWorkSession& session, double amount, const char* memo) {
    CTransactionEntry entry = Payment(amount, memo);
    const auto payee = Given([] { return std::string("Payee with a name of some length"); });
    entry.payeeId = session.Finance()->FindOrAddPayee(payee);
    return entry.payeeId != kNoRow && session.Ledger().EnterTransaction(entry) == LedgerStatus::Ok;
}

// The first rows are the opening balances; these two are 3 and 4.
bool PrepareLedger(CWorkSession& session) {
    return session.Open() && OpenAccounts(session) && EnterPayment(session, 12.5, "first") &&
           session.Store().Flush() && EnterPayment(session, 7.25, "second");
}

// Two accounts, each with its opening balance.
const WorkStep kAccounts = {"accounts", OpenAccounts, 2};

StoreWorkload Seeding() {
    return {"first start of a ledger", true, NothingToPrepare, {kOpen, kAccounts, kClose}};
}

// Payments that are imported, a bracket for so many.
WorkStep ImportInBatches(int32_t perBracket, int payments) {
    const auto import = [=](CWorkSession& s) {
        CLedgerImport import(s.Ledger(), 2, perBracket);
        if (import.Begin() != LedgerStatus::Ok) return false;
        for (int i = 0; i < payments; ++i) {
            CTransactionEntry entry = Payment(i + 0.75, "of a batch");
            if (import.Enter(entry) != LedgerStatus::Ok) return false;
        }
        return import.Finish();
    };
    return {"import in three batches", import, 3};
}

WorkStep RemoveTransaction(const char* name, int64_t row,
                           TransferSides sides = TransferSides::ThisOnly) {
    return {name, [=](CWorkSession& s) {
                return s.Ledger().RemoveTransaction(row, sides) == LedgerStatus::Ok;
            }};
}

// Lets `edit` change a row, and brings it to the ledger.
template <class Edit>
bool ChangeRow(CWorkSession& s, int64_t row, TransferSides sides, Edit edit) {
    CTransactionEntry entry;
    if (!s.Finance()->Read(row, entry)) return false;
    entry.memo = Given([] { return CKeelString("a memo that is longer than before"); });
    edit(entry);
    return s.Ledger().ChangeTransaction(entry, sides) == LedgerStatus::Ok;
}

StoreWorkload Transfers() {
    constexpr int64_t kFirstPayment = 3;
    constexpr int64_t kPayingSide = 5;
    const auto transfer = [](CWorkSession& s) {
        TransferRequest request;
        request.fromAccountId = 1;
        request.toAccountId = 2;
        request.amount = 100.0;
        request.date = kDay;
        request.memo = Given([] { return CKeelString("to savings"); });
        CTransactionEntry paying, receiving;
        return s.Ledger().EnterTransfer(request, paying, receiving) == LedgerStatus::Ok;
    };
    const auto move = [](CWorkSession& s) {
        return ChangeRow(s, kFirstPayment, TransferSides::ThisOnly, [](CTransactionEntry& entry) {
            entry.accountId = 2;
            entry.amount = 44.0;
        });
    };
    const auto editBoth = [](CWorkSession& s) {
        return ChangeRow(s, kPayingSide, TransferSides::Both,
                         [](CTransactionEntry& entry) { entry.amount += 7.0; });
    };
    const auto batch = [](CWorkSession& s) {
        CFinanceBatch batch(*s.Finance());
        return batch.Begun() && EnterPayment(s, 30.75, "in a batch") &&
               s.Ledger().RemoveTransaction(4) == LedgerStatus::Ok && batch.Commit();
    };
    return {"money between accounts",
            true,
            PrepareLedger,
            {kOpen,
             {"transfer", transfer},
             {"move to the other account", move},
             {"edit both sides", editBoth},
             {"enter and delete in a batch", batch},
             RemoveTransaction("delete the transfer", kPayingSide, TransferSides::Both)}};
}

std::string QfxFile() {
    std::string text =
        "OFXHEADER:100\nDATA:OFXSGML\nVERSION:102\nENCODING:USASCII\nCHARSET:1252\n\n"
        "<OFX><BANKMSGSRSV1><STMTTRNRS><STMTRS><CURDEF>USD<BANKTRANLIST>\n";
    for (int i = 0; i < 6; ++i) {
        text += "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20240205<TRNAMT>-" + std::to_string(i + 1) +
                ".50<FITID>F" + std::to_string(i) + "<NAME>Shop " + std::to_string(i % 4) +
                "<MEMO>line of a statement " + std::to_string(i) + "</STMTTRN>\n";
    }
    return text + "</BANKTRANLIST></STMTRS></STMTTRNRS></BANKMSGSRSV1></OFX>\n";
}

constexpr const char* kQifFile =
    "!Type:Bank\nD02/03/2024\nT-20.00\nN12\nPBaker around the corner\nLFood\n^\n"
    "D02/04/2024\nT150.00\nPEmployer\n^\n";

// Two entries that lines of these files are.
bool EnterBills(CWorkSession& session) {
    CTransactionEntry shop = Payment(3.5, "by hand");
    shop.serviceDate = FileTimeFromDate(2024, 2, 7);
    shop.payeeId = session.Finance()->FindOrAddPayee("Shop 2");
    CTransactionEntry baker = Payment(20, "by hand");
    baker.serviceDate = FileTimeFromDate(2024, 2, 2);
    baker.payeeId = session.Finance()->FindOrAddPayee("Baker");
    return session.Ledger().EnterTransaction(shop) == LedgerStatus::Ok &&
           session.Ledger().EnterTransaction(baker) == LedgerStatus::Ok;
}

bool PrepareStatements(CWorkSession& s) {
    CRenamingRuleEntry rule;
    rule.searchText = "Shop 1";
    rule.replaceText = "The shop around the corner";
    return PrepareLedger(s) && EnterBills(s) && s.Finance()->Add(rule) &&
           WriteWholeFile(s.Files(), kQfxPath, Text(QfxFile()), true) &&
           WriteWholeFile(s.Files(), kQifPath, Text(kQifFile), true);
}

template <typename Importer>
WorkStep ImportFile(const char* name, const char* path, DialectMode dialect, bool dryRun = false) {
    const auto run = [=](CWorkSession& session) {
        CAccountEntry account;
        if (!session.Finance()->Read(1, account)) return false;
        const auto import = Given([&] {
            return std::make_unique<Importer>(*session.Finance(), account, CKeelString(path),
                                              session.Files());
        });
        ImportOptions options;
        options.dialect = dialect;
        options.dryRun = dryRun;
        import->SetOptions(options);
        const ImportResult result = import->Import();
        const CAllocationPause pause;
        // Not the report and the notes, which may be wanting.
        session.seen = std::to_string(result.imported) + ' ' + std::to_string(result.matched) +
                       ' ' + std::to_string(result.payeesCreated) + ' ' +
                       std::to_string(result.categoriesCreated);
        return !result.failed;
    };
    return {name, run, dryRun ? 0 : 1};
}

StoreWorkload Imports() {
    return {"imports",
            true,
            PrepareStatements,
            {kOpen, ImportFile<CQFXImportManager>("import QFX", kQfxPath, DialectMode::Auto),
             ImportFile<CQIFImportManager>("import QIF", kQifPath, DialectMode::Auto),
             ImportFile<CQIFImportManager>("import QIF by the plain rules", kQifPath,
                                           DialectMode::Plain),
             ImportInBatches(2, 5)}};
}

// --- reading

bool ReadRegisters(CWorkSession& s) {
    CAccountEntry account;
    std::vector<RegisterLine> lines;
    if (!s.Finance()->FindAccountByName("Checking", account) ||
        !ReadRegister(*s.Finance(), account, lines)) {
        return false;
    }
    const CAllocationPause pause;
    for (const RegisterLine& line : lines) {
        s.seen += std::to_string(line.row.id) + ' ' + std::to_string(line.balance) + ' ' +
                  line.row.memo.ToUtf8() + '\n';
    }
    return true;
}

bool ListRange(CWorkSession& s) {
    COwnedList<CTransactionEntry> rows;
    if (!s.Finance()->ListTransactions(1, kDay, kDay, rows)) return false;
    const CAllocationPause pause;
    for (const CTransactionEntry& row : rows) s.seen += row.memo.ToUtf8() + '\n';
    return true;
}

bool AskQuery(CWorkSession& s) {
    CNoSQLDatabaseInterface query(s.Store());
    const auto searched = Given([] { return CKeelString("FIR"); });
    const bool asked = query.SetTable("Transaction") &&
                       query.AddText("Memo", WhereOperator::ContainsIgnoringCase, searched) &&
                       query.AddConnector(WhereConnector::And) &&
                       query.AddDouble("Amount", WhereOperator::Greater, 11.0) &&
                       query.AddConnector(WhereConnector::Or) &&
                       query.AddInt64("AccountID", WhereOperator::Equal, 2) && query.Execute() &&
                       query.Results().Sort("Amount", SortDirection::Descending);
    if (!asked || query.Results().UnreadableRows() > 0) return false;
    for (int64_t i = 0; i < query.Results().Count(); ++i) {
        CKeelString text;
        if (!query.Results().ReadText("Memo", i, text)) return false;
        const CAllocationPause pause;
        s.seen += std::to_string(query.Results().RowIdAt(i)) + text.ToUtf8() + '\n';
    }
    return true;
}

StoreWorkload Reading() {
    return {"reading",
            true,
            PrepareStatements,
            {kOpen,
             {"register", ReadRegisters, 0},
             {"range", ListRange, 0},
             {"query", AskQuery, 0},
             ImportFile<CQFXImportManager>("preview", kQfxPath, DialectMode::Auto, true),
             kClose}};
}

StoreWorkload GrowingImports() {
    const WorkStep import = ImportInBatches(4, 12);
    return {"journal that imports outgrow",
            true,
            PrepareLedger,
            {kOpen, import, RemoveTransaction("remove a transaction", 4), import, kClose},
            {.step = 4096, .kept = 4 * 4096, .checkpoint = 12 * 4096}};
}

// Undo and redo of single commits and of an import of three, with less room for the history than
// that takes.
StoreWorkload Undoing() {
    const auto openWithLittleRoom = [](CWorkSession& s) {
        s.Finance()->History().SetRooms({.actions = 4, .bytes = 6000});
        return s.Open();
    };
    const auto import = [](CWorkSession& s) {
        std::optional<CHistory::CLongAction> action;
        Given([&] {
            action.emplace(s.Finance()->History(), ActionKind::Import, "f.qif", 2);
            return true;
        });
        return ImportInBatches(4, 12).act(s);
    };
    const auto undo = [](CWorkSession& s) {
        return s.Finance()->History().Undo().status == HistoryStatus::Ok;
    };
    const auto redo = [](CWorkSession& s) {
        return s.Finance()->History().Redo().status == HistoryStatus::Ok;
    };
    const auto takeBack = [](CWorkSession& s) {
        const int64_t number = Given([&] {
            std::vector<ImportBatch> batches;
            (void)ListImportBatches(s.Finance()->History(), batches);
            return batches.empty() ? 0 : batches.back().action.number;
        });
        BatchTakenBack result;
        return TakeBackImport(s.Ledger(), number, BatchRows::Unchanged, result) ==
               HistoryStatus::Ok;
    };
    const auto flush = [](CWorkSession& s) { return s.Store().Flush(); };
    const auto enter = [](CWorkSession& s) { return EnterPayment(s, 5.5, "after an undo"); };
    return {"undoing",
            true,
            PrepareLedger,
            {{"open", openWithLittleRoom, 0, true},
             {"import", import, 3},
             {"undo the import", undo, 3},
             {"redo the import", redo, 3},
             RemoveTransaction("remove a transaction", 4),
             {"undo", undo},
             {"flush", flush, 0},
             {"enter a payment", enter, 2},
             {"take the import back", takeBack},
             {"flush again", flush, 0},
             {"undo that", undo},
             kClose}};
}

// A ledger from before payees had rows of their own.
bool PrepareOldLedger(CWorkSession& session) {
    if (!session.Open() || !session.Finance()->Close()) return false;
    CDatabaseManager store(session.Files());
    if (!store.Open(kLedgerFolder) || !store.RemoveTable("Transaction") ||
        !store.RemoveTable("Payee") || !store.CreateTable("Transaction") ||
        !store.FindTable("Transaction")->SkipRowIdsBelow(1)) {
        return false;
    }
    const bool hasColumns = AddColumns(
        store, "Transaction",
        std::string(kCreationStampColumn) + "/5/i " + kModificationStampColumn +
            "/5/i AccountID/3/i ServiceDate/5/i EletronicPaymentType/0/i Check/2/i "
            "TransactionType/2/i Payee/0/i CategoryID/3/i Amount/4/i FitID/3/i Memo/0/i");
    if (!hasColumns) return false;
    for (const char* payee : {"Baker", "Grocer", "Baker"}) {
        if (!store.BeginRow("Transaction") || !store.SetText("Payee", payee) ||
            !store.SetDouble("Amount", 5.0) || !store.SetText("Memo", Notes(3)) ||
            store.CommitRow() < 1) {
            return false;
        }
    }
    return store.Close();
}

StoreWorkload Upgrade() {
    // What the look finds is upgraded, too.
    return {"upgrade of an old ledger", true, PrepareOldLedger, {kOpen, kAccounts, kClose}};
}

// Under a key that costs next to nothing.
BackupOptions QuickOptions() {
    BackupOptions options;
    options.keyCost = {.memoryKiB = 8, .passes = 1};
    return options;
}

bool BackUp(CWorkSession& s) {
    const auto path = Given([] { return std::string(kBackupPath); });
    BackupReport report;
    return s.Store().Backup(path, {}, report, QuickOptions()) == BackupCode::Done;
}

bool RestoreInto(CWorkSession& s, const char* folder, bool overwrite) {
    RestoreReport report;
    return RestoreBackup(s.Files(), kBackupPath, folder, "", overwrite, report, QuickOptions()) ==
           RestoreCode::Done;
}

StoreWorkload Restore() {
    const auto prepare = [](CWorkSession& s) {
        return PrepareLedger(s) && BackUp(s) && EnterPayment(s, 99.0, "after the backup") &&
               s.Finance()->Close();
    };
    const auto over = [](CWorkSession& s) { return RestoreInto(s, kLedgerFolder, true); };
    const auto beside = [](CWorkSession& s) { return RestoreInto(s, kRestoredFolder, false); };
    return {"restore",
            true,
            prepare,
            {{"restore", over}, {"restore beside it", beside, 0}, kOpen, {"backup", BackUp, 0}}};
}

}  // namespace

const std::vector<StoreWorkload>& StoreWorkloads() {
    static const std::vector<StoreWorkload> kWorkloads = {
        FirstStart(), SingleCommits(), Batches(),        Upkeep(),         Schema(),
        OldVersion(), Seeding(),       Transfers(),      Imports(),        Reading(),
        Upgrade(),    Restore(),       GrowingJournal(), GrowingImports(), Undoing(),
    };
    return kWorkloads;
}

}  // namespace quillon
