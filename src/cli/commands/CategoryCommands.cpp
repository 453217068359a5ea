// category list, add, rename, delete.

#include "cli/DatabaseMessages.h"
#include "cli/NamedRows.h"
#include "cli/Names.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"

namespace quillon {

namespace {

Json CategoryJson(const CCategoryEntry& category) {
    return {{"id", category.id},
            {"name", category.name.ToUtf8()},
            {"includeIncome", category.includeIncome},
            {"includeWorth", category.includeWorth},
            {"includeInvestment", category.includeInvestment},
            {"includePayee", category.includePayee},
            {"includeTotal", category.includeTotal},
            {"includeBudget", category.includeBudget},
            {"includeReports", category.includeReports}};
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CCategoryEntry> categories;
    RequireStored(session.Database().List(categories), session.Database());
    Json rows = Json::array();
    for (const CCategoryEntry& category : categories) rows.push_back(CategoryJson(category));
    PrintRowTable(context, rows,
                  {{"Id", "id", CTablePrinter::Align::Right},
                   {"Category", "name"},
                   {"Income", "includeIncome"},
                   {"Worth", "includeWorth"},
                   {"Investment", "includeInvestment"},
                   {"Payee", "includePayee"},
                   {"Total", "includeTotal"},
                   {"Budget", "includeBudget"},
                   {"Reports", "includeReports"}},
                  "category", "categories");
}

void Add(CCommandContext& context, const std::string& name) {
    CSession session(context);
    RequireLine(name, "name");
    CCategoryEntry category;
    RequireDone(session.Workspace().AddCategory(name, category), session.Database(),
                {.name = name});
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(name) + " was added.");
}

void Rename(CCommandContext& context, const std::string& from, const std::string& to) {
    CSession session(context);
    CCategoryEntry category = RequireCategory(session.Database(), from);
    const std::string old = category.name.ToUtf8();
    RequireLine(to, "name");
    const LedgerStatus status =
        to == old ? LedgerStatus::NameTaken : session.Workspace().RenameCategory(category.id, to);
    RequireDone(status, session.Database(),
                {.name = status == LedgerStatus::CategoryKept ? old : to});
    category.name = to;
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(old) + " is " + Quoted(to) + " now.");
}

void Delete(CCommandContext& context, const std::string& name, const TextOption& moveTo) {
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const CCategoryEntry category = RequireCategory(database, name);
    const int64_t target = moveTo.Given() ? RequireCategory(database, moveTo.value).id : kNoRow;
    NameTrouble trouble{.name = category.name.ToUtf8(), .target = moveTo.value};
    const LedgerStatus status = session.Workspace().RemoveCategory(category.id, target);
    if (status == LedgerStatus::StillUsed) {
        RequireStored(session.Ledger().CountCategoryUses(category.id, trouble.uses), database);
    }
    RequireDone(status, database, trouble);
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(trouble.name) + " was deleted.");
}

}  // namespace

std::vector<Command> CategoryCommands() {
    return {
        {.path = "category", .help = "Categories of transactions"},
        {.path = "category list",
         .help = "List the categories and where they count",
         .run = [](CCommandContext& context, const Arguments&) { List(context); }},
        {.path = "category add",
         .help = "Add a category",
         .options = {{.name = "name", .help = "Its name", .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Add(context, given.Value("name")); }},
        {.path = "category rename",
         .help = "Rename a category",
         .options = {{.name = "name", .help = "Its name", .required = true},
                     {.name = "new-name", .help = "Its new name", .required = true}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Rename(context, given.Value("name"), given.Value("new-name"));
             }},
        {.path = "category delete",
         .help = "Delete a category",
         .options = {{.name = "name", .help = "Its name", .required = true},
                     {.name = "--to", .help = "Category for what is filed under it"}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Delete(context, given.Value("name"), given.Text("--to"));
             }},
    };
}

}  // namespace quillon
