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
    const CNameTables names = RequireNames(session.Database());
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

}  // namespace

void AddExportCommand(CLI::App& program, CCommandContext& context) {
    CLI::App* const group = program.add_subcommand("export", "Write a register for other programs");
    group->require_subcommand(1);
    for (const bool csv : {true, false}) {
        CLI::App* const command =
            csv ? group->add_subcommand("csv", "Comma-separated values, for spreadsheets")
                : group->add_subcommand("qif", "QIF, for other finance programs");
        const auto options = std::make_shared<ExportOptions>();
        command->add_option("account", options->account, "Name of the account")->required();
        command->add_option("file", options->file, "File to write")->required();
        command->add_flag("--overwrite", options->overwrite, "Replace an existing file");
        command->callback([&context, csv, options] {
            context.work = [&context, csv, options] { Export(context, csv, *options); };
        });
    }
}

}  // namespace quillon
