// init, verify.

#include "cli/DatabaseMessages.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "storage/backup/RestoreFolders.h"
#include "wording/VerificationWords.h"

namespace quillon {

namespace {

void Initialise(CCommandContext& context) {
    const std::string folder = context.DatabaseFolder();
    CFileSystem& files = context.Host().files;
    CFolderReplacement place(files, folder);
    if (place.Check(true) == RestoreCode::ForeignFiles) {
        throw CFailure("The folder " + Quoted(folder) + " holds other files, such as " +
                       Quoted(FileNameOf(place.Detail())) + "; choose an empty or new one.");
    }
    CSession session(context, CSession::Start::Create);
    const bool created = session.Opened().created;
    const auto tables = session.Database().TableCount();
    if (context.WantsJson()) {
        context.Print({{"database", folder}, {"created", created}, {"tables", tables}});
        return;
    }
    context.Say(created ? "A new ledger was made in " + Quoted(folder) + ", with " +
                              Counted(tables, "table", "tables") + "."
                        : "There is a ledger in " + Quoted(folder) + " already, with " +
                              Counted(tables, "table", "tables") + ".");
    if (!session.IsProtected()) {
        context.Say("It is not protected; 'password set' gives it a password.");
    }
}

// --- verify

Verification Check(CSession& session) {
    Verification found;
    RequireStored(VerifyLedger(session.Ledger(), found), session.Database());
    return found;
}

void Repair(CCommandContext& context, CSession& session) {
    std::vector<BalanceMismatch> repaired;
    RequireStored(RepairLedger(session.Ledger(), repaired), session.Database());
    for (const BalanceMismatch& mismatch : repaired) {
        context.Note("Repaired: " + BalanceText(mismatch) + ".");
    }
}

void AcceptPages(CCommandContext& context, CSession& session, Verification& found) {
    std::vector<PageDamage> accepted;
    RequireStored(AcceptDamagedPages(session.Ledger(), found, accepted), session.Database());
    for (const std::string& note : AcceptedPagesNotes(accepted)) context.Note(note);
}

std::string ResultText(const TableIntegrity& table) {
    if (table.code == IntegrityCode::Ok) return "in order";
    const std::string detail = IntegrityDetailText(table.detail);
    return detail.empty() ? IntegrityMessage(table.code) : detail;
}

void PrintTables(CCommandContext& context, const Verification& found) {
    CTablePrinter table;
    table.AddColumn("Table");
    table.AddColumn("Rows", CTablePrinter::Align::Right);
    table.AddColumn("Code", CTablePrinter::Align::Right);
    table.AddColumn("Result");
    for (const TableIntegrity& row : found.tables) {
        table.AddRow({row.table, std::to_string(row.rows),
                      std::to_string(static_cast<int32_t>(row.code)), ResultText(row)});
    }
    table.Print(context.Host().out, 0);
    context.Say("");
    for (const std::string& text : DamageTexts(found.pages)) context.Say(text + ".");
}

Json PagesAsJson(const Verification& found) {
    Json pages = Json::array();
    for (const PageDamage& page : found.pages) {
        pages.push_back({{"file", page.file},
                         {"page", page.page},
                         {"offset", page.offset},
                         {"size", page.size},
                         {"message", DamageText(page)}});
    }
    return pages;
}

void Verify(CCommandContext& context, bool repair) {
    CSession session(context);
    if (repair) Repair(context, session);
    Verification found = Check(session);
    if (repair) AcceptPages(context, session, found);
    for (const auto& column : found.skipped) context.Note(SkippedColumnNote(column));
    if (context.WantsJson()) {
        Json tables = Json::array();
        for (const TableIntegrity& table : found.tables) {
            tables.push_back({{"table", table.table},
                              {"rows", table.rows},
                              {"code", static_cast<int32_t>(table.code)}});
        }
        context.Print({{"code", static_cast<int32_t>(found.Code())},
                       {"message", VerificationMessage(found)},
                       {"tables", tables},
                       {"pages", PagesAsJson(found)},
                       {"rebuilt", found.rebuilt}});
    } else {
        PrintTables(context, found);
    }
    if (!found.IsInOrder()) {
        throw CFailure(VerificationMessage(found) + " " +
                       VerificationAdvice(found, repair, Medium::Terminal));
    }
    if (!context.WantsJson()) {
        context.Say(VerificationMessage(found));
        context.Say("Every account's balance is the sum of its transactions.");
    }
}

}  // namespace

std::vector<Command> StoreCommands() {
    return {
        {.path = "init",
         .help = "Make a new ledger",
         .run = [](CCommandContext& context, const Arguments&) { Initialise(context); }},
        {.path = "verify",
         .help = "Check every table, index, balance and page",
         .options = {{.name = "--repair",
                      .help = "First make indexes and balances anew and give back room of deleted "
                              "rows; damage that leaves the tables in order is then accepted",
                      .kind = OptionKind::Flag}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { Verify(context, given.Flag("--repair")); }},
    };
}

}  // namespace quillon
