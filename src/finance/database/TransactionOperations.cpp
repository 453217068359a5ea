#include <algorithm>
#include <cstdint>
#include <vector>

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

bool InRegisterOrder(bool listed, COwnedList<CTransactionEntry>& transactions) {
    if (listed) SortInRegisterOrder(transactions);
    return listed;
}

// File times compare without a sign, so a bound below zero would be the largest.
bool AddDateRange(CNoSQLDatabaseInterface& query, int64_t from, int64_t to) {
    return query.AddDateTime("ServiceDate", WhereOperator::GreaterOrEqual,
                             std::max<int64_t>(from, 0)) &&
           query.AddConnector(WhereConnector::And) &&
           query.AddDateTime("ServiceDate", WhereOperator::LessOrEqual, std::max<int64_t>(to, 0));
}

}  // namespace

bool CQuillonDatabaseInterface::UpdateTransactionCategory(int64_t transactionId,
                                                          int64_t categoryId) {
    return m_rows->Change(kTransactionTable, transactionId, [&] {
        return m_database.SetInt64("CategoryID", fields::ReferenceOrNone(categoryId));
    });
}

bool CQuillonDatabaseInterface::UpdateTransactionPayee(int64_t transactionId, int64_t payeeId) {
    return m_rows->Change(kTransactionTable, transactionId, [&] {
        return m_database.SetInt64("PayeeID", fields::ReferenceOrNone(payeeId));
    });
}

bool CQuillonDatabaseInterface::ListTransactionsWithStatementIds(
    int64_t accountId, COwnedList<CTransactionEntry>& transactions) {
    const bool listed = m_rows->List(transactions, [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddInt64("FitID", WhereOperator::Differs, 0);
    });
    return InRegisterOrder(listed, transactions);
}

bool CQuillonDatabaseInterface::ListTransactions(int64_t accountId, int64_t from, int64_t to,
                                                 COwnedList<CTransactionEntry>& transactions) {
    const bool listed = m_rows->List(transactions, [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId) &&
               query.AddConnector(WhereConnector::And) && AddDateRange(query, from, to);
    });
    return InRegisterOrder(listed, transactions);
}

bool CQuillonDatabaseInterface::ListAllTransactions(int64_t from, int64_t to,
                                                    COwnedList<CTransactionEntry>& transactions) {
    const bool listed = m_rows->List(transactions, [&](CNoSQLDatabaseInterface& query) {
        return AddDateRange(query, from, to);
    });
    return InRegisterOrder(listed, transactions);
}

bool CQuillonDatabaseInterface::ListTransactionsByAccount(
    int64_t accountId, COwnedList<CTransactionEntry>& transactions) {
    return InRegisterOrder(m_rows->ListByReference("AccountID", accountId, transactions),
                           transactions);
}

bool CQuillonDatabaseInterface::ListTransactionsByPayee(
    int64_t payeeId, COwnedList<CTransactionEntry>& transactions) {
    return InRegisterOrder(m_rows->ListByReference("PayeeID", payeeId, transactions), transactions);
}

bool CQuillonDatabaseInterface::ListTransactionsByCategory(
    int64_t categoryId, COwnedList<CTransactionEntry>& transactions) {
    return InRegisterOrder(m_rows->ListByReference("CategoryID", categoryId, transactions),
                           transactions);
}

bool CQuillonDatabaseInterface::ListTransactionsAlike(int64_t date, double amount,
                                                      int64_t categoryId,
                                                      COwnedList<CTransactionEntry>& transactions) {
    return m_rows->List(transactions, [&](CNoSQLDatabaseInterface& query) {
        return AddDateRange(query, date, date) && query.AddConnector(WhereConnector::And) &&
               query.AddDouble("Amount", WhereOperator::Greater, amount - kHalfCent) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddDouble("Amount", WhereOperator::Less, amount + kHalfCent) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddInt64("CategoryID", WhereOperator::Equal, categoryId);
    });
}

bool CQuillonDatabaseInterface::CountTransactions(int64_t accountId, int64_t& count) {
    const auto where = [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId);
    };
    return m_rows->Ask(kTransactionTable, where, [&](const CNoSQLDatabaseResults& rows) {
        count = rows.Count();
        return true;
    });
}

CLookup CQuillonDatabaseInterface::FindNewestTransaction(int64_t accountId, int64_t payeeId,
                                                         CTransactionEntry& transaction) {
    const auto where = [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId) &&
               query.AddConnector(WhereConnector::And) &&
               query.AddInt64("PayeeID", WhereOperator::Equal, fields::ReferenceOrNone(payeeId));
    };
    CLookup answer = CLookup::Failed();
    m_rows->Run([&] {
        int64_t newest = kNoRow;
        const bool asked =
            m_rows->Ask(kTransactionTable, where, [&](const CNoSQLDatabaseResults& rows) {
                std::vector<int64_t> dates;
                if (rows.UnreadableRows() != 0 || !rows.ReadDateTimes("ServiceDate", dates)) {
                    return false;
                }
                // The last of the latest date.
                const auto last = std::max_element(dates.rbegin(), dates.rend());
                if (last != dates.rend()) {
                    newest = rows.RowIds()[static_cast<size_t>(dates.rend() - last - 1)];
                }
                return true;
            });
        if (asked) answer = m_rows->Read(newest, transaction);
        return asked;
    });
    return answer;
}

}  // namespace quillon
