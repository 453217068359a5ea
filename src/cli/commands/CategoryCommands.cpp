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

void AddCategoryCommands(CLI::App& program, CCommandContext& context) {
    CLI::App* const group = program.add_subcommand("category", "Categories of transactions");
    group->require_subcommand(1);
    group->add_subcommand("list", "List the categories and where they count")->callback([&context] {
        context.work = [&context] { List(context); };
    });

    CLI::App* const add = group->add_subcommand("add", "Add a category");
    const auto added = std::make_shared<std::string>();
    add->add_option("name", *added, "Its name")->required();
    add->callback(
        [&context, added] { context.work = [&context, added] { Add(context, *added); }; });

    CLI::App* const rename = group->add_subcommand("rename", "Rename a category");
    const auto names = std::make_shared<std::pair<std::string, std::string>>();
    rename->add_option("name", names->first, "Its name")->required();
    rename->add_option("new-name", names->second, "Its new name")->required();
    rename->callback([&context, names] {
        context.work = [&context, names] { Rename(context, names->first, names->second); };
    });

    CLI::App* const remove = group->add_subcommand("delete", "Delete a category");
    const auto removed = std::make_shared<std::pair<std::string, TextOption>>();
    remove->add_option("name", removed->first, "Its name")->required();
    AddText(remove, "--to", removed->second, "Category for what is filed under it");
    remove->callback([&context, removed] {
        context.work = [&context, removed] { Delete(context, removed->first, removed->second); };
    });
}

}  // namespace quillon
