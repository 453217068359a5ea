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
        throw CFailure(
            "A backup does not belong into the ledger's own folder; choose another "
            "place, best on another disk.");
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
        std::string advice = report.detail.empty() ? "" : " " + report.detail + ".";
        if (code == BackupCode::NoPath) {
            advice += " Name a file or a folder; the next backup then needs no name.";
        }
        if (code == BackupCode::IntegrityFailed) advice += " Run 'verify' to see what is wrong.";
        if (code == BackupCode::WriteFailed) {
            advice += " Check the path " + Quoted(path) + ", its permissions and the free space.";
        }
        throw CFailure(message + advice);
    }
    if (!context.WantsJson()) {
        context.Say(message);
        context.Say(Counted(report.files, "file", "files") + ", " +
                    Counted(report.sourceBytes, "byte", "bytes") + " stored in " +
                    Counted(report.bytes, "byte", "bytes") + ".");
    }
    if (!report.isProtected) {
        context.Note(
            "The backup is not protected: the ledger has no password, so whoever has "
            "the file can read it.");
    }
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
    const std::string message = RestoreMessage(code, given.file, given.folder, report.detail);
    if (context.WantsJson()) {
        context.Print({{"code", static_cast<int32_t>(code)},
                       {"message", message},
                       {"files", code == RestoreCode::Done ? report.files : 0}});
    }
    if (code == RestoreCode::TargetNotEmpty) {
        throw CFailure("The folder " + Quoted(given.folder) +
                       " is not empty; choose another one, or replace the ledger in it with "
                       "--overwrite.");
    }
    if (code != RestoreCode::Done) throw CFailure(message);
    if (context.WantsJson()) return;
    context.Say(message);
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
