#include "cli/Register.h"

#include "cli/DatabaseMessages.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"

namespace quillon {

std::vector<RegisterLine> ReadRegister(CQuillonDatabaseInterface& database,
                                       const CAccountEntry& account) {
    std::vector<RegisterLine> lines;
    RequireStored(ReadRegister(database, account, lines), database);
    return lines;
}

std::vector<RegisterLine> ReadRegister(CQuillonDatabaseInterface& database,
                                       const CAccountEntry& account, int64_t from, int64_t to) {
    std::vector<RegisterLine> lines;
    RequireStored(ReadRegister(database, account, from, to, lines), database);
    return lines;
}

CTransactionEntry RequireTransaction(CQuillonDatabaseInterface& database, int64_t transactionId) {
    CTransactionEntry row;
    const CLookup found = database.Read(transactionId, row);
    RequireStored(!found.HasFailed(), database);
    if (!found) {
        throw CFailure("There is no transaction " + std::to_string(transactionId) +
                       "; 'transaction list ACCOUNT' shows their numbers.");
    }
    return row;
}

RegisterLine RequireLineOf(CQuillonDatabaseInterface& database, int64_t transactionId) {
    const CTransactionEntry row = RequireTransaction(database, transactionId);
    CAccountEntry account;
    RequireFound(database.Read(row.accountId, account), database);
    RegisterLine line;
    RequireStored(ReadRegisterLine(database, account, row, line), database);
    return line;
}

Json AccountJson(const CAccountEntry& account) {
    return {{"id", account.id},
            {"name", account.name.ToUtf8()},
            {"description", account.description.ToUtf8()},
            {"type", KeyOf(account.accountType)},
            {"balance", account.currentBalance},
            {"latestCheckNumber", account.latestCheckNumber},
            {"active", account.active}};
}

Json TransactionJson(const RegisterLine& line, const CNameTables& names) {
    const CTransactionEntry& row = line.row;
    return {{"id", row.id},
            {"account", names.Account(row.accountId)},
            {"date", FormatIsoDate(row.serviceDate)},
            {"type", KeyOf(row.transactionType)},
            {"typeCode", static_cast<int32_t>(row.transactionType)},
            {"check", row.check},
            {"electronic", row.electronicPayment.ToUtf8()},
            {"payee", names.Payee(row.payeeId)},
            {"category", names.Category(row.categoryId)},
            {"amount", row.amount},
            {"effect", line.effect},
            {"balance", line.balance},
            {"fitId", std::to_string(row.fitId)},
            {"memo", row.memo.ToUtf8()}};
}

std::string Describe(const RegisterLine& line, const CNameTables& names) {
    const CTransactionEntry& row = line.row;
    std::string text = FormatIsoDate(row.serviceDate) + "  " +
                       std::string(NameOf(row.transactionType)) + " " + FormatCurrency(row.amount);
    for (const std::string& part : {names.Payee(row.payeeId), names.Category(row.categoryId)}) {
        if (!part.empty()) text += ", " + part;
    }
    text += " (transaction " + std::to_string(row.id) + " in " +
            Quoted(names.Account(row.accountId)) + ")";
    return Printable(text);
}

}  // namespace quillon
