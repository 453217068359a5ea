// Verify and repair, backup and restore, passwords, settings.

#include "cli/CliFixture.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/platform/Clock.h"
#include "foundation/platform/Folders.h"

namespace quillon {
namespace {

using testing::HasSubstr;
using testing::Not;

using Keys = std::vector<std::string>;

constexpr char kWrongPassword[] =
    "quillon-cli: The password entered does not match the database password. Please reenter the "
    "password.\n";

class Store : public CliTest {
protected:
    void SetUp() override {
        MakeLedger();
        Json(
            "transaction add Checking --type payment --date 2024-02-01 --amount 12.5 --payee Shop "
            "--category Groceries");
    }
    // Every account's register, for comparing ledgers.
    std::string RegistersIn(const std::string& folder) {
        std::string all;
        for (const char* account : {"Checking", "Savings", "Visa"}) {
            const CliRun run =
                RunBare({"--database", folder, "--json", "transaction", "list", account});
            EXPECT_EQ(run.status, 0) << run.err;
            all += run.out;
        }
        return all;
    }
    // Names of the ledger's files that end like that.
    std::vector<std::string> FilesLike(const std::string& end) {
        std::vector<std::string> paths;
        for (const auto& [path, bytes] : m_disk.Snapshot()) {
            if (path.starts_with("ledger/") && path.ends_with(end)) paths.push_back(path);
        }
        return paths;
    }
};

TEST_F(Store, VerifyFindsAndRepairsBalances) {
    const auto fine = Json("verify");
    EXPECT_EQ(CliRun::Keys(fine), (Keys{"code", "message", "tables", "pages", "rebuilt"}));
    EXPECT_EQ(fine.at("code"), 0);
    EXPECT_EQ(fine.at("pages").dump(), "[]");
    EXPECT_EQ(fine.at("rebuilt").dump(), "[]");
    ASSERT_EQ(fine.at("tables").size(), 15u);
    EXPECT_EQ(fine.at("tables")[0].dump(), R"({"table":"Account","rows":3,"code":0})");
    {
        CQuillonDatabaseInterface database(m_disk);
        ASSERT_TRUE(database.Open("ledger").opened);
        ASSERT_TRUE(database.UpdateAccountBalance(1, 5000.0));
    }
    const CliRun wrong = Run("--json verify");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.Json().at("code"), 13);
    EXPECT_EQ(wrong.err,
              "quillon-cli: The tables are in order, but the balance of 'Checking' is stored as "
              "5,000.00, and its transactions add up to 987.50. Run 'verify --repair', after a "
              "copy of the folder.\n");
    const CliRun repaired = Run("verify --repair");
    EXPECT_EQ(repaired.status, 0) << repaired.err;
    EXPECT_THAT(repaired.out, HasSubstr("Repaired: the balance of 'Checking'"));
    EXPECT_EQ(BalanceOf("Checking"), 987.5);
}

// A byte that no layout can judge: named until it is accepted, and kept out of backups.
TEST_F(Store, VerifyNamesPagesThatChanged) {
    m_disk.Bytes("ledger/Table_1_dict.dat").at(70) ^= 1;
    const auto size = std::to_string(m_disk.Bytes("ledger/Table_1_dict.dat").size());
    const CliRun wrong = Run("--json verify");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.Json().at("code"), 13);
    EXPECT_EQ(wrong.Json().at("pages")[0].dump(),
              R"({"file":"Table_1_dict.dat","page":0,"offset":0,"size":)" + size +
                  R"(,"message":"Table_1_dict.dat, bytes 0 to )" +
                  std::to_string(std::stoi(size) - 1) + R"(, differs from what was written"})");
    EXPECT_EQ(wrong.err, "quillon-cli: The tables are in order, but " +
                             wrong.Json().at("pages")[0].at("message").get<std::string>() +
                             ". A backup holds what was written; 'verify --repair', after a copy "
                             "of the folder, accepts what is there now.\n");
    const CliRun text = Run("verify");
    EXPECT_THAT(text.out, HasSubstr("Table_1_dict.dat, bytes 0 to "));
    EXPECT_EQ(Run("backup ledger.backup").status, 1);
    const CliRun repaired = Run("verify --repair");
    EXPECT_EQ(repaired.status, 0) << repaired.err;
    EXPECT_THAT(repaired.out, HasSubstr("Accepted as it is now: Table_1_dict.dat, bytes 0 to "));
    EXPECT_EQ(Run("verify").status, 0);
    EXPECT_EQ(Run("backup ledger.backup").status, 0);

    m_disk.Bytes("ledger/Checksums.dat").at(90) ^= 1;
    EXPECT_THAT(Run("verify").err, HasSubstr("Checksums.dat, the list of checksums, is damaged"));
    EXPECT_THAT(Run("verify --repair").out, HasSubstr("Made anew: Checksums.dat"));
    EXPECT_EQ(Run("verify").status, 0);
}

