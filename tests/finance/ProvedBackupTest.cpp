#include "finance/backup/ProvedBackup.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "finance/FinanceFixture.h"
#include "finance/backup/BackupRotation.h"
#include "finance/ledger/Ledger.h"
#include "settings/SettingsNames.h"
#include "support/EachFailure.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

BackupOptions QuickOptions() {
    BackupOptions options;
    options.keyCost = {.memoryKiB = 8, .passes = 1};
    return options;
}

class ProvedBackup : public FinanceFixture {
protected:
    ProvedBackup() {
        const int64_t checking = AddAccount("Checking");
        AddAccount("Card", AccountType::Credit);
        for (int i = 1; i <= 5; ++i) {
            CTransactionEntry row = Row(checking, TransactionType::Payment, i);
            EXPECT_EQ(CLedger(database).EnterTransaction(row), LedgerStatus::Ok);
        }
    }

    BackupCode Write(const std::string& path = "b.dat") {
        return WriteProvedBackup(database, path, report, proof, QuickOptions());
    }

    std::vector<std::string> Names() {
        std::vector<std::string> names;
        EXPECT_TRUE(disk.List("", names));
        std::sort(names.begin(), names.end());
        return names;
    }

    BackupReport report;
    BackupProof proof;
};

TEST_F(ProvedBackup, IsReadBackAndCompared) {
    ASSERT_EQ(Write(), BackupCode::Done);
    EXPECT_TRUE(proof.IsProved());
    ASSERT_EQ(proof.tally.accounts.size(), 2U);
    EXPECT_EQ(proof.tally.accounts[0].transactions, 5);
    EXPECT_EQ(proof.tally.accounts[0].balance, -15.0);
    EXPECT_EQ(proof.tally.accounts[0].sum, -15.0);
    EXPECT_EQ(proof.tally.RowsOf("Transaction"), 5);
    EXPECT_NE(report.identifier, 0U);
    EXPECT_EQ(ReadBackupIdentifier(disk, "b.dat"), report.identifier);
    EXPECT_EQ(Names(), (std::vector<std::string>{"b.dat", "ledger"}));
    // With the password that the ledger has.
    ASSERT_TRUE(database.SetPassword("secret"));
    ASSERT_EQ(Write(), BackupCode::Done);
    EXPECT_TRUE(proof.IsProved() && report.isProtected);
}

TEST_F(ProvedBackup, WhatCannotBeReadBackIsNotKept) {
    ASSERT_EQ(Write(), BackupCode::Done);
    const Bytes earlier = disk.Bytes("b.dat");
    // The medium keeps another byte than it was given.
    disk.OnChange([&](const std::string& what) {
        if (what == "sync b.dat.1.new") disk.Bytes("b.dat.1.new").back() ^= 1;
    });
    EXPECT_EQ(Write(), BackupCode::Other);
    disk.OnChange({});
    EXPECT_EQ(report.detail.reason, BackupReason::NotProved);
    EXPECT_EQ(proof.step, BackupProofStep::NotReadable);
    EXPECT_EQ(proof.restored, RestoreCode::Damaged);
    EXPECT_EQ(disk.Bytes("b.dat"), earlier);
    EXPECT_EQ(Names(), (std::vector<std::string>{"b.dat", "ledger"}));
}

// Wherever a call fails there is a proved backup or the earlier one.
TEST_F(ProvedBackup, EachFailure) {
    ASSERT_EQ(Write(), BackupCode::Done);
    const uint64_t earlier = report.identifier;
    ASSERT_TRUE(database.Close());
    for (CEachFailure failure(disk, {.kind = Call::AnyChangeOrSync, .every = 3}); failure.Next();) {
        CQuillonDatabaseInterface ledger(disk);
        ASSERT_TRUE(ledger.Open(kFolder).opened);
        failure.Arm();
        const BackupCode code = WriteProvedBackup(ledger, "b.dat", report, proof, QuickOptions());
        failure.Disarm();
        EXPECT_EQ(code == BackupCode::Done, proof.IsProved()) << failure.Nth();
        const uint64_t now = ReadBackupIdentifier(disk, "b.dat");
        EXPECT_TRUE(now == report.identifier || (now == earlier && !proof.IsProved()))
            << failure.Nth();
        RestoreReport restored;
        EXPECT_EQ(CheckBackup(disk, "b.dat", {}, restored, QuickOptions()), RestoreCode::Done);
        EXPECT_TRUE(ledger.Close());
    }
}

