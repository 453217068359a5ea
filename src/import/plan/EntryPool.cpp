#include "import/plan/EntryPool.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"

namespace quillon {

int64_t CentsOf(double signedAmount) {
    return std::llround(RoundToCents(signedAmount) * 100.0);
}

int32_t DayOf(int64_t date) {
    return static_cast<int32_t>(date / kTicksPerDay);
}

bool IsUnmatchedEntry(const CTransactionEntry& entry, const CAccountEntry& account,
                      double signedAmount) {
    return entry.accountId == account.id && entry.fitId == 0 &&
           CentsOf(BalanceEffect(entry.transactionType, entry.amount, account.accountType)) ==
               CentsOf(signedAmount);
}

CEntryPool::CEntryPool(std::vector<PoolEntry> entries) : m_entries(std::move(entries)) {
    std::sort(m_entries.begin(), m_entries.end(), [](const PoolEntry& a, const PoolEntry& b) {
        return std::tie(a.cents, a.day, a.row) < std::tie(b.cents, b.day, b.row);
    });
    const auto count = static_cast<uint32_t>(m_entries.size());
    m_byPayee.reserve(count);
    for (uint32_t from = 0; from < count;) {
        const PoolEntry& first = m_entries[from];
        uint32_t to = from + 1;
        while (to < count && m_entries[to].cents == first.cents && m_entries[to].day == first.day) {
            ++to;
        }
        const Bucket bucket{first.cents,
                            first.day,
                            from,
                            to,
                            static_cast<uint32_t>(m_payees.size()),
                            static_cast<uint32_t>(m_checks.size())};
        AddRuns(bucket, &PoolEntry::payee, m_byPayee, m_payees);
        AddRuns(bucket, &PoolEntry::check, m_byCheck, m_checks);
        m_buckets.push_back(bucket);
        from = to;
    }
}

template <typename Key>
void CEntryPool::AddRuns(const Bucket& bucket, Key key, std::vector<uint32_t>& order,
                         std::vector<Run>& runs) {
    constexpr bool kIsCheck = std::is_same_v<Key, int32_t PoolEntry::*>;
    const auto start = static_cast<std::ptrdiff_t>(order.size());
    for (uint32_t place = bucket.front; place < bucket.end; ++place) {
        // Check number 0 is none.
        if (!kIsCheck || m_entries[place].*key != 0) order.push_back(place);
    }
    std::stable_sort(order.begin() + start, order.end(), [this, key](uint32_t a, uint32_t b) {
        return m_entries[a].*key < m_entries[b].*key;
    });
    bool isFirst = true;
    for (auto i = static_cast<uint32_t>(start); i < order.size(); ++i) {
        const int64_t value = m_entries[order[i]].*key;
        if (std::exchange(isFirst, false) || runs.back().key != value)
            runs.push_back({value, i, i});
        runs.back().end = i + 1;
    }
}

void CEntryPool::UseRows(std::span<const int64_t> sortedRows) {
    if (sortedRows.empty()) return;
    for (PoolEntry& entry : m_entries) {
        if (std::binary_search(sortedRows.begin(), sortedRows.end(), entry.row)) {
            entry.isUsed = true;
        }
    }
}

uint32_t CEntryPool::FirstBucket(int64_t cents, int32_t day) const {
    const auto found = std::lower_bound(m_buckets.begin(), m_buckets.end(), std::pair(cents, day),
                                        [](const Bucket& bucket, const auto& wanted) {
                                            return std::tie(bucket.cents, bucket.day) <
                                                   std::tie(wanted.first, wanted.second);
                                        });
    return static_cast<uint32_t>(found - m_buckets.begin());
}

std::span<CEntryPool::Run> CEntryPool::PayeesOf(uint32_t bucket) {
    const size_t from = m_buckets[bucket].payees;
    const size_t to =
        bucket + 1 < m_buckets.size() ? m_buckets[bucket + 1].payees : m_payees.size();
    return std::span(m_payees).subspan(from, to - from);
}

std::span<CEntryPool::Run> CEntryPool::ChecksOf(uint32_t bucket) {
    const size_t from = m_buckets[bucket].checks;
    const size_t to =
        bucket + 1 < m_buckets.size() ? m_buckets[bucket + 1].checks : m_checks.size();
    return std::span(m_checks).subspan(from, to - from);
}

std::span<const uint32_t> CEntryPool::OfPayee(uint32_t bucket, int64_t payee) {
    const std::span<Run> runs = PayeesOf(bucket);
    const auto run = std::lower_bound(runs.begin(), runs.end(), payee,
                                      [](const Run& a, int64_t key) { return a.key < key; });
    if (run == runs.end() || run->key != payee) return {};
    return std::span(m_byPayee).subspan(run->front, run->end - run->front);
}

uint32_t CEntryPool::FirstFree(Bucket& bucket) {
    while (bucket.front < bucket.end && !IsFree(bucket.front)) ++bucket.front;
    return bucket.front < bucket.end ? bucket.front : kNone;
}

uint32_t CEntryPool::FirstFree(Run& run, const std::vector<uint32_t>& order) {
    while (run.front < run.end && !IsFree(order[run.front])) ++run.front;
    return run.front < run.end ? order[run.front] : kNone;
}

}  // namespace quillon