// One byte in the middle of each index turned over: repaired, and nothing is lost.
TEST_F(Store, RepairMakesDamagedIndexesAnew) {
    const std::string before = RegistersIn("ledger");
    const auto whole = m_disk.Snapshot();
    int found = 0;
    int damaged = 0;
    for (const auto& [path, bytes] : whole) {
        if (path.find("index") == std::string::npos || bytes.size() < 80) continue;
        SCOPED_TRACE(path);
        m_disk.Restore(whole);
        m_disk.Bytes(path).at(bytes.size() / 2) ^= 0x5A;
        ++damaged;
        const CliRun check = Run("verify");
        found += check.status != 0;
        EXPECT_EQ(std::count(check.err.begin(), check.err.end(), '\n'), check.status);
        if (check.err.find("--repair") == std::string::npos) continue;
        const CliRun repaired = Run("verify --repair");
        EXPECT_EQ(repaired.status, 0) << repaired.err;
        EXPECT_EQ(RegistersIn("ledger"), before);
    }
    EXPECT_GT(damaged, 0);
    EXPECT_GT(found, 0);
}

TEST_F(Store, ValuesOfANewerVersionAreNoted) {
    for (int number = 1;; ++number) {
        Bytes& definition = m_disk.Bytes("ledger/Table_" + std::to_string(number) + ".dat");
        if (std::string_view(reinterpret_cast<const char*>(definition.data()) + 62) !=
            "BudgetItem") {
            continue;
        }
        definition.at(182 + 240) = 9;
        break;
    }
    const CliRun run = Run("verify --repair");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(
        run.out,
        HasSubstr(" of table 'BudgetItem' holds values that this version does not know; they "
                  "are kept."));
}

// Damage that opening sees, and damage that the first use sees.
TEST_F(Store, TellsWhichIndexesWereMadeAnew) {
    const std::string before = RegistersIn("ledger");
    const auto whole = m_disk.Snapshot();
    const std::string index = "Table_4_index_3.dat";  // AccountID of the transactions
    const auto damage = [&](bool header) {
        m_disk.Restore(whole);
        Bytes& bytes = m_disk.Bytes("ledger/" + index);
        if (header) {
            bytes.at(0) ^= 1;
        } else {
            const Bytes record = Slice(bytes, 72, 20);
            bytes.insert(bytes.end(), record.begin(), record.end());
        }
    };
    for (const bool header : {true, false}) {
        damage(header);
        const CliRun list = Run("transaction list Checking");
        EXPECT_THAT(list.out, HasSubstr("The index " + index + " was missing or damaged"));
        EXPECT_EQ(RegistersIn("ledger"), before);
        damage(header);
        const CliRun verify = Run("--json verify");
        EXPECT_EQ(verify.Json().at("rebuilt").dump(), "[\"" + index + "\"]") << verify.err;
        EXPECT_EQ(Json("verify").at("rebuilt").dump(), "[]");
        damage(header);
        EXPECT_THAT(Run("verify --repair").out, HasSubstr(index));
    }
}

