#include "finance/history/History.h"

#include <algorithm>

#include "finance/history/HistoryRecorded.h"
#include "finance/schema/FinanceSchema.h"
#include "foundation/platform/Clock.h"
#include "storage/database/DatabaseFiles.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

CHistory::CHistory(CDatabaseManager& database) : m_database(database), m_file(database.Journal()) {}

CHistory::~CHistory() {
    m_database.SetRecorder(nullptr);
    m_database.Journal().Leave(*this);
}

CHistoryFile::OpenResult CHistory::Open() {
    Close();
    const CHistoryFile::OpenResult result = m_file.Open(m_database.Folder() + kHistoryName);
    m_wasLost = result == CHistoryFile::OpenResult::Lost;
    if (m_wasLost || result == CHistoryFile::OpenResult::Ok) m_database.SetRecorder(this);
    return result;
}

void CHistory::Close() {
    m_database.SetRecorder(nullptr);
    m_file.Close();
    ForgetBracket();
    m_lastNumber = 0;
    m_wasLost = false;
}

void CHistory::Describe(ActionKind kind, std::string_view label, int64_t subject) {
    if (!m_database.InBatch()) return;
    JoinBracket();
    m_name = {kind, std::string(label.substr(0, HistoryPart::kLongestLabel)), subject};
}

void CHistory::JoinBracket() {
    if (m_joined) return;
    m_database.Journal().Join(*this);
    m_joined = true;
}

CHistory::CLongAction::CLongAction(CHistory& history, ActionKind kind, std::string_view label,
                                   int64_t subject)
    : m_history(history) {
    Name name{kind, std::string(label.substr(0, HistoryPart::kLongestLabel)), subject};
    const CLockScope lock(m_history.m_database.Lock());
    m_history.m_longs.push_back({std::move(name), 0, std::this_thread::get_id()});
}

CHistory::CLongAction::~CLongAction() {
    const CLockScope lock(m_history.m_database.Lock());
    std::erase_if(m_history.m_longs,
                  [](const Long& action) { return action.thread == std::this_thread::get_id(); });
}

CHistory::Long* CHistory::OwnLong() {
    const auto own = std::find_if(m_longs.begin(), m_longs.end(), [](const Long& action) {
        return action.thread == std::this_thread::get_id();
    });
    return own == m_longs.end() ? nullptr : &*own;
}

void CHistory::Pause(int change) {
    const CLockScope lock(m_database.Lock());
    m_paused += change;
}

// --- rows

bool CHistory::Records(const CTableManager& table) const {
    return m_paused == 0 && table.Name().View() != kSecurityTable;
}

CHistory::Recorded& CHistory::TableOf(const CTableManager& table) {
    JoinBracket();
    const auto found =
        std::find_if(m_tables.begin(), m_tables.end(),
                     [&](const Recorded& recorded) { return recorded.number == table.Number(); });
    if (found != m_tables.end()) return *found;
    Recorded recorded;
    recorded.place = static_cast<uint16_t>(m_tables.size());
    recorded.number = table.Number();
    recorded.layout.name = table.Name().ToUtf8();
    const std::vector<CTableColumn>& columns = table.Columns();
    for (size_t i = 0; i < columns.size(); ++i) {
        if (!IsColumnType(columns[i].type)) continue;
        recorded.columns.push_back(i);
        recorded.layout.columns.push_back({columns[i].name.ToUtf8(), columns[i].type});
    }
    recorded.present.resize(recorded.columns.size());
    m_tables.push_back(std::move(recorded));
    return m_tables.back();
}

void CHistory::Put(Recorded& recorded) {
    m_change.table = recorded.place;
    m_change.Encode(recorded.layout, m_changes);
    ++m_count;
}

namespace {

void Begin(HistoryChange& change, RowAction action, int64_t row, size_t columns) {
    change.action = action;
    change.row = row;
    change.isSet.assign(columns, false);
    change.before.assign(columns, {});
    change.after.assign(columns, {});
}

}  // namespace

