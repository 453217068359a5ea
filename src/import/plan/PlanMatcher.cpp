#include "import/plan/PlanMatcher.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "import/plan/PayeeLikeness.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;
using Found = SeekingLine::Found;

// Which amounts lines have about a day. May hold what was not added, never the other way.
class CAmountFilter {
public:
    CAmountFilter(std::span<const SeekingLine> lines, int32_t days)
        : m_bits(std::bit_ceil(lines.size() * 16 + 64)) {
        for (const SeekingLine& line : lines) {
            Set(line.cents, line.day - days);
            Set(line.cents, line.day + days);
        }
    }
    bool MayHave(int64_t cents, int32_t day) const { return m_bits[BitOf(cents, day)]; }

private:
    // Days in sixteens: those about a line's day lie in two of these at most.
    size_t BitOf(int64_t cents, int32_t day) const {
        const uint64_t mixed =
            (static_cast<uint64_t>(cents) * 0x9E3779B97F4A7C15 + static_cast<uint64_t>(day >> 4)) *
            0xC2B2AE3D27D4EB4F;
        return static_cast<size_t>(mixed >> 24) & (m_bits.size() - 1);
    }
    void Set(int64_t cents, int32_t day) { m_bits[BitOf(cents, day)] = true; }

    std::vector<bool> m_bits;
};
static_assert(2 * CLineMatcher::kMaybeDays < 16);

bool IsLineAmount(double amount) {
    return std::fabs(amount) <= kLargestAmount;
}

int64_t SignedCents(int32_t type, double amount, AccountType account) {
    return CentsOf(BalanceEffect(static_cast<TransactionType>(type), amount, account));
}

PoolEntry EntryOf(const TransactionIdentities& found, size_t i, AccountType account) {
    PoolEntry entry;
    entry.cents = SignedCents(found.types[i], found.amounts[i], account);
    entry.row = found.ids[i];
    entry.payee = found.payees[i];
    entry.day = DayOf(found.dates[i]);
    entry.check = found.checks[i];
    entry.isIdentified = found.fitIds[i] != 0;
    return entry;
}

int64_t DateOf(int32_t day) {
    return day * kTicksPerDay;
}

}  // namespace

// All that is held is known before anything is matched: a line is never matched with an entry
// that another line of the file brought.
bool CPlanMatcher::Run() {
    Seekers seekers;
    Gather(seekers);
    std::vector<PoolEntry> entries;
    if (!ReadNear(seekers.dated, entries)) return false;
    AddDeleted(entries);
    CEntryPool pool(std::move(entries));
    pool.UseRows(RowsMet());
    MeetCounted(seekers.dated, pool);
    Settle(seekers.dated, pool);
    if (!JudgeUndated(seekers.undated)) return false;
    return m_mode == MatchMode::None || Match(seekers.dated, pool);
}

// A line of the file's own identifier is told by that alone, and where date or amount could
// not be read nothing tells that an entry is the same.
bool CPlanMatcher::IsSought(const PackedRow& row, PlanOutcome outcome) const {
    const bool isCounted = row.idText.empty();
    if (outcome == PlanOutcome::Unreadable) return isCounted;
    return outcome == PlanOutcome::New && (isCounted || m_mode == MatchMode::Auto);
}

SeekingLine CPlanMatcher::SeekerOf(const PackedRow& row, size_t index) const {
    SeekingLine line;
    line.line = row.line;
    line.index = static_cast<uint32_t>(index);
    line.payeeName = row.payee;
    line.payee = m_plan.m_payees.IsMissing(row.payee) ? SeekingLine::kPayeeMissing
                                                      : m_plan.m_payees.RowOf(row.payee);
    line.cents = CentsOf(row.amount);
    line.day = DayOf(row.date);
    line.check = row.check;
    line.isCounted = row.idText.empty();
    return line;
}

void CPlanMatcher::Gather(Seekers& seekers) const {
    CPackedRows::CReader reader(m_plan.m_rows, m_plan.m_texts);
    PackedRow row;
    for (size_t index = 0; reader.Next(row); ++index) {
        if (!IsSought(row, m_plan.m_states[index].outcome)) continue;
        (row.dateRead ? seekers.dated : seekers.undated).push_back(SeekerOf(row, index));
    }
}

bool CPlanMatcher::Match(std::vector<SeekingLine>& lines, CEntryPool& pool) {
    std::erase_if(lines, [this](const SeekingLine& line) {
        return m_plan.m_states[line.index].outcome != PlanOutcome::New;
    });
    pool.UseRows(RowsMet());
    CPayeeLikeness likeness(*m_plan.m_database, m_plan.m_payees);
    CLineMatcher(lines, pool, [&likeness](const SeekingLine& line, int64_t payee) {
        return likeness.AreAlike(line.payeeName, payee);
    }).Run();
    Settle(lines, pool);
    return !likeness.Failed();
}

