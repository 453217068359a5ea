#include "cli/CommandLine.h"

#include <algorithm>
#include <new>
#include <utility>

#include "cli/Parser.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"

namespace quillon {

namespace {

// In the order of --help.
std::vector<Command> AllCommands() {
    std::vector<Command> all;
    for (const auto& some :
         {StoreCommands, AccountCommands, TransactionCommands, CategoryCommands, PayeeCommands,
          RuleCommands, ImportCommands, ImportBatchCommands, HistoryCommands, ExportCommands,
          ReconcileCommands, CheckCommands, BackupCommands, PasswordCommands, SettingsCommands,
          QuoteCommands, DemoCommands}) {
        for (Command& command : some()) all.push_back(std::move(command));
    }
    return all;
}

void Complain(CommandLineHost& host, std::string message) {
    // One line, whatever names and paths hold.
    std::replace_if(
        message.begin(), message.end(),
        [](char character) { return static_cast<unsigned char>(character) < 0x20; }, ' ');
    host.err << "quillon-cli: " << message << '\n';
    host.err.flush();
}

ExitStatus Run(const std::vector<std::string>& arguments, CommandLineHost& host) {
    CCommandContext context(host);
    const std::vector<Command> commands = AllCommands();
    const CommandCall call = ParseCommandLine(commands, arguments, context);
    if (!call.command) return ExitStatus::Done;
    // A failure is nothing to stop for: the built-in settings hold then.
    (void)context.Settings().WriteDefaultFile();
    call.command->run(context, Arguments(call.values));
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
