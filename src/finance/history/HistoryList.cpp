// Looking into CHistory.

#include <algorithm>

#include "finance/history/History.h"

namespace quillon {
namespace {

ActionTable& TableIn(HistoryAction& action, const std::string& name) {
    const auto found = std::find_if(action.tables.begin(), action.tables.end(),
                                    [&](const ActionTable& table) { return table.table == name; });
    if (found != action.tables.end()) return *found;
    return action.tables.emplace_back(ActionTable{name, 0, 0, 0});
}

HistoryAction Begun(const HistoryPart& part, bool isDone) {
    HistoryAction action;
    action.number = part.number;
    action.time = part.time;
    action.kind = static_cast<ActionKind>(part.kind);
    action.subject = part.subject;
    action.label = part.label;
    action.state = isDone ? ActionState::Done : ActionState::Undone;
    return action;
}

void AddPart(const HistoryPart& part, bool isDone, HistoryAction& action) {
    if (isDone != (action.state == ActionState::Done)) action.state = ActionState::UndoneInPart;
    for (const HistoryTable& table : part.tables) {
        ActionTable& total = TableIn(action, table.name);
        total.added += table.added;
        total.changed += table.changed;
        total.deleted += table.deleted;
    }
}

}  // namespace

HistoryStatus CHistory::StatusOf(HistoryRead read) {
    switch (read) {
        case HistoryRead::Ok:
            return HistoryStatus::Ok;
        case HistoryRead::Damaged:
            return HistoryStatus::Damaged;
        case HistoryRead::Failed:
            break;
    }
    return HistoryStatus::StoreFailed;
}

bool CHistory::List(std::vector<HistoryAction>& actions) const {
    actions.clear();
    const HistoryHeader& header = m_file.Header();
    const HistoryRead walked =
        m_file.Walk(header.first, header.end, [&](int64_t at, int64_t, const HistoryPart& part) {
            const bool isDone = at < header.done;
            if (actions.empty() || actions.back().number != part.number) {
                actions.push_back(Begun(part, isDone));
            }
            AddPart(part, isDone, actions.back());
            return true;
        });
    return walked == HistoryRead::Ok;
}

bool CHistory::Find(int64_t number, HistoryAction& action) const {
    std::vector<HistoryAction> actions;
    (void)List(actions);
    const auto found =
        std::find_if(actions.begin(), actions.end(),
                     [number](const HistoryAction& other) { return other.number == number; });
    if (found == actions.end()) return false;
    action = *found;
    return true;
}

// What is damaged beside them belongs to no action that can be told.
HistoryRead CHistory::PartsAround(int64_t at, std::vector<Place>& places) const {
    places.clear();
    Place place{at, 0, {}};
    HistoryRead read = m_file.ReadHead(place.at, place.head, place.length);
    if (read != HistoryRead::Ok) return read;
    places.push_back(place);
    const int64_t number = place.head.number;
    for (int64_t end = at;; end = place.at) {
        read = m_file.Before(end, place.at);
        if (read == HistoryRead::Ok) read = m_file.ReadHead(place.at, place.head, place.length);
        if (read == HistoryRead::Failed) return read;
        if (read != HistoryRead::Ok || place.at + place.length != end ||
            place.head.number != number) {
            break;
        }
        places.push_back(place);
    }
    std::reverse(places.begin(), places.end());
    place.at = places.back().at + places.back().length;
    for (; place.at < m_file.Header().end; place.at += place.length) {
        read = m_file.ReadHead(place.at, place.head, place.length);
        if (read == HistoryRead::Failed) return read;
        if (read != HistoryRead::Ok || place.head.number != number) break;
        places.push_back(place);
    }
    return HistoryRead::Ok;
}

HistoryAction CHistory::ActionOf(const std::vector<Place>& places) const {
    const int64_t done = m_file.Header().done;
    HistoryAction action = Begun(places.front().head, places.front().at < done);
    for (const Place& place : places) AddPart(place.head, place.at < done, action);
    return action;
}

std::optional<HistoryAction> CHistory::ActionAt(int64_t at) const {
    std::vector<Place> places;
    if (PartsAround(at, places) != HistoryRead::Ok) return {};
    return ActionOf(places);
}

std::optional<HistoryAction> CHistory::NextUndo() const {
    int64_t at = 0;
    if (m_file.LastDone(at) != HistoryRead::Ok) return {};
    return ActionAt(at);
}

std::optional<HistoryAction> CHistory::NextRedo() const {
    if (!m_file.HasUndone()) return {};
    return ActionAt(m_file.Header().done);
}

HistoryStatus CHistory::ReadParts(int64_t to, const WantPart& wants,
                                  const VisitChange& visit) const {
    HistoryStatus status = HistoryStatus::Ok;
    std::vector<uint8_t> bytes;
    HistoryChange change;
    const auto readPart = [&](int64_t place, int64_t, const HistoryPart& head) {
        if (!wants(head)) return true;
        HistoryPart part;
        size_t at = 0;
        status = StatusOf(m_file.ReadPart(place, bytes));
        if (status != HistoryStatus::Ok) return false;
        status = HistoryStatus::Damaged;
        if (!HistoryPart::DecodeHead(bytes, part, at)) return false;
        for (uint32_t i = 0; i < part.changes; ++i) {
            if (!HistoryChange::Decode(bytes, at, part.tables, change)) return false;
            if (!visit(part, change)) break;
        }
        status = HistoryStatus::Ok;
        return true;
    };
    const HistoryRead walked = m_file.Walk(m_file.Header().first, to, readPart);
    return walked == HistoryRead::Ok ? status : StatusOf(walked);
}

HistoryStatus CHistory::Read(int64_t number, const VisitChange& visit) const {
    bool isThere = false;
    const HistoryStatus status = ReadParts(
        m_file.Header().end,
        [&](const HistoryPart& part) {
            isThere |= part.number == number;
            return part.number == number;
        },
        visit);
    return isThere || status != HistoryStatus::Ok ? status : HistoryStatus::NoSuchAction;
}

HistoryStatus CHistory::ReadDone(const WantPart& wants, const VisitChange& visit) const {
    return ReadParts(m_file.Header().done, wants, visit);
}

}  // namespace quillon
