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
    RequireStored(database.List(rules), database);
    for (const CRenamingRuleEntry& rule : rules) {
        if (rule.searchText.View() == which || std::to_string(rule.id) == which) return rule;
    }
    throw CFailure("There is no rule " + Quoted(which) + "; 'rule list' shows all.");
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CRenamingRuleEntry> rules;
    RequireStored(session.Database().List(rules), session.Database());
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
    RequireStored(session.Database().Add(rule), session.Database());
    PrintRows(context, Json::array({RuleJson(rule)}), "Rule added: " + RuleText(rule) + ".");
}

void Change(CCommandContext& context, const std::string& which, const std::string& search,
            const TextOption& replace) {
    CSession session(context);
    CRenamingRuleEntry rule = RequireRule(session.Database(), which);
    rule.searchText = RequireSearch(search);
    if (replace.Given()) rule.replaceText = RequireLine(replace.value, "replacement");
    RequireStored(session.Database().Update(rule), session.Database());
    PrintRows(context, Json::array({RuleJson(rule)}), "Rule changed: " + RuleText(rule) + ".");
}

void Delete(CCommandContext& context, const std::string& which) {
    CSession session(context);
    const CRenamingRuleEntry rule = RequireRule(session.Database(), which);
    RequireStored(session.Database().Delete<CRenamingRuleEntry>(rule.id), session.Database());
    PrintRows(context, Json::array({RuleJson(rule)}), "Rule deleted: " + RuleText(rule) + ".");
}

}  // namespace

std::vector<Command> RuleCommands() {
    const Option rule{.name = "rule", .help = "Its number or its search text", .required = true};
    return {
        {.path = "rule", .help = "Rules that rename what imports bring, in their order"},
        {.path = "rule list",
         .help = "List the rules",
         .run = [](CCommandContext& context, const Arguments&) { List(context); }},
        {.path = "rule add",
         .help = "Add a rule behind the others",
         .options = {{.name = "search",
                      .help = "Text that a name contains, case as written",
                      .required = true},
                     {.name = "replace", .help = "What the whole name becomes", .required = true}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Add(context, given.Value("search"), given.Value("replace"));
             }},
        {.path = "rule rename",
         .help = "Change a rule's texts",
         .options = {rule,
                     {.name = "search", .help = "Its new search text", .required = true},
                     {.name = "replace", .help = "Its new replacement (default: as it was)"}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Change(context, given.Value("rule"), given.Value("search"), given.Text("replace"));
             }},
        {.path = "rule delete",
         .help = "Delete a rule",
         .options = {rule},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Delete(context, given.Value("rule")); }},
    };
}

}  // namespace quillon
