#include "cli/CommandLine.h"

#include <algorithm>
#include <new>

#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "finance/names/TypedNames.h"
#include "wording/NameWords.h"

namespace quillon {

namespace {

constexpr char kProgram[] = "quillon-cli";

void AddCommands(CLI::App& program, CCommandContext& context) {
    program.require_subcommand(1);
    // --database and --json are understood behind the command as well.
    program.fallthrough();
    program.set_version_flag("--version", std::string(kProgram) + " " QUILLON_VERSION);
    program
        .add_option("--database", context.database,
                    "Folder of the ledger (default: the settings' FileFolder DatabasePath, else "
                    "QuillonDatabase)")
        ->type_name("DIR");
    program.add_flag("--json", context.json, "One JSON document on standard output");
    program
        .add_option("--password-file", context.passwordFile,
                    "File whose first line is the ledger's password")
        ->type_name("FILE");
    AddStoreCommands(program, context);
    AddAccountCommands(program, context);
    AddTransactionCommands(program, context);
    AddCategoryCommands(program, context);
    AddPayeeCommands(program, context);
    AddRuleCommands(program, context);
    AddImportCommand(program, context);
    AddExportCommand(program, context);
    AddReconcileCommand(program, context);
    AddCheckCommands(program, context);
    AddBackupCommands(program, context);
    AddPasswordCommands(program, context);
    AddSettingsCommands(program, context);
    AddQuoteCommand(program, context);
    AddDemoCommand(program, context);
}

void Complain(CommandLineHost& host, std::string message) {
    // One line, whatever names and paths hold.
    std::replace_if(
        message.begin(), message.end(),
        [](char character) { return static_cast<unsigned char>(character) < 0x20; }, ' ');
    host.err << kProgram << ": " << message << '\n';
    host.err.flush();
}

// "quillon-cli account add": the command that the arguments got to.
std::string CommandPath(const CLI::App& program) {
    std::string path = kProgram;
    for (const CLI::App* app = &program; !app->get_subcommands().empty();) {
        app = app->get_subcommands().front();
        path += " " + app->get_name();
    }
    return path;
}

// What the parser says of a group without a command is the same for none and an unknown one.
std::string UsageMessage(const CLI::App& program, const CLI::ParseError& error) {
    const CLI::App* group = &program;
    while (!group->get_subcommands().empty()) group = group->get_subcommands().front();
    const auto isCommand = [](const CLI::App*) { return true; };
    std::vector<std::string> names;
    for (const CLI::App* command : group->get_subcommands(isCommand)) {
        names.push_back(command->get_name());
    }
    if (names.empty() || dynamic_cast<const CLI::RequiredError*>(&error) == nullptr) {
        return error.what();
    }
    // What a group does not know falls through to the program.
    const std::vector<std::string> unknown = program.remaining(true);
    if (unknown.empty() || unknown.front().starts_with("-")) return error.what();
    const std::string near = DidYouMean(NearNames(unknown.front(), names));
    return Quoted(unknown.front()) + " is not a command" + (near.empty() ? "" : "; " + near);
}

ExitStatus Run(const std::vector<std::string>& arguments, CommandLineHost& host) {
    CCommandContext context(host);
    CLI::App program("A personal-finance manager's ledger on the command line.", kProgram);
    AddCommands(program, context);
    try {
        // The parser takes the last argument first.
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {  // help or version
            program.exit(error, host.out, host.err);
            return ExitStatus::Done;
        }
        throw CFailure(UsageMessage(program, error) + " (see " + CommandPath(program) + " --help)",
                       ExitStatus::WrongUsage);
    }
    // A failure is nothing to stop for: the built-in settings hold then.
    (void)context.Settings().WriteDefaultFile();
    if (context.work) context.work();
    host.out.flush();
    if (!host.out) throw CFailure("The output could not be written; is the disk full?");
    return ExitStatus::Done;
}

}  // namespace

ExitStatus RunCommandLine(const std::vector<std::string>& arguments, CommandLineHost& host) {
    try {
        return Run(arguments, host);
    } catch (const CFailure& failure) {
        host.out.flush();
        Complain(host, failure.what());
        return failure.Status();
    } catch (const std::bad_alloc&) {
        Complain(host, "There is not enough memory; close other programs and try again.");
    } catch (const std::exception& error) {
        Complain(host, std::string("Something went wrong that should not: ") + error.what());
    }
    return ExitStatus::Failed;
}

}  // namespace quillon
