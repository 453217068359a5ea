#pragma once

#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// A transaction with what it does to its account.
struct RegisterLine {
    CTransactionEntry row;
    double effect = 0.0;   // positive into the account
    double balance = 0.0;  // of the account after it, in register order; settled
};

// Every line of an account in register order (date, then row identifier). False: a read
// failed, and `lines` is empty.
bool ReadRegister(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                  std::vector<RegisterLine>& lines);
// The same for the lines from one date to another, both included. What lies before them is
// added up, not read.
bool ReadRegister(CQuillonDatabaseInterface& database, const CAccountEntry& account, int64_t from,
                  int64_t to, std::vector<RegisterLine>& lines);
// The line of one transaction of the account, as the register has it.
bool ReadRegisterLine(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                      const CTransactionEntry& row, RegisterLine& line);

}  // namespace quillon
