#include "StoreWorkloads.h"

#include <string>

#include "StoreContent.h"
#include "foundation/CalendarDate.h"
#include "import/QFXImportManager.h"
#include "import/QIFImportManager.h"
#include "storage/BackupRestore.h"
#include "storage/DatabaseManager.h"
#include "support/Bytes.h"

namespace quillon {

CWorkSession::CWorkSession(CFileSystem& files, bool isFinance) : m_files(files) {
    if (isFinance) {
        m_finance = std::make_unique<CQuillonDatabaseInterface>(files);
        m_ledger = std::make_unique<CLedger>(*m_finance);
    } else {
        m_store = std::make_unique<CDatabaseManager>(files);
    }
}

bool CWorkSession::Open() {
    if (!m_finance) return m_store->Open(kLedgerFolder);
    const FinanceOpenResult opened = m_finance->Open(kLedgerFolder);
    return opened.opened && opened.schema.Complete();
}

namespace {

const char* const kBackupPath = "ledger.backup";
const char* const kQfxPath = "statement.qfx";
const char* const kQifPath = "statement.qif";

// --- below the finance layer

bool MakeItems(CDatabaseManager& store) {
    CBatchScope batch(store);
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

void SetItem(CDatabaseManager& store, int number, const std::string& name) {
    (void)store.SetText("Name", name);
    (void)store.SetInt32("Count", number);
    (void)store.SetDouble("Amount", number * 1.25);
    (void)store.SetText("Notes", Notes(number));
}

bool AddItem(CDatabaseManager& store, int number) {
    if (!store.BeginRow("Items")) return false;
    SetItem(store, number, "item " + std::to_string(number));
    return store.CommitRow() >= 0;
}

bool ChangeItem(CDatabaseManager& store, int64_t row, int number) {
    if (!store.BeginRowUpdate("Items", row)) return false;
    SetItem(store, number, "changed " + std::to_string(number));
    return store.CommitRow() == row;
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

const WorkStep kOpen = {"open", OpenStep, 0, true};

StoreWorkload FirstStart() {
    return {"first start of a store",
            false,
            [](CWorkSession&) { return true; },
            {kOpen,
             {"make a table", [](CWorkSession& s) { return MakeItems(s.Store()); }},
             {"add a row", [](CWorkSession& s) { return AddItem(s.Store(), 1); }},
             {"close", [](CWorkSession& s) { return s.Store().Close(); }, 0}}};
}

StoreWorkload SingleCommits() {
    return {"single commits",
            false,
            PrepareItems,
            {kOpen,
             {"add a row", [](CWorkSession& s) { return AddItem(s.Store(), 9); }},
             {"change a row", [](CWorkSession& s) { return ChangeItem(s.Store(), 0, 8); }},
             {"delete a row", [](CWorkSession& s) { return s.Store().DeleteRow("Items", 4); }},
             {"replace a BLOB",
              [](CWorkSession& s) { return s.Store().ReplaceBlob(1, Text(Notes(7))); }},
             {"delete a BLOB", [](CWorkSession& s) { return s.Store().DeleteBlob(0); }}}};
}

StoreWorkload Batches() {
    const auto batch = [](CWorkSession& s) {
        CDatabaseManager& store = s.Store();
        CBatchScope scope(store);
        return scope.Begun() && store.DeleteRow("Items", 0) && AddItem(store, 7) &&
               ChangeItem(store, 4, 6) && store.AddBlob(Text("c")) >= 0 && store.DeleteBlob(0) &&
               AddItem(store, 17) && scope.Commit();
    };
    return {"batch",
            false,
            PrepareItems,
            {kOpen,
             {"batch", batch},
             {"add a row", [](CWorkSession& s) { return AddItem(s.Store(), 9); }},
             {"close", [](CWorkSession& s) { return s.Store().Close(); }, 0}}};
}

StoreWorkload Upkeep() {
    return {"flush and remove deleted",
            false,
            PrepareItems,
            {kOpen,
             {"delete a row", [](CWorkSession& s) { return s.Store().DeleteRow("Items", 0); }},
             {"flush", [](CWorkSession& s) { return s.Store().Flush(); }, 0},
             {"delete a row", [](CWorkSession& s) { return s.Store().DeleteRow("Items", 2); }},
             {"remove deleted", [](CWorkSession& s) { return s.Store().RemoveDeleted(); }, 0},
             {"add a row", [](CWorkSession& s) { return AddItem(s.Store(), 9); }},
             {"rebuild indexes", [](CWorkSession& s) { return s.Store().RebuildIndexes(); }, 0}}};
}

StoreWorkload Schema() {
    return {"columns and tables",
            false,
            PrepareItems,
            {kOpen,
             {"add a column",
              [](CWorkSession& s) {
                  return s.Store().AddColumn("Items", "More", ColumnType::Int64, true, true);
              }},
             {"remove a column",
              [](CWorkSession& s) { return s.Store().RemoveColumn("Items", "Notes"); }},
             {"make a table",
              [](CWorkSession& s) {
                  CDatabaseManager& store = s.Store();
                  CBatchScope batch(store);
                  return batch.Begun() && store.CreateTable("Second") &&
                         store.AddColumn("Second", "Text", ColumnType::Text, true, false) &&
                         store.BeginRow("Second") && store.SetText("Text", "x") &&
                         store.CommitRow() == 0 && batch.Commit();
              }},
             {"remove a table", [](CWorkSession& s) { return s.Store().RemoveTable("Items"); }}}};
}

StoreWorkload OldVersion() {
    return {"conversion of an old version",
            false,
            [](CWorkSession& s) {
                return PrepareItems(s) && s.Store().Close() &&
                       MakeOldVersion(s.Files(), kLedgerFolder);
            },
            {kOpen,
             {"add a row", [](CWorkSession& s) { return AddItem(s.Store(), 9); }},
             {"close", [](CWorkSession& s) { return s.Store().Close(); }, 0}}};
}

// --- the ledger

const int64_t kDay = FileTimeFromDate(2024, 5, 17);

bool OpenAccounts(CWorkSession& session) {
    for (const char* name : {"Checking", "Savings"}) {
        CAccountEntry account;
        account.name = name;
        account.accountType = *name == 'C' ? AccountType::Checking : AccountType::Savings;
        if (session.Ledger().OpenAccount(account, 1000.0, kDay) != LedgerStatus::Ok) return false;
    }
    return true;
}

CTransactionEntry Payment(double amount, const char* memo) {
    CTransactionEntry entry;
    entry.accountId = 1;
    entry.transactionType = TransactionType::Payment;
    entry.amount = amount;
    entry.serviceDate = kDay;
    entry.memo = memo;
    return entry;
}

bool PrepareLedger(CWorkSession& session) {
    if (!session.Open() || !OpenAccounts(session)) return false;
    CTransactionEntry first = Payment(12.5, "first");
    CTransactionEntry second = Payment(7.25, "second");
    return session.Ledger().EnterTransaction(first) == LedgerStatus::Ok &&
           session.Finance()->Database().Flush() &&
           session.Ledger().EnterTransaction(second) == LedgerStatus::Ok;
}

StoreWorkload Seeding() {
    return {"first start of a ledger",
            true,
            [](CWorkSession&) { return true; },
            {kOpen,
             // Two accounts, each with its opening balance.
             {"accounts", OpenAccounts, 2},
             {"close", [](CWorkSession& s) { return s.Finance()->Close(); }, 0}}};
}

StoreWorkload Transfers() {
    const auto transfer = [](CWorkSession& s) {
        TransferRequest request;
        request.fromAccountId = 1;
        request.toAccountId = 2;
        request.amount = 100.0;
        request.date = kDay;
        request.memo = "to savings";
        CTransactionEntry paying;
        CTransactionEntry receiving;
        return s.Ledger().EnterTransfer(request, paying, receiving) == LedgerStatus::Ok;
    };
    // The first payment after the opening balances.
    constexpr int64_t kFirstPayment = 3;
    const auto move = [](CWorkSession& s) {
        CTransactionEntry entry;
        if (!s.Finance()->ReadTransaction(kFirstPayment, entry)) return false;
        entry.accountId = 2;
        entry.amount = 44.0;
        entry.memo = "moved to the other account";
        return s.Ledger().ChangeTransaction(entry) == LedgerStatus::Ok;
    };
    const auto remove = [](CWorkSession& s) {
        constexpr int64_t kPayingSide = 5;
        return s.Ledger().RemoveTransaction(kPayingSide, TransferSides::Both) == LedgerStatus::Ok;
    };
    return {"money between accounts",
            true,
            PrepareLedger,
            {kOpen,
             {"transfer", transfer},
             {"move to the other account", move},
             {"delete the transfer", remove}}};
}

std::string QfxFile() {
    std::string text =
        "OFXHEADER:100\nDATA:OFXSGML\nVERSION:102\nENCODING:USASCII\nCHARSET:1252\n\n"
        "<OFX><BANKMSGSRSV1><STMTTRNRS><STMTRS><CURDEF>USD<BANKTRANLIST>\n";
    for (int i = 0; i < 6; ++i) {
        text += "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20240205<TRNAMT>-" + std::to_string(i + 1) +
                ".50<FITID>F" + std::to_string(i) + "<NAME>Shop " + std::to_string(i % 4) +
                "<MEMO>line " + std::to_string(i) + "</STMTTRN>\n";
    }
    return text + "</BANKTRANLIST></STMTRS></STMTTRNRS></BANKMSGSRSV1></OFX>\n";
}

const char* const kQifFile =
    "!Type:Bank\nD02/03/2024\nT-20.00\nPBaker\nLFood\n^\nD02/04/2024\nT150.00\nPEmployer\n^\n";

template <typename Importer>
bool ImportFile(CWorkSession& session, const char* path) {
    CAccountEntry account;
    if (!session.Finance()->ReadAccount(1, account)) return false;
    Importer import(*session.Finance(), account, path, session.Files());
    const ImportResult result = import.Import();
    return !result.failed;
}

StoreWorkload Imports() {
    const auto inBatches = [](CWorkSession& s) {
        CLedgerImport import(s.Ledger(), 2, 2);
        if (import.Begin() != LedgerStatus::Ok) return false;
        for (int i = 0; i < 5; ++i) {
            CTransactionEntry entry = Payment(i + 0.75, "of a batch");
            if (import.Enter(entry) != LedgerStatus::Ok) return false;
        }
        return import.Finish();
    };
    return {
        "imports",
        true,
        [](CWorkSession& s) {
            return PrepareLedger(s) && WriteWholeFile(s.Files(), kQfxPath, Text(QfxFile()), true) &&
                   WriteWholeFile(s.Files(), kQifPath, Text(kQifFile), true);
        },
        {kOpen,
         {"import QFX", [](CWorkSession& s) { return ImportFile<CQFXImportManager>(s, kQfxPath); }},
         {"import QIF", [](CWorkSession& s) { return ImportFile<CQIFImportManager>(s, kQifPath); }},
         {"import in three batches", inBatches, 3}}};
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
    struct Column {
        const char* name;
        ColumnType type;
    };
    for (const Column& column : {Column{kCreationStampColumn, ColumnType::DateTime},
                                 {kModificationStampColumn, ColumnType::DateTime},
                                 {"AccountID", ColumnType::Int64},
                                 {"ServiceDate", ColumnType::DateTime},
                                 {"EletronicPaymentType", ColumnType::Text},
                                 {"Check", ColumnType::Int32},
                                 {"TransactionType", ColumnType::Int32},
                                 {"Payee", ColumnType::Text},
                                 {"CategoryID", ColumnType::Int64},
                                 {"Amount", ColumnType::Double},
                                 {"FitID", ColumnType::Int64},
                                 {"Memo", ColumnType::Text}}) {
        if (!store.AddColumn("Transaction", column.name, column.type, true, false)) return false;
    }
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
    return {"upgrade of an old ledger",
            true,
            PrepareOldLedger,
            // What the look finds is upgraded, too.
            {kOpen,
             {"accounts", OpenAccounts, 2},
             {"close", [](CWorkSession& s) { return s.Finance()->Close(); }, 0}}};
}

StoreWorkload Restore() {
    const auto prepare = [](CWorkSession& s) {
        if (!PrepareLedger(s)) return false;
        BackupReport report;
        if (s.Finance()->Database().Backup(kBackupPath, "", report) != BackupCode::Done) {
            return false;
        }
        CTransactionEntry later = Payment(99.0, "after the backup");
        return s.Ledger().EnterTransaction(later) == LedgerStatus::Ok && s.Finance()->Close();
    };
    const auto restore = [](CWorkSession& s) {
        RestoreReport report;
        return RestoreBackup(s.Files(), kBackupPath, kLedgerFolder, "", true, report) ==
               RestoreCode::Done;
    };
    return {"restore",
            true,
            prepare,
            {{"restore", restore},
             kOpen,
             {"backup",
              [](CWorkSession& s) {
                  BackupReport report;
                  return s.Finance()->Database().Backup(kBackupPath, "", report) ==
                         BackupCode::Done;
              },
              0}}};
}

}  // namespace

const std::vector<StoreWorkload>& StoreWorkloads() {
    static const std::vector<StoreWorkload> kWorkloads = {
        FirstStart(), SingleCommits(), Batches(), Upkeep(),  Schema(),  OldVersion(),
        Seeding(),    Transfers(),     Imports(), Upgrade(), Restore(),
    };
    return kWorkloads;
}

}  // namespace quillon
