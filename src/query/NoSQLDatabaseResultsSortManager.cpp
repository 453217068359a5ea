#include "query/NoSQLDatabaseResultsSortManager.h"

#include <cmath>

#include "foundation/Unicode.h"

namespace quillon {
namespace {

// Signed numbers in the order of unsigned ones.
uint64_t InUnsignedOrder(int64_t value) {
    return static_cast<uint64_t>(value) ^ (uint64_t{1} << 63);
}

uint64_t UnsignedKey(const CTableRowUpdateInfoValue& value) {
    switch (value.type) {
        case ColumnType::Boolean:
            return value.boolean ? 1 : 0;
        case ColumnType::Int32:
            return InUnsignedOrder(value.int32);
        case ColumnType::Int64:
            return InUnsignedOrder(value.int64);
        default:
            return static_cast<uint64_t>(value.dateTime);
    }
}

template <typename T>
int ThreeWay(const T& a, const T& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

int CompareDoubles(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return ThreeWay(std::isnan(a), std::isnan(b));
    return ThreeWay(a, b);
}

}  // namespace

CNoSQLDatabaseResultsSortManager::CNoSQLDatabaseResultsSortManager(
    const CNoSQLDatabaseResults& results, std::string_view column, ColumnType type)
    : m_type(type) {
    const auto count = static_cast<size_t>(results.Count());
    if (type == ColumnType::Text) {
        m_texts.reserve(count);
    } else if (type == ColumnType::Double) {
        m_doubles.reserve(count);
    } else {
        m_numbers.reserve(count);
    }
    CTableRowUpdateInfoValue zero;
    zero.type = type;
    CTableRowUpdateInfoValue value;
    for (int64_t position = 0; position < results.Count(); ++position) {
        const bool read = results.ReadValue(column, position, value) && value.type == type;
        const CTableRowUpdateInfoValue& key = read && value.isSet ? value : zero;
        if (type == ColumnType::Text) {
            m_texts.push_back(FoldCase(key.text.View()));
        } else if (type == ColumnType::Double) {
            m_doubles.push_back(key.number);
        } else {
            m_numbers.push_back(UnsignedKey(key));
        }
    }
}

int CNoSQLDatabaseResultsSortManager::CompareRows(size_t a, size_t b) const {
    switch (m_type) {
        case ColumnType::Text:
            return m_texts[a].compare(m_texts[b]);
        case ColumnType::Double:
            return CompareDoubles(m_doubles[a], m_doubles[b]);
        default:
            return ThreeWay(m_numbers[a], m_numbers[b]);
    }
}

}  // namespace quillon
