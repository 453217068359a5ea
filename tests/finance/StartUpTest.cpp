// The road from nothing to an open ledger: folder, existing or new, protection.

#include "finance/startup/StartUp.h"

#include <gtest/gtest.h>

#include "settings/ProfileFile.h"
#include "storage/database/DatabaseManager.h"
#include "support/EachFailure.h"

namespace quillon {
namespace {

class StartUpTest : public testing::Test {
protected:
    // A program of its own each time, as after the last one ended.
    struct Program {
        explicit Program(StartUpTest& test)
            : database(test.m_disk), startUp(database, test.m_settings, test.m_disk) {}
        CQuillonDatabaseInterface database;
        CStartUp startUp;
    };

    void MakeLedger(const char* folder, const char* password, bool enabled) {
        Program program(*this);
        ASSERT_EQ(program.startUp.Start(folder), StartUpStep::SetPassword);
        if (*password) {
            ASSERT_EQ(program.startUp.SetPassword(password), PasswordAnswer::Accepted);
        }
        ASSERT_TRUE(program.database.SetSecurityEnabled(enabled));
    }

    CMemoryFileSystem m_disk;
    CProfileFile m_profile{m_disk};
    CSettingsFile m_settings{SettingsPlaces::Fixed("home/Quillon.cfg"), m_disk, m_profile};
};

TEST_F(StartUpTest, TakesTheChosenFolderThenTheConfiguredOneThenTheDefault) {
    Program program(*this);
    program.startUp.Start();
    EXPECT_EQ(program.startUp.Folder(), "QuillonDatabase");
    EXPECT_EQ(program.startUp.Title(), "Quillon Database [QuillonDatabase]");
    ASSERT_TRUE(m_settings.WriteString("FileFolder", "DatabasePath", "home/Käthe"));
    program.startUp.Start();
    EXPECT_EQ(program.startUp.Title(), "Quillon Database [home/Käthe]");
    EXPECT_TRUE(CDatabaseManager::FolderHoldsDatabase(m_disk, "home/Käthe"));
    program.startUp.Start("elsewhere");
    EXPECT_EQ(program.startUp.Folder(), "elsewhere");
    // The ledger before it was let go of.
    EXPECT_TRUE(m_disk.Lock("home/Käthe/Database.lock") != nullptr);
}

TEST_F(StartUpTest, ANewLedgerAsksForAPasswordBeforeItIsShown) {
    {
        Program program(*this);
        ASSERT_EQ(program.startUp.Start("ledger"), StartUpStep::SetPassword);
        EXPECT_FALSE(program.startUp.FoundExisting());
        EXPECT_EQ(program.startUp.EnterPassword("x"), PasswordAnswer::Unavailable);
        // Left without an answer, it is closed; the next start asks again.
        EXPECT_EQ(program.startUp.Cancel(), StartUpStep::Cancelled);
        EXPECT_FALSE(program.database.IsOpen());
        EXPECT_EQ(program.startUp.SetPassword("secret"), PasswordAnswer::Unavailable);
    }
    Program program(*this);
    ASSERT_EQ(program.startUp.Start("ledger"), StartUpStep::SetPassword);
    EXPECT_TRUE(program.startUp.FoundExisting());
    EXPECT_EQ(program.startUp.SetPassword(""), PasswordAnswer::Empty);
    EXPECT_EQ(program.startUp.Step(), StartUpStep::SetPassword);
    EXPECT_EQ(program.startUp.SetPassword("secret"), PasswordAnswer::Accepted);
    EXPECT_EQ(program.startUp.Step(), StartUpStep::Ready);
    EXPECT_EQ(program.startUp.PasswordHash(), "5ebe2294ecd0e0f08eab7690d2a6ee69");
    EXPECT_EQ(program.startUp.Start("ledger"), StartUpStep::EnterPassword);
}

TEST_F(StartUpTest, AProtectedLedgerOpensOnlyWithItsPassword) {
    MakeLedger("ledger", "Grüße", true);
    Program program(*this);
    ASSERT_EQ(program.startUp.Start("ledger"), StartUpStep::EnterPassword);
    EXPECT_TRUE(program.startUp.IsProtected());
    EXPECT_EQ(program.startUp.EnterPassword(""), PasswordAnswer::Empty);
    for (const char* wrong : {"grüße", "Grüße ",
                              "Gr\xfc\xdf"
                              "e",
                              "x"}) {
        EXPECT_EQ(program.startUp.EnterPassword(wrong), PasswordAnswer::Wrong) << wrong;
        EXPECT_EQ(program.startUp.Step(), StartUpStep::EnterPassword);
    }
    // No way round the question.
    EXPECT_EQ(program.startUp.SetPassword("mine"), PasswordAnswer::Unavailable);
    EXPECT_EQ(program.startUp.GoOnWithoutPassword(), StartUpStep::EnterPassword);
    EXPECT_EQ(program.startUp.EnterPassword("Grüße"), PasswordAnswer::Accepted);
    EXPECT_EQ(program.startUp.Step(), StartUpStep::Ready);
    // Once in, cancelling a question that is over closes nothing.
    EXPECT_EQ(program.startUp.Cancel(), StartUpStep::Ready);
    EXPECT_TRUE(program.database.IsOpen());
}

TEST_F(StartUpTest, WithoutProtectionNothingIsAskedWhateverThePassword) {
    for (const char* password : {"", "secret"}) {
        const std::string folder = std::string("ledger") + password;
        MakeLedger(folder.c_str(), password, false);
        Program program(*this);
        EXPECT_EQ(program.startUp.Start(folder), StartUpStep::Ready) << password;
        EXPECT_FALSE(program.startUp.IsProtected());
        EXPECT_EQ(program.startUp.PasswordHash().empty(), *password == 0);
    }
}

TEST_F(StartUpTest, OnlyAnExistingLedgerIsOpenedWhenNoneIsToBeMade) {
    Program program(*this);
    EXPECT_EQ(program.startUp.Start("none", CStartUp::Want::ExistingOnly), StartUpStep::Failed);
    EXPECT_EQ(program.startUp.Failure(), StartUpFailure::NoDatabase);
    EXPECT_FALSE(m_disk.FolderExists("none"));

    // The list of tables without the BLOB store is a damaged ledger, not a missing one.
    MakeLedger("ledger", "", false);
    ASSERT_TRUE(m_disk.Remove("ledger/DatabaseSchema_blobdict.dat"));
    EXPECT_EQ(program.startUp.Start("ledger", CStartUp::Want::ExistingOnly), StartUpStep::Failed);
    EXPECT_EQ(program.startUp.Failure(), StartUpFailure::NotOpened);
    EXPECT_EQ(program.startUp.Opened().problem, DatabaseProblem::DamagedFile);
}

TEST_F(StartUpTest, AFailedStartLeavesNothingOpenAndMayBeTriedAgain) {
    MakeLedger("ledger", "", false);
    Program first(*this);
    ASSERT_EQ(first.startUp.Start("ledger"), StartUpStep::Ready);
    Program second(*this);
    EXPECT_EQ(second.startUp.Start("ledger"), StartUpStep::Failed);
    EXPECT_EQ(second.startUp.Failure(), StartUpFailure::NotOpened);
    EXPECT_EQ(second.startUp.Opened().problem, DatabaseProblem::InUse);
    ASSERT_TRUE(first.database.Close());
    EXPECT_EQ(second.startUp.Start("ledger"), StartUpStep::Ready);
    EXPECT_EQ(second.startUp.Failure(), StartUpFailure::None);
}

TEST_F(StartUpTest, ADiskThatFailsDuringTheFirstStartIsReportedAndClosed) {
    int64_t failures = 0;
    // Not every call: a start makes hundreds, most of them alike.
    for (CEachFailure failure(m_disk, {.times = CMemoryFileSystem::Times::ForEver, .every = 7});
         failure.Next();) {
        SCOPED_TRACE(failure.Nth());
        Program program(*this);
        CStartUp& startUp = program.startUp;
        failure.Arm();
        const StartUpStep step = startUp.Start("ledger");
        EXPECT_TRUE(failure.Disarm() || step == StartUpStep::SetPassword);
        // A failure behind the last commit is nobody's loss.
        if (step == StartUpStep::Failed) {
            EXPECT_FALSE(program.database.IsOpen());
            EXPECT_NE(startUp.Failure(), StartUpFailure::None);
        }
        failures += step == StartUpStep::Failed || step == StartUpStep::Incomplete;
        EXPECT_EQ(startUp.Start("ledger"), StartUpStep::SetPassword);
        EXPECT_NE(startUp.FoundExisting(), startUp.Opened().created);
        ASSERT_TRUE(program.database.Close());
    }
    EXPECT_GT(failures, 10);
}

// A ledger from before there were check layouts, on a disk that fills up: what it holds may
// be looked at, and with room again its accounts have the layout that the user set.
TEST_F(StartUpTest, WhatCannotBeMadeLocksNobodyOut) {
    MakeLedger("ledger", "", false);
    CAccountEntry account;
    account.name = "Checking";
    {
        Program program(*this);
        ASSERT_EQ(program.startUp.Start("ledger"), StartUpStep::Ready);
        ASSERT_TRUE(program.database.Add(account));
        ASSERT_TRUE(program.database.Store().RemoveTable(kCheckFormatTable));
        ASSERT_TRUE(program.database.Close());
    }
    ASSERT_TRUE(m_settings.WriteString("CheckPrint", "DateText", "12, 2000, 240"));
    ASSERT_TRUE(m_settings.WriteString("CheckPrint", "CheckWidth", "8.5"));
    Program program(*this);
    CStartUp& startUp = program.startUp;
    // Full a little later each time, until the ledger opens and the table finds no room.
    const auto startOnAFullDisk = [&] {
        StartUpStep step = StartUpStep::Failed;
        for (int64_t nth = 1; nth < 200 && step != StartUpStep::Incomplete; ++nth) {
            m_disk.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, nth, FileError::NoSpace,
                           CMemoryFileSystem::Times::ForEver);
            step = startUp.Start("ledger");
        }
        return step;
    };
    ASSERT_EQ(startOnAFullDisk(), StartUpStep::Incomplete);
    EXPECT_TRUE(startUp.FoundExisting());
    ASSERT_EQ(startUp.Opened().schema.tablesFailed.size(), 1u);
    EXPECT_EQ(startUp.GoOnIncomplete(), StartUpStep::Ready);
    EXPECT_TRUE(program.database.FindAccountByName("Checking", account));
    ASSERT_EQ(startOnAFullDisk(), StartUpStep::Incomplete);
    EXPECT_EQ(startUp.Cancel(), StartUpStep::Cancelled);
    EXPECT_FALSE(program.database.IsOpen());

