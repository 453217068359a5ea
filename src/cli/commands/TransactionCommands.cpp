// transaction add, edit, delete; transfer.

#include "cli/DatabaseMessages.h"
#include "cli/Register.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/platform/Clock.h"

namespace quillon {

namespace {

constexpr char kDirection[] = "the type gives the direction";

struct EntryOptions {
    std::string idText{};  // of an edit or delete
    TextOption account;
    TextOption type;
    TextOption date;
    TextOption amount;
    TextOption payee;
    TextOption category;
    TextOption check;
    TextOption electronic;
    TextOption memo;
    bool both = false;

    bool AnyGiven() const {
        for (const TextOption* option :
             {&account, &type, &date, &amount, &payee, &category, &check, &electronic, &memo}) {
            if (option->Given()) return true;
        }
        return false;
    }
};

CAccountEntry RequireOpenAccount(CQuillonDatabaseInterface& database, const std::string& name) {
    CAccountEntry account = RequireAccount(database, name);
    if (account.active) return account;
    throw CFailure("The account " + Quoted(account.name.ToUtf8()) +
                   " is closed; 'account reopen' takes it into use again.");
}

// What needs no database. Nothing is opened for a value that cannot be right.
void ReadPlainValues(const EntryOptions& options, CTransactionEntry& row) {
    if (options.type.Given()) row.transactionType = RequireTransactionType(options.type.value);
    if (options.date.Given()) row.serviceDate = RequireDate(options.date.value);
    if (options.amount.Given()) row.amount = RequireMagnitude(options.amount.value, kDirection);
    if (options.check.Given()) row.check = RequireCheckNumber(options.check.value);
    if (options.electronic.Given()) row.electronicPayment = options.electronic.value;
    if (options.memo.Given()) row.memo = RequireLine(options.memo.value, "memo");
    if (options.payee.Given()) RequireLine(options.payee.value, "payee");
}

// Account, category and payee, which is made with the entry when it is new. An empty name is
// none.
NewNames FindNames(const EntryOptions& options, CQuillonDatabaseInterface& database,
                   CTransactionEntry& row) {
    if (options.account.Given()) {
        row.accountId = RequireOpenAccount(database, options.account.value).id;
    }
    if (options.category.Given()) {
        row.categoryId = options.category.value.empty()
                             ? kNoRow
                             : RequireCategory(database, options.category.value).id;
    }
    if (!options.payee.Given()) return {};
    row.payeeId = kNoRow;
    return {.payee = options.payee.value, .category = {}};
}

void PrintLines(CCommandContext& context, CSession& session, const std::string& what,
                const std::vector<RegisterLine>& lines, bool asArray) {
    CQuillonDatabaseInterface& database = session.Database();
    const CNameTables& names = session.Names();
    if (context.WantsJson()) {
        Json rows = Json::array();
        for (const RegisterLine& line : lines) rows.push_back(TransactionJson(line, names));
        context.Print(asArray ? rows : rows.at(0));
        return;
    }
    for (const RegisterLine& line : lines) context.Say(what + ": " + Describe(line, names));
    for (const RegisterLine& line : lines) {
        CAccountEntry account;
        RequireFound(database.Read(line.row.accountId, account), database);
        context.Say("Balance of " + Quoted(Printable(account.name.View())) + ": " +
                    FormatCurrency(account.currentBalance));
    }
}

// The balance after a transaction is worked out where it is shown: in JSON.
RegisterLine LineOf(CCommandContext& context, CQuillonDatabaseInterface& database, int64_t id) {
    if (context.WantsJson()) return RequireLineOf(database, id);
    return {RequireTransaction(database, id), 0.0, 0.0};
}

// --- add

void AddTransaction(CCommandContext& context, const EntryOptions& options) {
    CTransactionEntry row;
    ReadPlainValues(options, row);
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const NewNames names = FindNames(options, database, row);
    RequireDone(session.Workspace().EnterTransaction(row, names), database);
    PrintLines(context, session, "Added", {LineOf(context, database, row.id)}, false);
}

// --- edit and delete

// The other side of a transfer: changed too with --both, mentioned without.
class COtherSide {
public:
    COtherSide(CSession& session, int64_t id, bool both) : m_both(both) {
        const CLookup found = session.Ledger().FindOtherTransferSide(id, m_other);
        RequireStored(!found.HasFailed(), session.Database());
        m_found = static_cast<bool>(found);
        if (both && !m_found) {
            throw CFailure("Transaction " + std::to_string(id) +
                           " has no other side: it is no transfer, or the other side is gone or "
                           "was changed; leave --both out.");
        }
    }
    TransferSides Sides() const { return m_both ? TransferSides::Both : TransferSides::ThisOnly; }
    bool IsChangedToo() const { return m_both; }
    int64_t Id() const { return m_other.id; }