bool CHistory::RowAdded(const CTableManager& table, int64_t rowId, const CTableRowUpdateInfo& row) {
    if (!Records(table)) return true;
    Recorded& recorded = TableOf(table);
    Begin(m_change, RowAction::Added, rowId, recorded.columns.size());
    for (size_t i = 0; i < recorded.columns.size(); ++i) {
        const CTableColumn& column = table.Columns()[recorded.columns[i]];
        const CTableRowUpdateInfoValue* value = row.Find(column.id);
        if (!value && column.type == ColumnType::DateTime) {
            // Its default is the time of writing.
            if (!table.ReadValue(rowId, column, recorded.present[i])) return false;
            value = &recorded.present[i];
        }
        if (!value) continue;
        m_change.after[i] = HistoryValueOf(column.type, *value);
        m_change.isSet[i] = m_change.after[i] != HistoryValue{};
    }
    HistoryTable& layout = recorded.layout;
    layout.firstAdded = layout.added == 0 ? rowId : std::min(layout.firstAdded, rowId);
    layout.lastAdded = layout.added == 0 ? rowId : std::max(layout.lastAdded, rowId);
    ++layout.added;
    Put(recorded);
    return true;
}

bool CHistory::RowChanges(const CTableManager& table, const CTableRowUpdateInfo& row) {
    if (!Records(table)) return true;
    Recorded& recorded = TableOf(table);
    std::vector<uint8_t> record;
    if (!table.ReadRecord(row.RowId(), record)) return false;
    Begin(m_change, RowAction::Changed, row.RowId(), recorded.columns.size());
    for (size_t i = 0; i < recorded.columns.size(); ++i) {
        const CTableColumn& column = table.Columns()[recorded.columns[i]];
        const CTableRowUpdateInfoValue* value = row.Find(column.id);
        if (!value) continue;
        if (!table.ValueFromRecord(record, column, recorded.present[i])) return false;
        m_change.before[i] = HistoryValueOf(column.type, recorded.present[i]);
        m_change.after[i] = HistoryValueOf(column.type, *value);
        m_change.isSet[i] = m_change.before[i] != m_change.after[i];
    }
    const auto& isSet = m_change.isSet;
    if (std::find(isSet.begin(), isSet.end(), true) == isSet.end()) return true;
    ++recorded.layout.changed;
    Put(recorded);
    return true;
}

bool CHistory::RowGoes(const CTableManager& table, int64_t rowId) {
    if (!Records(table)) return true;
    Recorded& recorded = TableOf(table);
    std::vector<uint8_t> record;
    if (!table.ReadRecord(rowId, record)) return false;
    Begin(m_change, RowAction::Deleted, rowId, recorded.columns.size());
    for (size_t i = 0; i < recorded.columns.size(); ++i) {
        const CTableColumn& column = table.Columns()[recorded.columns[i]];
        if (!table.ValueFromRecord(record, column, recorded.present[i])) return false;
        m_change.before[i] = HistoryValueOf(column.type, recorded.present[i]);
        m_change.isSet[i] = m_change.before[i] != HistoryValue{};
    }
    ++recorded.layout.deleted;
    Put(recorded);
    return true;
}

// --- brackets

HistoryPart CHistory::HeadOfBracket(bool& isNextAction) {
    const Long* const action = OwnLong();
    isNextAction = !action || action->number == 0 || action->number != m_lastNumber;
    const Name& name = action && m_name.label.empty() ? action->name : m_name;
    HistoryPart part;
    part.number = isNextAction ? m_file.Header().nextNumber : action->number;
    part.time = NowFileTime();
    part.kind = static_cast<uint16_t>(name.kind);
    part.subject = name.subject;
    part.label = name.label;
    part.changes = m_count;
    for (const Recorded& recorded : m_tables) part.tables.push_back(recorded.layout);
    return part;
}

bool CHistory::BracketEnds() {
    if (m_count == 0) return true;
    bool isNextAction = true;
    const HistoryPart head = HeadOfBracket(isNextAction);
    std::vector<uint8_t> bytes = head.EncodeHead();
    bytes.insert(bytes.end(), m_changes.begin(), m_changes.end());
    m_written = head.number;
    return HistoryPart::Finish(bytes) && m_file.Append(bytes, isNextAction);
}

bool CHistory::Flushing() {
    return m_file.Trim(m_rooms.actions, m_rooms.bytes);
}

bool CHistory::OnBracketCommitted() {
    if (m_written != 0) {
        m_lastNumber = m_written;
        if (Long* const action = OwnLong()) action->number = m_written;
    }
    ForgetBracket();
    return true;
}

bool CHistory::OnBracketRolledBack() {
    ForgetBracket();
    return true;
}

void CHistory::ForgetBracket() {
    m_joined = false;
    m_written = 0;
    m_name = {};
    m_tables.clear();
    m_changes.clear();
    m_count = 0;
    m_change = {};
}

}  // namespace quillon
