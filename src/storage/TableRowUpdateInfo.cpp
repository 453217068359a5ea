#include "storage/TableRowUpdateInfo.h"

#include <bit>

#include "foundation/TextHash.h"
#include "foundation/platform/Clock.h"

namespace quillon {

void CTableRowUpdateInfoValue::Reset(ColumnType valueType) {
    type = valueType;
    isSet = valueType != ColumnType::Text;
    text = CKeelString();
    boolean = false;
    int32 = 0;
    int64 = 0;
    number = 0.0;
    dateTime = valueType == ColumnType::DateTime ? NowFileTime() : 0;
}

int64_t CTableRowUpdateInfoValue::Key() const {
    switch (type) {
        case ColumnType::Text:
            return TextHash(text.ToUtf8());
        case ColumnType::Boolean:
            return boolean ? 1 : 0;
        case ColumnType::Int32:
            return int32;
        case ColumnType::Int64:
            return int64;
        case ColumnType::Double:
            return std::bit_cast<int64_t>(number);
        case ColumnType::DateTime:
            return dateTime;
    }
    return 0;
}

CTableRowUpdateInfoValue& CTableRowUpdateInfo::Set(int64_t columnId, ColumnType type) {
    CTableRowUpdateInfoValue& value = m_values[columnId];
    value.Reset(type);
    value.isSet = true;
    return value;
}

const CTableRowUpdateInfoValue* CTableRowUpdateInfo::Find(int64_t columnId) const {
    const auto found = m_values.find(columnId);
    return found == m_values.end() ? nullptr : &found->second;
}

}  // namespace quillon
