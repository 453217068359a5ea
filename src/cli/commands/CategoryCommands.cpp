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

std::string RequireNewName(CQuillonDatabaseInterface& database, const std::string& name) {
    RequireLine(name, "name");
    if (name.empty()) throw CFailure("A category needs a name.");
    const std::optional<int64_t> holder = database.FindCategoryId(name);
    RequireStored(holder.has_value(), database);
    if (*holder != kNoRow) {
        throw CFailure("There is a category " + Quoted(name) + " already; choose another name.");
    }
    return name;
}

[[noreturn]] void RefuseKept(const std::string& name) {
    throw CFailure("The category " + Quoted(name) +
                   " is needed by the program and stays as it is.");
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CCategoryEntry> categories;
    RequireStored(session.Database().ListCategories(categories), session.Database());
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
    CCategoryEntry category;
    category.name = RequireNewName(session.Database(), name);
    RequireStored(session.Database().AddCategory(category), session.Database());
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(name) + " was added.");
}

void Rename(CCommandContext& context, const std::string& from, const std::string& to) {
    CSession session(context);
    CCategoryEntry category = RequireCategory(session.Database(), from);
    const std::string old = category.name.ToUtf8();
    category.name = RequireNewName(session.Database(), to);
    const LedgerStatus status = session.Ledger().RenameCategory(category.id, to);
    if (status == LedgerStatus::CategoryKept) RefuseKept(old);
    RequireDone(status, session.Database());
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(old) + " is " + Quoted(to) + " now.");
}

void Delete(CCommandContext& context, const std::string& name, const TextOption& moveTo) {
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const CCategoryEntry category = RequireCategory(database, name);
    const std::string shown = Quoted(category.name.ToUtf8());
    const int64_t target = moveTo.Given() ? RequireCategory(database, moveTo.value).id : kNoRow;
    switch (const LedgerStatus status = session.Ledger().RemoveCategory(category.id, target)) {
        case LedgerStatus::CategoryKept:
            RefuseKept(category.name.ToUtf8());
        case LedgerStatus::CategoryReserved:
            throw CFailure("Nothing is moved to " + Quoted(moveTo.value) +
                           ", under which the program itself files transfers and opening "
                           "balances; choose another category.");
        case LedgerStatus::CategoryUsed:
            throw CFailure("The category " + shown + " is used in " +
                           Counted(CountCategoryUses(database, category.id), "place", "places") +
                           "; give another one for them with --to CATEGORY.");
        case LedgerStatus::SameCategory:
            throw CFailure("--to names the category itself.");
        default:
            RequireDone(status, database);
    }
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + shown + " was deleted.");
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
