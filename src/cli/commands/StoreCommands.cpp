// init, verify.

#include "cli/DatabaseMessages.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "foundation/CurrencyFormat.h"
#include "storage/backup/RestoreFolders.h"
#include "storage/journal/Checksums.h"

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
    const auto tables = static_cast<int64_t>(session.Database().Database().Tables().size());
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

struct Verification {
    IntegrityCode code = IntegrityCode::Ok;
    std::vector<TableIntegrity> tables;
    std::vector<BalanceMismatch> balances;
    std::vector<PageDamage> pages;

    bool LayoutsAgree() const { return code == IntegrityCode::Ok && balances.empty(); }
    bool IsInOrder() const { return LayoutsAgree() && pages.empty(); }
    // Balances and pages have no code of their own.
    IntegrityCode Code() const {
        return code == IntegrityCode::Ok && !IsInOrder() ? IntegrityCode::General : code;
    }
    std::string Message() const;
};

// Where and what, for a run of pages that have the same fault.
std::string DamageText(const PageDamage& first, int64_t end) {
    switch (first.kind) {
        case PageDamage::Kind::Missing:
            return first.file + " is missing";
        case PageDamage::Kind::OtherSize:
            return first.file + " has " + std::to_string(first.size) +
                   " bytes, not as many as were written";
        case PageDamage::Kind::Unlisted:
            return first.file + " was not written by this ledger";
        case PageDamage::Kind::BadSums:
            return first.file + ", the list of checksums, is damaged";
        case PageDamage::Kind::Changed:
        case PageDamage::Kind::Unreadable:
            break;
    }
    const bool changed = first.kind == PageDamage::Kind::Changed;
    return first.file + ", bytes " + std::to_string(first.offset) + " to " +
           std::to_string(end - 1) +
           (changed ? ", differs from what was written" : ", cannot be read");
}

// One text for each run of neighbouring pages.
std::vector<std::string> DamageTexts(const std::vector<PageDamage>& pages) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < pages.size();) {
        const PageDamage& first = pages[i];
        int64_t end = first.offset + first.size;
        for (++i; i < pages.size() && pages[i].file == first.file && pages[i].kind == first.kind &&
                  pages[i].offset == end;
             ++i) {
            end += pages[i].size;
        }
        texts.push_back(DamageText(first, end));
    }
    return texts;
}

std::string BalanceText(const BalanceMismatch& mismatch) {
    return "the balance of " + Quoted(mismatch.account.ToUtf8()) + " is stored as " +
           FormatCurrency(mismatch.stored) + ", and its transactions add up to " +
           FormatCurrency(mismatch.computed);
}

// What a message leaves out; empty when that is nothing.
std::string AndOthers(size_t count, const char* one, const char* many) {
    return count == 0 ? "" : " (and " + Counted(static_cast<int64_t>(count), one, many) + ")";
}

std::string Verification::Message() const {
    if (code != IntegrityCode::Ok) {
        for (const TableIntegrity& table : tables) {
            if (table.code != code) continue;
            std::string message = IntegrityMessage(code);
            message += " Table " + Quoted(table.table);
            return message + (table.detail.empty() ? "." : ": " + table.detail + ".");
        }
    }
    if (LayoutsAgree() && !pages.empty()) {
        const std::vector<std::string> texts = DamageTexts(pages);
        return "The tables are in order, but " + texts.front() +
               AndOthers(texts.size() - 1, "other place", "other places") + ".";
    }
    if (balances.empty()) return IntegrityMessage(code);
    return "The tables are in order, but " + BalanceText(balances.front()) +
           AndOthers(balances.size() - 1, "other account", "other accounts") + ".";
}

Verification Check(CSession& session) {
    Verification found;
    found.code = session.Database().Database().Verify(found.tables);
    RequireStored(session.Ledger().VerifyBalances(found.balances), session.Database());
    RequireStored(session.Database().Database().VerifyPages(found.pages), session.Database());
    return found;
}

