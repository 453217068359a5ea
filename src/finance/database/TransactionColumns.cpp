// What is read of many transactions at once.

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

void SetNone(std::vector<int64_t>& references) {
    for (int64_t& reference : references) reference = fields::ReferenceOrNone(reference);
}

// Types and amounts of the rows found.
bool ReadAmounts(const CNoSQLDatabaseResults& rows, std::vector<int32_t>& types,
                 std::vector<double>& amounts) {
    return rows.UnreadableRows() == 0 && rows.ReadInt32s("TransactionType", types) &&
           rows.ReadDoubles("Amount", amounts);
}

bool ReadReferences(const CNoSQLDatabaseResults& rows, std::vector<int64_t>& payees,
                    std::vector<int64_t>& categories) {
    if (rows.UnreadableRows() != 0 || !rows.ReadInt64s("PayeeID", payees) ||
        !rows.ReadInt64s("CategoryID", categories)) {
        return false;
    }
    SetNone(payees);
    SetNone(categories);
    return true;
}

auto OfAccount(int64_t accountId) {
    return [accountId](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId);
    };
}

}  // namespace

bool CQuillonDatabaseInterface::ReadTransactionNumbers(int64_t accountId,
                                                       TransactionNumbers& numbers) {
    TransactionNumbers found;
    const auto read = [&](const CNoSQLDatabaseResults& rows) {
        found.ids = rows.RowIds();
        return ReadReferences(rows, found.payees, found.categories) &&
               ReadAmounts(rows, found.types, found.amounts) &&
               rows.ReadDateTimes("ServiceDate", found.dates) &&
               rows.ReadInt32s("Check", found.checks);
    };
    if (!m_rows->Ask(kTransactionTable, OfAccount(accountId), read)) return false;
    numbers = std::move(found);
    return true;
}

bool CQuillonDatabaseInterface::ReadTransactionUses(int64_t accountId, TransactionUses& uses) {
    TransactionUses found;
    const auto read = [&](const CNoSQLDatabaseResults& rows) {
        return ReadReferences(rows, found.payees, found.categories) &&
               rows.ReadDateTimes("ServiceDate", found.dates);
    };
    if (!m_rows->Ask(kTransactionTable, OfAccount(accountId), read)) return false;
    uses = std::move(found);
    return true;
}

void CQuillonDatabaseInterface::ReadTransactionTexts(std::span<const int64_t> rowIds,
                                                     const TransactionTextVisit& visit) {
    const CLockScope lock(m_rows->Section());
    const CTableManager* table = m_database.FindTable(kTransactionTable);
    CNoSQLDatabaseResults rows;
    if (table) rows.Assign(m_database, *table, {rowIds.begin(), rowIds.end()}, 0);
    CKeelString memo;
    CKeelString electronic;
    for (size_t place = 0; place < rowIds.size(); ++place) {
        const auto position = static_cast<int64_t>(place);
        if (!rows.ReadText("Memo", position, memo)) memo.ReleaseBuffer();
        if (!rows.ReadText("EletronicPaymentType", position, electronic)) {
            electronic.ReleaseBuffer();
        }
        visit(place, memo.ToUtf8(), electronic.ToUtf8());
    }
}

bool CQuillonDatabaseInterface::ReadBalanceBefore(const CAccountEntry& account, int64_t date,
                                                  int64_t transactionId, double& balance) {
    CMoneySum sum;
    std::vector<int32_t> types;
    std::vector<double> amounts;
    const auto addRows = [&](WhereOperator dates) {
        const auto where = [&](CNoSQLDatabaseInterface& query) {
            return query.AddInt64("AccountID", WhereOperator::Equal, account.id) &&
                   query.AddConnector(WhereConnector::And) &&
                   query.AddDateTime("ServiceDate", dates, std::max<int64_t>(date, 0));
        };
        return m_rows->Ask(kTransactionTable, where, [&](const CNoSQLDatabaseResults& rows) {
            if (!ReadAmounts(rows, types, amounts)) return false;
            for (size_t i = 0; i < types.size(); ++i) {
                if (dates == WhereOperator::Equal && rows.RowIds()[i] >= transactionId) break;
                sum.Add(BalanceEffect(static_cast<TransactionType>(types[i]), amounts[i],
                                      account.accountType));
            }
            return true;
        });
    };
    const bool added = m_rows->Run([&] {
        return addRows(WhereOperator::Less) &&
               (transactionId <= kNoRow || addRows(WhereOperator::Equal));
    });
    if (added) balance = sum.Value();
    return added;
}

bool CQuillonDatabaseInterface::WalkTransactionAmounts(
    const std::function<void(int64_t accountId, TransactionType type, double amount)>& visit) {
    const auto everyRow = [](CNoSQLDatabaseInterface&) { return true; };
    return m_rows->Ask(kTransactionTable, everyRow, [&](const CNoSQLDatabaseResults& rows) {
        std::vector<int64_t> accounts;
        std::vector<int32_t> types;
        std::vector<double> amounts;
        if (!rows.ReadInt64s("AccountID", accounts) || !ReadAmounts(rows, types, amounts)) {
            return false;
        }
        for (size_t i = 0; i < accounts.size(); ++i) {
            visit(fields::ReferenceOrNone(accounts[i]), static_cast<TransactionType>(types[i]),
                  amounts[i]);
        }
        return true;
    });
}

}  // namespace quillon
