// The rows and BLOBs of CDatabaseManager.

#include <utility>

#include "storage/database/DatabaseManager.h"
#include "storage/database/RowRecorder.h"

namespace quillon {

// --- rows

bool CDatabaseManager::BeginRow(std::string_view table) {
    const CLockScope lock(m_lock);
    m_rowTable = FindTable(table);
    m_row.Reset();
    m_rowFailed = false;
    return m_rowTable != nullptr;
}

bool CDatabaseManager::BeginRowUpdate(std::string_view table, int64_t rowId) {
    const CLockScope lock(m_lock);
    if (!BeginRow(table)) return false;
    if (!m_rowTable->RowExists(rowId)) {
        AbandonRow();
        return false;
    }
    m_row.SetRowId(rowId);
    return true;
}

CTableRowUpdateInfoValue* CDatabaseManager::RowValue(std::string_view column, ColumnType type) {
    const CTableColumn* found = m_rowTable ? m_rowTable->FindColumn(column) : nullptr;
    if (!found || found->type != type) return nullptr;
    return &m_row.Set(found->id, type);
}

// `set(value)` takes the new value in.
template <typename Set>
bool CDatabaseManager::SetValue(std::string_view column, ColumnType type, Set set) {
    const CLockScope lock(m_lock);
    const bool done = Guarded([&] {
        CTableRowUpdateInfoValue* target = RowValue(column, type);
        if (target) set(*target);
        return target != nullptr;
    });
    if (!done) m_rowFailed = true;
    return done;
}

bool CDatabaseManager::SetText(std::string_view column, const CKeelString& value) {
    return SetValue(column, ColumnType::Text, [&](auto& target) { target.SetText(value); });
}

bool CDatabaseManager::SetBoolean(std::string_view column, bool value) {
    return SetValue(column, ColumnType::Boolean, [&](auto& target) { target.boolean = value; });
}

bool CDatabaseManager::SetInt32(std::string_view column, int32_t value) {
    return SetValue(column, ColumnType::Int32, [&](auto& target) { target.int32 = value; });
}

bool CDatabaseManager::SetInt64(std::string_view column, int64_t value) {
    return SetValue(column, ColumnType::Int64, [&](auto& target) { target.int64 = value; });
}

bool CDatabaseManager::SetDouble(std::string_view column, double value) {
    return SetValue(column, ColumnType::Double, [&](auto& target) { target.number = value; });
}

bool CDatabaseManager::SetDateTime(std::string_view column, int64_t value) {
    return SetValue(column, ColumnType::DateTime, [&](auto& target) { target.dateTime = value; });
}

void CDatabaseManager::AbandonRow() {
    const CLockScope lock(m_lock);
    m_rowTable = nullptr;
    m_row.Reset();
}

int64_t CDatabaseManager::CommitRow() {
    const CLockScope lock(m_lock);
    CTableManager* table = std::exchange(m_rowTable, nullptr);
    if (!table || m_rowFailed) return -1;
    int64_t rowId = m_row.RowId();
    const bool committed = RunInBracket([&] {
        if (rowId != CTableRowUpdateInfo::kNewRow) {
            return (!m_recorder || m_recorder->RowChanges(*table, m_row)) &&
                   table->UpdateRow(m_row);
        }
        rowId = table->AddRow(m_row);
        return rowId >= 0 && (!m_recorder || m_recorder->RowAdded(*table, rowId, m_row));
    });
    return committed ? rowId : -1;
}

bool CDatabaseManager::DeleteRow(std::string_view table, int64_t rowId) {
    const CLockScope lock(m_lock);
    CTableManager* target = FindTable(table);
    if (!target || !target->RowExists(rowId)) return false;
    return RunInBracket([&] {
        return (!m_recorder || m_recorder->RowGoes(*target, rowId)) && target->DeleteRow(rowId);
    });
}

void CDatabaseManager::SetRecorder(CRowRecorder* recorder) {
    const CLockScope lock(m_lock);
    m_recorder = recorder;
}

// --- BLOBs

int64_t CDatabaseManager::AddBlob(std::span<const uint8_t> bytes) {
    const CLockScope lock(m_lock);
    int64_t id = -1;
    const bool added = m_blobs && RunInBracket([&] {
                           id = m_blobs->Add(bytes);
                           return id >= 0;
                       });
    return added ? id : -1;
}

bool CDatabaseManager::ReadBlob(int64_t id, std::vector<uint8_t>& bytes) {
    const CLockScope lock(m_lock);
    return m_blobs && Guarded([&] { return m_blobs->Read(id, bytes); });
}

bool CDatabaseManager::ReplaceBlob(int64_t id, std::span<const uint8_t> bytes) {
    const CLockScope lock(m_lock);
    return m_blobs && RunInBracket([&] { return m_blobs->Replace(id, bytes); });
}

bool CDatabaseManager::DeleteBlob(int64_t id) {
    const CLockScope lock(m_lock);
    return m_blobs && RunInBracket([&] { return m_blobs->Delete(id); });
}

}  // namespace quillon
