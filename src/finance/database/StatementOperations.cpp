// What imports ask of the rows that an account holds, and what they tell them.

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

namespace {

bool ReadMoney(const CNoSQLDatabaseResults& rows, TransactionIdentities& into) {
    into.ids = rows.RowIds();
    return rows.UnreadableRows() == 0 && rows.ReadDateTimes("ServiceDate", into.dates) &&
           rows.ReadInt32s("TransactionType", into.types) &&
           rows.ReadDoubles("Amount", into.amounts);
}

void KeepChosen(TransactionIdentities& found, const TransactionChoice& choose) {
    size_t kept = 0;
    for (size_t i = 0; i < found.ids.size(); ++i) {
        if (!choose(found.dates[i], found.types[i], found.amounts[i])) continue;
        found.ids[kept] = found.ids[i];
        found.dates[kept] = found.dates[i];
        found.types[kept] = found.types[i];
        found.amounts[kept] = found.amounts[i];
        ++kept;
    }
    found.ids.resize(kept);
    found.dates.resize(kept);
    found.types.resize(kept);
    found.amounts.resize(kept);
}

}  // namespace

bool CQuillonDatabaseInterface::UpdateTransactionStatement(int64_t transactionId, int64_t fitId,
                                                           int32_t check) {
    return m_rows->Change(kTransactionTable, transactionId, [&] {
        return m_database.SetInt64("FitID", fitId) && m_database.SetInt32("Check", check);
    });
}

bool CQuillonDatabaseInterface::ReadTransactionIdentities(int64_t accountId, int64_t from,
                                                          int64_t to,
                                                          const TransactionChoice& choose,
                                                          TransactionIdentities& identities) {
    const auto where = [&](CNoSQLDatabaseInterface& query) {
        // File times compare without a sign.
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddDateTime("ServiceDate", WhereOperator::GreaterOrEqual,
                                 std::max<int64_t>(from, 0)) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddDateTime("ServiceDate", WhereOperator::LessOrEqual,
                                 std::max<int64_t>(to, 0));
    };
    TransactionIdentities found;
    const auto read = [&](const CNoSQLDatabaseResults& rows) {
        const CTableManager* const table = m_database.FindTable(kTransactionTable);
        if (!table || !ReadMoney(rows, found)) return false;
        KeepChosen(found, choose);
        CNoSQLDatabaseResults chosen;
        chosen.Assign(m_database, *table, found.ids, 0);
        return chosen.ReadInt64s("PayeeID", found.payees) &&
               chosen.ReadInt32s("Check", found.checks) && chosen.ReadInt64s("FitID", found.fitIds);
    };
    if (!m_rows->Ask(kTransactionTable, where, read)) return false;
    for (int64_t& payee : found.payees) payee = fields::ReferenceOrNone(payee);
    identities = std::move(found);
    return true;
}

bool CQuillonDatabaseInterface::ReadStatementIdentities(int64_t accountId,
                                                        TransactionIdentities& identities) {
    const auto where = [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddInt64("FitID", WhereOperator::Differs, 0);
    };
    TransactionIdentities found;
    const auto read = [&](const CNoSQLDatabaseResults& rows) {
        return ReadMoney(rows, found) && rows.ReadInt64s("FitID", found.fitIds);
    };
    if (!m_rows->Ask(kTransactionTable, where, read)) return false;
    identities = std::move(found);
    return true;
}

bool CQuillonDatabaseInterface::ReadTransactionCreations(std::span<const int64_t> rowIds,
                                                         std::vector<int64_t>& stamps) {
    stamps.clear();
    return m_rows->Run([&] {
        const CTableManager* const table = m_database.FindTable(kTransactionTable);
        if (!table) return false;
        CNoSQLDatabaseResults rows;
        rows.Assign(m_database, *table, {rowIds.begin(), rowIds.end()}, 0);
        for (size_t i = 0; i < rowIds.size(); ++i) {
            int64_t stamp = 0;
            const bool read =
                rows.ReadDateTime(kCreationStampColumn, static_cast<int64_t>(i), stamp);
            stamps.push_back(read ? stamp : 0);
        }
        return true;
    });
}

}  // namespace quillon
