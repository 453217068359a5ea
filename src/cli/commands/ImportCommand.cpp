// import qif, import qfx, and what all imports share: a bank's download into an account.

#include "cli/Names.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/commands/ImportPlanView.h"
#include "cli/commands/ImportRun.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Progress.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "foundation/CurrencyFormat.h"
#include "import/ofx/QFXImportManager.h"
#include "import/qif/QIFImportManager.h"
#include "wording/ImportWords.h"

namespace quillon {

namespace {

enum class Format { Qif, Qfx };

}  // namespace

std::optional<DateOrder> DateOrderOf(const std::string& name) {
    for (const DateOrder order :
         {DateOrder::MonthDayYear, DateOrder::DayMonthYear, DateOrder::YearMonthDay}) {
        if (name == NameOf(order)) return order;
    }
    return {};
}

std::optional<DecimalMark> DecimalMarkOf(const std::string& name) {
    for (const DecimalMark mark : {DecimalMark::Point, DecimalMark::Comma}) {
        if (name == NameOf(mark)) return mark;
    }
    return {};
}

std::vector<Option> CommonImportOptions() {
    return {
        {.name = "file", .help = "The file", .required = true},
        {.name = "--account", .help = "Account it goes into", .required = true},
        {.name = "--dry-run", .help = "Only show what would be entered", .kind = OptionKind::Flag},
        {.name = "--date-order",
         .help = "Order of day, month and year",
         .choices = {"mdy", "dmy", "ymd"}},
        {.name = "--decimal", .help = "Mark of the decimals", .choices = {"point", "comma"}},
        {.name = "--source",
         .help = "Which account of a file that holds several: its name or number, or all"},
        {.name = "--notes",
         .help = "summed: one note for many lines of one cause; all: every one",
         .choices = {"summed", "all"},
         .standard = "summed"},
        {.name = "--match",
         .help = "auto: lines are matched with entries made by hand; none: they are not",
         .choices = {"auto", "none"},
         .standard = "auto"}};
}

ImportCommandOptions CommonImportValues(const Arguments& given) {
    ImportCommandOptions values;
    values.file = given.Value("file");
    values.account = given.Value("--account");
    values.dateOrder = given.Value("--date-order");
    values.decimal = given.Value("--decimal");
    values.source = given.Value("--source");
    values.notes = given.Value("--notes");
    values.match = given.Value("--match");
    values.dryRun = given.Flag("--dry-run");
    return values;
}

ImportOptions ReadImportOptions(const ImportCommandOptions& given) {
    ImportOptions options;
    options.dialect = given.dialect == "plain" ? DialectMode::Plain : DialectMode::Auto;
    options.dateOrder = DateOrderOf(given.dateOrder);
    options.decimal = DecimalMarkOf(given.decimal);
    options.allSources = given.source == "all";
    if (!options.allSources) options.source = given.source;
    options.everyNote = given.notes == "all";
    options.match = given.match == "none" ? MatchMode::None : MatchMode::Auto;
    return options;
}

namespace {

Json SourcesJson(const ImportResult& result) {
    Json sources = Json::array();
    for (const ImportSource& source : result.sources) {
        sources.push_back(
            {{"name", source.name}, {"lines", source.lines}, {"chosen", source.chosen}});
    }
    return sources;
}

Json ResultJson(const ImportCommandOptions& given, const CAccountEntry& account,
                const ImportResult& result, const ImportKind& kind) {
    Json notes = Json::array();
    for (const ImportNote& note : result.notes) {
        Json row = {{"line", note.line}, {"text", ImportNoteText(note, result)}};
        if (note.count > 1) {
            row["count"] = note.count;
            row["lastLine"] = note.lastLine;
        }
        notes.push_back(std::move(row));
    }
    Json json = {{"file", given.file},
                 {"account", account.name.ToUtf8()},
                 {"read", result.read},
                 {"imported", result.imported},
                 {"duplicates", result.duplicates},
                 {"matched", result.matched},
                 {"categoriesCreated", result.categoriesCreated},
                 {"payeesCreated", result.payeesCreated},
                 {"dialect",
                  {{"dateOrder", NameOf(result.dialect.dateOrder)},
                   {"years", NameOf(result.dialect.years)},
                   {"decimal", NameOf(result.dialect.decimal)},
                   {"charset", NameOf(result.dialect.charset)}}},
                 {"sources", SourcesJson(result)}};
    if (kind.addToJson) kind.addToJson(json);
    json["notes"] = notes;
    json["message"] = ImportReport(result, given.file);
    if (given.dryRun) json["dryRun"] = true;
    if (result.cancelled) json["cancelled"] = true;
    return json;
}

void PrintNotes(CCommandContext& context, const ImportResult& result) {
    if (result.notes.empty()) return;
    CTablePrinter table;
    table.AddColumn("Line", CTablePrinter::Align::Right);
    table.AddColumn("Note");
    for (const ImportNote& note : result.notes) {
        table.AddRow(
            {note.line > 0 ? std::to_string(note.line) : "file", ImportNoteText(note, result)});
    }
    table.Print(context.Host().out, 0);
    context.Say("");
}

void PrintResult(CCommandContext& context, const CImportPlan& plan, const ImportResult& result,
                 const ImportCommandOptions& given, const ImportKind& kind) {
    const Dialect& dialect = result.dialect;
    context.Say(std::string("Read as: dates ") + NameOf(dialect.dateOrder) + ", years " +
                NameOf(dialect.years) + ", decimal " + NameOf(dialect.decimal) +
                ", character set " + NameOf(dialect.charset));
    if (kind.describe) context.Say(kind.describe());
    context.Say("");
    PrintNotes(context, result);
    if (given.dryRun) {
        PrintPlan(context, plan);
        context.Say("Dry run, nothing was entered. Of " +
                    Counted(result.read, "record", "records") + " " +
                    std::to_string(result.imported) + " would be entered.");
    } else {
        context.Say(ImportReport(result, given.file));
    }
    if (result.matched > 0) {
        context.Say("Matched with entries made by hand: " + std::to_string(result.matched));
    }
    if (result.duplicates > 0) {
        context.Say("Known already, left out: " + std::to_string(result.duplicates));
    }
    if (given.dryRun && result.categoriesCreated > 0) {
        context.Say("New categories: " + std::to_string(result.categoriesCreated));
    }
    if (result.payeesCreated > 0) {
        context.Say("New payees: " + std::to_string(result.payeesCreated));
    }
}

using Importer = std::unique_ptr<CImportManager>;

Importer MakeImporter(CCommandContext& context, CSession& session, Format format,
                      const CAccountEntry& account, const CKeelString& path) {
    CFileSystem& files = context.Host().files;
    if (format == Format::Qif) {
        return std::make_unique<CQIFImportManager>(session.Database(), account, path, files);
    }
    return std::make_unique<CQFXImportManager>(session.Database(), account, path, files);
}

ImportResult Commit(CCommandContext& context, CImportManager& importer, ImportOptions options) {
    CProgress progress(context.Host(), "Importing");
    options.progress = [&progress](int64_t done, int64_t total) {
        progress.Show(done, total);
        return true;
    };
    importer.SetOptions(options);
    return importer.Import();
}

}  // namespace

void RunImport(CCommandContext& context, const ImportCommandOptions& given,
               const ImportOptions& options, const ImportKind& kind) {
    CSession session(context);
    const CAccountEntry account = RequireAccount(session.Database(), given.account);
    if (!account.active) {
        throw CFailure("The account " + Quoted(account.name.ToUtf8()) +
                       " is closed; 'account reopen' takes it into use again.");
    }
    const Importer importer = kind.make(session, account);
    importer->SetOptions(options);
    CImportPlan plan;
    if (given.dryRun) plan = importer->MakePlan();
    const ImportResult result = given.dryRun ? plan.Preview() : Commit(context, *importer, options);
    if (result.needsSource) {
        if (context.WantsJson()) {
            context.Print({{"file", given.file},
                           {"account", account.name.ToUtf8()},
                           {"sources", SourcesJson(result)}});
        }
        throw CFailure(ImportRefusalMessage(result, given.file) +
                       " Give --source NAME for one of them, or --source all for all.");
    }
    if (result.failed) throw CFailure(ImportRefusalMessage(result, given.file));
    if (kind.whenRead) kind.whenRead();
    if (context.WantsJson()) {
        Json json = ResultJson(given, account, result, kind);
        if (given.dryRun) json["rows"] = PlanRowsJson(plan);
        context.Print(json);
        return;
    }
    PrintResult(context, plan, result, given, kind);
    if (given.dryRun) return;
    const CAccountEntry now = RequireAccount(session.Database(), account.name.ToUtf8());
    context.Say("Balance of " + Quoted(Printable(account.name.View())) + ": " +
                FormatCurrency(now.currentBalance));
}

namespace {

void Import(CCommandContext& context, Format format, const ImportCommandOptions& given) {
    const ImportOptions options = ReadImportOptions(given);
    if (options.dialect == DialectMode::Plain && !given.source.empty()) {
        throw CFailure(
            "By the plain rules a file is one account's; --source works with --dialect auto.",
            ExitStatus::WrongUsage);
    }
    ImportKind kind;
    kind.make = [&](CSession& session, const CAccountEntry& account) {
        return MakeImporter(context, session, format, account, given.file);
    };
    RunImport(context, given, options, kind);
}

ImportCommandOptions OptionsOf(const Arguments& given) {
    ImportCommandOptions options = CommonImportValues(given);
    options.dialect = given.Value("--dialect");
    return options;
}

}  // namespace

std::vector<Command> ImportCommands() {
    std::vector<Option> options = CommonImportOptions();
    options.push_back({.name = "--dialect",
                       .help = "auto: infer from the whole file how it is written; plain: do not",
                       .choices = {"auto", "plain"},
                       .standard = "auto"});
    return {
        {.path = "import", .help = "Enter a bank's download into an account"},
        {.path = "import qif",
         .help = "Import a QIF file; known lines are left out",
         .options = options,
         .run = [](CCommandContext& context,
                   const Arguments& given) { Import(context, Format::Qif, OptionsOf(given)); }},
        {.path = "import qfx",
         .help = "Import a QFX or OFX file; known lines are left out",
         .options = options,
         .run = [](CCommandContext& context,
                   const Arguments& given) { Import(context, Format::Qfx, OptionsOf(given)); }},
        CsvImportCommand(),
    };
}

}  // namespace quillon