    void Mention(CCommandContext& context, CQuillonDatabaseInterface& database) const {
        if (!m_found || m_both) return;
        CAccountEntry account;
        RequireFound(database.Read(m_other.accountId, account), database);
        context.Note("This was one side of a transfer; the other, transaction " +
                     std::to_string(m_other.id) + " in " + Quoted(account.name.ToUtf8()) +
                     ", was left as it was (--both does both).");
    }

private:
    CTransactionEntry m_other;
    bool m_both;
    bool m_found = false;
};

void EditTransaction(CCommandContext& context, const EntryOptions& options) {
    if (!options.AnyGiven()) {
        throw CFailure(
            "Nothing to change was given, such as --amount or --category "
            "(see quillon-cli transaction edit --help)",
            ExitStatus::WrongUsage);
    }
    const int64_t id = RequireId(options.idText);
    CTransactionEntry checked;
    ReadPlainValues(options, checked);
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    CTransactionEntry row = RequireTransaction(database, id);
    const COtherSide other(session, id, options.both);
    ReadPlainValues(options, row);

    const NewNames names = FindNames(options, database, row);
    // A type that was given is meant for the account the row goes to.
    const auto effect = options.type.Given() ? EffectOnMove::AsGiven : EffectOnMove::Kept;
    RequireDone(session.Workspace().ChangeTransaction(row, other.Sides(), names, effect), database);

    std::vector<RegisterLine> lines{LineOf(context, database, id)};
    if (other.IsChangedToo()) lines.push_back(LineOf(context, database, other.Id()));
    PrintLines(context, session, "Changed", lines, options.both);
    other.Mention(context, database);
}

void DeleteTransaction(CCommandContext& context, const EntryOptions& options) {
    const int64_t id = RequireId(options.idText);
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    std::vector<RegisterLine> lines{LineOf(context, database, id)};
    const COtherSide other(session, id, options.both);
    if (other.IsChangedToo()) lines.push_back(LineOf(context, database, other.Id()));
    RequireDone(session.Workspace().RemoveTransactions({&id, 1}, other.Sides()), database);
    PrintLines(context, session, "Deleted", lines, options.both);
    other.Mention(context, database);
}

// --- transfer

struct TransferOptions {
    std::string from;
    std::string to;
    std::string amount;
    TextOption date;
    std::string memo;
};

void Transfer(CCommandContext& context, const TransferOptions& options) {
    TransferRequest request;
    request.amount = RequireMagnitude(options.amount, "money goes from the first account");
    request.date = options.date.Given() ? RequireDate(options.date.value) : TodayFileTime();
    request.memo = RequireLine(options.memo, "memo");
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    request.fromAccountId = RequireOpenAccount(database, options.from).id;
    request.toAccountId = RequireOpenAccount(database, options.to).id;
    CTransactionEntry paying;
    CTransactionEntry receiving;
    RequireDone(session.Workspace().EnterTransfer(request, paying, receiving), database);
    PrintLines(context, session, "Added",
               {LineOf(context, database, paying.id), LineOf(context, database, receiving.id)},
               true);
}

// --- what there is to type

// `first`, then the options that add and edit share.
std::vector<Option> WithEntryOptions(std::vector<Option> first, bool required) {
    const std::vector<Option> shared{
        {.name = "--type",
         .help = "Kind of transaction",
         .required = required,
         .choices = TransactionTypeKeys(),
         .ignoreCase = true},
        {.name = "--date", .help = "YYYY-MM-DD", .required = required},
        {.name = "--amount", .help = "Amount without sign", .required = required},
        {.name = "--payee", .help = "Who is paid or pays; made when it is new"},
        {.name = "--category", .help = "A category there is"},
        {.name = "--check", .help = "Check number, 0 for none"},
        {.name = "--electronic",
         .help = "Kind of electronic payment",
         .choices = {"", "ATM", "EFT", "Transfer"}},
        {.name = "--memo", .help = "Anything worth knowing"}};
    first.insert(first.end(), shared.begin(), shared.end());
    return first;
}

// `account` is declared by either under its own name.
EntryOptions EntryOf(const Arguments& given, const TextOption& account) {
    return {.account = account,
            .type = given.Text("--type"),
            .date = given.Text("--date"),
            .amount = given.Text("--amount"),
            .payee = given.Text("--payee"),
            .category = given.Text("--category"),
            .check = given.Text("--check"),
            .electronic = given.Text("--electronic"),
            .memo = given.Text("--memo")};
}

Command AddCommand() {
    return {.path = "transaction add",
            .help = "Enter a transaction",
            .options = WithEntryOptions(
                {{.name = "account", .help = "Name of the account", .required = true}}, true),
            .run = [](CCommandContext& context, const Arguments& given) {
                AddTransaction(context, EntryOf(given, given.Text("account")));
            }};
}

Command EditCommand() {
    Command edit{.path = "transaction edit",
                 .help = "Change a transaction",
                 .options = WithEntryOptions(
                     {{.name = "id", .help = "Its number, from transaction list", .required = true},
                      {.name = "--account",
                       .help = "Move it to this account; the type follows the kind of account"}},
                     false),
                 .run = [](CCommandContext& context, const Arguments& given) {
                     EntryOptions options = EntryOf(given, given.Text("--account"));
                     options.idText = given.Value("id");
                     options.both = given.Flag("--both");
                     EditTransaction(context, options);
                 }};
    edit.options.push_back({.name = "--both",
                            .help = "Change the other side of a transfer to match: date, amount, "
                                    "category, memo, direction",
                            .kind = OptionKind::Flag});
    return edit;
}

Command DeleteCommand() {
    return {
        .path = "transaction delete",
        .help = "Delete a transaction",
        .options = {{.name = "id", .help = "Its number, from transaction list", .required = true},
                    {.name = "--both",
                     .help = "Delete the other side of a transfer too",
                     .kind = OptionKind::Flag}},
        .run = [](CCommandContext& context, const Arguments& given) {
            EntryOptions options;
            options.idText = given.Value("id");
            options.both = given.Flag("--both");
            DeleteTransaction(context, options);
        }};
}

Command TransferCommand() {
    return {.path = "transfer",
            .help = "Move money from one account to another",
            .options = {{.name = "from", .help = "Account that pays", .required = true},
                        {.name = "to", .help = "Account that receives", .required = true},
                        {.name = "--amount", .help = "Amount without sign", .required = true},
                        {.name = "--date", .help = "YYYY-MM-DD (default: today)"},
                        {.name = "--memo", .help = "Anything worth knowing"}},
            .run = [](CCommandContext& context, const Arguments& given) {
                Transfer(context, {.from = given.Value("from"),
                                   .to = given.Value("to"),
                                   .amount = given.Value("--amount"),
                                   .date = given.Text("--date"),
                                   .memo = given.Value("--memo")});
            }};
}

}  // namespace

std::vector<Command> TransactionCommands() {
    return {{.path = "transaction", .help = "Transactions of an account"},
            TransactionListCommand(),
            AddCommand(),
            EditCommand(),
            DeleteCommand(),
            TransferCommand()};
}

}  // namespace quillon
