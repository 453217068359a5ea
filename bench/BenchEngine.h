#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quillon::bench {

// One transaction of the generated ledger.
struct Row {
    int64_t account = 0;
    int64_t date = 0;  // file time
    std::string electronic;
    int32_t check = 0;
    int32_t type = 0;
    int64_t payee = 0;
    int64_t category = 0;
    double amount = 0.0;
    int64_t fitId = 0;
    std::string memo;
};

// The same rows for every engine: seeded, in order of date with a little disorder.
class CRowSource {
public:
    explicit CRowSource(uint64_t seed) : m_state(seed) {}
    Row Next();
    static constexpr int64_t kAccounts = 5;
    static constexpr int64_t kPayees = 800;

private:
    uint64_t Random();
    uint64_t m_state;
    int64_t m_count = 0;
};

int64_t DateOfRow(int64_t number);

// What the benchmark asks of an engine. Every call ends the program with a message when it
// fails: a benchmark of failures says nothing.
class CBenchEngine {
public:
    virtual ~CBenchEngine() = default;
    virtual const char* Name() const = 0;
    virtual void Create(const std::string& folder) = 0;
    virtual void Open(const std::string& folder) = 0;
    virtual void Close() = 0;
    // One synced commit.
    virtual void Insert(const std::vector<Row>& rows) = 0;
    // Each reads the amounts of the rows found and gives their sum; `count` is increased by the
    // rows.
    virtual double SumOfAccount(int64_t account, int64_t from, int64_t to, int64_t& count) = 0;
    virtual double SumOfPayee(int64_t payee, int64_t& count) = 0;
    virtual double SumOfAmounts(double from, double to, int64_t& count) = 0;
    // Row numbers count from 1 in order of insertion.
    virtual void SetCategory(int64_t row, int64_t category) = 0;   // one synced commit
    virtual void DeleteRows(int64_t firstRow, int64_t count) = 0;  // one synced commit
    // Brings what was committed into its place and empties the journal.
    virtual void Flush() = 0;
    // Asks every index for one value.
    virtual void UseIndexes() = 0;
};

std::unique_ptr<CBenchEngine> MakeQuillonEngine();
std::unique_ptr<CBenchEngine> MakeSqliteEngine();

// Bank reconciliation, product and plain search; prints a table. Takes minutes.
void MeasureReconciliation();

// The register of one account with so many rows; prints a table. `folder` is empty.
void MeasurePresenters(const std::string& folder, int64_t rows);

// Files in columns of 100,000 and 1,000,000 rows; prints a table. `folder` does not exist.
void MeasureCsv(const std::string& folder);

[[noreturn]] void Die(const std::string& message);

}  // namespace quillon::bench
