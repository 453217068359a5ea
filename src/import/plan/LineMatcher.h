#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "import/plan/EntryPool.h"

namespace quillon {

// A line of a file that looks for its entry among those of the account.
struct SeekingLine {
    static constexpr int64_t kPayeeMissing = -1;  // the ledger has none of its name

    enum class Found : uint8_t { Nothing, Held, Matches, Maybe };

    int64_t line = 0;        // of the file
    uint32_t index = 0;      // in the plan; lines are compared in this order
    uint32_t payeeName = 0;  // a number of the plan's, 0: none
    int64_t payee = kNoRow;
    int64_t cents = 0;
    int32_t day = 0;
    int32_t check = 0;       // 0: none
    bool isCounted = false;  // has no identifier of the file's own
    Found found = Found::Nothing;
    uint32_t entry = CEntryPool::kNone;  // its place in the pool
};

// Of counted lines that say the same (day, amount, payee), as many as the pool has entries
// that do are held: the nth line meets the nth entry, whatever brought it. Those with one
// check number meet first, which changes which of them are held and not how many: else the
// next import of the file would hold the other one, whose entry may be a matched one that
// says something else.
void MeetCounted(std::span<SeekingLine> lines, CEntryPool& pool);

// Of the lines not held, each the entry that people made for it: free ones of its amount.
//
//   Matches    At most kMatchDays away, of the same check number, or of a payee that is alike.
//   Maybe      Any other at most kMaybeDays away, when all matches are made.
//   Order      Pairs are taken greedily: same check number first, then fewest days, then the
//              file's order, then the lowest row. An entry is used once.
//   Time       A line looks at the payees of its amount on nine days, never at all entries.
class CLineMatcher {
public:
    static constexpr int32_t kMatchDays = 3;
    static constexpr int32_t kMaybeDays = 4;

    // Whether the line's payee and that of the entry are the same, or one name is within the
    // other. May pass on exceptions.
    using Alike = std::function<bool(const SeekingLine&, int64_t payee)>;

    CLineMatcher(std::span<SeekingLine> lines, CEntryPool& pool, Alike alike)
        : m_lines(lines), m_pool(pool), m_alike(std::move(alike)) {}

    void Run();

private:
    static constexpr size_t kFewPayees = 8;

    enum class By { Check, Payee, Any };
    struct Active {
        uint32_t line = 0;
        uint32_t bucket = 0;  // the first that is near enough
    };

    void Collect();
    void Pair(By by, int32_t days, SeekingLine::Found found);
    uint32_t Best(const Active& active, By by, int32_t days);
    uint32_t FirstIn(const SeekingLine& line, By by, uint32_t bucket);
    uint32_t FirstOfPayees(const SeekingLine& line, uint32_t bucket);
    const std::vector<uint32_t>& AlikeOf(const SeekingLine& line, uint32_t bucket);
    uint32_t FirstOfCheck(const SeekingLine& line, uint32_t bucket);
    uint32_t LowerRow(uint32_t a, uint32_t b) const;

    std::span<SeekingLine> m_lines;
    CEntryPool& m_pool;
    Alike m_alike;
    std::vector<Active> m_active;  // those that have entries near and found none yet
    // Runs of payees that are alike, by payee of the line and bucket; of large buckets only.
    std::unordered_map<uint64_t, std::vector<uint32_t>> m_alikeRuns;
};

}  // namespace quillon
