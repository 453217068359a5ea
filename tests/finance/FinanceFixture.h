#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/CalendarDate.h"
#include "support/OpenStore.h"

namespace quillon {

inline int64_t Day(int year, int month, int day) {
    return FileTimeFromDate(year, month, day);
}

// Row identifiers of a list, in its order.
template <class Entry>
std::vector<int64_t> IdsOf(const COwnedList<Entry>& list) {
    std::vector<int64_t> ids;
    for (const Entry& entry : list) ids.push_back(entry.id);
    return ids;
}

// A fresh ledger on a disk in memory.
class FinanceFixture : public COpenStore<CQuillonDatabaseInterface> {
protected:
    void BetweenSteps() {
        if (database.Store().IsOpen() && !database.Store().InBatch()) ReopenBetweenSteps();
    }

    int64_t AddAccount(const char* name, AccountType type = AccountType::Checking) {
        BetweenSteps();
        CAccountEntry account;
        account.name = name;
        account.accountType = type;
        EXPECT_TRUE(database.Add(account)) << name;
        return account.id;
    }

    CTransactionEntry Row(int64_t account, TransactionType type, double amount,
                          int64_t date = Day(2024, 5, 17)) {
        BetweenSteps();
        CTransactionEntry row;
        row.accountId = account;
        row.transactionType = type;
        row.amount = amount;
        row.serviceDate = date;
        return row;
    }

    double Balance(int64_t account) {
        BetweenSteps();
        CAccountEntry entry;
        EXPECT_TRUE(database.Read(account, entry));
        return entry.currentBalance;
    }
};

}  // namespace quillon
