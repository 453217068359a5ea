// category list, add, rename, delete.

#include "cli/DatabaseMessages.h"
#include "cli/NamedRows.h"
#include "cli/Names.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "wording/LedgerWords.h"

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

// Throws unless `status` is Ok.
void RequireDone(LedgerStatus status, CSession& session, const NameTrouble& trouble) {
    if (status == LedgerStatus::Ok) return;
    RequireStored(status != LedgerStatus::StoreFailed, session.Database());
    throw CFailure(NameMessage(status, trouble, Medium::Terminal));
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
    RequireLine(name, "name");
    CCategoryEntry category;
    RequireDone(session.Ledger().AddCategory(name, category), session, {.name = name});
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(name) + " was added.");
}

void Rename(CCommandContext& context, const std::string& from, const std::string& to) {
    CSession session(context);
    CCategoryEntry category = RequireCategory(session.Database(), from);
    const std::string old = category.name.ToUtf8();
    RequireLine(to, "name");
    const LedgerStatus status =
        to == old ? LedgerStatus::NameTaken : session.Ledger().RenameCategory(category.id, to);
    RequireDone(status, session, {.name = status == LedgerStatus::CategoryKept ? old : to});
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
    const LedgerStatus status = session.Ledger().RemoveCategory(category.id, target);
    if (status == LedgerStatus::StillUsed) {
        RequireStored(session.Ledger().CountCategoryUses(category.id, trouble.uses), database);
    }
    RequireDone(status, session, trouble);
    PrintRows(context, Json::array({CategoryJson(category)}),
              "The category " + Quoted(trouble.name) + " was deleted.");
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
