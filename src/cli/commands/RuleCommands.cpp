// rule list, add, rename, delete, try, suggest, apply: what imports make of the names that banks
// write.

#include "cli/DatabaseMessages.h"
#include "cli/NamedRows.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/commands/RuleOutput.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "foundation/CalendarDate.h"
#include "import/plan/RenamingRules.h"
#include "presenters/rules/RuleSuggestions.h"

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

// --- a look ahead

void Try(CCommandContext& context, const std::string& text) {
    CSession session(context);
    CRenamingRules rules;
    RequireStored(rules.Load(session.Database()), session.Database());
    const std::vector<CRenamingRules::Rule> matching = rules.Matching(text);
    const std::string& result = matching.empty() ? text : matching.back().replacement;
    if (context.WantsJson()) {
        Json matched = Json::array();
        for (const CRenamingRules::Rule& rule : matching) {
            matched.push_back(
                {{"id", rule.id}, {"search", rule.search}, {"replace", rule.replacement}});
        }
        context.Print({{"text", text}, {"result", result}, {"rules", matched}});
        return;
    }
    if (matching.empty()) {
        context.Say("No rule matches; it stays " + Quoted(text) + ".");
        return;
    }
    for (const CRenamingRules::Rule& rule : matching) {
        context.Say("Rule " + std::to_string(rule.id) + ", what contains " + Quoted(rule.search) +
                    ": " + Quoted(rule.replacement));
    }
    context.Say("It becomes " + Quoted(result) + ".");
}

void Suggest(CCommandContext& context) {
    CSession session(context);
    std::vector<RuleSuggestion> suggestions;
    RequireStored(SuggestRules(session.Database(), suggestions), session.Database());
    if (context.WantsJson()) {
        Json rows = Json::array();
        for (const RuleSuggestion& each : suggestions) {
            rows.push_back(
                {{"search", each.search}, {"replace", each.replacement}, {"payees", each.payees}});
        }
        context.Print(rows);
        return;
    }
    if (suggestions.empty()) {
        context.Say("No payees differ only in numbers, dates or places.");
        return;
    }
    for (const RuleSuggestion& each : suggestions) {
        context.Say(Printable("rule add " + Quoted(each.search) + " " + Quoted(each.replacement)));
        for (const std::string& payee : each.payees) context.Say(Printable("    " + payee));
    }
    context.Say("");
    context.Say(Counted(static_cast<int64_t>(suggestions.size()), "rule", "rules") +
                " would bring them together; 'rule apply' then does so in the past.");
}

void PrintOutlook(CCommandContext& context, const RuleOutlook& outlook, bool isDone) {
    if (context.WantsJson()) {
        Json changes = Json::array();
        for (const PayeeRenaming& each : outlook.renamings) {
            changes.push_back({{"before", each.before},
                               {"after", each.after},
                               {"transactions", each.transactions}});
        }
        context.Print(
            {{"changes", changes}, {"transactions", outlook.transactions}, {"applied", isDone}});
        return;
    }
    if (outlook.renamings.empty()) {
        context.Say("The rules change no payee of these transactions.");
        return;
    }
    CTablePrinter table;
    table.AddColumn("Before");
    table.AddColumn("After");
    table.AddColumn("Transactions", CTablePrinter::Align::Right);
    for (const PayeeRenaming& each : outlook.renamings) {
        table.AddRow({each.before, each.after, std::to_string(each.transactions)});
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
    context.Say("");
    context.Say(Counted(outlook.transactions, "transaction", "transactions") + " of " +
                Counted(static_cast<int64_t>(outlook.renamings.size()), "payee", "payees") +
                (isDone ? " were renamed." : " would be renamed; nothing was changed."));
}

void Apply(CCommandContext& context, const TextOption& from, bool onlyLook) {
    const int64_t first = from.Given() ? RequireDate(from.value) : kMinimumFileTime;
    CSession session(context);
    const auto wants = [first](const CTransactionEntry& row) { return row.serviceDate >= first; };
    RenameByRules(context, session, wants, onlyLook);
}

}  // namespace

void RenameByRules(CCommandContext& context, CSession& session,
                   const CWorkspace::WantTransaction& wants, bool onlyLook) {
    RuleOutlook outlook;
    RequireStored(LookAhead(session.Database(), wants, outlook), session.Database());
    const bool isDone = !onlyLook && !outlook.renamings.empty();
    if (isDone) {
        RequireDone(session.Workspace().RenamePayees(outlook.renamings, wants), session.Database());
    }
    PrintOutlook(context, outlook, isDone);
}

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
        {.path = "rule try",
         .help = "Show what the rules make of a name",
         .options = {{.name = "text", .help = "A name as a bank writes it", .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Try(context, given.Value("text")); }},
        {.path = "rule suggest",
         .help = "Suggest rules for payees that differ only in numbers, dates or places",
         .run = [](CCommandContext& context, const Arguments&) { Suggest(context); }},
        {.path = "rule apply",
         .help = "Rename the payees of past transactions by the rules",
         .options = {{.name = "--from", .help = "Only transactions from this date on, YYYY-MM-DD"},
                     {.name = "--dry-run",
                      .help = "Change nothing; show what would be renamed",
                      .kind = OptionKind::Flag}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Apply(context, given.Text("--from"), given.Flag("--dry-run"));
             }},
    };
}

}  // namespace quillon
