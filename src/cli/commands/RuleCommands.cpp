// rule list, add, rename, delete: what imports make of the names that banks write.

#include "cli/DatabaseMessages.h"
#include "cli/NamedRows.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"

namespace quillon {

namespace {

Json RuleJson(const CRenamingRuleEntry& rule) {
    return {{"id", rule.id},
            {"search", rule.searchText.ToUtf8()},
            {"replace", rule.replaceText.ToUtf8()}};
}

std::string RuleText(const CRenamingRuleEntry& rule) {
    return "what contains " + Quoted(rule.searchText.ToUtf8()) + " becomes " +
           Quoted(rule.replaceText.ToUtf8());
}

std::string RequireSearch(const std::string& text) {
    RequireLine(text, "search text");
    if (text.empty()) throw CFailure("A rule needs a text to search for.");
    return text;
}

// By its number, or by its search text.
CRenamingRuleEntry RequireRule(CQuillonDatabaseInterface& database, const std::string& which) {
    COwnedList<CRenamingRuleEntry> rules;
    RequireStored(database.ListRenamingRules(rules), database);
    for (const CRenamingRuleEntry& rule : rules) {
        if (rule.searchText.View() == which || std::to_string(rule.id) == which) return rule;
    }
    throw CFailure("There is no rule " + Quoted(which) + "; 'rule list' shows all.");
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CRenamingRuleEntry> rules;
    RequireStored(session.Database().ListRenamingRules(rules), session.Database());
    Json rows = Json::array();
    for (const CRenamingRuleEntry& rule : rules) rows.push_back(RuleJson(rule));
    PrintRowTable(context, rows,
                  {{"Id", "id", CTablePrinter::Align::Right},
                   {"A name that contains", "search"},
                   {"becomes", "replace"}},
                  "rule", "rules");
}

void Add(CCommandContext& context, const std::string& search, const std::string& replace) {
    CRenamingRuleEntry rule;
    rule.searchText = RequireSearch(search);
    rule.replaceText = RequireLine(replace, "replacement");
    CSession session(context);
    RequireStored(session.Database().AddRenamingRule(rule), session.Database());
    PrintRows(context, Json::array({RuleJson(rule)}), "Rule added: " + RuleText(rule) + ".");
}

void Change(CCommandContext& context, const std::string& which, const std::string& search,
            const TextOption& replace) {
    CSession session(context);
    CRenamingRuleEntry rule = RequireRule(session.Database(), which);
    rule.searchText = RequireSearch(search);
    if (replace.Given()) rule.replaceText = RequireLine(replace.value, "replacement");
    RequireStored(session.Database().UpdateRenamingRule(rule), session.Database());
    PrintRows(context, Json::array({RuleJson(rule)}), "Rule changed: " + RuleText(rule) + ".");
}

void Delete(CCommandContext& context, const std::string& which) {
    CSession session(context);
    const CRenamingRuleEntry rule = RequireRule(session.Database(), which);
    RequireStored(session.Database().DeleteRenamingRule(rule.id), session.Database());
    PrintRows(context, Json::array({RuleJson(rule)}), "Rule deleted: " + RuleText(rule) + ".");
}

struct RuleOptions {
    std::string which;
    std::string search;
    std::string replace;
    TextOption newReplace;
};

}  // namespace

void AddRuleCommands(CLI::App& program, CCommandContext& context) {
    CLI::App* const group =
        program.add_subcommand("rule", "Rules that rename what imports bring, in their order");
    group->require_subcommand(1);
    group->add_subcommand("list", "List the rules")->callback([&context] {
        context.work = [&context] { List(context); };
    });
    const auto options = std::make_shared<RuleOptions>();

    CLI::App* const add = group->add_subcommand("add", "Add a rule behind the others");
    add->add_option("search", options->search, "Text that a name contains, case as written")
        ->required();
    add->add_option("replace", options->replace, "What the whole name becomes")->required();
    add->callback([&context, options] {
        context.work = [&context, options] { Add(context, options->search, options->replace); };
    });

    CLI::App* const rename = group->add_subcommand("rename", "Change a rule's texts");
    rename->add_option("rule", options->which, "Its number or its search text")->required();
    rename->add_option("search", options->search, "Its new search text")->required();
    AddText(rename, "replace", options->newReplace, "Its new replacement (default: as it was)");
    rename->callback([&context, options] {
        context.work = [&context, options] {
            Change(context, options->which, options->search, options->newReplace);
        };
    });

    CLI::App* const remove = group->add_subcommand("delete", "Delete a rule");
    remove->add_option("rule", options->which, "Its number or its search text")->required();
    remove->callback([&context, options] {
        context.work = [&context, options] { Delete(context, options->which); };
    });
}

}  // namespace quillon
