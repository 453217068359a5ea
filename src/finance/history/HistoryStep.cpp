#include "finance/history/HistoryStep.h"

#include <bit>
#include <utility>

#include "finance/schema/FinanceSchema.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {
namespace {

bool IsSameValue(ColumnType type, const CTableRowUpdateInfoValue& value,
                 const HistoryValue& expected) {
    if (type != ColumnType::Text) return value.Key() == expected.bits;
    return value.isSet ? value.text == expected.text : expected.text.empty();
}

void SetValue(ColumnType type, const HistoryValue& from, CTableRowUpdateInfoValue& value) {
    switch (type) {
        case ColumnType::Text:
            value.SetText(CKeelString(from.text));
            break;
        case ColumnType::Boolean:
            value.boolean = from.bits != 0;
            break;
        case ColumnType::Int32:
            value.int32 = static_cast<int32_t>(from.bits);
            break;
        case ColumnType::Int64:
            value.int64 = from.bits;
            break;
        case ColumnType::Double:
            value.number = std::bit_cast<double>(from.bits);
            break;
        case ColumnType::DateTime:
            value.dateTime = from.bits;
            break;
    }
}

}  // namespace

void Reverse(HistoryChange& change) {
    std::swap(change.before, change.after);
    if (change.action == RowAction::Added) {
        change.action = RowAction::Deleted;
    } else if (change.action == RowAction::Deleted) {
        change.action = RowAction::Added;
    }
}

CHistoryStep::CHistoryStep(CDatabaseManager& database, const HistoryPart& part) {
    for (const HistoryTable& layout : part.tables) {
        Target target;
        // No history holds what it does not write down.
        if (layout.name != kSecurityTable) target.table = database.FindTable(layout.name);
        for (const HistoryTable::Column& column : layout.columns) {
            const CTableColumn* found =
                target.table ? target.table->FindColumn(column.name) : nullptr;
            target.columns.push_back(found && found->type == column.type ? found : nullptr);
        }
        m_targets.push_back(std::move(target));
    }
}

// A changed row by the columns that change, one to be deleted by all of them.
bool CHistoryStep::IsSame(const Target& target, const HistoryChange& change) {
    if (!target.table->ReadRecord(change.row, m_record)) return false;
    for (size_t i = 0; i < target.columns.size(); ++i) {
        const CTableColumn* column = target.columns[i];
        if (!column || (change.action == RowAction::Changed && !change.isSet[i])) continue;
        if (!target.table->ValueFromRecord(m_record, *column, m_value) ||
            !IsSameValue(column->type, m_value, change.before[i])) {
            return false;
        }
    }
    return true;
}

HistoryStatus CHistoryStep::Check(const HistoryChange& change) {
    const Target& target = m_targets[change.table];
    if (!target.table) return HistoryStatus::RowDiffers;
    const bool isAsLeft = change.action == RowAction::Added
                              ? !target.table->RowExists(change.row)
                              : target.table->RowExists(change.row) && IsSame(target, change);
    return isAsLeft ? HistoryStatus::Ok : HistoryStatus::RowDiffers;
}

void CHistoryStep::SetValues(const Target& target, const HistoryChange& change) {
    m_row.Reset();
    m_row.SetRowId(change.row);
    for (size_t i = 0; i < target.columns.size(); ++i) {
        const CTableColumn* column = target.columns[i];
        // A restored row has every column, a date of none among them.
        if (!column || (change.action == RowAction::Changed && !change.isSet[i])) continue;
        SetValue(column->type, change.after[i], m_row.Set(column->id, column->type));
    }
}

HistoryStatus CHistoryStep::Apply(const HistoryChange& change) {
    const HistoryStatus status = Check(change);
    if (status != HistoryStatus::Ok) return status;
    CTableManager& table = *m_targets[change.table].table;
    bool done = false;
    switch (change.action) {
        case RowAction::Added:
            SetValues(m_targets[change.table], change);
            done = table.RestoreRow(m_row);
            break;
        case RowAction::Changed:
            SetValues(m_targets[change.table], change);
            done = table.UpdateRow(m_row);
            break;
        case RowAction::Deleted:
            done = table.DeleteRow(change.row);
            break;
    }
    return done ? HistoryStatus::Ok : HistoryStatus::StoreFailed;
}

}  // namespace quillon