    m_disk.StopFailing();
    ASSERT_EQ(startUp.Start("ledger"), StartUpStep::Ready);
    CCheckPrintFormatEntry layout;
    ASSERT_TRUE(program.database.FindCheckFormat(account.id, layout));
    EXPECT_EQ(layout.format.dateText, "12,2000,240");
    EXPECT_EQ(layout.format.payeeText, "10,690,530");
    EXPECT_EQ(layout.format.checkWidth, 8.5);
}

// Power was cut before the first files of a new ledger were on the medium: the journal brings
// them back, with all that was committed, and the ledger is no missing one.
TEST_F(StartUpTest, ALedgerThatStandsInItsJournalExists) {
    CAccountEntry account;
    account.name = "Checking";
    auto image = m_disk.Snapshot();
    {
        Program program(*this);
        ASSERT_EQ(program.startUp.Start("ledger"), StartUpStep::SetPassword);
        EXPECT_TRUE(program.startUp.Opened().created);
        ASSERT_TRUE(program.database.Add(account));
        image = m_disk.Snapshot();
        ASSERT_TRUE(program.database.Close());
    }
    m_disk.Restore(image);
    ASSERT_TRUE(m_disk.Remove("ledger/DatabaseSchema_blobdict.dat"));
    ASSERT_TRUE(m_disk.Remove("ledger/DatabaseSchema.dat"));
    Program program(*this);
    ASSERT_EQ(program.startUp.Start("ledger", CStartUp::Want::ExistingOnly),
              StartUpStep::SetPassword);
    EXPECT_TRUE(program.startUp.FoundExisting());
    EXPECT_FALSE(program.startUp.Opened().created);
    EXPECT_TRUE(program.database.FindAccountByName("Checking", account));
}

}  // namespace
}  // namespace quillon
