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
    const LedgerStatus status = session.Ledger().OpenAccount(account, balance, date);
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
    RequireStored(session.Database().ListAccounts(accounts), session.Database());
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
    RequireDone(session.Ledger().ChangeAccount(account), session.Database());
    RequireFound(session.Database().ReadAccount(account.id, account), session.Database());
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
    const LedgerStatus status = session.Ledger().SetAccountOpen(account.id, active);
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

void AddAccountCommands(CLI::App& program, CCommandContext& context) {
    CLI::App* const group = program.add_subcommand("account", "Accounts and their balances");
    group->require_subcommand(1);

    CLI::App* const add = group->add_subcommand("add", "Add an account");
    const auto options = std::make_shared<AddOptions>();
    add->add_option("name", options->name, "Name of the new account")->required();
    add->add_option("--type", options->type, "What kind of account it is")
        ->required()
        ->check(CLI::IsMember(AccountTypeKeys(), CLI::ignore_case));
    add->add_option("--description", options->description, "Anything worth knowing about it");
    AddText(add, "--balance", options->balance, "Opening balance; what is owed is negative");
    AddText(add, "--date", options->date, "Date of the opening balance (default: today)");
    add->callback([&context, options] {
        context.work = [&context, options] { AddAccount(context, *options); };
    });

    CLI::App* const edit = group->add_subcommand("edit", "Change name, description or kind");
    const auto edited = std::make_shared<EditOptions>();
    edit->add_option("account", edited->account, "Name of the account")->required();
    AddText(edit, "--name", edited->name, "Its new name");
    AddText(edit, "--description", edited->description, "Anything worth knowing about it");
    AddText(edit, "--type", edited->type, "What kind of account it is; the balance follows")
        ->check(CLI::IsMember(AccountTypeKeys(), CLI::ignore_case));
    edit->callback([&context, edited] {
        context.work = [&context, edited] { EditAccount(context, *edited); };
    });

    group->add_subcommand("list", "List the accounts and their balances")->callback([&context] {
        context.work = [&context] { ListAccounts(context); };
    });

    for (const bool active : {false, true}) {
        CLI::App* const set =
            active ? group->add_subcommand("reopen", "Take a closed account into use again")
                   : group->add_subcommand("close", "Close an account; its transactions stay");
        const auto name = std::make_shared<std::string>();
        set->add_option("name", *name, "Name of the account")->required();
        set->callback([&context, name, active] {
            context.work = [&context, name, active] { SetActive(context, *name, active); };
        });
    }
}

}  // namespace quillon
