// account add, edit, list, close, reopen.

#include "cli/DatabaseMessages.h"
#include "cli/Names.h"
#include "cli/Register.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/platform/Clock.h"

namespace quillon {

namespace {

struct AddOptions {
    std::string name;
    std::string type;
    std::string description;
    TextOption balance;
    TextOption date;
};

void AddAccount(CCommandContext& context, const AddOptions& options) {
    CAccountEntry account;
    account.name = RequireLine(options.name, "name");
    account.accountType = RequireAccountType(options.type);
    account.description = RequireLine(options.description, "description");
    account.active = true;
    const double balance = options.balance.Given() ? RequireAmount(options.balance.value) : 0.0;
    const int64_t date = options.date.Given() ? RequireDate(options.date.value) : TodayFileTime();

    CSession session(context);
    const LedgerStatus status = session.Workspace().OpenAccount(account, balance, date);
    if (status == LedgerStatus::NameTaken) {
        throw CFailure("There is an account " + Quoted(options.name) +
                       " already; choose another name.");
    }
    RequireDone(status, session.Database());
    if (context.WantsJson()) {
        context.Print(AccountJson(account));
        return;
    }
    std::string line = "Account " + Quoted(options.name) + " (" + KeyOf(account.accountType) + ")";
    line += balance == 0.0 ? " was added with balance 0.00."
                           : " was added with balance " + FormatCurrency(balance) + " on " +
                                 FormatIsoDate(date) + ".";
    context.Say(line);
    if (balance > 0 && IsDebtAccount(account.accountType)) {
        context.Say("A positive balance of a " + KeyOf(account.accountType) +
                    " account is money the other side owes you; what you owe is negative.");
    }
}

void ListAccounts(CCommandContext& context) {
    CSession session(context);
    COwnedList<CAccountEntry> accounts;
    RequireStored(session.Database().List(accounts), session.Database());
    if (context.WantsJson()) {
        Json rows = Json::array();
        for (const CAccountEntry& account : accounts) rows.push_back(AccountJson(account));
        context.Print(rows);
        return;
    }
    if (accounts.IsEmpty()) {
        context.Say("The ledger has no accounts yet; make one with 'account add'.");
        return;
    }
    using Align = CTablePrinter::Align;
    using Fit = CTablePrinter::Fit;
    CTablePrinter table;
    table.AddColumn("Id", Align::Right);
    table.AddColumn("Account");
    table.AddColumn("Type");
    table.AddColumn("Balance", Align::Right);
    table.AddColumn("Check", Align::Right);
    table.AddColumn("State");
    table.AddColumn("Description", Align::Left, Fit::Drop);
    CMoneySum total;
    for (const CAccountEntry& account : accounts) {
        total.Add(account.currentBalance);
        table.AddRow({std::to_string(account.id), account.name.ToUtf8(),
                      std::string(NameOf(account.accountType)),
                      FormatCurrency(account.currentBalance),
                      account.latestCheckNumber ? std::to_string(account.latestCheckNumber) : "",
                      account.active ? "" : "closed", account.description.ToUtf8()});
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
    context.Say("");
    context.Say(Counted(accounts.Count(), "account", "accounts") + ", together " +
                FormatCurrency(total.Value()));
}

struct EditOptions {
    std::string account;
    TextOption name;
    TextOption description;
    TextOption type;
};

void EditAccount(CCommandContext& context, const EditOptions& options) {
    if (!options.name.Given() && !options.description.Given() && !options.type.Given()) {
        throw CFailure(
            "Nothing to change was given, such as --name or --type "
            "(see quillon-cli account edit --help)",
            ExitStatus::WrongUsage);
    }
    CSession session(context);
    CAccountEntry account = RequireAccount(session.Database(), options.account);
    if (options.name.Given()) account.name = RequireLine(options.name.value, "name");
    if (options.description.Given()) {
        account.description = RequireLine(options.description.value, "description");
    }
    if (options.type.Given()) account.accountType = RequireAccountType(options.type.value);
    const double before = account.currentBalance;
    RequireDone(session.Workspace().ChangeAccount(account), session.Database());
    RequireFound(session.Database().Read(account.id, account), session.Database());
    if (context.WantsJson()) {
        context.Print(AccountJson(account));
        return;
    }
    context.Say("The account " + Quoted(account.name.ToUtf8()) + " was changed.");
    if (account.currentBalance != before) {
        context.Say("In a " + KeyOf(account.accountType) + " account its transactions add up to " +
                    FormatCurrency(account.currentBalance) + ", not " + FormatCurrency(before) +
                    ".");
    }
}

void SetActive(CCommandContext& context, const std::string& name, bool active) {
    CSession session(context);
    CAccountEntry account = RequireAccount(session.Database(), name);
    const std::string shown = Quoted(account.name.ToUtf8());
    const LedgerStatus status = session.Workspace().SetAccountOpen(account.id, active);
    if (status == LedgerStatus::AccountSo) {
        throw CFailure("The account " + shown + " is " + (active ? "open" : "closed") +
                       " already.");
    }
    RequireDone(status, session.Database());
    account.active = active;
    if (context.WantsJson()) {
        context.Print(AccountJson(account));
        return;
    }
    context.Say("The account " + shown + " was " +
                (active ? "reopened." : "closed; its transactions stay."));
    if (!active && account.currentBalance != 0.0) {
        context.Say("Its balance is " + FormatCurrency(account.currentBalance) +
                    ", which still counts.");
    }
}

}  // namespace

std::vector<Command> AccountCommands() {
    return {
        {.path = "account", .help = "Accounts and their balances"},
        {.path = "account add",
         .help = "Add an account",
         .options = {{.name = "name", .help = "Name of the new account", .required = true},
                     {.name = "--type",
                      .help = "What kind of account it is",
                      .required = true,
                      .choices = AccountTypeKeys(),
                      .ignoreCase = true},
                     {.name = "--description", .help = "Anything worth knowing about it"},
                     {.name = "--balance", .help = "Opening balance; what is owed is negative"},
                     {.name = "--date", .help = "Date of the opening balance (default: today)"}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 AddAccount(context, {.name = given.Value("name"),
                                      .type = given.Value("--type"),
                                      .description = given.Value("--description"),
                                      .balance = given.Text("--balance"),
                                      .date = given.Text("--date")});
             }},
        {.path = "account edit",
         .help = "Change name, description or kind",
         .options = {{.name = "account", .help = "Name of the account", .required = true},
                     {.name = "--name", .help = "Its new name"},
                     {.name = "--description", .help = "Anything worth knowing about it"},
                     {.name = "--type",
                      .help = "What kind of account it is; the balance follows",
                      .choices = AccountTypeKeys(),
                      .ignoreCase = true}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 EditAccount(context, {.account = given.Value("account"),
                                       .name = given.Text("--name"),
                                       .description = given.Text("--description"),
                                       .type = given.Text("--type")});
             }},
        {.path = "account list",
         .help = "List the accounts and their balances",
         .run = [](CCommandContext& context, const Arguments&) { ListAccounts(context); }},
        {.path = "account close",
         .help = "Close an account; its transactions stay",
         .options = {{.name = "name", .help = "Name of the account", .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { SetActive(context, given.Value("name"), false); }},
        {.path = "account reopen",
         .help = "Take a closed account into use again",
         .options = {{.name = "name", .help = "Name of the account", .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { SetActive(context, given.Value("name"), true); }},
    };
}

}  // namespace quillon
