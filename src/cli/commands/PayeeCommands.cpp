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

NameTrouble TroubleWith(const std::string& name) {
    NameTrouble trouble;
    trouble.isPayee = true;
    trouble.name = name;
    return trouble;
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CPayeeEntry> payees;
    RequireStored(session.Database().List(payees), session.Database());
    Json rows = Json::array();
    for (const CPayeeEntry& payee : payees) rows.push_back(PayeeJson(payee));
    PrintRowTable(context, rows, {{"Id", "id", CTablePrinter::Align::Right}, {"Payee", "name"}},
                  "payee", "payees");
}

void Add(CCommandContext& context, const std::string& name) {
    CSession session(context);
    RequireLine(name, "name");
    CPayeeEntry payee;
    RequireDone(session.Workspace().AddPayee(name, payee), session.Database(), TroubleWith(name));
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(name) + " was added.");
}

void Rename(CCommandContext& context, const std::string& from, const std::string& to) {
    CSession session(context);
    CPayeeEntry payee = RequirePayee(session.Database(), from);
    const std::string old = payee.name.ToUtf8();
    RequireLine(to, "name");
    const LedgerStatus status =
        to == old ? LedgerStatus::NameTaken : session.Workspace().RenamePayee(payee.id, to);
    RequireDone(status, session.Database(), TroubleWith(to));
    payee.name = to;
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(old) + " is " + Quoted(to) + " now.");
}

void Delete(CCommandContext& context, const std::string& name, const TextOption& moveTo) {
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const CPayeeEntry payee = RequirePayee(database, name);
    const int64_t target = moveTo.Given() ? RequirePayee(database, moveTo.value).id : kNoRow;
    NameTrouble trouble = TroubleWith(payee.name.ToUtf8());
    const LedgerStatus status = session.Workspace().RemovePayee(payee.id, target);
    if (status == LedgerStatus::StillUsed) {
        RequireStored(session.Ledger().CountPayeeUses(payee.id, trouble.uses), database);
    }
    RequireDone(status, database, trouble);
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(trouble.name) + " was deleted.");
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
