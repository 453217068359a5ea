// password set, clear, check.

#include "cli/DatabaseMessages.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"

namespace quillon {

namespace {

// Asked twice on the terminal, since nobody sees what was typed.
std::string AskForNewPassword(CCommandContext& context) {
    const auto& ask = context.Host().readPassword;
    std::string first;
    std::string second;
    if (!ask || !ask("New password: ", first)) {
        throw CFailure(
            "There is no terminal to ask for the new password on; give it with "
            "--new-password-file FILE.");
    }
    if (first.empty()) throw CFailure("The new password is empty; 'password clear' removes it.");
    if (!ask("New password again: ", second) || first != second) {
        throw CFailure("The two passwords differ; nothing was changed.");
    }
    return first;
}

void PrintState(CCommandContext& context, bool isProtected, const std::string& line) {
    if (context.WantsJson()) {
        context.Print({{"protected", isProtected}});
    } else {
        context.Say(line);
    }
}

void Set(CCommandContext& context, const std::string& newPasswordFile) {
    CSession session(context);
    std::string password;
    if (!newPasswordFile.empty()) {
        password = context.ReadPasswordFile(newPasswordFile);
    } else if (!session.IsProtected() && !context.passwordFile.empty()) {
        password = context.ReadPasswordFile(context.passwordFile);
    } else {
        password = AskForNewPassword(context);
    }
    RequireStored(session.Database().SetPassword(password), session.Database());
    PrintState(context, true, "The password of the ledger was set.");
}

void Clear(CCommandContext& context) {
    CSession session(context);
    if (!session.IsProtected()) throw CFailure("The ledger has no password to clear.");
    RequireStored(session.Database().ClearPassword(), session.Database());
    PrintState(context, false, kProtectionOffMessage);
}

void Check(CCommandContext& context) {
    CSession session(context);
    if (!session.IsProtected()) {
        throw CFailure("The ledger has no password; 'password set' gives it one.");
    }
    PrintState(context, true, "The password is right.");
}

}  // namespace

std::vector<Command> PasswordCommands() {
    return {
        {.path = "password", .help = "The ledger's password, asked for on the terminal"},
        {.path = "password set",
         .help = "Set or change the password",
         .options = {{.name = "--new-password-file",
                      .help = "File whose first line is the new password (of a ledger without "
                              "one, --password-file will do)",
                      .typeName = "FILE"}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Set(context, given.Value("--new-password-file")); }},
        {.path = "password clear",
         .help = "Remove the password",
         .run = [](CCommandContext& context, const Arguments&) { Clear(context); }},
        {.path = "password check",
         .help = "Tell whether a password is the right one",
         .run = [](CCommandContext& context, const Arguments&) { Check(context); }},
    };
}

}  // namespace quillon
