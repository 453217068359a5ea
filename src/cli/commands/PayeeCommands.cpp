// payee list, add, rename, delete.

#include "cli/DatabaseMessages.h"
#include "cli/NamedRows.h"
#include "cli/Names.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "wording/LedgerWords.h"

namespace quillon {

namespace {

Json PayeeJson(const CPayeeEntry& payee) {
    return {{"id", payee.id}, {"name", payee.name.ToUtf8()}};
}

// Throws unless `status` is Ok.
void RequireDone(LedgerStatus status, CSession& session, const NameTrouble& trouble) {
    if (status == LedgerStatus::Ok) return;
    RequireStored(status != LedgerStatus::StoreFailed, session.Database());
    throw CFailure(NameMessage(status, trouble, Medium::Terminal));
}

NameTrouble TroubleWith(const std::string& name) {
    NameTrouble trouble;
    trouble.isPayee = true;
    trouble.name = name;
    return trouble;
}

void List(CCommandContext& context) {
    CSession session(context);
    COwnedList<CPayeeEntry> payees;
    RequireStored(session.Database().ListPayees(payees), session.Database());
    Json rows = Json::array();
    for (const CPayeeEntry& payee : payees) rows.push_back(PayeeJson(payee));
    PrintRowTable(context, rows, {{"Id", "id", CTablePrinter::Align::Right}, {"Payee", "name"}},
                  "payee", "payees");
}

void Add(CCommandContext& context, const std::string& name) {
    CSession session(context);
    RequireLine(name, "name");
    CPayeeEntry payee;
    RequireDone(session.Ledger().AddPayee(name, payee), session, TroubleWith(name));
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(name) + " was added.");
}

void Rename(CCommandContext& context, const std::string& from, const std::string& to) {
    CSession session(context);
    CPayeeEntry payee = RequirePayee(session.Database(), from);
    const std::string old = payee.name.ToUtf8();
    RequireLine(to, "name");
    const LedgerStatus status =
        to == old ? LedgerStatus::NameTaken : session.Ledger().RenamePayee(payee.id, to);
    RequireDone(status, session, TroubleWith(to));
    payee.name = to;
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(old) + " is " + Quoted(to) + " now.");
}

void Delete(CCommandContext& context, const std::string& name, const TextOption& moveTo) {
    CSession session(context);
    CQuillonDatabaseInterface& database = session.Database();
    const CPayeeEntry payee = RequirePayee(database, name);
    const int64_t target = moveTo.Given() ? RequirePayee(database, moveTo.value).id : kNoRow;
    NameTrouble trouble = TroubleWith(payee.name.ToUtf8());
    const LedgerStatus status = session.Ledger().RemovePayee(payee.id, target);
    if (status == LedgerStatus::StillUsed) {
        RequireStored(session.Ledger().CountPayeeUses(payee.id, trouble.uses), database);
    }
    RequireDone(status, session, trouble);
    PrintRows(context, Json::array({PayeeJson(payee)}),
              "The payee " + Quoted(trouble.name) + " was deleted.");
}

}  // namespace

void AddPayeeCommands(CLI::App& program, CCommandContext& context) {
    CLI::App* const group = program.add_subcommand("payee", "Who is paid and who pays");
    group->require_subcommand(1);
    group->add_subcommand("list", "List the payees")->callback([&context] {
        context.work = [&context] { List(context); };
    });

    CLI::App* const add = group->add_subcommand("add", "Add a payee");
    const auto added = std::make_shared<std::string>();
    add->add_option("name", *added, "Its name")->required();
    add->callback(
        [&context, added] { context.work = [&context, added] { Add(context, *added); }; });

    CLI::App* const rename = group->add_subcommand("rename", "Rename a payee");
    const auto names = std::make_shared<std::pair<std::string, std::string>>();
    rename->add_option("name", names->first, "Its name")->required();
    rename->add_option("new-name", names->second, "Its new name")->required();
    rename->callback([&context, names] {
        context.work = [&context, names] { Rename(context, names->first, names->second); };
    });

    CLI::App* const remove = group->add_subcommand("delete", "Delete a payee");
    const auto removed = std::make_shared<std::pair<std::string, TextOption>>();
    remove->add_option("name", removed->first, "Its name")->required();
    AddText(remove, "--to", removed->second, "Payee for what is filed under it");
    remove->callback([&context, removed] {
        context.work = [&context, removed] { Delete(context, removed->first, removed->second); };
    });
}

}  // namespace quillon
