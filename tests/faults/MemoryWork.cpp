#include "MemoryWork.h"

#include <cstdio>
#include <cstring>

#include "AllocationGauge.h"
#include "finance/AccountRegister.h"
#include "finance/Ledger.h"
#include "import/QFXImportManager.h"
#include "import/QIFImportManager.h"
#include "query/NoSQLDatabaseInterface.h"
#include "storage/BackupRestore.h"
#include "storage/DatabaseManager.h"

namespace quillon {
namespace {

constexpr int64_t kDay = int64_t{864'000'000'000};
constexpr int64_t kFirstDay = 133'485'408'000'000'000;  // 2024-01-01

// What a work is given, made with all memory there is.
template <class Make>
auto Given(Make make) {
    const CAllocationPause pause;
    return make();
}

std::string LongText(int number) {
    return "Groceries, household and the weekly market, receipt " + std::to_string(number) +
           "; Groceries, household and the weekly market, receipt " + std::to_string(number);
}

// --- the store alone

bool MakeTable(CDatabaseManager& store) {
    CBatchScope batch(store);
    return batch.Begun() && store.CreateTable("Things") &&
           store.AddColumn("Things", "Name", ColumnType::Text, true, true) &&
           store.AddColumn("Things", "Number", ColumnType::Int64, true, true) &&
           store.AddColumn("Things", "Amount", ColumnType::Double, false, false) &&
           store.AddColumn("Things", "Memo", ColumnType::Text, false, false) && batch.Commit();
}

bool SetThing(CDatabaseManager& store, int number) {
    const auto name = Given([&] { return CKeelString("n" + std::to_string(number % 3)); });
    const auto memo = Given([&] { return CKeelString(LongText(number)); });
    return store.SetText("Name", name) && store.SetInt64("Number", number) &&
           store.SetDouble("Amount", number * 1.5) && store.SetText("Memo", memo);
}

bool AddThing(CDatabaseManager& store, int number) {
    return store.BeginRow("Things") && SetThing(store, number) && store.CommitRow() >= 0;
}

bool ChangeThing(CDatabaseManager& store, int64_t rowId, int number) {
    return store.BeginRowUpdate("Things", rowId) && SetThing(store, number) &&
           store.CommitRow() == rowId;
}

const std::vector<uint8_t>& SomeBytes() {
    static const std::vector<uint8_t> kBytes(700, 0x5A);
    return kBytes;
}

bool FillStore(CDatabaseManager& store) {
    bool done = MakeTable(store);
    for (int i = 0; i < 6; ++i) done = done && AddThing(store, i);
    return done && store.AddBlob(SomeBytes()) == 0 && store.AddBlob(SomeBytes()) == 1 &&
           store.DeleteRow("Things", 0) && store.Flush() && store.DeleteRow("Things", 2);
}

// --- the ledger

CTransactionEntry Payment(int64_t account, int number) {
    const CAllocationPause pause;
    CTransactionEntry row;
    row.accountId = account;
    row.serviceDate = kFirstDay + number * kDay;
    row.amount = 10.25 + number;
    row.memo = LongText(number);
    row.check = 100 + number;
    row.fitId = 5000 + number;
    return row;
}

TransferRequest Transfer(int number) {
    const CAllocationPause pause;
    TransferRequest request;
    request.fromAccountId = 1;
    request.toAccountId = 2;
    request.amount = 50.5 + number;
    request.date = kFirstDay + number * kDay;
    request.memo = LongText(number);
    return request;
}

bool EnterPayment(CLedger& ledger, int64_t account, int number) {
    CTransactionEntry row = Payment(account, number);
    const auto payee = Given([&] { return "Payee with a name " + std::to_string(number % 2); });
    row.payeeId = ledger.Database().FindOrAddPayee(payee);
    row.categoryId = ledger.Database().FindOrAddCategory("Gas");
    return row.payeeId != kNoRow && row.categoryId != kNoRow &&
           ledger.EnterTransaction(row) == LedgerStatus::Ok;
}

bool FillLedger(CQuillonDatabaseInterface& finance) {
    CLedger ledger(finance);
    bool done = true;
    for (const char* name : {"Checking", "Card"}) {
        CAccountEntry account;
        account.name = name;
        if (done && *name == 'C' && std::strcmp(name, "Card") == 0) {
            account.accountType = AccountType::Credit;
        }
        done = done && ledger.OpenAccount(account, 250.0, kFirstDay) == LedgerStatus::Ok;
    }
    for (int i = 0; i < 6; ++i) done = done && EnterPayment(ledger, 1 + i % 2, i);
    CTransactionEntry paying, receiving;
    done = done && ledger.EnterTransfer(Transfer(3), paying, receiving) == LedgerStatus::Ok;
    CRenamingRuleEntry rule;
    rule.searchText = "SHOP";
    rule.replaceText = "The shop around the corner";
    return done && finance.AddRenamingRule(rule) && ledger.RemoveTransaction(4) == LedgerStatus::Ok;
}

// The other side of it is the row after.
constexpr int64_t kPayingRow = 9;

bool ChangePayment(World& world, TransferSides sides) {
    CTransactionEntry row;
    if (!world.finance.ReadTransaction(kPayingRow, row)) return false;
    row.amount += 7.0;
    row.memo = Given([] { return CKeelString(LongText(77)); });
    return CLedger(world.finance).ChangeTransaction(row, sides) == LedgerStatus::Ok;
}

bool RemovePayment(World& world, TransferSides sides) {
    return CLedger(world.finance).RemoveTransaction(kPayingRow, sides) == LedgerStatus::Ok;
}

bool OpenAnotherAccount(World& world) {
    CAccountEntry account;
    account.name = Given([] { return CKeelString("Savings for the summer"); });
    return CLedger(world.finance).OpenAccount(account, 99.5, kFirstDay) == LedgerStatus::Ok;
}

template <class Rows>
void Note(World& world, const Rows& rows) {
    const CAllocationPause pause;
    world.seen.clear();
    for (const CTransactionEntry& row : rows) {
        world.seen += std::to_string(row.id) + ' ' + std::to_string(row.amount) + ' ' +
                      row.memo.ToUtf8() + '\n';
    }
}

bool ReadRegisters(World& world) {
    CAccountEntry account;
    std::vector<RegisterLine> lines;
    if (!world.finance.FindAccountByName("Card", account) ||
        !ReadRegister(world.finance, account, lines)) {
        return false;
    }
    const CAllocationPause pause;
    world.seen.clear();
    for (const RegisterLine& line : lines) {
        world.seen += std::to_string(line.row.id) + ' ' + std::to_string(line.balance) + ' ' +
                      line.row.memo.ToUtf8() + '\n';
    }
    return true;
}

bool ListRange(World& world) {
    COwnedList<CTransactionEntry> rows;
    if (!world.finance.ListTransactions(1, kFirstDay, kFirstDay + 4 * kDay, rows)) return false;
    Note(world, rows);
    return true;
}

bool AskQuery(World& world) {
    CNoSQLDatabaseInterface query(world.finance.Database());
    const auto market = Given([] { return CKeelString("weekly MARKET"); });
    const bool asked = query.SetTable("Transaction") &&
                       query.AddText("Memo", WhereOperator::ContainsIgnoringCase, market) &&
                       query.AddConnector(WhereConnector::And) &&
                       query.AddDouble("Amount", WhereOperator::Greater, 11.0) &&
                       query.AddConnector(WhereConnector::Or) &&
                       query.AddInt64("AccountID", WhereOperator::Equal, 2) && query.Execute() &&
                       query.Results().Sort("Amount", SortDirection::Descending);
    if (!asked || query.Results().UnreadableRows() > 0) return false;
    CKeelString text;
    std::string seen;
    for (int64_t i = 0; i < query.Results().Count(); ++i) {
        if (!query.Results().ReadText("Memo", i, text)) return false;
        const CAllocationPause pause;
        seen += std::to_string(query.Results().RowIdAt(i)) + text.ToUtf8() + '\n';
    }
    const CAllocationPause pause;
    world.seen = seen;
    // This frees in the pause what it took before.
    std::string().swap(seen);
    return true;
}

constexpr const char* kQifPath = "bank.qif";
constexpr const char* kOfxPath = "bank.ofx";

void PutBankFiles(CMemoryFileSystem& memory) {
    const auto put = [&](const char* path, const std::string& text) {
        memory.Bytes(path).assign(text.begin(), text.end());
    };
    std::string qif = "!Type:Bank\n";
    std::string ofx =
        "OFXHEADER:100\nDATA:OFXSGML\nVERSION:102\nENCODING:USASCII\nCHARSET:1252\n\n"
        "<OFX><BANKMSGSRSV1><STMTTRNRS><STMTRS><CURDEF>USD<BANKTRANLIST>\n";
    for (int i = 0; i < 4; ++i) {
        const std::string number = std::to_string(i + 1);
        qif += "D1/" + number + "/2024\nT-" + number + "2.50\nPSHOP " + std::to_string(i % 2) +
               "\nLCategory " + number + "\nMa memo that is long enough " + number + "\n^\n";
        ofx += "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>2024020" + number + "<TRNAMT>-" + number +
               "3.75<FITID>F" + number + "<NAME>SHOP or another name " + number +
               "<MEMO>a memo that is long enough " + number + "</STMTTRN>\n";
    }
    ofx += "</BANKTRANLIST></STMTRS></STMTTRNRS></BANKMSGSRSV1></OFX>\n";
    put(kQifPath, qif);
    put(kOfxPath, ofx);
}

template <class Manager>
bool Import(World& world, const char* path, DialectMode dialect, bool dryRun = false) {
    CAccountEntry account;
    if (!world.finance.FindAccountByName("Checking", account)) return false;
    const auto manager = Given([&] {
        return std::make_unique<Manager>(world.finance, account, CKeelString(path), world.disk);
    });
    ImportOptions options;
    options.dialect = dialect;
    options.dryRun = dryRun;
    options.keepRows = dryRun;
    manager->SetOptions(options);
    const ImportResult result = manager->Import();
    const CAllocationPause pause;
    // Not the report and the notes, which may be wanting.
    if (!result.failed) {
        world.seen = std::to_string(result.imported) + ' ' + std::to_string(result.payeesCreated) +
                     ' ' + std::to_string(result.categoriesCreated);
    }
    return !result.failed;
}

bool BackUp(World& world) {
    BackupReport report;
    BackupOptions options;
    options.keyCost = {8, 1};
    const std::string path(kBackupPath);
    return world.finance.Database().Backup(path, {}, report, options) == BackupCode::Done;
}

bool RestoreAnew(World& world) {
    RestoreReport report;
    BackupOptions options;
    options.keyCost = {8, 1};
    return RestoreBackup(world.disk, kBackupPath, kRestoredFolder, "", false, report, options) ==
           RestoreCode::Done;
}

// In place of the ledger that is there.
bool RestoreOver(World& world) {
    if (!Given([&] { return world.finance.Close(); })) return false;
    RestoreReport report;
    BackupOptions options;
    options.keyCost = {8, 1};
    return RestoreBackup(world.disk, kBackupPath, kMemoryFolder, "", true, report, options) ==
           RestoreCode::Done;
}

bool ChangeMuch(World& world) {
    CDatabaseManager& store = world.store;
    CBatchScope batch(store);
    return batch.Begun() && store.DeleteRow("Things", 1) && AddThing(store, 20) &&
           ChangeThing(store, 4, 21) && store.AddBlob(SomeBytes()) >= 0 && store.DeleteBlob(0) &&
           batch.Commit();
}

bool EnterMuch(World& world) {
    CLedger ledger(world.finance);
    CFinanceBatch batch(world.finance);
    return batch.Begun() && EnterPayment(ledger, 1, 30) && EnterPayment(ledger, 2, 31) &&
           ledger.RemoveTransaction(5) == LedgerStatus::Ok && batch.Commit();
}

bool Enter(World& world) {
    CLedger ledger(world.finance);
    CTransactionEntry row = Payment(2, 40);
    return ledger.EnterTransaction(row) == LedgerStatus::Ok;
}

bool TransferMoney(World& world) {
    CTransactionEntry paying, receiving;
    return CLedger(world.finance).EnterTransfer(Transfer(9), paying, receiving) == LedgerStatus::Ok;
}

// --- the disks before

bool Change(World& world, Level level) {
    if (level == Level::Finance)
        return EnterPayment(*std::make_unique<CLedger>(world.finance), 1, 12);
    return AddThing(world.store, 12) && ChangeThing(world.store, 3, 13) &&
           world.store.DeleteBlob(1) && world.store.AddBlob(SomeBytes()) >= 0;
}

DiskFiles MakeFiles(Level level, Start start) {
    if (start == Start::Nothing) return {};
    World world({});
    CDatabaseManager& database = DatabaseOf(world, level);
    PutBankFiles(world.memory);
    bool done = OpenWorld(world, level) &&
                (level == Level::Store ? FillStore(world.store) : FillLedger(world.finance)) &&
                database.Close() && OpenWorld(world, level);
    if (level == Level::Finance) done = done && BackUp(world);
    DiskFiles files = world.memory.Snapshot();
    if (start == Start::Killed) {
        done = done && database.Flush();
        files = world.memory.Snapshot();
        done = done && Change(world, level);
        files["db/Journal.dat"] = world.memory.Bytes("db/Journal.dat");
    } else {
        done = database.Close() && done;
        if (start == Start::OlderVersion) {
            done = done && MakeOldVersion(world.memory, kMemoryFolder);
        }
        files = world.memory.Snapshot();
    }
    if (!done) std::fprintf(stderr, "memory: the disk to start from could not be made\n");
    return files;
}

}  // namespace

// --- the program

World::World(const DiskFiles& files) {
    memory.Restore(files);
}

const std::vector<MemoryWork>& MemoryWorks() {
    using L = Level;
    using S = Start;
    static const auto open = [](World& w) { return w.store.Open(kMemoryFolder); };
    static const auto openLedger = [](World& w) { return OpenWorld(w, Level::Finance); };
    static const std::vector<MemoryWork> kWorks = {
        {"make a store", L::Store, S::Nothing, true, open},
        {"open a store", L::Store, S::Closed, true, open},
        {"open a killed store", L::Store, S::Killed, true, open},
        {"open an older store", L::Store, S::OlderVersion, true, open},
        {"add a row", L::Store, S::Closed, false, [](World& w) { return AddThing(w.store, 9); }},
        {"change a row", L::Store, S::Closed, false,
         [](World& w) { return ChangeThing(w.store, 3, 10); }},
        {"delete a row", L::Store, S::Closed, false,
         [](World& w) { return w.store.DeleteRow("Things", 5); }},
        {"a batch", L::Store, S::Closed, false, ChangeMuch},
        {"replace a BLOB", L::Store, S::Closed, false,
         [](World& w) { return w.store.ReplaceBlob(0, SomeBytes()); }},
        {"flush", L::Store, S::Closed, false, [](World& w) { return w.store.Flush(); }},
        {"remove deleted", L::Store, S::Closed, false,
         [](World& w) { return w.store.RemoveDeleted(); }},
        {"rebuild indexes", L::Store, S::Closed, false,
         [](World& w) { return w.store.RebuildIndexes(); }},
        {"add a column", L::Store, S::Closed, false,
         [](World& w) {
             return w.store.AddColumn("Things", "More", ColumnType::Int64, true, true);
         }},
        {"remove a column", L::Store, S::Closed, false,
         [](World& w) { return w.store.RemoveColumn("Things", "Memo"); }},
        {"make a table", L::Store, S::Closed, false,
         [](World& w) {
             CBatchScope batch(w.store);
             return batch.Begun() && w.store.CreateTable("Second") &&
                    w.store.AddColumn("Second", "Text", ColumnType::Text, true, false) &&
                    batch.Commit();
         }},
        {"remove a table", L::Store, S::Closed, false,
         [](World& w) { return w.store.RemoveTable("Things"); }},
        {"close", L::Store, S::Closed, false, [](World& w) { return w.store.Close(); }},
        {"make a ledger", L::Finance, S::Nothing, true, openLedger},
        {"open a ledger", L::Finance, S::Closed, true, openLedger},
        {"open a killed ledger", L::Finance, S::Killed, true, openLedger},
        {"open an account", L::Finance, S::Closed, false, OpenAnotherAccount},
        {"enter", L::Finance, S::Closed, false, Enter},
        {"enter in a batch", L::Finance, S::Closed, false, EnterMuch},
        {"transfer", L::Finance, S::Closed, false, TransferMoney},
        {"edit", L::Finance, S::Closed, false,
         [](World& w) { return ChangePayment(w, TransferSides::ThisOnly); }},
        {"edit both sides", L::Finance, S::Closed, false,
         [](World& w) { return ChangePayment(w, TransferSides::Both); }},
        {"remove", L::Finance, S::Closed, false,
         [](World& w) { return RemovePayment(w, TransferSides::ThisOnly); }},
        {"remove both sides", L::Finance, S::Closed, false,
         [](World& w) { return RemovePayment(w, TransferSides::Both); }},
        {"register", L::Finance, S::Closed, false, ReadRegisters},
        {"list a range", L::Finance, S::Closed, false, ListRange},
        {"query", L::Finance, S::Closed, false, AskQuery},
        {"import QIF", L::Finance, S::Closed, false,
         [](World& w) { return Import<CQIFImportManager>(w, kQifPath, DialectMode::Plain); }},
        {"import QIF by its dialect", L::Finance, S::Closed, false,
         [](World& w) { return Import<CQIFImportManager>(w, kQifPath, DialectMode::Auto); }},
        {"import OFX", L::Finance, S::Closed, false,
         [](World& w) { return Import<CQFXImportManager>(w, kOfxPath, DialectMode::Plain); }},
        {"import OFX by its dialect", L::Finance, S::Closed, false,
         [](World& w) { return Import<CQFXImportManager>(w, kOfxPath, DialectMode::Auto); }},
        {"preview OFX", L::Finance, S::Closed, false,
         [](World& w) { return Import<CQFXImportManager>(w, kOfxPath, DialectMode::Auto, true); }},
        {"back up", L::Finance, S::Closed, false, BackUp},
        {"restore", L::Finance, S::Closed, false, RestoreAnew},
        {"restore over a ledger", L::Finance, S::Closed, false, RestoreOver},
        {"close a ledger", L::Finance, S::Closed, false,
         [](World& w) { return w.finance.Close(); }},
    };
    return kWorks;
}

const DiskFiles& FilesBefore(const MemoryWork& work) {
    static std::map<std::pair<Level, Start>, DiskFiles> made;
    const std::pair key(work.level, work.start);
    if (!made.contains(key)) made[key] = MakeFiles(work.level, work.start);
    return made[key];
}

CDatabaseManager& DatabaseOf(World& world, Level level) {
    return level == Level::Store ? world.store : world.finance.Database();
}

bool OpenWorld(World& world, Level level, const char* folder) {
    if (level == Level::Store) return world.store.Open(folder);
    const FinanceOpenResult result = world.finance.Open(folder);
    return result.opened && result.schema.Complete();
}

bool PrepareWorld(World& world, const MemoryWork& work) {
    return work.opens || (OpenWorld(world, work.level) && Change(world, work.level));
}

std::string DisorderOf(World& world, Level level) {
    return LookAtOpen(DatabaseOf(world, level), level == Level::Finance ? &world.finance : nullptr)
        .problem;
}

}  // namespace quillon
