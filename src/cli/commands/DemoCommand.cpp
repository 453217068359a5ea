// demo: a sample ledger to look around in.

#include "cli/DatabaseMessages.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Progress.h"
#include "cli/terminal/Values.h"
#include "sample/DemoHousehold.h"
#include "sample/DemoLedger.h"

namespace quillon {

namespace {

void RequireNewFolder(CFileSystem& files, const std::string& folder) {
    std::vector<std::string> names;
    if (!files.FolderExists(folder)) return;
    if (files.List(folder, names) && names.empty()) return;
    throw CFailure("The folder " + Quoted(folder) +
                   " is not empty; the sample ledger needs a new one.");
}

void MakeDemo(CCommandContext& context, const std::string& folder) {
    if (folder.empty()) throw CFailure("Name a new folder for the sample ledger.");
    RequireNewFolder(context.Host().files, folder);
    context.database = folder;
    CSession session(context, CSession::Start::Create);
    int64_t transactions = 0;
    {
        CProgress progress(context.Host(), "Living ten years");
        RequireDone(
            FillDemoLedger(session.Ledger(), transactions,
                           [&](int64_t done, int64_t total) { progress.Show(done, total); }),
            session.Database());
    }
    const auto accounts = static_cast<int64_t>(kDemoAccounts.size());
    if (context.WantsJson()) {
        context.Print(
            {{"database", folder}, {"accounts", accounts}, {"transactions", transactions}});
        return;
    }
    context.Say("A sample ledger was made in " + Quoted(folder) + ": " +
                Counted(accounts, "account", "accounts") + ", " +
                Counted(transactions, "transaction", "transactions") +
                " from 2015-01-01 to 2024-12-31.");
    context.Say("Look around with --database " + folder + ", such as: transaction list '" +
                kDemoAccounts[0].name + "' --from 2024-12-01");
}

}  // namespace

std::vector<Command> DemoCommands() {
    return {{.path = "demo",
             .help = "Make a lifelike sample ledger: five accounts, ten years",
             .options = {{.name = "folder", .help = "A new folder for it", .required = true}},
             .run = [](CCommandContext& context, const Arguments& given) {
                 MakeDemo(context, given.Value("folder"));
             }}};
}

}  // namespace quillon
