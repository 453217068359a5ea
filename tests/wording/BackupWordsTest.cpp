#include "wording/BackupWords.h"

#include <gtest/gtest.h>

#include <set>

namespace quillon {
namespace {

using Reason = BackupReason;

constexpr Medium kMedia[] = {Medium::Terminal, Medium::Window};

// One blank and one full stop between what is known and what to do.
TEST(BackupWords, Failures) {
    EXPECT_EQ(
        BackupFailureMessage(BackupCode::IntegrityFailed, "b.dat",
                             {BackupReason::TableDamaged, "Payee", IntegrityCode::MissingText},
                             Medium::Terminal),
        "The database integrity check failed. No backup was produced. Payee: The database "
        "integrity check found a text ID that does not exist. Run 'verify' to see what is "
        "wrong.");
    EXPECT_EQ(BackupFailureMessage(BackupCode::Other, "b.dat", {BackupReason::BracketOpen},
                                   Medium::Window),
              "An error occurred performing the backup. changes are still being entered.");
}

// Whatever the finding, the line says that nothing was kept and what to do.
TEST(BackupWords, Proofs) {
    using Step = BackupProofStep;
    const struct {
        BackupProof proof;
        const char* finding;
    } rows[] = {
        {{.step = Step::NotTried}, "the ledger itself could not be read"},
        {{.step = Step::NotReadable, .restored = RestoreCode::Damaged},
         "what was read back is not what was written"},
        {{.step = Step::NotReadable, .restored = RestoreCode::ReadFailed},
         "it cannot be read back"},
        {{.step = Step::NotOpened}, "what was read back does not open as a ledger"},
        {{.step = Step::Damaged}, "what was read back is damaged"},
        {{.step = Step::Differs, .difference = {true, "Checking"}},
         "what was read back differs in the account 'Checking'"},
        {{.step = Step::Differs, .difference = {false, "Payee"}},
         "what was read back differs in the table 'Payee'"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ProofFailureMessage(row.proof, Medium::Terminal),
                  "The backup was not kept, since the proof failed: " + std::string(row.finding) +
                      "; try again, best on another disk.");
    }
    const BackupProof noRoom{.step = Step::NotReadable, .restored = RestoreCode::WriteFailed};
    EXPECT_NE(ProofFailureMessage(noRoom, Medium::Terminal).find("--no-prove"), std::string::npos);
    EXPECT_EQ(ProofFailureMessage(noRoom, Medium::Window).find("--no-prove"), std::string::npos);
}

TEST(BackupWords, Details) {
    const struct {
        BackupDetail detail;
        const char* text;
    } rows[] = {
        {{}, ""},
        {{.name = "a/b.dat.1.new"}, "a/b.dat.1.new"},
        {{Reason::OutOfMemory}, "out of memory"},
        {{Reason::BracketOpen}, "changes are still being entered"},
        {{Reason::FlushFailed, "db/A.dat"}, "the database's files could not be written: db/A.dat"},
        {{Reason::TableDamaged, "Payee", IntegrityCode::MissingText},
         "Payee: The database integrity check found a text ID that does not exist."},
        {{Reason::PagesUnchecked}, "the files cannot be checked"},
        {{Reason::PageChanged, "A.dat"}, "A.dat is not as it was written"},
        {{Reason::ContainerName}, "a backup cannot have the name of a database's file"},
        {{Reason::ForeignFile, "x"}, "not a database's file, or named twice: x"},
        {{Reason::TooManyFiles}, "too many files"},
        {{Reason::FileUnreadable, "db/A.dat"}, "cannot be read: db/A.dat"},
        {{Reason::FileTooLarge, "db/A.dat"}, "too large: db/A.dat"},
        {{Reason::ForeignEntry}, "an entry of the directory is not a database's"},
        {{Reason::EntryTwice, "A.dat"}, "A.dat is there twice"},
        {{Reason::BadSizes}, "the sizes in the directory have no sense"},
        {{Reason::BytesBehindEnd}, "there are bytes behind its end"},
        {{Reason::NoSchema, "S.dat"}, "it holds no S.dat"},
    };
    for (const auto& row : rows) EXPECT_EQ(BackupDetailText(row.detail), row.text);
}

TEST(BackupWords, FailedBackups) {
    const struct {
        BackupCode code;
        BackupDetail detail;
        const char* inTerminal;
        const char* inWindow;
    } rows[] = {
        {BackupCode::NoPath,
         {},
         "No output file was given for the backup. Name a file or a folder; the next backup then "
         "needs no name.",
         "No output file was given for the backup. Choose a file or a folder."},
        {BackupCode::IntegrityFailed,
         {Reason::PageChanged, "A.dat"},
         "The database integrity check failed. No backup was produced. A.dat is not as it was "
         "written. Run 'verify' to see what is wrong.",
         "The database integrity check failed. No backup was produced. A.dat is not as it was "
         "written. Run the integrity check to see what is wrong."},
        {BackupCode::WriteFailed,
         {.name = "b.dat.1.new"},
         "An error occurred writing to the backup file. b.dat.1.new. Check the path 'b.dat', its "
         "permissions and the free space.",
         "An error occurred writing to the backup file. b.dat.1.new. Check the path 'b.dat', its "
         "permissions and the free space."},
        {BackupCode::NoFiles,
         {},
         "There are no files in the database.",
         "There are no files in the database."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(BackupFailureMessage(row.code, "b.dat", row.detail, Medium::Terminal),
                  row.inTerminal);
        EXPECT_EQ(BackupFailureMessage(row.code, "b.dat", row.detail, Medium::Window),
                  row.inWindow);
    }
}

TEST(BackupWords, RestoreInOneLineNamingWhatItIsAbout) {
    for (const Medium medium : kMedia) {
        std::set<std::string> said;
        for (int32_t code = 0; code <= static_cast<int32_t>(RestoreCode::OutOfMemory); ++code) {
            const std::string message =
                RestoreMessage(static_cast<RestoreCode>(code), "b.dat", "ledger", {}, medium);
            EXPECT_TRUE(message.ends_with('.') && message.find('\n') == std::string::npos)
                << message;
            EXPECT_TRUE(said.insert(message).second) << message;
        }
        for (const RestoreCode code :
             {RestoreCode::NotABackup, RestoreCode::NewerVersion, RestoreCode::WrongPassword,
              RestoreCode::Damaged, RestoreCode::Truncated}) {
            EXPECT_NE(RestoreMessage(code, "b.dat", "ledger", {}, medium).find("'b.dat'"),
                      std::string::npos);
        }
    }
    EXPECT_EQ(RestoreMessage(RestoreCode::Damaged, "b.dat", "ledger", {.name = "Table_1.dat"},
                             Medium::Window),
              "The backup 'b.dat' is damaged or was changed; nothing was restored, use another "
              "copy: Table_1.dat.");
    EXPECT_EQ(RestoreMessage(RestoreCode::TargetNotEmpty, "b.dat", "ledger", {}, Medium::Terminal),
              "The folder 'ledger' is not empty; choose another one, or replace the ledger in it "
              "with --overwrite.");
    EXPECT_EQ(RestoreMessage(RestoreCode::TargetNotEmpty, "b.dat", "ledger", {}, Medium::Window),
              "The folder 'ledger' is not empty; choose another one or ask for it to be replaced.");
}

}  // namespace
}  // namespace quillon
