// import list, undo, rules: what imports brought, as a whole.

#include <unordered_set>

#include "cli/DatabaseMessages.h"
#include "cli/Register.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/commands/RuleOutput.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/HistoryOutput.h"
#include "cli/terminal/TablePrinter.h"

namespace quillon {

namespace {

std::string StateOf(const ImportBatch& batch) {
    return batch.takenBack ? "taken back" : StateName(batch.action.state);
}

void List(CCommandContext& context) {
    CSession session(context);
    std::vector<ImportBatch> batches;
    if (!ListImportBatches(session.Database().History(), batches)) {
        context.Note("The history is damaged; what follows is all that can be read.");
    }
    const CNameTables& names = session.Names();
    Json rows = Json::array();
    CTablePrinter table;
    table.AddColumn("Number", CTablePrinter::Align::Right);
    table.AddColumn("Time (UTC)");
    table.AddColumn("File", CTablePrinter::Align::Left, CTablePrinter::Fit::Yield);
    table.AddColumn("Account", CTablePrinter::Align::Left, CTablePrinter::Fit::Yield);
    table.AddColumn("Transactions", CTablePrinter::Align::Right);
    table.AddColumn("Matched", CTablePrinter::Align::Right);
    table.AddColumn("State");
    for (const ImportBatch& batch : batches) {
        const HistoryAction& action = batch.action;
        rows.push_back({{"number", action.number},
                        {"time", FormatIsoTime(action.time)},
                        {"file", action.label},
                        {"account", names.Account(action.subject)},
                        {"transactions", batch.transactions},
                        {"matched", batch.matched},
                        {"state", StateOf(batch)}});
        table.AddRow({std::to_string(action.number), TimeText(action.time), action.label,
                      names.Account(action.subject), std::to_string(batch.transactions),
                      std::to_string(batch.matched), StateOf(batch)});
    }
    if (context.WantsJson()) {
        context.Print(rows);
        return;
    }
    if (batches.empty()) {
        context.Say("The history holds no import.");
        return;
    }
    CommandLineHost& host = context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
}

void RequireBatch(HistoryStatus status, int64_t number, CSession& session) {
    RequireStored(status != HistoryStatus::StoreFailed, session.Database());
    if (status == HistoryStatus::NoSuchAction) {
        throw CFailure("The history holds no import " + std::to_string(number) +
                       "; 'import list' shows those that it holds.");
    }
    HistoryOutcome outcome;
    outcome.status = status;
    RequireTaken(outcome, HistoryQuestion::Undo);
}

std::vector<RegisterLine> LinesOf(CSession& session, const std::vector<int64_t>& rows) {
    std::vector<RegisterLine> lines;
    lines.reserve(rows.size());
    for (const int64_t row : rows) lines.push_back(RequireLineOf(session.Database(), row));
    return lines;
}

void TakeBack(CCommandContext& context, int64_t number, BatchRows which) {
    CSession session(context);
    BatchTakenBack result;
    RequireBatch(session.Workspace().TakeBackImport(number, which, result), number, session);
    const std::vector<RegisterLine> left = LinesOf(session, result.left);
    const CNameTables& names = session.Names();
    if (context.WantsJson()) {
        Json rows = Json::array();
        for (const RegisterLine& line : left) rows.push_back(TransactionJson(line, names));
        context.Print({{"import", number},
                       {"removed", result.removed},
                       {"unmatched", result.restored},
                       {"left", rows},
                       {"payeesRemoved", result.payees},
                       {"categoriesRemoved", result.categories}});
        return;
    }
    context.Say("Taken back: " + Counted(result.removed, "transaction", "transactions") + ".");
    if (result.restored > 0) {
        context.Say("Entries that it had met and that stand by themselves again: " +
                    std::to_string(result.restored) + ".");
    }
    if (left.empty()) return;
    context.Say("Changed since, and left: " + std::to_string(left.size()) +
                "; --all takes back these too.");
    for (const RegisterLine& line : left) context.Say("    " + Describe(line, names));
}

void ApplyRules(CCommandContext& context, int64_t number, bool onlyLook) {
    CSession session(context);
    std::vector<int64_t> rows;
    RequireBatch(ListBatchRows(session.Database(), number, rows), number, session);
    const std::unordered_set<int64_t> batch(rows.begin(), rows.end());
    const auto wants = [&batch](const CTransactionEntry& row) { return batch.contains(row.id); };
    RenameByRules(context, session, wants, onlyLook);
}

}  // namespace

std::vector<Command> ImportBatchCommands() {
    const Option number{.name = "number",
                        .help = "Its number in 'import list'",
                        .kind = OptionKind::Number,
                        .required = true};
    return {
        {.path = "import list",
         .help = "List the imports that the history holds",
         .run = [](CCommandContext& context, const Arguments&) { List(context); }},
        {.path = "import undo",
         .help = "Take back what an import entered, as far as it was not changed since",
         .options = {number,
                     {.name = "--all",
                      .help = "Also what was changed since",
                      .kind = OptionKind::Flag}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 TakeBack(context, given.Number("number").value,
                          given.Flag("--all") ? BatchRows::All : BatchRows::Unchanged);
             }},
        {.path = "import rules",
         .help = "Rename the payees of an import by today's rules",
         .options = {number,
                     {.name = "--dry-run",
                      .help = "Change nothing; show what would be renamed",
                      .kind = OptionKind::Flag}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 ApplyRules(context, given.Number("number").value, given.Flag("--dry-run"));
             }},
    };
}

}  // namespace quillon