TEST_F(Store, BackupAndRestore) {
    const std::string before = RegistersIn("ledger");
    const CliRun backup = Run("backup ledger.backup");
    EXPECT_EQ(backup.status, 0) << backup.err;
    EXPECT_THAT(backup.out, HasSubstr("The backup of the database to 'ledger.backup' completed "
                                      "successfully.\n"));
    EXPECT_THAT(backup.out, HasSubstr("Proved: read back and compared, with "));
    EXPECT_THAT(backup.out, HasSubstr("The backup is not protected"));

    CliRun json = Run("--json backup again.backup");
    EXPECT_EQ(CliRun::Keys(json.Json()), (Keys{"code", "message", "files", "proved", "removed"}));
    EXPECT_EQ(json.Json().at("proved"), true);
    EXPECT_EQ(Run("--json backup third.backup --no-prove").Json().at("proved"), false);
    EXPECT_THAT(json.err, HasSubstr("note: The backup is not protected"));

    const auto restored = Json("restore ledger.backup --to copy");
    EXPECT_EQ(restored.at("code"), 0);
    EXPECT_EQ(restored.at("files"), json.Json().at("files"));
    EXPECT_EQ(RegistersIn("copy"), before);
    EXPECT_TRUE(m_prompts.empty());

    EXPECT_EQ(Run("restore ledger.backup --to copy").err,
              "quillon-cli: The folder 'copy' is not empty; choose another one, or replace the "
              "ledger in it with --overwrite.\n");
    EXPECT_EQ(Run("restore ledger.backup --to copy --overwrite").status, 0);

    m_disk.Bytes("ledger.backup").back() ^= 1;
    const CliRun tampered = Run("--json restore ledger.backup --to third");
    EXPECT_EQ(tampered.status, 1);
    EXPECT_NE(tampered.Json().at("code"), 0);
    EXPECT_FALSE(m_disk.FolderExists("third"));
    EXPECT_EQ(Run("backup ledger/inside.dat").status, 1);
}

TEST_F(Store, WhatIsInABackup) {
    const auto accounts = Json("account list");
    const auto rows = Json("transaction list Checking").size();
    WriteFile("secret", "open sesame");
    Json("--password-file secret password set");
    ASSERT_EQ(Run("--password-file secret backup b.dat").status, 0);
    const CliRun look = Run("--json --password-file secret restore b.dat --dry-run");
    const auto found = look.Json().at("accounts");
    ASSERT_EQ(found.size(), accounts.size()) << look.err;
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].at("name"), accounts[i].at("name"));
        EXPECT_EQ(found[i].at("balance"), accounts[i].at("balance"));
    }
    EXPECT_EQ(found[0].at("transactions"), rows);
    EXPECT_FALSE(m_disk.FolderExists("ledger.look"));
    m_disk.Bytes("b.dat").back() ^= 1;
    EXPECT_EQ(Run("--password-file secret restore b.dat --dry-run").status, 1);
    EXPECT_FALSE(m_disk.FolderExists("ledger.look"));
    for (const char* wrong :
         {"restore b.dat", "backup --keep 0 b.dat", "backup --keep 2 --no-prove b.dat"}) {
        EXPECT_EQ(Run(wrong).status, 2) << wrong;
    }
    EXPECT_THAT(Run("backup --keep 2 b.dat").err, HasSubstr("--keep goes with a folder"));
}

TEST_F(Store, BackupsWithoutANameGoToTheLastFolder) {
    EXPECT_EQ(Run("backup").err,
              "quillon-cli: No output file was given for the backup. Name a file or a folder; the "
              "next backup then needs no name.\n");
    const CStoppedClock clock(FileTimeFromDate(2026, 7, 1));
    const std::string folder = AbsolutePath("safe");
    ASSERT_TRUE(m_disk.MakeFolder(folder));
    const std::string start = JoinPath(folder, "QuillonDatabase_2026-07-01");
    for (const Arguments& arguments : {Arguments{"backup", folder}, Arguments("backup")}) {
        EXPECT_EQ(Run(arguments).status, 0);
    }
    EXPECT_TRUE(m_disk.Exists(start + ".dat"));
    EXPECT_TRUE(m_disk.Exists(start + "_2.dat"));
    // In a folder that cannot be listed none is replaced either.
    const Bytes first = m_disk.Bytes(start + ".dat");
    for (int64_t nth = 1; nth <= 20; ++nth) {
        m_disk.FailNth(CMemoryFileSystem::Call::List, nth);
        (void)Run("backup --no-prove");
        m_disk.StopFailing();
    }
    EXPECT_EQ(m_disk.Bytes(start + ".dat"), first);
    EXPECT_EQ(Json("settings get FileFolder DatabaseBackupPath").at("value"),
              WithTrailingSeparator(folder));
}

TEST_F(Store, ProtectedBackupsNeedTheirPassword) {
    WriteFile("secret", "correct horse\r\nsecond line");
    Json("--password-file secret password set");
    const CliRun backup = Run("--password-file secret backup safe.backup");
    EXPECT_EQ(backup.status, 0) << backup.err;
    EXPECT_THAT(backup.out, Not(HasSubstr("not protected")));

    m_typed = {"wrong horse"};
    const CliRun wrong = Run("restore safe.backup --to copy");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_FALSE(m_disk.FolderExists("copy"));
    m_typed = {"correct horse"};
    EXPECT_EQ(Run("restore safe.backup --to copy").status, 0);
    EXPECT_EQ(m_prompts, (Keys{"Password of the backup: ", "Password of the backup: "}));
}

