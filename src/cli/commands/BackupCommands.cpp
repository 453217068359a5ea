// backup, restore.

#include <algorithm>

#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Progress.h"
#include "cli/terminal/Values.h"
#include "foundation/CalendarDate.h"
#include "foundation/platform/Clock.h"
#include "foundation/platform/Folders.h"
#include "settings/SettingsNames.h"
#include "storage/backup/BackupRestore.h"
#include "storage/backup/Crypto.h"
#include "storage/database/DatabaseManager.h"
#include "wording/BackupWords.h"

namespace quillon {

namespace {

BackupOptions OptionsWith(CCommandContext& context, CProgress& progress) {
    BackupOptions options;
    options.keyCost = context.Host().keyCost;
    options.progress = [&progress](int64_t done, int64_t total) { progress.Show(done, total); };
    return options;
}

// In a folder a container is named by the day, from the second one of a day on with its
// number. Without a name it goes where the last one went; empty when there was none.
std::string ContainerPath(CCommandContext& context, const std::string& given) {
    CFileSystem& files = context.Host().files;
    std::string folder = given;
    if (given.empty()) {
        context.Settings().ReadString(settings::kFileFolder, settings::kDatabaseBackupPath, folder);
        if (folder.empty()) return {};
    } else if (!files.FolderExists(given)) {
        return given;
    }
    const std::string start =
        WithTrailingSeparator(folder) + "QuillonDatabase_" + FormatIsoDate(TodayFileTime());
    std::string path = start + ".dat";
    for (int number = 2; files.Exists(path); ++number) {
        path = start + "_" + std::to_string(number) + ".dat";
    }
    return path;
}

// Folders as people write them: on Windows with either separator.
bool SameFolder(std::string first, std::string second) {
    for (std::string* folder : {&first, &second}) {
        std::replace_if(folder->begin(), folder->end(), IsPathSeparator, '/');
    }
    return first == second;
}

void Backup(CCommandContext& context, const std::string& file) {
    CSession session(context);
    const std::string path = ContainerPath(context, file);
    if (!path.empty() && SameFolder(FolderOf(path), session.Database().Folder())) {
        throw CFailure(BackupInsideLedgerMessage());
    }
    BackupReport report;
    BackupCode code = BackupCode::Other;
    {
        CProgress progress(context.Host(), "Backing up");
        code = session.Database().Backup(path, report, OptionsWith(context, progress));
    }
    if (code == BackupCode::Done) {
        context.Settings().WriteString(settings::kFileFolder, settings::kDatabaseBackupPath,
                                       ParentFolder(AbsolutePath(path)));
    }
    const std::string message = BackupMessage(code, path);
    if (context.WantsJson()) {
        context.Print(
            {{"code", static_cast<int32_t>(code)}, {"message", message}, {"files", report.files}});
    }
    if (code != BackupCode::Done) {
        throw CFailure(BackupFailureMessage(code, path, report.detail, Medium::Terminal));
    }
    if (!context.WantsJson()) {
        context.Say(message);
        context.Say(Counted(report.files, "file", "files") + ", " +
                    Counted(report.sourceBytes, "byte", "bytes") + " stored in " +
                    Counted(report.bytes, "byte", "bytes") + ".");
    }
    if (!report.isProtected) context.Note(UnprotectedBackupNote());
}

struct RestoreOptions {
    std::string file;
    std::string folder;
    bool overwrite = false;
};

void Restore(CCommandContext& context, const RestoreOptions& given) {
    CFileSystem& files = context.Host().files;
    RestoreReport report;
    RestoreCode code = RestoreCode::Done;
    const auto run = [&](const std::string& hash) {
        CProgress progress(context.Host(), "Restoring");
        return RestoreBackup(files, given.file, given.folder, hash, given.overwrite, report,
                             OptionsWith(context, progress));
    };
    // A backup does not say whether it is protected: it opens without password or not.
    code = run({});
    if (code == RestoreCode::WrongPassword) {
        code = run(Md5Hex(context.ReadPassword("Password of the backup: ")));
    }
    const auto message = [&](Medium medium) {
        return RestoreMessage(code, given.file, given.folder, report.detail, medium);
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

std::vector<Command> BackupCommands() {
    return {
        {.path = "backup",
         .help = "Write the whole ledger into one compressed, encrypted file",
         .options = {{.name = "file",
                      .help = "The backup's file, or a folder for it; without it the last folder"}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Backup(context, given.Value("file")); }},
        {.path = "restore",
         .help = "Bring a backup back as a ledger",
         .options = {{.name = "file", .help = "The backup's file", .required = true},
                     {.name = "--to", .help = "Folder for the ledger", .required = true},
                     {.name = "--overwrite",
                      .help = "Replace the ledger in that folder",
                      .kind = OptionKind::Flag}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Restore(context, {.file = given.Value("file"),
                                   .folder = given.Value("--to"),
                                   .overwrite = given.Flag("--overwrite")});
             }},
    };
}

}  // namespace quillon
