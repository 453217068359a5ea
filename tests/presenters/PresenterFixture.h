#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/CalendarDate.h"
#include "presenters/workspace/Workspace.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

inline int64_t Day(int year, int month, int day) {
    return FileTimeFromDate(year, month, day);
}

// An open workspace with a new ledger on a disk in memory.
class PresenterFixture : public testing::Test {
protected:
    PresenterFixture() {
        EXPECT_EQ(workspace.Start("ledger"), StartUpStep::SetPassword);
        EXPECT_EQ(workspace.GoOnWithoutPassword(), StartUpStep::Ready);
    }

    int64_t Account(const char* name, AccountType type = AccountType::Checking) {
        CAccountEntry account;
        account.name = name;
        account.accountType = type;
        EXPECT_EQ(workspace.OpenAccount(account, 0.0, 0), LedgerStatus::Ok) << name;
        return account.id;
    }

    CTransactionEntry Row(int64_t account, TransactionType type, double amount,
                          int64_t date = Day(2024, 5, 17)) {
        CTransactionEntry row;
        row.accountId = account;
        row.transactionType = type;
        row.amount = amount;
        row.serviceDate = date;
        return row;
    }

    // Enters it, with names that are made where they are new.
    CTransactionEntry Enter(CTransactionEntry row, const std::string& payee = {},
                            const std::string& category = {}) {
        EXPECT_EQ(workspace.EnterTransaction(row, {payee, category}), LedgerStatus::Ok);
        return row;
    }

    CTransactionEntry Read(int64_t id) {
        CTransactionEntry row;
        EXPECT_TRUE(workspace.Database().Read(id, row)) << id;
        return row;
    }

    CMemoryFileSystem disk;
    CSettingsFile settings{SettingsPlaces::Fixed("Quillon.cfg"), disk};
    CWorkspace workspace{settings, disk};
};

}  // namespace quillon
