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

HistoryStatus CHistory::NextPart(Direction direction, std::vector<uint8_t>& bytes,
                                 int64_t& at) const {
    const bool isUndo = direction == Direction::Undo;
    if (!(isUndo ? m_file.HasDone() : m_file.HasUndone())) return HistoryStatus::Nothing;
    at = m_file.Header().done;
    if (isUndo && !m_file.LastDone(at)) return HistoryStatus::Damaged;
    return m_file.ReadPart(at, bytes) ? HistoryStatus::Ok : HistoryStatus::Damaged;
}

HistoryStatus CHistory::TakeAction(Direction direction, const VisitChange& visit,
                                   HistoryOutcome& outcome) {
    std::vector<uint8_t> bytes;
    int64_t at = 0;
    HistoryStatus status = NextPart(direction, bytes, at);
    if (status != HistoryStatus::Ok) return status;
    const std::optional<HistoryAction> action = ActionAt(at);
    if (!action) return HistoryStatus::Damaged;
    outcome.action = *action;
    status = CheckAction(direction, at, outcome);
    while (status == HistoryStatus::Ok) {
        status = TakePart(direction, bytes, at, visit, outcome);
        if (status != HistoryStatus::Ok) break;
        // The next part, if it belongs to the action.
        HistoryPart head;
        size_t changes = 0;
        if (NextPart(direction, bytes, at) != HistoryStatus::Ok ||
            !HistoryPart::DecodeHead(bytes, head, changes) ||
            head.number != outcome.action.number) {
            break;
        }
    }
    return status;
}

// Of an action of several commits nothing is taken back when one of its rows differs.
HistoryStatus CHistory::CheckAction(Direction direction, int64_t first,
                                    HistoryOutcome& outcome) const {
    const bool isUndo = direction == Direction::Undo;
    std::vector<Place> places = PartsAround(first);
    const int64_t done = m_file.Header().done;
    std::erase_if(places, [&](const Place& place) { return isUndo == (place.at >= done); });
    if (places.size() < 2) return HistoryStatus::Ok;
    if (isUndo) std::reverse(places.begin(), places.end());

    // Each row by the first change that it meets: the others follow from that.
    std::map<std::string, std::unordered_set<int64_t>> seen;
    std::vector<uint8_t> bytes;
    for (const Place& place : places) {
        OpenPart part;
        if (!m_file.ReadPart(place.at, bytes) || !OpenPart::Read(bytes, part)) {
            return HistoryStatus::Damaged;
        }
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

HistoryStatus CHistory::TakePart(Direction direction, const std::vector<uint8_t>& bytes, int64_t at,
                                 const VisitChange& visit, HistoryOutcome& outcome) {
    const bool isUndo = direction == Direction::Undo;
    OpenPart part;
    if (!OpenPart::Read(bytes, part)) return HistoryStatus::Damaged;
    CBracketScope bracket(m_database);
    if (!bracket.Begun()) return HistoryStatus::StoreFailed;
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
    const int64_t done = isUndo ? at : at + static_cast<int64_t>(bytes.size());
    return m_file.SetDone(done) && bracket.Commit() ? HistoryStatus::Ok
                                                    : HistoryStatus::StoreFailed;
}

}  // namespace quillon
