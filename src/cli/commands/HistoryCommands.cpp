// undo, redo, history list, history show: what was done, and taking it back.

#include <bit>

#include "cli/DatabaseMessages.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/HistoryOutput.h"
#include "cli/terminal/TablePrinter.h"
#include "foundation/CalendarDate.h"
#include "foundation/PrintableText.h"

namespace quillon {

namespace {

void Take(CCommandContext& context, HistoryQuestion question) {
    CSession session(context);
    CWorkspace& workspace = session.Workspace();
    const bool isUndo = question == HistoryQuestion::Undo;
    const HistoryOutcome outcome = isUndo ? workspace.Undo() : workspace.Redo();
    RequireStored(outcome.status != HistoryStatus::StoreFailed, session.Database());
    RequireTaken(outcome, question);
    if (context.WantsJson()) {
        Json json = ActionJson(outcome.action);
        json["state"] = isUndo ? "undone" : "done";
        context.Print(json);
        return;
    }
    context.Say((isUndo ? "Undone: " : "Done again: ") + ActionLabel(outcome.action) + ".");
}

void List(CCommandContext& context, const NumberOption& last) {
    if (last.Given() && last.value < 1) {
        throw CFailure("--last takes a number from 1.", ExitStatus::WrongUsage);
    }
    CSession session(context);
    std::vector<HistoryAction> actions;
    if (!session.Database().History().List(actions)) {
        context.Note("The history is damaged; what follows is all that can be read.");
    }
    if (last.Given() && static_cast<size_t>(last.value) < actions.size()) {
        actions.erase(actions.begin(), actions.end() - last.value);
    }
    if (context.WantsJson()) {
        Json rows = Json::array();
        for (const HistoryAction& action : actions) rows.push_back(ActionJson(action));
        context.Print(rows);
        return;
    }
    if (actions.empty()) {
        context.Say("Nothing was done yet.");
        return;
    }
    CTablePrinter table;
    table.AddColumn("Number", CTablePrinter::Align::Right);
    table.AddColumn("Time (UTC)");
    table.AddColumn("What", CTablePrinter::Align::Left, CTablePrinter::Fit::Yield);
    table.AddColumn("");
    for (const HistoryAction& action : actions) {
        const bool isDone = action.state == ActionState::Done;
        table.AddRow({std::to_string(action.number), TimeText(action.time), ActionLabel(action),
                      isDone ? "" : StateName(action.state)});
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
}

// --- history show

const char* NameOf(RowAction action) {
    switch (action) {
        case RowAction::Added:
            return "added";
        case RowAction::Changed:
            return "changed";
        case RowAction::Deleted:
            return "deleted";
    }
    return "";
}

Json ValueJson(ColumnType type, const HistoryValue& value) {
    switch (type) {
        case ColumnType::Text:
            return Json(value.text);
        case ColumnType::Boolean:
            return Json(value.bits != 0);
        case ColumnType::Double:
            return Json(std::bit_cast<double>(value.bits));
        case ColumnType::DateTime:
            return Json(value.bits % kTicksPerDay == 0 ? FormatIsoDate(value.bits)
                                                       : FormatIsoTime(value.bits));
        default:
            return Json(value.bits);
    }
}

Json ChangeJson(const HistoryTable& table, const HistoryChange& change) {
    Json columns = Json::array();
    for (size_t i = 0; i < table.columns.size(); ++i) {
        if (!change.isSet[i]) continue;
        const ColumnType type = table.columns[i].type;
        Json column = {{"column", table.columns[i].name}, {"before", Json()}, {"after", Json()}};
        if (change.action != RowAction::Added) column["before"] = ValueJson(type, change.before[i]);
        if (change.action != RowAction::Deleted) column["after"] = ValueJson(type, change.after[i]);
        columns.push_back(std::move(column));
    }
    return {{"table", table.name},
            {"row", change.row},
            {"what", NameOf(change.action)},
            {"columns", columns}};
}

void SayChange(CCommandContext& context, const HistoryTable& table, const HistoryChange& change) {
    context.Say(table.name + " " + std::to_string(change.row) + " " + NameOf(change.action));
    for (size_t i = 0; i < table.columns.size(); ++i) {
        const std::string& name = table.columns[i].name;
        if (!change.isSet[i] || name == kCreationStampColumn || name == kModificationStampColumn) {
            continue;
        }
        const ColumnType type = table.columns[i].type;
        std::string line = "    " + name + ": ";
        if (change.action != RowAction::Added) line += ValueJson(type, change.before[i]).dump();
        if (change.action == RowAction::Changed) line += " -> ";
        if (change.action != RowAction::Deleted) line += ValueJson(type, change.after[i]).dump();
        context.Say(Printable(line));
    }
}

void Show(CCommandContext& context, const NumberOption& number) {
    CSession session(context);
    HistoryOutcome outcome;
    const CHistory& history = session.Database().History();
    const bool isThere = history.Find(number.value, outcome.action);
    if (!isThere) {
        outcome.status = HistoryStatus::NoSuchAction;
        RequireTaken(outcome, HistoryQuestion::Look);
    }
    if (!context.WantsJson()) {
        context.Say(std::to_string(outcome.action.number) + "  " + TimeText(outcome.action.time) +
                    "  " + ActionLabel(outcome.action));
    }
    Json changes = Json::array();
    outcome.status = history.Read(number.value, [&](const HistoryPart& part, const auto& change) {
        const HistoryTable& table = part.tables[change.table];
        if (context.WantsJson()) {
            changes.push_back(ChangeJson(table, change));
        } else {
            SayChange(context, table, change);
        }
        return true;
    });
    RequireTaken(outcome, HistoryQuestion::Look);
    if (!context.WantsJson()) return;
    Json json = ActionJson(outcome.action);
    json["changes"] = std::move(changes);
    context.Print(json);
}

}  // namespace

std::vector<Command> HistoryCommands() {
    return {
        {.path = "undo",
         .help = "Take back what was done last",
         .run = [](CCommandContext& context,
                   const Arguments&) { Take(context, HistoryQuestion::Undo); }},
        {.path = "redo",
         .help = "Do again what was undone",
         .run = [](CCommandContext& context,
                   const Arguments&) { Take(context, HistoryQuestion::Redo); }},
        {.path = "history", .help = "What was done to the ledger"},
        {.path = "history list",
         .help = "List the actions, the newest last",
         .options = {{.name = "--last",
                      .help = "Only so many of the newest",
                      .kind = OptionKind::Number}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { List(context, given.Number("--last")); }},
        {.path = "history show",
         .help = "Show every row that an action changed, before and after",
         .options = {{.name = "number",
                      .help = "Its number in 'history list'",
                      .kind = OptionKind::Number,
                      .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Show(context, given.Number("number")); }},
    };
}

}  // namespace quillon
