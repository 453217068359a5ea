// check words, format show, format set, print, test.

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "cli/DatabaseMessages.h"
#include "cli/Names.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/OutputFile.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "foundation/CurrencyFormat.h"
#include "output/CheckPrintUtility.h"
#include "output/CheckPrinter.h"
#include "output/CheckSvg.h"
#include "wording/CheckWords.h"

namespace quillon {

namespace {

constexpr double kBillion = 1e9;

struct FormatOptions {
    std::string account;
    std::array<TextOption, kCheckFields.size()> positions;  // by field
    TextOption width;
    bool vertical = false;
    bool horizontal = false;

    bool AnyGiven() const {
        const auto given = [](const TextOption& option) { return option.Given(); };
        return std::any_of(positions.begin(), positions.end(), given) || width.Given() ||
               vertical || horizontal;
    }
};

struct PrintOptions {
    std::string account;
    std::string svg;
    bool overwrite = false;
    // A test has none of these.
    std::string transaction{};
    TextOption number{};
    std::string memo{};
};

// Names of options, headings and JSON members.
struct FieldNames {
    const char* option;
    const char* heading;
    const char* member;
};
constexpr std::array<FieldNames, kCheckFields.size()> kFieldNames{
    {{"--date", "Date", "date"},
     {"--payee", "Payee", "payee"},
     {"--amount", "Numeric amount", "amount"},
     {"--written-amount", "Written amount", "writtenAmount"},
     {"--memo", "Memo", "memo"}}};

// A message of several paragraphs as one line.
std::string OneLine(std::string_view message) {
    std::string line;
    for (const char character : message) {
        if (character != '\n') {
            line += character;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    return line;
}

// --- words

void ShowWords(CCommandContext& context, const std::string& text) {
    const double amount = RequireMagnitude(text, "checks only pay out");
    const std::string words = CCheckPrintUtility::AmountInWords(FormatCurrency(amount));
    if (context.WantsJson()) {
        context.Print({{"words", words}});
    } else if (!words.empty()) {
        context.Say(words);
    }
    if (amount >= kBillion) {
        context.Note("Amounts of a billion and more lose what stands before the millions.");
    } else if (words.empty()) {
        context.Note("An amount below 1.00 has no words.");
    }
}

// --- the layout

CAccountEntry RequireCheckingAccount(CQuillonDatabaseInterface& database, const std::string& name) {
    CAccountEntry account = RequireAccount(database, name);
    if (account.accountType == AccountType::Checking) return account;
    throw CFailure("The account " + Quoted(account.name.ToUtf8()) + " is a " +
                   KeyOf(account.accountType) +
                   " account; checks are drawn on checking accounts only.");
}

Json LayoutJson(const CAccountEntry& account, const CCheckPrintFormatEntry& entry) {
    Json layout = {{"account", account.name.ToUtf8()}};
    for (const CheckField field : kCheckFields) {
        layout[kFieldNames[static_cast<size_t>(field)].member] =
            PositionText(entry.format, field).ToUtf8();
    }
    layout["width"] = entry.format.checkWidth;
    layout["vertical"] = entry.format.verticalOrientation;
    layout["stored"] = entry.id != kNoRow;
    return layout;
}

// "6", "8.5": all that the number has.
std::string InchesText(double inches) {
    return Json(inches).dump();
}

void SayLayout(CCommandContext& context, const CAccountEntry& account,
               const CCheckPrintFormatEntry& entry) {
    using Align = CTablePrinter::Align;
    CTablePrinter table;
    table.AddColumn("Text");
    for (const char* heading : {"Font height", "Horizontal", "Vertical"}) {
        table.AddColumn(heading, Align::Right);
    }
    for (const CheckField field : kCheckFields) {
        const std::string text = PositionText(entry.format, field).ToUtf8();
        const char* const heading = kFieldNames[static_cast<size_t>(field)].heading;
        CheckPosition position;
        if (ParseCheckPosition(text, position)) {
            table.AddRow({heading, std::to_string(position.fontHeight),
                          std::to_string(position.horizontal), std::to_string(position.vertical)});
        } else {
            table.AddRow({heading, Quoted(text), "", ""});
        }
    }
    table.Print(context.Host().out, 0);
    context.Say("");
    context.Say("Checks of " + Quoted(Printable(account.name.View())) + " are " +
                InchesText(entry.format.checkWidth) + " inches wide and fed " +
                (entry.format.verticalOrientation ? "narrow edge first." : "upright.") +
                (entry.id == kNoRow ? " This is the default layout." : ""));
}

void ShowFormat(CCommandContext& context, const std::string& name) {
    CSession session(context);
    const CAccountEntry account = RequireCheckingAccount(session.Database(), name);
    CCheckLayouts layouts(session.Database(), context.Settings());
    CCheckPrintFormatEntry entry;
    RequireStored(layouts.Read(account.id, entry), session.Database());
    if (context.WantsJson()) {
        context.Print(LayoutJson(account, entry));
    } else {
        SayLayout(context, account, entry);
    }
}

void ApplyOptions(const FormatOptions& options, CCheckPrintFormat& format) {
    for (const CheckField field : kCheckFields) {
        const TextOption& position = options.positions[static_cast<size_t>(field)];
        if (position.Given()) PositionText(format, field) = position.value;
    }
    if (options.width.Given() && !ParseCheckWidth(options.width.value, format.checkWidth)) {
        format.checkWidth = 0.0;
    }
    if (options.vertical) format.verticalOrientation = true;
    if (options.horizontal) format.verticalOrientation = false;
}

void SetFormat(CCommandContext& context, const FormatOptions& options) {
    if (!options.AnyGiven()) {
        throw CFailure(
            "Nothing to change was given, such as --date 10,2155,230 or --width 6 "
            "(see quillon-cli check format set --help)",
            ExitStatus::WrongUsage);
    }
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const CAccountEntry account = RequireCheckingAccount(database, options.account);
    CCheckLayouts layouts(database, context.Settings());
    CCheckPrintFormatEntry entry;
    RequireStored(layouts.Read(account.id, entry), database);
    ApplyOptions(options, entry.format);
    switch (layouts.Store(entry)) {
        case CheckLayoutStatus::BadPosition:
            throw CFailure(OneLine(MessageOf(CheckLayoutProblem::BadPosition)));
        case CheckLayoutStatus::BadWidth:
            throw CFailure(OneLine(MessageOf(CheckLayoutProblem::BadWidth)));
        case CheckLayoutStatus::StoreFailed:
            throw CFailure(StoreMessage(database, Medium::Terminal));
        case CheckLayoutStatus::Ok:
            break;
    }
    if (context.WantsJson()) {
        context.Print(LayoutJson(account, entry));
    } else {
        SayLayout(context, account, entry);
    }
}

// --- print and test

void RequireReady(const CheckTrouble& trouble, const CQuillonDatabaseInterface& database) {
    if (trouble.problem == CheckProblem::None) return;
    if (trouble.problem == CheckProblem::StoreFailed)
        throw CFailure(StoreMessage(database, Medium::Terminal));
    throw CFailure(CheckMessage(trouble));
}

// A printed check has a number, so 0 is none here.
int32_t RequirePrintedNumber(const std::string& text) {
    int32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && rest == end && number > 0) return number;
    throw CFailure(Quoted(text) + " is not a check number; write a whole number of 1 or above.");
}

bool WriteSvg(CFileSystem& files, const std::string& path, const CheckPage& page) {
    const std::string svg = CheckSvg(page);
    return ReplaceWholeFile(files, path, std::vector<uint8_t>(svg.begin(), svg.end()));
}

void Report(CCommandContext& context, const CheckJob& job, const std::string& file,
            const std::string& what) {
    if (context.WantsJson()) {
        context.Print({{"check", job.number}, {"file", file}});
    } else {
        context.Say(what + " was written to " + Quoted(file) + ".");
    }
    for (const CheckNote& note : job.notes) context.Note(CheckNoteText(note));
}

void PrintCheck(CCommandContext& context, const PrintOptions& options) {
    CheckRequest request;
    request.transactionId = RequireId(options.transaction);
    if (options.number.Given()) request.number = RequirePrintedNumber(options.number.value);
    request.memo = RequireLine(options.memo, "memo");
    CFileSystem& files = context.Host().files;
    if (!options.overwrite) RequireFreePath(files, options.svg);

    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    request.accountId = RequireCheckingAccount(database, options.account).id;
    CCheckPrinter printer(session.Ledger(), context.Settings());
    CheckJob job;
    RequireReady(printer.Prepare(request, job), database);
    if (!WriteSvg(files, options.svg, job.page)) {
        throw CFailure(PrintFailedMessage(job.number, Quoted(options.svg)) +
                       " Nothing was stored; check the path, its permissions and the free space.");
    }
    try {
        RequireDone(printer.Record(job), database);
    } catch (const CFailure& failure) {
        throw CFailure("Check " + std::to_string(job.number) + " was written to " +
                       Quoted(options.svg) + ", but its number was not stored: " + failure.what());
    }
    Report(context, job, options.svg, "Check " + std::to_string(job.number));
}

void PrintTest(CCommandContext& context, const PrintOptions& options) {
    CFileSystem& files = context.Host().files;
    if (!options.overwrite) RequireFreePath(files, options.svg);
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const int64_t accountId = RequireCheckingAccount(database, options.account).id;
    CCheckPrinter printer(session.Ledger(), context.Settings());
    CheckJob job;
    RequireReady(printer.PrepareTest(accountId, job), database);
    if (!WriteSvg(files, options.svg, job.page)) {
        throw CFailure("The test print to " + Quoted(options.svg) +
                       " failed; check the path, its permissions and the free space.");
    }
    Report(context, job, options.svg, "The test print");
}

// --- what there is to type

std::vector<Option> FormatOptionsOf() {
    std::vector<Option> options{
        {.name = "account", .help = "Name of the account", .required = true}};
    for (const FieldNames& field : kFieldNames) {
        options.push_back({.name = field.option,
                           .help = "Font height in points, and offsets from the left and the top "
                                   "in 600ths of an inch",
                           .typeName = "H,X,Y"});
    }
    options.push_back(
        {.name = "--width", .help = "Width of the check in inches", .typeName = "INCHES"});
    options.push_back(
        {.name = "--vertical", .help = "The narrow edge goes in first", .kind = OptionKind::Flag});
    options.push_back({.name = "--horizontal",
                       .help = "The check goes in upright",
                       .kind = OptionKind::Flag,
                       .excludes = "--vertical"});
    return options;
}

void RunSetFormat(CCommandContext& context, const Arguments& given) {
    FormatOptions options;
    options.account = given.Value("account");
    for (size_t field = 0; field < kFieldNames.size(); ++field) {
        options.positions[field] = given.Text(kFieldNames[field].option);
    }
    options.width = given.Text("--width");
    options.vertical = given.Flag("--vertical");
    options.horizontal = given.Flag("--horizontal");
    SetFormat(context, options);
}

}  // namespace

std::vector<Command> CheckCommands() {
    const Option account{.name = "account", .help = "Name of the account", .required = true};
    const Option svg{
        .name = "--svg", .help = "File to write", .required = true, .typeName = "FILE"};
    const Option overwrite{
        .name = "--overwrite", .help = "Replace an existing file", .kind = OptionKind::Flag};
    return {
        {.path = "check", .help = "Checks on pre-printed forms"},
        {.path = "check words",
         .help = "An amount written out in words",
         .options = {{.name = "amount", .help = "Amount without sign", .required = true}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { ShowWords(context, given.Value("amount")); }},
        {.path = "check format", .help = "Where an account's checks have their texts"},
        {.path = "check format show",
         .help = "Show the layout",
         .options = {account},
         .run = [](CCommandContext& context,
                   const Arguments& given) { ShowFormat(context, given.Value("account")); }},
        {.path = "check format set",
         .help = "Change the layout",
         .options = FormatOptionsOf(),
         .run = RunSetFormat},
        {.path = "check print",
         .help = "Print a transaction as a check",
         .options = {account,
                     svg,
                     overwrite,
                     {.name = "--transaction",
                      .help = "Its number, from transaction list",
                      .required = true},
                     {.name = "--number",
                      .help = "Check number (default: the transaction's, else the account's next)"},
                     {.name = "--memo", .help = "Memo line of the check"}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 PrintCheck(context, {.account = given.Value("account"),
                                      .svg = given.Value("--svg"),
                                      .overwrite = given.Flag("--overwrite"),
                                      .transaction = given.Value("--transaction"),
                                      .number = given.Text("--number"),
                                      .memo = given.Value("--memo")});
             }},
        {.path = "check test",
         .help = "Print sample values, to try the layout",
         .options = {account, svg, overwrite},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 PrintTest(context, {.account = given.Value("account"),
                                     .svg = given.Value("--svg"),
                                     .overwrite = given.Flag("--overwrite")});
             }},
    };
}

}  // namespace quillon
