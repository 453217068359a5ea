#include "FaultsDatabase.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "StoreContent.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CalendarDate.h"
#include "storage/journal/Checksums.h"

namespace quillon {
namespace {

void Must(bool done, const char* what) {
    if (!done) throw std::runtime_error(std::string("a sample could not be made: ") + what);
}

void AddStoreRow(CDatabaseManager& database, int number) {
    const char* const memo = number % 3 == 1 ? "short" : "";
    Must(AddLedgerRow(database, {"Row " + std::to_string(number), number, -0.5 * number,
                                 number % 3 == 0 ? WordyText(number) : memo}) >= 0,
         "row");
}

void MakeStore(CDatabaseManager& database) {
    Must(MakeLedgerTable(database) && database.CreateTable("Empty") &&
             database.AddColumn("Empty", "Nothing", ColumnType::Text, true, false),
         "tables");
    for (int number = 1; number <= 12; ++number) AddStoreRow(database, number);
    Must(database.DeleteRow("Ledger", 1) && database.DeleteRow("Ledger", 5), "rows deleted");
    Bytes blob(6000);
    for (size_t i = 0; i < blob.size(); ++i) blob[i] = static_cast<uint8_t>(i * 7 + i / 256);
    Must(database.AddBlob(blob) == 0 && database.AddBlob({}) == 1 &&
             database.AddBlob(Text("gone")) == 2 && database.DeleteBlob(2),
         "BLOBs");
}

void ChangeStore(CDatabaseManager& database, int step) {
    switch (step) {
        case 0:
            AddStoreRow(database, 13);
            return;
        case 1: {
            CBatchScope batch(database);
            Must(batch.Begun() && database.BeginRowUpdate("Ledger", 3), "update");
            database.SetText("Memo", WordyText(33));
            Must(database.CommitRow() == 3 && database.DeleteRow("Ledger", 2) && batch.Commit(),
                 "update");
            return;
        }
        default:
            Must(database.ReplaceBlob(1, Text("a picture")), "BLOB");
            return;
    }
}

void MakeLedger(CQuillonDatabaseInterface& database) {
    CLedger ledger(database);
    const int64_t day = FileTimeFromDate(2024, 5, 17);
    std::array<int64_t, 2> accounts{};
    for (size_t i = 0; i < accounts.size(); ++i) {
        CAccountEntry account;
        account.name = i == 0 ? "Checking" : "Card";
        account.accountType = i == 0 ? AccountType::Checking : AccountType::Credit;
        Must(ledger.OpenAccount(account, i == 0 ? 1000.0 : -20.5, day) == LedgerStatus::Ok,
             "account");
        accounts[i] = account.id;
    }
    for (int i = 0; i < 6; ++i) {
        CTransactionEntry entry;
        entry.accountId = accounts[static_cast<size_t>(i) % 2];
        entry.serviceDate = day + i * int64_t{864'000'000'000};
        entry.amount = 10.25 + i;
        entry.payeeId = database.FindOrAddPayee("Payee " + std::to_string(i % 3));
        entry.memo = CKeelString(WordyText(i));
        Must(ledger.EnterTransaction(entry) == LedgerStatus::Ok, "transaction");
    }
    Must(database.SetPassword(kFaultsPassword), "password");
}

void ChangeLedger(CQuillonDatabaseInterface& database, int step) {
    CLedger ledger(database);
    if (step == 1) {
        Must(ledger.RemoveTransaction(4) == LedgerStatus::Ok, "removal");
        return;
    }
    TransferRequest request;
    request.fromAccountId = 1;
    request.toAccountId = 2;
    request.amount = 20.5 + step;
    request.date = FileTimeFromDate(2024, 6, 1 + step);
    request.memo = "paid off";
    CTransactionEntry paying;
    CTransactionEntry receiving;
    Must(ledger.EnterTransfer(request, paying, receiving) == LedgerStatus::Ok, "transfer");
}

constexpr int kSteps = 3;

// Without most of the room for coming commits, which is a million zeros to copy each time.
void TrimJournal(Bytes& journal) {
    while (journal.size() > 8192 && std::all_of(journal.end() - 8192, journal.end(),
                                                [](uint8_t byte) { return byte == 0; })) {
        journal.resize(journal.size() - 4096);
    }
}

// The three samples of one kind of database.
template <typename Make, typename Change, typename Store>
void AddSamples(const std::string& name, CMemoryFileSystem& files, Make make, Change change,
                Store store, std::vector<FaultsSample>& samples) {
    make();
    Must(store().Flush(), "flush");
    const Disk flushed = files.Snapshot();
    std::vector<std::string> contents{ContentText(store(), Stamps::Kept)};
    for (int step = 0; step < kSteps; ++step) {
        change(step);
        contents.push_back(ContentText(store(), Stamps::Kept));
    }
    Disk killed = files.Snapshot();
    TrimJournal(killed.at("db/Journal.dat"));
    const std::string last = contents.back();
    contents.pop_back();
    // Written to the journal, and to no file yet.
    Disk unapplied = flushed;
    unapplied["db/Journal.dat"] = killed.at("db/Journal.dat");
    Must(store().Close(), "close");
    samples.push_back({name, files.Snapshot(), last, {}});
    samples.push_back({name + "-killed", killed, last, contents});
    samples.push_back({name + "-unwritten", unapplied, last, contents});
}

std::array<char, 256> currentCase{};

extern "C" void OnCrash(int number) {
    std::fprintf(stderr, "fault: crash (signal %d) in case: %s\n", number, currentCase.data());
    std::fflush(stderr);
    std::_Exit(3);
}

}  // namespace

std::vector<FaultsSample> AllSamples() {
    std::vector<FaultsSample> samples;
    {
        CMemoryFileSystem files;
        CDatabaseManager database(files);
        Must(database.Open(kFaultsFolder), "open");
        AddSamples(
            "store", files, [&] { MakeStore(database); },
            [&](int step) { ChangeStore(database, step); },
            [&]() -> CDatabaseManager& { return database; }, samples);
    }
    CMemoryFileSystem files;
    CQuillonDatabaseInterface database(files);
    Must(database.Open(kFaultsFolder).opened, "open");
    AddSamples(
        "ledger", files, [&] { MakeLedger(database); },
        [&](int step) { ChangeLedger(database, step); },
        [&]() -> CDatabaseManager& { return database.Database(); }, samples);
    return samples;
}

bool ReadSound(CFileSystem& files, const std::string& folder, std::string& content,
               std::string& why) {
    CDatabaseManager database(files);
    if (!database.Open(folder)) {
        why = "does not open: problem " + std::to_string(static_cast<int>(database.Problem())) +
              ", " + database.ProblemDetail();
        return false;
    }
    std::vector<TableIntegrity> tables;
    const IntegrityCode code = database.Verify(tables);
    std::vector<PageDamage> pages;
    const bool checked = database.VerifyPages(pages);
    if (code != IntegrityCode::Ok || !checked || !pages.empty()) {
        why = "code " + std::to_string(static_cast<int>(code)) +
              (pages.empty() ? ", no page known" : ", page of " + pages.front().file);
        return false;
    }
    content = ContentText(database, Stamps::Kept);
    return database.Close();
}

// --- crashes

void NameCaseOnCrash() {
    for (const int number : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) std::signal(number, OnCrash);
}

void SetCurrentCase(const std::string& name) {
    const size_t length = std::min(name.size(), currentCase.size() - 1);
    std::copy_n(name.begin(), length, currentCase.begin());
    currentCase[length] = '\0';
}

}  // namespace quillon
