#include <sqlite3.h>

#include "BenchEngine.h"
#include "foundation/platform/Clock.h"

namespace quillon::bench {
namespace {

class CSqliteEngine final : public CBenchEngine {
public:
    ~CSqliteEngine() override {
        if (m_database) Close();
    }

    const char* Name() const override { return "sqlite"; }

    void Create(const std::string& folder) override {
        Open(folder);
        Run("CREATE TABLE Tx (id INTEGER PRIMARY KEY, Created INTEGER, Modified INTEGER, "
            "AccountID INTEGER, ServiceDate INTEGER, Electronic TEXT, CheckNumber INTEGER, "
            "Type INTEGER, PayeeID INTEGER, CategoryID INTEGER, Amount REAL, FitID INTEGER, "
            "Memo TEXT)");
        for (const char* column : kIndexed) {
            Run(std::string("CREATE INDEX I") + column + " ON Tx(" + column + ")");
        }
    }

    void Open(const std::string& folder) override {
        Check(sqlite3_open((folder + "/sqlite.db").c_str(), &m_database) == SQLITE_OK);
        Run("PRAGMA journal_mode=WAL");
        Run("PRAGMA synchronous=FULL");
    }

    void Close() override {
        for (sqlite3_stmt** statement : {&m_insert, &m_account, &m_payee, &m_amount, &m_update}) {
            sqlite3_finalize(*statement);
            *statement = nullptr;
        }
        Check(sqlite3_close(m_database) == SQLITE_OK);
        m_database = nullptr;
    }

    void Insert(const std::vector<Row>& rows) override {
        Prepare(m_insert,
                "INSERT INTO Tx (Created, Modified, AccountID, ServiceDate, Electronic, "
                "CheckNumber, Type, PayeeID, CategoryID, Amount, FitID, Memo) "
                "VALUES (?,?,?,?,?,?,?,?,?,?,?,?)");
        Run("BEGIN");
        for (const Row& row : rows) {
            const int64_t now = NowFileTime();
            sqlite3_bind_int64(m_insert, 1, now);
            sqlite3_bind_int64(m_insert, 2, now);
            sqlite3_bind_int64(m_insert, 3, row.account);
            sqlite3_bind_int64(m_insert, 4, row.date);
            BindText(5, row.electronic);
            sqlite3_bind_int(m_insert, 6, row.check);
            sqlite3_bind_int(m_insert, 7, row.type);
            sqlite3_bind_int64(m_insert, 8, row.payee);
            sqlite3_bind_int64(m_insert, 9, row.category);
            sqlite3_bind_double(m_insert, 10, row.amount);
            sqlite3_bind_int64(m_insert, 11, row.fitId);
            BindText(12, row.memo);
            Check(sqlite3_step(m_insert) == SQLITE_DONE);
            sqlite3_reset(m_insert);
        }
        Run("COMMIT");
    }

    double SumOfAccount(int64_t account, int64_t from, int64_t to, int64_t& count) override {
        Prepare(m_account,
                "SELECT id, Amount FROM Tx WHERE AccountID = ? AND ServiceDate >= ? "
                "AND ServiceDate <= ?");
        sqlite3_bind_int64(m_account, 1, account);
        sqlite3_bind_int64(m_account, 2, from);
        sqlite3_bind_int64(m_account, 3, to);
        return Sum(m_account, count);
    }

    double SumOfPayee(int64_t payee, int64_t& count) override {
        Prepare(m_payee, "SELECT id, Amount FROM Tx WHERE PayeeID = ?");
        sqlite3_bind_int64(m_payee, 1, payee);
        return Sum(m_payee, count);
    }

    double SumOfAmounts(double from, double to, int64_t& count) override {
        Prepare(m_amount, "SELECT id, Amount FROM Tx WHERE Amount >= ? AND Amount <= ?");
        sqlite3_bind_double(m_amount, 1, from);
        sqlite3_bind_double(m_amount, 2, to);
        return Sum(m_amount, count);
    }

    void SetCategory(int64_t row, int64_t category) override {
        Prepare(m_update, "UPDATE Tx SET CategoryID = ?, Modified = ? WHERE id = ?");
        sqlite3_bind_int64(m_update, 1, category);
        sqlite3_bind_int64(m_update, 2, NowFileTime());
        sqlite3_bind_int64(m_update, 3, row);
        Check(sqlite3_step(m_update) == SQLITE_DONE);
        sqlite3_reset(m_update);
    }

    void DeleteRows(int64_t firstRow, int64_t count) override {
        sqlite3_stmt* statement = nullptr;
        Prepare(statement, "DELETE FROM Tx WHERE id = ?");
        Run("BEGIN");
        for (int64_t row = firstRow; row < firstRow + count; ++row) {
            sqlite3_bind_int64(statement, 1, row);
            Check(sqlite3_step(statement) == SQLITE_DONE);
            sqlite3_reset(statement);
        }
        Run("COMMIT");
        sqlite3_finalize(statement);
    }

    void Flush() override {
        Check(sqlite3_wal_checkpoint_v2(m_database, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                                        nullptr) == SQLITE_OK);
    }

    void UseIndexes() override {
        for (const char* column : kIndexed) {
            Run(std::string("SELECT count(*) FROM Tx WHERE ") + column + " = 1");
        }
    }

private:
    static constexpr const char* kIndexed[] = {"AccountID",   "ServiceDate", "Electronic",
                                               "CheckNumber", "Type",        "PayeeID",
                                               "CategoryID",  "Amount",      "FitID"};

    void Check(bool done) {
        if (!done) Die(std::string("sqlite: ") + sqlite3_errmsg(m_database));
    }

    void Run(const std::string& sql) {
        Check(sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK);
    }

    void Prepare(sqlite3_stmt*& statement, const char* sql) {
        if (statement) return;
        Check(sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr) == SQLITE_OK);
    }

    void BindText(int position, const std::string& text) {
        if (text.empty()) {
            sqlite3_bind_null(m_insert, position);
        } else {
            sqlite3_bind_text(m_insert, position, text.c_str(), static_cast<int>(text.size()),
                              SQLITE_STATIC);
        }
    }

    double Sum(sqlite3_stmt* statement, int64_t& count) {
        double sum = 0.0;
        int result = SQLITE_ROW;
        while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
            sum += sqlite3_column_double(statement, 1);
            ++count;
        }
        Check(result == SQLITE_DONE);
        sqlite3_reset(statement);
        return sum;
    }

    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_insert = nullptr;
    sqlite3_stmt* m_account = nullptr;
    sqlite3_stmt* m_payee = nullptr;
    sqlite3_stmt* m_amount = nullptr;
    sqlite3_stmt* m_update = nullptr;
};

}  // namespace

std::unique_ptr<CBenchEngine> MakeSqliteEngine() {
    return std::make_unique<CSqliteEngine>();
}

}  // namespace quillon::bench
