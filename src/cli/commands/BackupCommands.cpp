// backup.

#include <algorithm>
#include <charconv>
#include <string_view>

#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/BackupProgress.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "finance/backup/BackupRotation.h"
#include "finance/backup/ProvedBackup.h"
#include "foundation/CalendarDate.h"
#include "foundation/platform/Clock.h"
#include "foundation/platform/Folders.h"
#include "settings/SettingsNames.h"
#include "wording/BackupWords.h"

namespace quillon {

namespace {

// The number in "START_7.dat", 1 of "START.dat", 0 of another name.
int64_t NumberOfDay(const std::string& name, const std::string& start) {
    constexpr std::string_view kEnd = ".dat";
    if (!name.starts_with(start) || !name.ends_with(kEnd)) return 0;
    if (name.size() == start.size() + kEnd.size()) return 1;
    const std::string_view digits =
        std::string_view(name).substr(start.size(), name.size() - start.size() - kEnd.size());
    int64_t number = 0;
    const auto read = std::from_chars(digits.data() + 1, digits.data() + digits.size(), number);
    return digits[0] == '_' && read.ptr == digits.data() + digits.size() ? number : 0;
}

// In a folder a container is named by the day, from the second one of a day on with its
// number, which none of that day had: the last name is the newest one's. Without a name it goes
// where the last one went; empty when there was none.
std::string ContainerPath(CCommandContext& context, const std::string& given) {
    CFileSystem& files = context.Host().files;
    std::string folder = given;
    if (given.empty()) {
        context.Settings().ReadString(settings::kFileFolder, settings::kDatabaseBackupPath, folder);
        if (folder.empty()) return {};
    } else if (!files.FolderExists(given)) {
        return given;
    }
    const std::string start = "QuillonDatabase_" + FormatIsoDate(TodayFileTime());
    std::vector<std::string> names;
    int64_t last = 0;
    if (files.List(folder, names)) {
        for (const std::string& name : names) last = std::max(last, NumberOfDay(name, start));
    }
    // A folder that cannot be listed may still hold one of that name.
    std::string path;
    do {
        const std::string number = last == 0 ? "" : "_" + std::to_string(last + 1);
        path = WithTrailingSeparator(folder) + start + number + ".dat";
        ++last;
    } while (files.Exists(path));
    return path;
}

struct BackupRequest {
    std::string file;
    NumberOption keep;
    bool prove = true;
};

// Of a backup that was done. `removed`: older ones that went.
void PrintBackup(CCommandContext& context, const std::string& path, const BackupReport& report,
                 const BackupProof& proof, const std::vector<std::string>& removed) {
    const std::string message = BackupMessage(BackupCode::Done, path);
    if (context.WantsJson()) {
        context.Print({{"code", 0},
                       {"message", message},
                       {"files", report.files},
                       {"proved", proof.IsProved()},
                       {"removed", removed}});
        return;
    }
    context.Say(message);
    context.Say(Counted(report.files, "file", "files") + ", " +
                Counted(report.sourceBytes, "byte", "bytes") + " stored in " +
                Counted(report.bytes, "byte", "bytes") + ".");
    if (proof.IsProved()) context.Say(ProvedBackupText(proof.tally));
    for (const std::string& old : removed)
        context.Say("Removed the older backup " + Quoted(old) + ".");
}

[[noreturn]] void FailBackup(CCommandContext& context, const std::string& path, BackupCode code,
                             const BackupReport& report, const BackupProof& proof) {
    if (context.WantsJson()) {
        context.Print({{"code", static_cast<int32_t>(code)},
                       {"message", BackupMessage(code, path)},
                       {"files", report.files},
                       {"proved", false},
                       {"removed", Json::array()}});
    }
    if (report.detail.reason == BackupReason::NotProved) {
        throw CFailure(ProofFailureMessage(proof, Medium::Terminal));
    }
    throw CFailure(BackupFailureMessage(code, path, report.detail, Medium::Terminal));
}

// What --keep asks for can be done at all.
void CheckKeep(CCommandContext& context, const BackupRequest& request) {
    if (!request.keep.Given()) return;
    if (request.keep.value < 1) {
        throw CFailure("At least one backup stays: --keep 1 or more.", ExitStatus::WrongUsage);
    }
    if (!request.prove) {
        throw CFailure("--keep counts proved backups; leave --no-prove out.",
                       ExitStatus::WrongUsage);
    }
    if (!request.file.empty() && !context.Host().files.FolderExists(request.file)) {
        throw CFailure("--keep goes with a folder, and there is none called " +
                       Quoted(request.file) + ".");
    }
}

void Backup(CCommandContext& context, const BackupRequest& request) {
    CheckKeep(context, request);
    CSession session(context);
    const std::string path = ContainerPath(context, request.file);
    if (!path.empty() && IsSameFolder(FolderOf(path), session.Database().Folder())) {
        throw CFailure(BackupInsideLedgerMessage());
    }
    BackupReport report;
    BackupProof proof;
    BackupCode code = BackupCode::Other;
    {
        CBackupProgress parts(context, {"Backing up", "Proving"});
        code = request.prove
                   ? WriteProvedBackup(session.Database(), path, report, proof, parts.Options())
                   : session.Database().Backup(path, report, parts.Options());
    }
    if (code != BackupCode::Done) FailBackup(context, path, code, report, proof);
    const std::string place = AbsolutePath(path);
    context.Settings().WriteString(settings::kFileFolder, settings::kDatabaseBackupPath,
                                   ParentFolder(place));
    std::vector<std::string> removed;
    if (proof.IsProved()) {
        CBackupRotation rotation(context.Settings(), context.Host().files);
        const uint64_t ledger = session.Database().Identifier();
        rotation.Add(ledger, place, report.identifier);
        if (request.keep.Given()) {
            removed = rotation.Remove(ledger, ParentFolder(place), request.keep.value);
        }
    }
    PrintBackup(context, path, report, proof, removed);
    if (!report.isProtected) context.Note(UnprotectedBackupNote());
}

}  // namespace

std::vector<Command> BackupCommands() {
    return {
        {.path = "backup",
         .help = "Write the whole ledger into one compressed, encrypted file, and prove it",
         .options = {{.name = "file",
                      .help = "The backup's file, or a folder for it; without it the last folder"},
                     {.name = "--no-prove",
                      .help = "Do not read it back and compare it",
                      .kind = OptionKind::Flag},
                     {.name = "--keep",
                      .help = "Afterwards remove the oldest proved ones in the folder beyond this "
                              "many",
                      .kind = OptionKind::Number}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Backup(context, {.file = given.Value("file"),
                                  .keep = given.Number("--keep"),
                                  .prove = !given.Flag("--no-prove")});
             }},
        RestoreCommand()};
}

}  // namespace quillon
