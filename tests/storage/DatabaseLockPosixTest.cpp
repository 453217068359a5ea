#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "storage/database/DatabaseManager.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

TEST(DatabaseLock, AnotherNameOfTheFolderIsTheSameFolder) {
    CTemporaryFolder folder;
    CDatabaseManager first;
    ASSERT_TRUE(first.Open(folder.File("ledger")));
    std::filesystem::create_directory_symlink(folder.File("ledger"), folder.File("shortcut"));
    CDatabaseManager second;
    EXPECT_FALSE(second.Open(folder.File("shortcut")));
    EXPECT_EQ(second.Problem(), DatabaseProblem::InUse);
    ASSERT_TRUE(first.Close());
    EXPECT_TRUE(second.Open(folder.File("shortcut")));
}

// A killed program leaves its last commit and nothing to clean up.
TEST(DatabaseLock, AKillReleasesIt) {
    CTemporaryFolder folder;
    const std::string path = folder.File("ledger");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        CDatabaseManager database;
        const bool done = database.Open(path) && database.CreateTable("Table") &&
                          database.AddColumn("Table", "Text", ColumnType::Text, true, true) &&
                          database.BeginRow("Table") && database.SetText("Text", "committed") &&
                          database.CommitRow() == 0 && database.BeginBatch() &&
                          database.BeginRow("Table") && database.CommitRow() == 1;
        ::_exit(done ? 0 : 1);  // without closing anything
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    CDatabaseManager database;
    ASSERT_TRUE(database.Open(path));
    ASSERT_NE(database.FindTable("Table"), nullptr);
    EXPECT_EQ(database.FindTable("Table")->RowCount(), 1);
    std::vector<TableIntegrity> tables;
    EXPECT_EQ(database.Verify(tables), IntegrityCode::Ok);
}

}  // namespace
}  // namespace quillon
