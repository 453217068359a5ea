#include "import/plan/LineMatcher.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace quillon {

namespace {

using Found = SeekingLine::Found;
using LineRefs = std::vector<SeekingLine*>;
using Places = std::vector<uint32_t>;

auto GroupOf(const SeekingLine& line) {
    return std::tie(line.cents, line.day, line.payee);
}

void Meet(SeekingLine& line, uint32_t place, CEntryPool& pool, Found found) {
    line.found = found;
    line.entry = place;
    pool.Use(place);
}

// Entries of what the line says that no line has met.
void FindUnused(const SeekingLine& line, CEntryPool& pool, Places& places) {
    places.clear();
    const uint32_t bucket = pool.FirstBucket(line.cents, line.day);
    if (bucket == pool.BucketCount()) return;
    const CEntryPool::Bucket& at = pool.BucketAt(bucket);
    if (at.cents != line.cents || at.day != line.day) return;
    for (const uint32_t place : pool.OfPayee(bucket, line.payee)) {
        if (!pool[place].isUsed) places.push_back(place);
    }
}

// The nth of one check number with the nth.
void MeetByCheck(LineRefs lines, Places places, CEntryPool& pool) {
    std::stable_sort(lines.begin(), lines.end(), [](const SeekingLine* a, const SeekingLine* b) {
        return a->check < b->check;
    });
    std::stable_sort(places.begin(), places.end(),
                     [&pool](uint32_t a, uint32_t b) { return pool[a].check < pool[b].check; });
    auto line = lines.begin();
    auto place = places.begin();
    while (line != lines.end() && place != places.end()) {
        const int32_t ofLine = (*line)->check;
        const int32_t ofEntry = pool[*place].check;
        if (ofLine == ofEntry) Meet(**line, *place, pool, Found::Held);
        if (ofLine <= ofEntry) ++line;
        if (ofEntry <= ofLine) ++place;
    }
}

void MeetInTurn(const LineRefs& lines, const Places& places, CEntryPool& pool) {
    auto place = places.begin();
    for (SeekingLine* const line : lines) {
        if (line->found != Found::Nothing) continue;
        while (place != places.end() && pool[*place].isUsed) ++place;
        if (place == places.end()) return;
        Meet(*line, *place, pool, Found::Held);
    }
}

}  // namespace

void MeetCounted(std::span<SeekingLine> lines, CEntryPool& pool) {
    LineRefs counted;
    for (SeekingLine& line : lines) {
        if (line.isCounted && line.payee != SeekingLine::kPayeeMissing) counted.push_back(&line);
    }
    std::sort(counted.begin(), counted.end(), [](const SeekingLine* a, const SeekingLine* b) {
        return std::tuple_cat(GroupOf(*a), std::tie(a->index)) <
               std::tuple_cat(GroupOf(*b), std::tie(b->index));
    });
    LineRefs group;
    Places places;
    for (auto from = counted.begin(); from != counted.end();) {
        const auto to = std::find_if(from, counted.end(), [from](const SeekingLine* line) {
            return GroupOf(*line) != GroupOf(**from);
        });
        FindUnused(**from, pool, places);
        if (!places.empty()) {
            group.assign(from, to);
            MeetByCheck(group, places, pool);
            MeetInTurn(group, places, pool);
        }
        from = to;
    }
}

void CLineMatcher::Run() {
    Collect();
    Pair(By::Check, kMatchDays, Found::Matches);
    Pair(By::Payee, kMatchDays, Found::Matches);
    Pair(By::Check, kMaybeDays, Found::Maybe);
    Pair(By::Any, kMaybeDays, Found::Maybe);
}

void CLineMatcher::Collect() {
    for (uint32_t i = 0; i < m_lines.size(); ++i) {
        const SeekingLine& line = m_lines[i];
        if (line.found != Found::Nothing) continue;
        const uint32_t bucket = m_pool.FirstBucket(line.cents, line.day - kMaybeDays);
        if (bucket == m_pool.BucketCount()) continue;
        const CEntryPool::Bucket& first = m_pool.BucketAt(bucket);
        if (first.cents == line.cents && first.day <= line.day + kMaybeDays) {
            m_active.push_back({i, bucket});
        }
    }
}

