#pragma once

#include <vector>

#include "cli/CommandContext.h"
#include "cli/Names.h"
#include "finance/ledger/AccountRegister.h"
#include "finance/ledger/RegisterFilter.h"

namespace quillon {

// Every line of an account in register order. Throws CFailure when a read failed.
std::vector<RegisterLine> ReadRegister(CQuillonDatabaseInterface& database,
                                       const CAccountEntry& account);
// The lines from one date to another, both included.
std::vector<RegisterLine> ReadRegister(CQuillonDatabaseInterface& database,
                                       const CAccountEntry& account, int64_t from, int64_t to);
// One transaction, and its line in the register. Throw when there is none.
CTransactionEntry RequireTransaction(CQuillonDatabaseInterface& database, int64_t transactionId);
RegisterLine RequireLineOf(CQuillonDatabaseInterface& database, int64_t transactionId);

Json AccountJson(const CAccountEntry& account);
Json TransactionJson(const RegisterLine& line, const CNameTables& names);

// "2024-03-01  Payment 12.50, Shop, Groceries (transaction 7 in 'Checking')".
std::string Describe(const RegisterLine& line, const CNameTables& names);

}  // namespace quillon
