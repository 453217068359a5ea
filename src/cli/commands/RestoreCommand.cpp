// restore.

#include <optional>

#include "cli/DatabaseMessages.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/BackupProgress.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "finance/backup/BackupCopy.h"
#include "finance/backup/LedgerTally.h"
#include "foundation/CurrencyFormat.h"
#include "storage/backup/BackupRestore.h"
#include "storage/backup/Crypto.h"
#include "wording/BackupWords.h"

namespace quillon {

namespace {

struct RestoreOptions {
    std::string file;
    TextOption folder;
    bool overwrite = false;
    bool look = false;
};

// A backup does not say whether it is protected: it opens without password or not.
template <class Run>
RestoreCode WithPassword(CCommandContext& context, Run run) {
    const RestoreCode code = run(std::string());
    if (code != RestoreCode::WrongPassword) return code;
    return run(Md5Hex(context.ReadPassword("Password of the backup: ")));
}

void PrintTally(CCommandContext& context, const RestoreReport& report, const LedgerTally& tally) {
    if (context.WantsJson()) {
        Json accounts = Json::array();
        for (const LedgerTally::Account& account : tally.accounts) {
            accounts.push_back({{"name", account.name},
                                {"type", KeyOf(account.type)},
                                {"balance", account.balance},
                                {"transactions", account.transactions},
                                {"active", account.active}});
        }
        Json tables = Json::array();
        for (const LedgerTally::Table& table : tally.tables) {
            tables.push_back({{"table", table.name}, {"rows", table.rows}});
        }
        context.Print({{"code", 0},
                       {"message", ""},
                       {"files", report.files},
                       {"accounts", accounts},
                       {"tables", tables}});
        return;
    }
    using Align = CTablePrinter::Align;
    CTablePrinter table;
    table.AddColumn("Account");
    table.AddColumn("Type");
    table.AddColumn("Transactions", Align::Right);
    table.AddColumn("Balance", Align::Right);
    table.AddColumn("State");
    for (const LedgerTally::Account& account : tally.accounts) {
        table.AddRow({account.name, std::string(NameOf(account.type)),
                      std::to_string(account.transactions), FormatCurrency(account.balance),
                      account.active ? "" : "closed"});
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
    context.Say("");
    context.Say(Counted(report.files, "file", "files") + ", " +
                Counted(report.bytes, "byte", "bytes") + "; nothing was restored.");
}

// Takes the backup out beside the ledger's folder, says what is in it and removes it again.
void LookAtBackup(CCommandContext& context, const RestoreOptions& given) {
    const std::string place = WithoutTrailingSeparators(
        given.folder.Given() ? given.folder.value : context.DatabaseFolder());
    RestoreReport report;
    std::optional<CBackupCopy> copy;
    const RestoreCode code = WithPassword(context, [&](const std::string& hash) {
        CBackupProgress parts(context, {"Reading"});
        copy.emplace(context.Host().files, place);
        return copy->TakeOut(given.file, hash, report, parts.Options());
    });
    if (code != RestoreCode::Done) {
        const std::string message =
            RestoreMessage(code, given.file, place, report.detail, Medium::Terminal);
        if (context.WantsJson()) {
            context.Print({{"code", static_cast<int32_t>(code)},
                           {"message", message},
                           {"files", 0},
                           {"accounts", Json::array()},
                           {"tables", Json::array()}});
        }
        throw CFailure(message);
    }
    const FinanceOpenResult opened = copy->Open();
    if (!opened.opened) {
        throw CFailure(
            DatabaseMessage(opened.problem, given.file, opened.detail, Medium::Terminal));
    }
    LedgerTally tally;
    RequireStored(TallyLedger(copy->Ledger(), tally), copy->Ledger());
    PrintTally(context, report, tally);
}

void Restore(CCommandContext& context, const RestoreOptions& given) {
    if (given.look) return LookAtBackup(context, given);
    if (!given.folder.Given()) {
        throw CFailure(
            "Name the folder to restore into with --to DIR, or see what is in the backup with "
            "--dry-run",
            ExitStatus::WrongUsage);
    }
    const std::string& folder = given.folder.value;
    CFileSystem& files = context.Host().files;
    RestoreReport report;
    const RestoreCode code = WithPassword(context, [&](const std::string& hash) {
        CBackupProgress parts(context, {"Restoring"});
        return RestoreBackup(files, given.file, folder, hash, given.overwrite, report,
                             parts.Options());
    });
    const auto message = [&](Medium medium) {
        return RestoreMessage(code, given.file, folder, report.detail, medium);
    };
    if (context.WantsJson()) {
        context.Print({{"code", static_cast<int32_t>(code)},
                       // Whoever shows it may have other ways than our options.
                       {"message", message(Medium::Window)},
                       {"files", code == RestoreCode::Done ? report.files : 0}});
    }
    if (code != RestoreCode::Done) throw CFailure(message(Medium::Terminal));
    if (context.WantsJson()) return;
    context.Say(message(Medium::Terminal));
    context.Say(Counted(report.files, "file", "files") + ", " +
                Counted(report.bytes, "byte", "bytes") + ".");
}

}  // namespace

Command RestoreCommand() {
    return {.path = "restore",
            .help = "Bring a backup back as a ledger",
            .options = {{.name = "file", .help = "The backup's file", .required = true},
                        {.name = "--to", .help = "Folder for the ledger"},
                        {.name = "--overwrite",
                         .help = "Replace the ledger in that folder",
                         .kind = OptionKind::Flag},
                        {.name = "--dry-run",
                         .help = "Restore nothing; show the accounts that are in it",
                         .kind = OptionKind::Flag}},
            .run = [](CCommandContext& context, const Arguments& given) {
                Restore(context, {.file = given.Value("file"),
                                  .folder = given.Text("--to"),
                                  .overwrite = given.Flag("--overwrite"),
                                  .look = given.Flag("--dry-run")});
            }};
}

}  // namespace quillon