void CLineMatcher::Pair(By by, int32_t days, Found found) {
    for (int32_t away = 0; away <= days; ++away) {
        std::erase_if(m_active, [&](const Active& active) {
            const uint32_t place = Best(active, by, away);
            if (place != CEntryPool::kNone) Meet(m_lines[active.line], place, m_pool, found);
            return place != CEntryPool::kNone;
        });
    }
}

// Of the entries that are so many days away, before or after.
uint32_t CLineMatcher::Best(const Active& active, By by, int32_t days) {
    const SeekingLine& line = m_lines[active.line];
    uint32_t best = CEntryPool::kNone;
    for (uint32_t bucket = active.bucket; bucket < m_pool.BucketCount(); ++bucket) {
        const CEntryPool::Bucket& at = m_pool.BucketAt(bucket);
        if (at.cents != line.cents || at.day > line.day + days) break;
        if (std::abs(at.day - line.day) == days) best = LowerRow(best, FirstIn(line, by, bucket));
    }
    return best;
}

uint32_t CLineMatcher::FirstIn(const SeekingLine& line, By by, uint32_t bucket) {
    switch (by) {
        case By::Check:
            return FirstOfCheck(line, bucket);
        case By::Payee:
            return FirstOfPayees(line, bucket);
        case By::Any:
            break;
    }
    return m_pool.FirstFree(m_pool.BucketAt(bucket));
}

uint32_t CLineMatcher::FirstOfPayees(const SeekingLine& line, uint32_t bucket) {
    uint32_t best = CEntryPool::kNone;
    if (line.payeeName == 0) return best;
    const std::span<CEntryPool::Run> runs = m_pool.PayeesOf(bucket);
    if (runs.size() > kFewPayees) {
        for (const uint32_t run : AlikeOf(line, bucket)) {
            best = LowerRow(best, m_pool.FirstFreeOfPayee(runs[run]));
        }
        return best;
    }
    for (CEntryPool::Run& run : runs) {
        const uint32_t place = m_pool.FirstFreeOfPayee(run);
        if (place == CEntryPool::kNone || LowerRow(best, place) == best) continue;
        if (m_alike(line, run.key)) best = place;
    }
    return best;
}

// Many lines of few payees would else be compared with many payees again and again.
const std::vector<uint32_t>& CLineMatcher::AlikeOf(const SeekingLine& line, uint32_t bucket) {
    const auto [place, isNew] =
        m_alikeRuns.try_emplace(uint64_t{line.payeeName} << 32 | uint64_t{bucket});
    if (isNew) {
        const std::span<CEntryPool::Run> runs = m_pool.PayeesOf(bucket);
        for (uint32_t run = 0; run < runs.size(); ++run) {
            if (m_alike(line, runs[run].key)) place->second.push_back(run);
        }
    }
    return place->second;
}

uint32_t CLineMatcher::FirstOfCheck(const SeekingLine& line, uint32_t bucket) {
    if (line.check == 0) return CEntryPool::kNone;
    const std::span<CEntryPool::Run> runs = m_pool.ChecksOf(bucket);
    const auto run =
        std::lower_bound(runs.begin(), runs.end(), line.check,
                         [](const CEntryPool::Run& a, int64_t check) { return a.key < check; });
    if (run == runs.end() || run->key != line.check) return CEntryPool::kNone;
    return m_pool.FirstFreeOfCheck(*run);
}

uint32_t CLineMatcher::LowerRow(uint32_t a, uint32_t b) const {
    if (a == CEntryPool::kNone) return b;
    if (b == CEntryPool::kNone) return a;
    return m_pool.Entries()[a].row <= m_pool.Entries()[b].row ? a : b;
}

}  // namespace quillon
