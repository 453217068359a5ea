// transaction list: a register with running balances.

#include "cli/DatabaseMessages.h"
#include "cli/Register.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

struct ListOptions {
    std::string account;
    TextOption from;
    TextOption to;
    TextOption payee;
    TextOption category;
    TextOption contains;
};

RegisterFilter FilterOf(const ListOptions& options) {
    RegisterFilter filter;
    if (options.from.Given()) filter.from = RequireDate(options.from.value);
    if (options.to.Given()) filter.to = RequireDate(options.to.value);
    if (filter.IsEmptyRange()) {
        throw CFailure("--from " + options.from.value + " is after --to " + options.to.value +
                       "; no date lies between them.");
    }
    if (options.payee.Given()) filter.payee = options.payee.value;
    if (options.category.Given()) filter.category = options.category.value;
    if (options.contains.Given()) filter.contains = options.contains.value;
    return filter;
}

// A name must exist; a pattern may match nothing.
void RequireKnownNames(CQuillonDatabaseInterface& database, const RegisterFilter& filter) {
    if (filter.payee && !HasWildcard(*filter.payee)) RequirePayee(database, *filter.payee);
    if (filter.category && !HasWildcard(*filter.category)) {
        RequireCategory(database, *filter.category);
    }
}

void PrintRegister(CCommandContext& context, const std::vector<const RegisterLine*>& lines,
                   const CNameTables& names) {
    using Align = CTablePrinter::Align;
    using Fit = CTablePrinter::Fit;
    CTablePrinter table;
    table.AddColumn("Id", Align::Right);
    table.AddColumn("Date");
    table.AddColumn("Type", Align::Left, Fit::Drop);
    table.AddColumn("Number");
    table.AddColumn("Payee", Align::Left, Fit::Yield);
    table.AddColumn("Category", Align::Left, Fit::Yield);
    table.AddColumn("Effect", Align::Right);
    table.AddColumn("Balance", Align::Right);
    table.AddColumn("Memo", Align::Left, Fit::Drop);
    CMoneySum in;
    CMoneySum out;
    for (const RegisterLine* line : lines) {
        const CTransactionEntry& row = line->row;
        (line->effect > 0 ? in : out).Add(line->effect);
        table.AddRow({std::to_string(row.id), FormatIsoDate(row.serviceDate),
                      std::string(NameOf(row.transactionType)), NumberText(row),
                      names.Payee(row.payeeId), names.Category(row.categoryId),
                      FormatCurrency(line->effect), FormatCurrency(line->balance),
                      row.memo.ToUtf8()});
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
    context.Say("");
    context.Say(Counted(static_cast<int64_t>(lines.size()), "transaction", "transactions") +
                ": in " + FormatCurrency(in.Value()) + ", out " + FormatCurrency(-out.Value()));
}

void ListTransactions(CCommandContext& context, const ListOptions& options) {
    const RegisterFilter filter = FilterOf(options);
    CSession session(context);
    const CAccountEntry account = RequireAccount(session.Database(), options.account);
    RequireKnownNames(session.Database(), filter);
    const CNameTables& names = session.Names();
    std::vector<RegisterLine> lines;
    RequireStored(filter.Read(session.Database(), account, lines), session.Database());
    std::vector<const RegisterLine*> shown;
    for (const RegisterLine& line : lines) {
        if (filter.Shows(line, names)) shown.push_back(&line);
    }
    if (context.WantsJson()) {
        Json rows = Json::array();
        for (const RegisterLine* line : shown) rows.push_back(TransactionJson(*line, names));
        context.Print(rows);
        return;
    }
    const std::string name = Quoted(Printable(account.name.View()));
    if (!shown.empty()) {
        PrintRegister(context, shown, names);
    } else {
        int64_t count = 0;
        RequireStored(session.Database().CountTransactions(account.id, count), session.Database());
        context.Say(count == 0 ? "The account " + name + " has no transactions yet."
                               : "None of the " + Counted(count, "transaction", "transactions") +
                                     " of " + name + " is what you asked for.");
    }
    context.Say("Balance of " + name + ": " + FormatCurrency(account.currentBalance));
}

}  // namespace

Command TransactionListCommand() {
    return {
        .path = "transaction list",
        .help = "Show an account's register with running balances",
        .options = {{.name = "account", .help = "Name of the account", .required = true},
                    {.name = "--from", .help = "First date, YYYY-MM-DD"},
                    {.name = "--to", .help = "Last date, YYYY-MM-DD"},
                    {.name = "--payee",
                     .help = "Only this payee; * and ? stand for any characters"},
                    {.name = "--category", .help = "Only this category; * and ? as above"},
                    {.name = "--contains",
                     .help = "Only where payee, category, memo, number or amount contain this"}},
        .run = [](CCommandContext& context, const Arguments& given) {
            ListTransactions(context, {.account = given.Value("account"),
                                       .from = given.Text("--from"),
                                       .to = given.Text("--to"),
                                       .payee = given.Text("--payee"),
                                       .category = given.Text("--category"),
                                       .contains = given.Text("--contains")});
        }};
}

}  // namespace quillon
