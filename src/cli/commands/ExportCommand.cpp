// export csv, export qif: a register into a file.

#include "cli/Register.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/OutputFile.h"
#include "cli/terminal/Values.h"
#include "output/RegisterExport.h"

namespace quillon {

namespace {

struct ExportOptions {
    std::string account;
    std::string file;
    bool overwrite = false;
};

void Export(CCommandContext& context, bool csv, const ExportOptions& options) {
    CFileSystem& files = context.Host().files;
    if (!options.overwrite) RequireFreePath(files, options.file);
    CSession session(context);
    const CAccountEntry account = RequireAccount(session.Database(), options.account);
    const std::vector<RegisterLine> lines = ReadRegister(session.Database(), account);
    const CNameTables& names = session.Names();
    const std::string text =
        csv ? RegisterCsv(lines, names) : RegisterQif(lines, names, account.accountType);
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    if (!ReplaceWholeFile(files, options.file, bytes)) {
        throw CFailure("The file " + Quoted(options.file) +
                       " could not be written; check its path, its permissions and the free "
                       "space.");
    }
    const auto written = static_cast<int64_t>(lines.size());
    if (context.WantsJson()) {
        context.Print({{"file", options.file}, {"written", written}});
    } else {
        context.Say(Counted(written, "transaction", "transactions") + " of " +
                    Quoted(Printable(account.name.View())) + " written to " + Quoted(options.file) +
                    ".");
    }
}

ExportOptions OptionsOf(const Arguments& given) {
    return {.account = given.Value("account"),
            .file = given.Value("file"),
            .overwrite = given.Flag("--overwrite")};
}

}  // namespace

std::vector<Command> ExportCommands() {
    const std::vector<Option> options{
        {.name = "account", .help = "Name of the account", .required = true},
        {.name = "file", .help = "File to write", .required = true},
        {.name = "--overwrite", .help = "Replace an existing file", .kind = OptionKind::Flag}};
    return {
        {.path = "export", .help = "Write a register for other programs"},
        {.path = "export csv",
         .help = "Comma-separated values, for spreadsheets",
         .options = options,
         .run = [](CCommandContext& context,
                   const Arguments& given) { Export(context, true, OptionsOf(given)); }},
        {.path = "export qif",
         .help = "QIF, for other finance programs",
         .options = options,
         .run = [](CCommandContext& context,
                   const Arguments& given) { Export(context, false, OptionsOf(given)); }},
    };
}

}  // namespace quillon
