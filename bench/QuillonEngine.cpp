#include "BenchEngine.h"
#include "finance/schema/FinanceSchema.h"
#include "foundation/platform/Clock.h"
#include "query/NoSQLDatabaseInterface.h"
#include "storage/database/DatabaseManager.h"

namespace quillon::bench {
namespace {

class CQuillonEngine final : public CBenchEngine {
public:
    const char* Name() const override { return "quillon"; }

    void Create(const std::string& folder) override {
        Open(folder);
        Check(m_database.BeginBatch(), "begin");
        Check(m_database.CreateTable(kTransactionTable) != nullptr, "create table");
        for (const char* stamp : {kCreationStampColumn, kModificationStampColumn}) {
            Check(
                m_database.AddColumn(kTransactionTable, stamp, ColumnType::DateTime, false, false),
                "add column");
        }
        for (const FinanceTable& table : FinanceTables()) {
            if (std::string_view(table.name) != kTransactionTable) continue;
            for (const FinanceColumn& column : table.columns) {
                Check(m_database.AddColumn(table.name, column.name, column.type, column.indexed,
                                           column.attribute),
                      "add column");
            }
        }
        Check(m_database.FindTable(kTransactionTable)->SkipRowIdsBelow(1), "first row id");
        Check(m_database.CommitBatch(), "commit");
    }

    void Open(const std::string& folder) override {
        Check(m_database.Open(folder + "/quillon"), "open");
    }

    void Close() override {
        m_query.Reset();
        Check(m_database.Close(), "close");
    }

    void Insert(const std::vector<Row>& rows) override {
        Check(m_database.BeginBatch(), "begin");
        for (const Row& row : rows) {
            const int64_t now = NowFileTime();
            Check(m_database.BeginRow(kTransactionTable), "begin row");
            m_database.SetDateTime(kCreationStampColumn, now);
            m_database.SetDateTime(kModificationStampColumn, now);
            m_database.SetInt64("AccountID", row.account);
            m_database.SetDateTime("ServiceDate", row.date);
            m_database.SetText("EletronicPaymentType", CKeelString(row.electronic));
            m_database.SetInt32("Check", row.check);
            m_database.SetInt32("TransactionType", row.type);
            m_database.SetInt64("PayeeID", row.payee);
            m_database.SetInt64("CategoryID", row.category);
            m_database.SetDouble("Amount", row.amount);
            m_database.SetInt64("FitID", row.fitId);
            m_database.SetText("Memo", CKeelString(row.memo));
            Check(m_database.CommitRow() > 0, "commit row");
        }
        Check(m_database.CommitBatch(), "commit");
    }

    double SumOfAccount(int64_t account, int64_t from, int64_t to, int64_t& count) override {
        Check(m_query.SetTable(kTransactionTable) &&
                  m_query.AddInt64("AccountID", WhereOperator::Equal, account) &&
                  m_query.AddConnector(WhereConnector::And) &&
                  m_query.AddDateTime("ServiceDate", WhereOperator::GreaterOrEqual, from) &&
                  m_query.AddConnector(WhereConnector::And) &&
                  m_query.AddDateTime("ServiceDate", WhereOperator::LessOrEqual, to),
              "clause");
        return Sum(count);
    }

    double SumOfPayee(int64_t payee, int64_t& count) override {
        Check(m_query.SetTable(kTransactionTable) &&
                  m_query.AddInt64("PayeeID", WhereOperator::Equal, payee),
              "clause");
        return Sum(count);
    }

    double SumOfAmounts(double from, double to, int64_t& count) override {
        Check(m_query.SetTable(kTransactionTable) &&
                  m_query.AddDouble("Amount", WhereOperator::GreaterOrEqual, from) &&
                  m_query.AddConnector(WhereConnector::And) &&
                  m_query.AddDouble("Amount", WhereOperator::LessOrEqual, to),
              "clause");
        return Sum(count);
    }

    void SetCategory(int64_t row, int64_t category) override {
        Check(m_database.BeginRowUpdate(kTransactionTable, row), "begin update");
        m_database.SetInt64("CategoryID", category);
        m_database.SetDateTime(kModificationStampColumn, NowFileTime());
        Check(m_database.CommitRow() == row, "update");
    }

    void DeleteRows(int64_t firstRow, int64_t count) override {
        Check(m_database.BeginBatch(), "begin");
        for (int64_t row = firstRow; row < firstRow + count; ++row) {
            Check(m_database.DeleteRow(kTransactionTable, row), "delete");
        }
        Check(m_database.CommitBatch(), "commit");
    }

    void Flush() override { Check(m_database.Flush(), "flush"); }

    void UseIndexes() override {
        for (const char* column : {"AccountID", "PayeeID", "CategoryID", "FitID"}) {
            Ask(m_query.SetTable(kTransactionTable) &&
                m_query.AddInt64(column, WhereOperator::Equal, 1));
        }
        for (const char* column : {"Check", "TransactionType"}) {
            Ask(m_query.SetTable(kTransactionTable) &&
                m_query.AddInt32(column, WhereOperator::Equal, 1));
        }
        Ask(m_query.SetTable(kTransactionTable) &&
            m_query.AddDateTime("ServiceDate", WhereOperator::Equal, 1));
        Ask(m_query.SetTable(kTransactionTable) &&
            m_query.AddText("EletronicPaymentType", WhereOperator::Equal, "none"));
        Ask(m_query.SetTable(kTransactionTable) &&
            m_query.AddDouble("Amount", WhereOperator::Equal, 1));
    }

private:
    void Ask(bool clause) {
        Check(clause && m_query.Execute(), "query");
        m_query.ReleaseResults();
    }

    static void Check(bool done, const char* what) {
        if (!done) Die(std::string("quillon: ") + what + " failed");
    }

    double Sum(int64_t& count) {
        Check(m_query.Execute(), "query");
        const CNoSQLDatabaseResults& results = m_query.Results();
        std::vector<double> amounts;
        Check(results.ReadDoubles("Amount", amounts), "read");
        double sum = 0.0;
        for (const double amount : amounts) sum += amount;
        count += results.Count();
        return sum;
    }

    CDatabaseManager m_database;
    CNoSQLDatabaseInterface m_query{m_database};
};

}  // namespace

std::unique_ptr<CBenchEngine> MakeQuillonEngine() {
    return std::make_unique<CQuillonEngine>();
}

}  // namespace quillon::bench
