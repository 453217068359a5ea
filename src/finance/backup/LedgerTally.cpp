#include "finance/backup/LedgerTally.h"

#include <algorithm>
#include <unordered_map>

#include "finance/ledger/Balance.h"
#include "foundation/OutOfMemory.h"

namespace quillon {

namespace {

bool SumTransactions(CQuillonDatabaseInterface& ledger, LedgerTally& tally) {
    std::unordered_map<int64_t, size_t> places;
    for (const LedgerTally::Account& account : tally.accounts) {
        places.emplace(account.id, places.size());
    }
    std::vector<CMoneySum> sums(tally.accounts.size());
    const bool walked =
        ledger.WalkTransactionAmounts([&](int64_t accountId, TransactionType type, double amount) {
            const auto place = places.find(accountId);
            if (place == places.end()) return;
            LedgerTally::Account& account = tally.accounts[place->second];
            ++account.transactions;
            sums[place->second].Add(BalanceEffect(type, amount, account.type));
        });
    for (size_t i = 0; i < sums.size(); ++i) tally.accounts[i].sum = sums[i].Value();
    return walked;
}

}  // namespace

int64_t LedgerTally::RowsOf(std::string_view table) const {
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const Table& each) { return each.name == table; });
    return found == tables.end() ? 0 : found->rows;
}

bool TallyLedger(CQuillonDatabaseInterface& ledger, LedgerTally& tally) {
    return FalseWhenOutOfMemory([&] {
        const CFinanceSection section(ledger);
        tally = {};
        for (const auto& table : ledger.Store().Tables()) {
            tally.tables.push_back({table->Name().ToUtf8(), table->RowCount()});
        }
        COwnedList<CAccountEntry> accounts;
        if (!ledger.List(accounts)) return false;
        for (const CAccountEntry& account : accounts) {
            LedgerTally::Account& counted = tally.accounts.emplace_back();
            counted.id = account.id;
            counted.name = account.name.ToUtf8();
            counted.type = account.accountType;
            counted.active = account.active;
            counted.balance = account.currentBalance;
        }
        return SumTransactions(ledger, tally);
    });
}

std::optional<TallyDifference> FirstDifference(const LedgerTally& ledger, const LedgerTally& copy) {
    for (const LedgerTally::Account& account : ledger.accounts) {
        const auto same = std::find_if(
            copy.accounts.begin(), copy.accounts.end(), [&](const LedgerTally::Account& other) {
                return other.id == account.id && other.name == account.name &&
                       other.type == account.type && other.active == account.active &&
                       other.balance == account.balance && other.sum == account.sum &&
                       other.transactions == account.transactions;
            });
        if (same == copy.accounts.end()) return TallyDifference{true, account.name};
    }
    for (const LedgerTally::Table& table : ledger.tables) {
        if (copy.RowsOf(table.name) != table.rows) return TallyDifference{false, table.name};
    }
    return std::nullopt;
}

}  // namespace quillon
