// Undo and redo of CHistory.

#include <algorithm>
#include <map>
#include <new>
#include <unordered_set>
#include <utility>

#include "finance/history/History.h"
#include "finance/history/HistoryStep.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {
namespace {

// A part in memory, and where its changes begin.
struct OpenPart {
    HistoryPart head;
    std::vector<size_t> changes;

    static bool Read(const std::vector<uint8_t>& bytes, OpenPart& out) {
        size_t at = 0;
        if (!HistoryPart::DecodeHead(bytes, out.head, at)) return false;
        out.changes.clear();
        const size_t end = bytes.size() - HistoryPart::kTailSize;
        for (uint32_t i = 0; i < out.head.changes && at != 0 && at < end; ++i) {
            out.changes.push_back(at);
            at = HistoryChange::EndOf(bytes, at, out.head.tables);
        }
        return at == end && out.changes.size() == out.head.changes;
    }
};

// Calls visit(change) for each change as it has to be made now, until one is not Ok.
template <typename Visit>
HistoryStatus ForEachChange(const OpenPart& part, const std::vector<uint8_t>& bytes, bool isUndo,
                            Visit visit) {
    HistoryChange change;
    const size_t count = part.changes.size();
    for (size_t i = 0; i < count; ++i) {
        size_t at = part.changes[isUndo ? count - 1 - i : i];
        if (!HistoryChange::Decode(bytes, at, part.head.tables, change)) {
            return HistoryStatus::Damaged;
        }
        if (isUndo) Reverse(change);
        const HistoryStatus status = visit(change);
        if (status != HistoryStatus::Ok) return status;
    }
    return HistoryStatus::Ok;
}

}  // namespace

HistoryOutcome CHistory::Undo(const VisitChange& visit) {
    return Take(Direction::Undo, visit);
}

HistoryOutcome CHistory::Redo(const VisitChange& visit) {
    return Take(Direction::Redo, visit);
}

HistoryOutcome CHistory::Take(Direction direction, const VisitChange& visit) {
    HistoryOutcome outcome;
    if (!m_database.IsOpen() || m_database.InBatch()) {
        outcome.status = HistoryStatus::StoreFailed;
        return outcome;
    }
    try {
        outcome.status = TakeAction(direction, visit, outcome);
    } catch (const std::bad_alloc&) {
        outcome.status = HistoryStatus::StoreFailed;
    }
    m_lastNumber = 0;
    return outcome;
}

HistoryStatus CHistory::NextParts(Direction direction, std::vector<Place>& places,
                                  HistoryAction& action) const {
    const bool isUndo = direction == Direction::Undo;
    if (!(isUndo ? m_file.HasDone() : m_file.HasUndone())) return HistoryStatus::Nothing;
    const int64_t done = m_file.Header().done;
    int64_t at = done;
    HistoryRead read = isUndo ? m_file.LastDone(at) : HistoryRead::Ok;
    if (read == HistoryRead::Ok) read = PartsAround(at, places);
    if (read != HistoryRead::Ok) return StatusOf(read);
    action = ActionOf(places);
    std::erase_if(places, [&](const Place& place) { return isUndo == (place.at >= done); });
    if (isUndo) std::reverse(places.begin(), places.end());
    return HistoryStatus::Ok;
}

HistoryStatus CHistory::TakeAction(Direction direction, const VisitChange& visit,
                                   HistoryOutcome& outcome) {
    std::vector<Place> places;
    HistoryStatus status = NextParts(direction, places, outcome.action);
    if (status == HistoryStatus::Ok) status = CheckParts(direction, places, outcome);
    for (size_t i = 0; i < places.size() && status == HistoryStatus::Ok; ++i) {
        status = TakePart(direction, places[i], visit, outcome);
    }
    return status;
}

// Of an action of several commits nothing is taken back when one of its rows differs.
HistoryStatus CHistory::CheckParts(Direction direction, const std::vector<Place>& places,
                                   HistoryOutcome& outcome) const {
    const bool isUndo = direction == Direction::Undo;
    if (places.size() < 2) return HistoryStatus::Ok;

    // Each row by the first change that it meets: the others follow from that.
    std::map<std::string, std::unordered_set<int64_t>> seen;
    std::vector<uint8_t> bytes;
    for (const Place& place : places) {
        OpenPart part;
        const HistoryRead read = m_file.ReadPart(place.at, bytes);
        if (read != HistoryRead::Ok) return StatusOf(read);
        if (!OpenPart::Read(bytes, part)) return HistoryStatus::Damaged;
        CHistoryStep step(m_database, part.head);
        const HistoryStatus status =
            ForEachChange(part, bytes, isUndo, [&](const HistoryChange& change) {
                const std::string& table = part.head.tables[change.table].name;
                if (!seen[table].insert(change.row).second) return HistoryStatus::Ok;
                const HistoryStatus checked = step.Check(change);
                if (checked == HistoryStatus::RowDiffers) {
                    outcome.table = table;
                    outcome.row = change.row;
                }
                return checked;
            });
        if (status != HistoryStatus::Ok) return status;
    }
    return HistoryStatus::Ok;
}

HistoryStatus CHistory::TakePart(Direction direction, const Place& place, const VisitChange& visit,
                                 HistoryOutcome& outcome) {
    const bool isUndo = direction == Direction::Undo;
    std::vector<uint8_t> bytes;
    OpenPart part;
    const HistoryRead read = m_file.ReadPart(place.at, bytes);
    if (read != HistoryRead::Ok) return StatusOf(read);
    if (!OpenPart::Read(bytes, part)) return HistoryStatus::Damaged;
    CBracketScope bracket(m_database);
    if (!bracket.Begun()) return HistoryStatus::StoreFailed;
    for (const HistoryTable& layout : part.head.tables) {
        CTableManager* const table = m_database.FindTable(layout.name);
        if (table) table->ExpectChanges(int64_t{layout.added} + layout.changed + layout.deleted);
    }
    CHistoryStep step(m_database, part.head);
    const HistoryStatus status =
        ForEachChange(part, bytes, isUndo, [&](const HistoryChange& change) {
            const HistoryStatus applied = step.Apply(change);
            if (applied == HistoryStatus::RowDiffers) {
                outcome.table = part.head.tables[change.table].name;
                outcome.row = change.row;
            }
            if (applied == HistoryStatus::Ok && visit) (void)visit(part.head, change);
            return applied;
        });
    if (status != HistoryStatus::Ok) return status;
    const int64_t done = isUndo ? place.at : place.at + place.length;
    return m_file.SetDone(done) && bracket.Commit() ? HistoryStatus::Ok
                                                    : HistoryStatus::StoreFailed;
}

}  // namespace quillon