// A row whose date cannot be read was entered on the day of its import, whichever that was.
// Where the file was imported before, its other rows meet what was entered on that day; if so,
// this one is held when the account has its amount and payee there, by count as the others.
// Where no other row of the file was entered on that day nothing tells, and it is entered.
bool CPlanMatcher::JudgeUndated(std::vector<SeekingLine>& lines) {
    if (lines.empty()) return true;
    std::vector<int32_t> days{lines.front().day};
    std::vector<PoolEntry> entries;
    if (!ImportDays(days) || !ReadOn(days, entries)) return false;
    for (SeekingLine& line : lines) line.day = 0;
    CEntryPool pool(std::move(entries));
    pool.UseRows(RowsMet());
    MeetCounted(lines, pool);
    Settle(lines, pool);
    return true;
}

// Stamps are UTC, dates the user's: a day more on either side.
bool CPlanMatcher::ImportDays(std::vector<int32_t>& days) const {
    std::vector<int64_t> stamps;
    if (!m_plan.m_database->ReadTransactionCreations(RowsMet(), stamps)) return false;
    for (const int64_t stamp : stamps) {
        if (stamp <= 0) continue;
        const int32_t day = DayOf(stamp);
        if (days.size() > 1 && days.back() == day + 1) continue;
        days.insert(days.end(), {day - 1, day, day + 1});
    }
    std::sort(days.begin(), days.end());
    days.erase(std::unique(days.begin(), days.end()), days.end());
    return true;
}

// --- reading

bool CPlanMatcher::ReadNear(std::span<const SeekingLine> lines,
                            std::vector<PoolEntry>& entries) const {
    if (lines.empty()) return true;
    const int32_t days = m_mode == MatchMode::Auto ? CLineMatcher::kMaybeDays : 0;
    const auto [first, last] = std::minmax_element(
        lines.begin(), lines.end(),
        [](const SeekingLine& a, const SeekingLine& b) { return a.day < b.day; });
    const CAmountFilter filter(lines, days);
    const AccountType account = m_plan.m_account.accountType;
    const auto isNear = [&](int64_t date, int32_t type, double amount) {
        return IsLineAmount(amount) &&
               filter.MayHave(SignedCents(type, amount, account), DayOf(date));
    };
    return ReadEntries(first->day - days, last->day + days, isNear, entries);
}

// No line is matched with them; they have no rows, and numbers below those of all rows.
void CPlanMatcher::AddDeleted(std::vector<PoolEntry>& entries) const {
    int64_t row = kNoRow;
    for (const DeletedLine& line : m_deleted) {
        PoolEntry entry;
        entry.cents = CentsOf(line.effect);
        entry.row = --row;
        entry.payee = line.payeeId;
        entry.day = DayOf(line.date);
        entry.isIdentified = true;
        entries.push_back(entry);
    }
}

// Their day is left out: any of the days is the right one.
bool CPlanMatcher::ReadOn(std::span<const int32_t> days, std::vector<PoolEntry>& entries) const {
    const auto isOnThem = [&](int64_t date, int32_t, double amount) {
        return IsLineAmount(amount) && std::binary_search(days.begin(), days.end(), DayOf(date));
    };
    if (!ReadEntries(days.front(), days.back(), isOnThem, entries)) return false;
    for (PoolEntry& entry : entries) entry.day = 0;
    return true;
}

bool CPlanMatcher::ReadEntries(int32_t from, int32_t to, const TransactionChoice& choose,
                               std::vector<PoolEntry>& entries) const {
    TransactionIdentities found;
    if (!m_plan.m_database->ReadTransactionIdentities(m_plan.m_account.id, DateOf(from), DateOf(to),
                                                      choose, found)) {
        return false;
    }
    entries.reserve(found.ids.size());
    for (size_t i = 0; i < found.ids.size(); ++i) {
        entries.push_back(EntryOf(found, i, m_plan.m_account.accountType));
    }
    return true;
}

// --- the plan

// What rows are or may be, in the order of the ledger's rows.
std::vector<int64_t> CPlanMatcher::RowsMet() const {
    std::vector<int64_t> rows;
    rows.reserve(m_plan.m_matches.size());
    for (const auto& [index, row] : m_plan.m_matches) rows.push_back(row);
    std::sort(rows.begin(), rows.end());
    return rows;
}

void CPlanMatcher::Settle(std::span<const SeekingLine> lines, const CEntryPool& pool) {
    for (const SeekingLine& line : lines) {
        if (line.found == Found::Nothing) continue;
        const PoolEntry& entry = pool.Entries()[line.entry];
        if (entry.row > kNoRow) m_plan.m_matches.emplace_back(line.index, entry.row);
        CImportPlan::State& state = m_plan.m_states[line.index];
        if (line.found == Found::Held) {
            state = {PlanOutcome::Held, PlanAction::Skip};
            continue;
        }
        const bool isMatch = line.found == Found::Matches;
        state = isMatch ? CImportPlan::State{PlanOutcome::Matches, PlanAction::Match}
                        : CImportPlan::State{PlanOutcome::Maybe, PlanAction::Enter};
        m_notes.Add(isMatch ? Note::TakenForEntry : Note::MayBeEntry, line.line,
                    {FormatIsoDate(DateOf(entry.day))});
    }
    std::sort(m_plan.m_matches.begin(), m_plan.m_matches.end());
}

}  // namespace quillon
