#pragma once

#include <cstdint>
#include <vector>

#include "foundation/KeelOptimizedMap.h"
#include "foundation/KeelString.h"
#include "storage/tables/ColumnType.h"

namespace quillon {

// One typed value. Only the member of its type counts.
class CTableRowUpdateInfoValue {
public:
    CTableRowUpdateInfoValue() = default;
    explicit CTableRowUpdateInfoValue(ColumnType valueType) { Reset(valueType); }

    // The type's default: no text, false, 0, 0.0; a date-time becomes the current time.
    void Reset(ColumnType valueType);

    ColumnType type = ColumnType::Text;
    bool isSet = true;  // a text may be absent, which is not the same as empty
    CKeelString text;   // see SetText
    bool boolean = false;
    int32_t int32 = 0;
    int64_t int64 = 0;
    double number = 0.0;
    int64_t dateTime = 0;

    // Takes a text as it will read back from the store: narrow, up to its first zero
    // character. Every text enters a row or a condition this way, so that what is stored, its
    // index key and what is looked for agree.
    void SetText(const CKeelString& value);

    // The value as an index key.
    int64_t Key() const;
};

// The values of a row to be added (row id -1) or changed, by column id.
class CTableRowUpdateInfo {
public:
    static constexpr int64_t kNewRow = -1;

    void Reset();
    int64_t RowId() const { return m_rowId; }
    void SetRowId(int64_t rowId) { m_rowId = rowId; }

    // The column's value, reset to the type's default; it may move at the next Set. Throws
    // std::bad_alloc when memory runs out.
    CTableRowUpdateInfoValue& Set(int64_t columnId, ColumnType type);
    // Null when the column is not set.
    const CTableRowUpdateInfoValue* Find(int64_t columnId) const;

private:
    // More than most tables have columns.
    static constexpr int32_t kBuckets = 19;

    CKeelOptimizedMap m_places;  // by column id, in m_values
    std::vector<CTableRowUpdateInfoValue> m_values;
    int64_t m_rowId = kNewRow;
};

}  // namespace quillon