TEST_F(Store, Passwords) {
    // A fresh ledger has protection on and no password: nothing is asked.
    EXPECT_EQ(Run("account list").status, 0);
    EXPECT_EQ(Run("password check").status, 1);
    EXPECT_EQ(Run("password clear").status, 1);
    EXPECT_TRUE(m_prompts.empty());

    m_typed = {"one", "two"};
    EXPECT_EQ(Run("password set").err,
              "quillon-cli: The two passwords differ; nothing was changed.\n");
    m_typed = {"opensesame", "opensesame"};
    EXPECT_EQ(Run("password set").status, 0);

    // Every command asks now.
    m_typed = {"opensesame"};
    EXPECT_EQ(Run("account list").status, 0);
    m_typed = {"OpenSesame"};
    const CliRun wrong = Run("account list");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.err, kWrongPassword);
    EXPECT_EQ(wrong.out, "");
    EXPECT_EQ(Run("account list").err,
              "quillon-cli: A password is needed and there is no terminal to ask on; give it with "
              "--password-file FILE.\n");

    WriteFile("right", "opensesame\n");
    WriteFile("empty", "\nopensesame\n");
    WriteFile("next", "tirdelet");
    EXPECT_EQ(Run("--password-file right password check").status, 0);
    EXPECT_EQ(Run("password check --password-file next").err, kWrongPassword);
    EXPECT_EQ(Run("password check --password-file empty").status, 1);
    EXPECT_EQ(Run("password check --password-file missing").status, 1);

    // Changing it takes the old one first.
    EXPECT_EQ(Run("password set --password-file next --new-password-file next").err,
              kWrongPassword);
    EXPECT_EQ(Run("password set --password-file right --new-password-file next").status, 0);
    EXPECT_EQ(Run("password check --password-file right").err, kWrongPassword);
    EXPECT_EQ(Run("password clear --password-file next").out,
              "The password security for the database has been disabled.\n");
    EXPECT_EQ(Run("account list").status, 0);
}

// A full disk that keeps a table from being made keeps nobody from reading.
TEST_F(Store, AnIncompleteLedgerIsReadWithANote) {
    {
        CQuillonDatabaseInterface database(m_disk);
        ASSERT_TRUE(database.Open("ledger").opened);
        ASSERT_TRUE(database.Store().RemoveTable(kCheckFormatTable));
    }
    CliRun run;
    for (int64_t nth = 1; nth < 200 && run.out.empty(); ++nth) {
        m_disk.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, nth, FileError::NoSpace,
                       CMemoryFileSystem::Times::ForEver);
        run = Run("--json account list");
    }
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.Json().size(), 3u);
    EXPECT_EQ(run.err,
              "note: The ledger in 'ledger' could not be brought up to date (CheckFormat) and is "
              "used as it is; make room on the disk, or run 'verify'. The next command tries "
              "again.\n");
    EXPECT_EQ(Run("init").status, 1);
    m_disk.StopFailing();
    EXPECT_EQ(Json("init").at("tables"), 15);
}

TEST_F(Store, Settings) {
    // Before the first command runs, the file is there, and never written twice.
    EXPECT_EQ(Run("settings get CheckPrint CheckWidth").out, "6.00\n");
    Json("settings set CheckPrint CheckWidth ''");
    EXPECT_EQ(Run("settings get CheckPrint CheckWidth").status, 1);
    EXPECT_EQ(Run("settings get FileFolder DatabasePath").status, 1);
    Json("settings set FileFolder DatabasePath ledger");
    EXPECT_EQ(Run("settings get filefolder databasepath").out, "ledger\n");
    EXPECT_EQ(Json("settings list FileFolder").dump(),
              R"([{"section":"FileFolder","key":"DatabasePath","value":"ledger"}])");
    // The ledger's folder comes from there.
    EXPECT_EQ(RunBare("account list").status, 0);
    EXPECT_EQ(Run("settings set A B two\nlines").status, 1);
    Json("settings set FileFolder DatabasePath ''");
    EXPECT_THAT(RunBare("account list").err, HasSubstr("no ledger in 'QuillonDatabase'"));
}

}  // namespace
}  // namespace quillon
