#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// What two ledgers must have in common to be taken for the same.
struct LedgerTally {
    struct Table {
        std::string name;
        int64_t rows = 0;
    };
    struct Account {
        int64_t id = kNoRow;
        std::string name;
        AccountType type = AccountType::Checking;
        bool active = true;
        double balance = 0.0;
        double sum = 0.0;  // of the effects of its transactions, which the balance should be
        int64_t transactions = 0;
    };
    std::vector<Table> tables;
    std::vector<Account> accounts;

    int64_t RowsOf(std::string_view table) const;
};

// False: a read failed, or there was no memory.
[[nodiscard]] bool TallyLedger(CQuillonDatabaseInterface& ledger, LedgerTally& tally);

// The first difference: a table of another row count, or an account that is missing, has another
// name, another balance or sum, be it by a bit, or another number of transactions.
struct TallyDifference {
    bool isAccount = false;
    std::string name;  // of the table, or the account
};
std::optional<TallyDifference> FirstDifference(const LedgerTally& ledger, const LedgerTally& copy);

}  // namespace quillon
