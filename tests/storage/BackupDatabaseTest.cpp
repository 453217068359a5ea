#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "storage/BackupFixture.h"
#include "storage/database/DatabaseManager.h"

// Backups of open databases.

namespace quillon {
namespace {

// One table with `rows` rows whose text is "row" and a number, and a BLOB.
bool FillDatabase(CDatabaseManager& database, int rows) {
    if (!database.CreateTable("Account") ||
        !database.AddColumn("Account", "Name", ColumnType::Text, true, false)) {
        return false;
    }
    for (int i = 0; i < rows; ++i) {
        if (!database.BeginRow("Account")) return false;
        database.SetText("Name", CKeelString(("row " + std::to_string(i)).c_str()));
        if (database.CommitRow() < 0) return false;
    }
    return database.AddBlob(Noise(500)) >= 0;
}

int64_t RowCount(CDatabaseManager& database) {
    std::vector<TableIntegrity> tables;
    EXPECT_EQ(database.Verify(tables), IntegrityCode::Ok);
    return tables.size() == 1 ? tables.front().rows : -1;
}

TEST(BackupDatabase, ComesBackWholeAndOpens) {
    CMemoryFileSystem disk;
    CDatabaseManager database(disk);
    ASSERT_TRUE(database.Open("ledger"));
    ASSERT_TRUE(FillDatabase(database, 50));
    BackupReport report;
    ASSERT_EQ(database.Backup("b.dat", "", report, QuickOptions()), BackupCode::Done)
        << report.detail.name;
    std::vector<std::string> names;
    ASSERT_TRUE(database.ListFiles(names));
    EXPECT_EQ(report.files, static_cast<int64_t>(names.size()));
    EXPECT_FALSE(report.isProtected);

    // Into another folder while the database is open and goes on.
    ASSERT_TRUE(database.DeleteRow("Account", 3));
    ASSERT_EQ(Restore(disk, "b.dat", "copy", false, ""), RestoreCode::Done);
    CDatabaseManager copy(disk);
    ASSERT_TRUE(copy.Open("copy"));
    EXPECT_EQ(RowCount(copy), 50);

    // Over the database itself: not while it is open, and its journal goes with it.
    EXPECT_EQ(Restore(disk, "b.dat", "ledger", true, ""), RestoreCode::InUse);
    EXPECT_EQ(RowCount(database), 49);
    ASSERT_TRUE(database.Close());
    EXPECT_EQ(Restore(disk, "b.dat", "ledger", false, ""), RestoreCode::TargetNotEmpty);
    ASSERT_EQ(Restore(disk, "b.dat", "ledger", true, ""), RestoreCode::Done);
    ASSERT_TRUE(database.Open("ledger"));
    EXPECT_EQ(RowCount(database), 50);
    EXPECT_FALSE(disk.FolderExists("ledger.old"));
}

TEST(BackupDatabase, NobodyChangesTheFilesMeanwhile) {
    CMemoryFileSystem disk;
    CDatabaseManager database(disk);
    ASSERT_TRUE(database.Open("ledger"));
    ASSERT_TRUE(FillDatabase(database, 5));
    std::thread other;
    bool deleted = false;
    BackupOptions options = QuickOptions();
    options.progress = [&](int64_t, int64_t) {
        if (!other.joinable()) {
            other = std::thread([&] { deleted = database.DeleteRow("Account", 3); });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    };
    BackupReport report;
    EXPECT_EQ(database.Backup("b.dat", "", report, options), BackupCode::Done);
    other.join();
    EXPECT_TRUE(deleted);
    EXPECT_EQ(RowCount(database), 4);
    ASSERT_EQ(Restore(disk, "b.dat", "copy", false, ""), RestoreCode::Done);
    CDatabaseManager copy(disk);
    ASSERT_TRUE(copy.Open("copy"));
    EXPECT_EQ(RowCount(copy), 5);
}

TEST(BackupDatabase, RefusalsWriteNothing) {
    CMemoryFileSystem disk;
    CDatabaseManager database(disk);
    BackupReport report;
    EXPECT_EQ(database.Backup("b.dat", "", report, QuickOptions()), BackupCode::NoFiles);
    ASSERT_TRUE(database.Open("ledger"));
    ASSERT_TRUE(FillDatabase(database, 5));
    EXPECT_EQ(database.Backup("", "", report, QuickOptions()), BackupCode::NoPath);
    {
        const CBracketScope batch(database);
        EXPECT_EQ(database.Backup("b.dat", "", report, QuickOptions()), BackupCode::Other);
        EXPECT_EQ(report.detail.reason, BackupReason::BracketOpen);
    }
    // The texts are damaged while the database is open; its check finds it.
    ASSERT_TRUE(database.Flush());
    ASSERT_TRUE(database.Close());
    Bytes& texts = disk.Bytes("ledger/Table_1_textdata.dat");
    ASSERT_GT(texts.size(), 80U);
    std::fill(texts.begin() + 54, texts.end(), uint8_t{0xFF});
    ASSERT_TRUE(database.Open("ledger"));
    EXPECT_EQ(database.Backup("b.dat", "", report, QuickOptions()), BackupCode::IntegrityFailed);
    EXPECT_EQ(report.detail.reason, BackupReason::TableDamaged);
    EXPECT_EQ(report.detail.name, "Account");
    EXPECT_EQ(report.detail.integrity, IntegrityCode::UnreadableText);
    EXPECT_FALSE(disk.Exists("b.dat"));
    EXPECT_FALSE(disk.Exists("b.dat.1.new"));
}

}  // namespace
}  // namespace quillon
