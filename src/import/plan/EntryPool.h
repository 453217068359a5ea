#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "finance/database/TransactionColumns.h"
#include "finance/records/FinanceRecords.h"

namespace quillon {

// An entry of an account as lines of a file are compared with it.
struct PoolEntry {
    int64_t cents = 0;  // signed
    int64_t row = kNoRow;
    int64_t payee = kNoRow;
    int32_t day = 0;
    int32_t check = 0;
    bool isIdentified = false;  // a statement brought it
    bool isUsed = false;        // by a line
};

// Signed whole cents and days, in which amounts and dates are compared.
int64_t CentsOf(double signedAmount);
int32_t DayOf(int64_t date);
// Whether a row of the account has that amount and no statement brought it.
bool IsUnmatchedEntry(const CTransactionEntry& entry, const CAccountEntry& account,
                      double signedAmount);

// The entries that lines may be, by amount and day, so that a line is compared with those of
// its amount on a few days only, however many the account has.
//
//   Buckets    Entries of one amount and day, by row identifier. Buckets are by amount, then
//              by day.
//   Runs       Of a bucket: those of one payee, or of one check number, by row identifier.
//              The front of a run moves on over what is no longer free, so that all searches
//              of a run together look at each of its entries once.
//   Memory     48 bytes an entry, 30 a bucket, 16 a run.
//   Errors     std::bad_alloc passes through.
class CEntryPool {
public:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Run {
        int64_t key = 0;  // payee or check number
        uint32_t front = 0;
        uint32_t end = 0;
    };
    struct Bucket {
        int64_t cents = 0;
        int32_t day = 0;
        uint32_t front = 0;  // of its entries
        uint32_t end = 0;
        uint32_t payees = 0;  // its first run
        uint32_t checks = 0;
    };

    explicit CEntryPool(std::vector<PoolEntry> entries);

    PoolEntry& operator[](uint32_t place) { return m_entries[place]; }
    std::span<const PoolEntry> Entries() const { return m_entries; }
    // The entry is met: no other line may have it.
    void Use(uint32_t place) { m_entries[place].isUsed = true; }
    // All of these rows.
    void UseRows(std::span<const int64_t> sortedRows);

    // Where the buckets of the amount begin that are not before the day.
    uint32_t FirstBucket(int64_t cents, int32_t day) const;
    size_t BucketCount() const { return m_buckets.size(); }
    Bucket& BucketAt(uint32_t bucket) { return m_buckets[bucket]; }
    std::span<Run> PayeesOf(uint32_t bucket);
    std::span<Run> ChecksOf(uint32_t bucket);

    // Places of all entries of the bucket with that payee, by row.
    std::span<const uint32_t> OfPayee(uint32_t bucket, int64_t payee);

    // The free entry of the lowest row, kNone where there is none: neither identified nor used.
    uint32_t FirstFree(Bucket& bucket);
    uint32_t FirstFreeOfPayee(Run& run) { return FirstFree(run, m_byPayee); }
    uint32_t FirstFreeOfCheck(Run& run) { return FirstFree(run, m_byCheck); }

private:
    bool IsFree(uint32_t place) const {
        return !m_entries[place].isIdentified && !m_entries[place].isUsed;
    }
    uint32_t FirstFree(Run& run, const std::vector<uint32_t>& order);
    template <typename Key>
    void AddRuns(const Bucket& bucket, Key key, std::vector<uint32_t>& order,
                 std::vector<Run>& runs);

    std::vector<PoolEntry> m_entries;
    std::vector<Bucket> m_buckets;
    std::vector<uint32_t> m_byPayee;  // places, by run
    std::vector<uint32_t> m_byCheck;  // the same, of those that have one
    std::vector<Run> m_payees;
    std::vector<Run> m_checks;
};

}  // namespace quillon
