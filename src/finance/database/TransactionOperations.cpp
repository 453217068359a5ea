#include <algorithm>
#include <cstdint>
#include <vector>

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

// Lists come ordered by row identifier, and the sort keeps that among equal dates.
bool InRegisterOrder(bool listed, COwnedList<CTransactionEntry>& transactions) {
    if (!listed) return false;
    transactions.Sort([](const CTransactionEntry& left, const CTransactionEntry& right) {
        return left.serviceDate < right.serviceDate;
    });
    return true;
}

// File times compare without a sign, so a bound below zero would be the largest.
bool AddDateRange(CNoSQLDatabaseInterface& query, int64_t from, int64_t to) {
    return query.AddDateTime("ServiceDate", WhereOperator::GreaterOrEqual,
                             std::max<int64_t>(from, 0)) &&
           query.AddConnector(WhereConnector::And) &&
           query.AddDateTime("ServiceDate", WhereOperator::LessOrEqual, std::max<int64_t>(to, 0));
}

}  // namespace

bool CQuillonDatabaseInterface::AddTransaction(CTransactionEntry& transaction) {
    return m_rows->Add(transaction);
}

bool CQuillonDatabaseInterface::UpdateTransaction(const CTransactionEntry& transaction) {
    return m_rows->Update(transaction);
}

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

bool CQuillonDatabaseInterface::DeleteTransaction(int64_t transactionId) {
    return m_rows->Delete(kTransactionTable, transactionId);
}

CLookup CQuillonDatabaseInterface::ReadTransaction(int64_t transactionId,
                                                   CTransactionEntry& transaction) {
    return m_rows->Read(transactionId, transaction);
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

namespace {

// Types and amounts of the rows found.
bool ReadAmounts(const CNoSQLDatabaseResults& rows, std::vector<int32_t>& types,
                 std::vector<double>& amounts) {
    return rows.UnreadableRows() == 0 && rows.ReadInt32s("TransactionType", types) &&
           rows.ReadDoubles("Amount", amounts);
}

}  // namespace

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

bool CQuillonDatabaseInterface::CountTransactions(int64_t accountId, int64_t& count) {
    const auto where = [&](CNoSQLDatabaseInterface& query) {
        return query.AddInt64("AccountID", WhereOperator::Equal, accountId);
    };
    return m_rows->Ask(kTransactionTable, where, [&](const CNoSQLDatabaseResults& rows) {
        count = rows.Count();
        return true;
    });
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
