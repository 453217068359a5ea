// init, verify.

#include "cli/Commands.h"
#include "cli/DatabaseMessages.h"
#include "cli/Failure.h"
#include "cli/Session.h"
#include "cli/TablePrinter.h"
#include "cli/Values.h"
#include "foundation/CurrencyFormat.h"
#include "storage/RestoreFolders.h"

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

    bool IsInOrder() const { return code == IntegrityCode::Ok && balances.empty(); }
    // Balances have no code of their own.
    IntegrityCode Code() const {
        return code == IntegrityCode::Ok && !balances.empty() ? IntegrityCode::General : code;
    }
    std::string Message() const;
};

std::string BalanceText(const BalanceMismatch& mismatch) {
    return "the balance of " + Quoted(mismatch.account.ToUtf8()) + " is stored as " +
           FormatCurrency(mismatch.stored) + ", and its transactions add up to " +
           FormatCurrency(mismatch.computed);
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
    if (balances.empty()) return IntegrityMessage(code);
    std::string message = "The tables are in order, but " + BalanceText(balances.front());
    if (balances.size() > 1) {
        message +=
            " (and " +
            Counted(static_cast<int64_t>(balances.size()) - 1, "other account", "other accounts") +
            ")";
    }
    return message + ".";
}

Verification Check(CSession& session) {
    Verification found;
    found.code = session.Database().Database().Verify(found.tables);
    RequireStored(session.Ledger().VerifyBalances(found.balances), session.Database());
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
}

void Verify(CCommandContext& context, bool repair) {
    CSession session(context);
    if (repair) Repair(context, session);
    const Verification found = Check(session);
    if (context.WantsJson()) {
        Json tables = Json::array();
        for (const TableIntegrity& table : found.tables) {
            tables.push_back({{"table", table.table},
                              {"rows", table.rows},
                              {"code", static_cast<int32_t>(table.code)}});
        }
        context.Print({{"code", static_cast<int32_t>(found.Code())},
                       {"message", found.Message()},
                       {"tables", tables}});
    } else {
        PrintTables(context, found);
    }
    if (!found.IsInOrder()) {
        throw CFailure(found.Message() +
                       (repair ? " It cannot be repaired; restore a backup with 'restore FILE --to "
                                 "DIR'."
                               : " Run 'verify --repair', after a copy of the folder."));
    }
    if (!context.WantsJson()) {
        context.Say(found.Message());
        context.Say("Every account's balance is the sum of its transactions.");
    }
}

}  // namespace

void AddStoreCommands(CLI::App& program, CCommandContext& context) {
    program.add_subcommand("init", "Make a new ledger")->callback([&context] {
        context.work = [&context] { Initialise(context); };
    });
    CLI::App* const verify =
        program.add_subcommand("verify", "Check every table, index and balance");
    const auto repair = std::make_shared<bool>(false);
    verify->add_flag("--repair", *repair,
                     "First make indexes and balances anew and give back room of deleted rows");
    verify->callback(
        [&context, repair] { context.work = [&context, repair] { Verify(context, *repair); }; });
}

}  // namespace quillon
