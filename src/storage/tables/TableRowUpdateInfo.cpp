#include "storage/tables/TableRowUpdateInfo.h"

#include <bit>
#include <new>

#include "foundation/TextHash.h"
#include "foundation/VLStringManager.h"
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

void CTableRowUpdateInfoValue::SetText(const CKeelString& value) {
    if (value.IsWide()) {
        text = CVLStringManager::StoredPart(value.ToUtf8());
    } else {
        text = CVLStringManager::StoredPart(value.View());
    }
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

void CTableRowUpdateInfo::Reset() {
    m_places.Clear();  // the buckets stay
    m_values.clear();
    m_rowId = kNewRow;
}

CTableRowUpdateInfoValue& CTableRowUpdateInfo::Set(int64_t columnId, ColumnType type) {
    int32_t place = 0;
    if (!m_places.Find32(columnId, place)) {
        place = static_cast<int32_t>(m_values.size());
        m_values.emplace_back();
        const bool hasBuckets = m_places.BucketCount() > 0 || m_places.Initialise(kBuckets);
        if (!hasBuckets || !m_places.Insert32(columnId, place)) {
            m_values.pop_back();
            throw std::bad_alloc();
        }
    }
    CTableRowUpdateInfoValue& value = m_values[static_cast<size_t>(place)];
    value.Reset(type);
    value.isSet = true;
    return value;
}

const CTableRowUpdateInfoValue* CTableRowUpdateInfo::Find(int64_t columnId) const {
    int32_t place = 0;
    if (!m_places.Find32(columnId, place)) return nullptr;
    return &m_values[static_cast<size_t>(place)];
}

}  // namespace quillon
