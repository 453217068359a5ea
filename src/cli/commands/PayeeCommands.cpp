// payee list, add, rename, delete.

#include "cli/DatabaseMessages.h"
#include "cli/NamedRows.h"
#include "cli/Names.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"

namespace quillon {

namespace {

Json PayeeJson(const CPayeeEntry& payee) {
    return {{"id", payee.id}, {"name", payee.name.ToUtf8()}};
}

std::string RequireNewName(CQuillonDatabaseInterface& database, const std::string& name) {
    RequireLine(name, "name");
    if (name.empty()) throw CFailure("A payee needs a name.");
    const std::optional<int64_t> holder = database.FindPayeeId(name);
    RequireStored(holder.has_value(), database);
    if (*holder != kNoRow) {
        throw CFailure("There is a payee " + Quoted(name) +
                       " already; to join two of them use 'payee delete OLD --to " + name + "'.");
    }
    return name;
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CPayeeEntry> payees;
    RequireStored(session.Database().ListPayees(payees), session.Database());
    Json rows = Json::array();
    for (const CPayeeEntry& payee : payees) rows.push_back(PayeeJson(payee));
    PrintRowTable(context, rows, {{"Id", "id", CTablePrinter::Align::Right}, {"Payee", "name"}},
                  "payee", "payees");
}

void Add(CCommandContext& context, const std::string& name) {
    CSession session(context);
    CPayeeEntry payee;
    payee.name = RequireNewName(session.Database(), name);
    RequireStored(session.Database().AddPayee(payee), session.Database());
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(name) + " was added.");
}

void Rename(CCommandContext& context, const std::string& from, const std::string& to) {
    CSession session(context);
    CPayeeEntry payee = RequirePayee(session.Database(), from);
    const std::string old = payee.name.ToUtf8();
    payee.name = RequireNewName(session.Database(), to);
    RequireStored(session.Database().RenamePayee(payee.id, to), session.Database());
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(old) + " is " + Quoted(to) + " now.");
}

void Delete(CCommandContext& context, const std::string& name, const TextOption& moveTo) {
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const CPayeeEntry payee = RequirePayee(database, name);
    const std::string shown = Quoted(payee.name.ToUtf8());
    CFinanceBatch batch(database);
    RequireStored(batch.Begun(), database);
    const int64_t uses = CountPayeeUses(database, payee.id);
    if (moveTo.Given()) {
        const CPayeeEntry target = RequirePayee(database, moveTo.value);
        if (target.id == payee.id) throw CFailure("--to names the payee itself.");
        MovePayeeUses(database, payee.id, target.id);
    } else if (uses > 0) {
        throw CFailure("The payee " + shown + " is used in " + Counted(uses, "place", "places") +
                       "; give another one for them with --to PAYEE.");
    }
    RequireStored(database.DeletePayee(payee.id) && batch.Commit(), database);
    PrintRows(context, Json::array({PayeeJson(payee)}), "The payee " + shown + " was deleted.");
}

}  // namespace

std::vector<Command> PayeeCommands() {
    return {
        {.path = "payee", .help = "Who is paid and who pays"},
        {.path = "payee list",
         .help = "List the payees",
         .run = [](CCommandContext& context, const Arguments&) { List(context); }},
        {.path = "payee add",
         .help = "Add a payee",
         .options = {{.name = "name", .help = "Its name", .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Add(context, given.Value("name")); }},
        {.path = "payee rename",
         .help = "Rename a payee",
         .options = {{.name = "name", .help = "Its name", .required = true},
                     {.name = "new-name", .help = "Its new name", .required = true}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Rename(context, given.Value("name"), given.Value("new-name"));
             }},
        {.path = "payee delete",
         .help = "Delete a payee",
         .options = {{.name = "name", .help = "Its name", .required = true},
                     {.name = "--to", .help = "Payee for what is filed under it"}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Delete(context, given.Value("name"), given.Text("--to"));
             }},
    };
}

}  // namespace quillon