// A stopped program leaves its folder; it goes with the next proof, and nobody else's does.
TEST_F(ProvedBackup, LooksThatWereLeft) {
    const Bytes theirs = Text("mine");
    disk.Bytes("ledger.look/Look.mark");
    disk.Bytes("ledger.look/Table_1_data.dat") = theirs;
    ASSERT_EQ(Write(), BackupCode::Done);
    EXPECT_EQ(Names(), (std::vector<std::string>{"b.dat", "ledger"}));
    disk.Bytes("ledger.look/Table_1_data.dat") = theirs;
    ASSERT_EQ(Write(), BackupCode::Done);
    EXPECT_EQ(disk.Bytes("ledger.look/Table_1_data.dat"), theirs);
    EXPECT_EQ(Names(), (std::vector<std::string>{"b.dat", "ledger", "ledger.look"}));
}

TEST_F(ProvedBackup, Differences) {
    LedgerTally ledger;
    ASSERT_TRUE(TallyLedger(database, ledger));
    EXPECT_FALSE(FirstDifference(ledger, ledger));
    const struct {
        const char* name;
        void (*change)(LedgerTally& copy);
        const char* found;
        bool isAccount;
    } rows[] = {
        {"a cent", [](LedgerTally& copy) { copy.accounts[0].balance += 0.01; }, "Checking", true},
        {"another sum", [](LedgerTally& copy) { copy.accounts[0].sum += 1e-9; }, "Checking", true},
        {"a row less", [](LedgerTally& copy) { --copy.accounts[0].transactions; }, "Checking",
         true},
        {"another name", [](LedgerTally& copy) { copy.accounts[1].name = "card"; }, "Card", true},
        {"closed", [](LedgerTally& copy) { copy.accounts[1].active ^= true; }, "Card", true},
        {"an account less", [](LedgerTally& copy) { copy.accounts.pop_back(); }, "Card", true},
        {"a table less", [](LedgerTally& copy) { copy.tables.erase(copy.tables.begin()); },
         ledger.tables[0].name.c_str(), false},
        {"rows of another table", [](LedgerTally& copy) { ++copy.tables.back().rows; },
         ledger.tables.back().name.c_str(), false},
    };
    for (const auto& row : rows) {
        LedgerTally copy = ledger;
        row.change(copy);
        const auto found = FirstDifference(ledger, copy);
        ASSERT_TRUE(found) << row.name;
        EXPECT_EQ(found->name, row.found) << row.name;
        EXPECT_EQ(found->isAccount, row.isAccount) << row.name;
    }
}

TEST_F(ProvedBackup, OldOnesGo) {
    CTemporaryFolder folder;
    const CSettingsFile settings(SettingsPlaces::Fixed(folder.File("Quillon.cfg")));
    CBackupRotation rotation(settings, disk);
    const auto add = [&](uint64_t ledger, const std::string& path) {
        ASSERT_EQ(Write(path), BackupCode::Done) << path;
        rotation.Add(ledger, path, report.identifier);
    };
    ASSERT_TRUE(disk.MakeFolder("disk") && disk.MakeFolder("other"));
    for (const char* name : {"disk/1", "disk/2", "disk/3", "other/4", "disk/5"}) add(7, name);
    add(8, "disk/of another ledger");
    // Not what was proved any more.
    ASSERT_TRUE(WriteWholeFile(disk, "disk/2", Text("mine")));
    ASSERT_EQ(Write("disk/never proved"), BackupCode::Done);

    using Gone = std::vector<std::string>;
    EXPECT_EQ(rotation.Remove(7, "disk", 3), Gone{});
    EXPECT_EQ(rotation.Remove(7, "disk", 2), Gone{"disk/1"});
    EXPECT_EQ(rotation.Remove(9, "disk", 1), Gone{});
    // Written anew it is the newest.
    add(7, "disk/3");
    EXPECT_EQ(rotation.Remove(7, "disk", 1), Gone{"disk/5"});
    EXPECT_EQ(rotation.Remove(7, "disk", 0), Gone{}) << "the last one stays";
    for (const char* name :
         {"disk/2", "disk/3", "other/4", "disk/of another ledger", "disk/never proved"}) {
        EXPECT_TRUE(disk.Exists(name)) << name;
    }
    // A medium that is not there is not forgotten.
    EXPECT_EQ(settings.Keys(settings::kProvedBackups).size(), 3U);
}

}  // namespace
}  // namespace quillon