// What can be made anew from the rows: indexes, free room, balances.
void Repair(CCommandContext& context, CSession& session) {
    CDatabaseManager& store = session.Database().Database();
    RequireStored(store.RebuildIndexes(), session.Database());
    RequireStored(store.RemoveDeleted(), session.Database());
    std::vector<BalanceMismatch> repaired;
    RequireStored(session.Ledger().RepairBalances(repaired), session.Database());
    RequireStored(store.Flush(), session.Database());
    for (const BalanceMismatch& mismatch : repaired) {
        context.Note("Repaired: " + BalanceText(mismatch) + ".");
    }
}

// What nothing could be made anew from: the layouts agree with it, so it is kept as it is.
void AcceptPages(CCommandContext& context, CSession& session, Verification& found) {
    if (found.pages.empty() || !found.LayoutsAgree()) return;
    RequireStored(session.Database().Database().AcceptPages(), session.Database());
    const bool onlySums = found.pages.front().kind == PageDamage::Kind::BadSums;
    for (const std::string& text : DamageTexts(found.pages)) {
        context.Note((onlySums ? "Made anew: " : "Accepted as it is now: ") + text + ".");
    }
    context.Note(onlySums ? "Whether a page changed before now cannot be told."
                          : "A value there may be another than the one entered; compare with "
                            "statements or a backup.");
    found.pages.clear();
}

void PrintTables(CCommandContext& context, const Verification& found) {
    CTablePrinter table;
    table.AddColumn("Table");
    table.AddColumn("Rows", CTablePrinter::Align::Right);
    table.AddColumn("Code", CTablePrinter::Align::Right);
    table.AddColumn("Result");
    for (const TableIntegrity& row : found.tables) {
        table.AddRow({row.table, std::to_string(row.rows),
                      std::to_string(static_cast<int32_t>(row.code)),
                      row.code == IntegrityCode::Ok ? "in order"
                      : row.detail.empty()          ? IntegrityMessage(row.code)
                                                    : row.detail});
    }
    table.Print(context.Host().out, 0);
    context.Say("");
    for (const std::string& text : DamageTexts(found.pages)) context.Say(text + ".");
}

// A ledger that a newer version worked in may hold what this one can only keep.
void NoteSkippedColumns(CCommandContext& context, CDatabaseManager& database) {
    for (const auto& table : database.Tables()) {
        for (const CTableColumn& column : table->Columns()) {
            if (IsColumnType(column.type)) continue;
            context.Note("Column " + Quoted(column.name.ToUtf8()) + " of table " +
                         Quoted(table->Name().ToUtf8()) +
                         " holds values that this version does not know; they are kept.");
        }
    }
}

Json PagesAsJson(const Verification& found) {
    Json pages = Json::array();
    for (const PageDamage& page : found.pages) {
        pages.push_back({{"file", page.file},
                         {"page", page.page},
                         {"offset", page.offset},
                         {"size", page.size},
                         {"message", DamageText(page, page.offset + page.size)}});
    }
    return pages;
}

void Verify(CCommandContext& context, bool repair) {
    CSession session(context);
    if (repair) Repair(context, session);
    Verification found = Check(session);
    if (repair) AcceptPages(context, session, found);
    NoteSkippedColumns(context, session.Database().Database());
    if (context.WantsJson()) {
        Json tables = Json::array();
        for (const TableIntegrity& table : found.tables) {
            tables.push_back({{"table", table.table},
                              {"rows", table.rows},
                              {"code", static_cast<int32_t>(table.code)}});
        }
        context.Print({{"code", static_cast<int32_t>(found.Code())},
                       {"message", found.Message()},
                       {"tables", tables},
                       {"pages", PagesAsJson(found)},
                       {"rebuilt", session.Database().Database().RebuiltIndexes()}});
    } else {
        PrintTables(context, found);
    }
    if (!found.IsInOrder()) {
        throw CFailure(
            found.Message() +
            (repair ? " It cannot be repaired; restore a backup with 'restore FILE --to "
                      "DIR'."
             : found.LayoutsAgree()
                 ? " A backup holds what was written; 'verify --repair', after a copy of "
                   "the folder, accepts what is there now."
                 : " Run 'verify --repair', after a copy of the folder."));
    }
    if (!context.WantsJson()) {
        context.Say(found.Message());
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
