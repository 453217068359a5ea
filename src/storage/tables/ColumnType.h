#pragma once

#include <cstdint>

namespace quillon {

// Column types as stored in table definitions. A definition may hold other numbers.
enum class ColumnType : int32_t {
    Text = 0,
    Boolean = 1,
    Int32 = 2,
    Int64 = 3,  // also references to rows
    Double = 4,
    DateTime = 5,  // 100-nanosecond ticks since 1601-01-01 UTC
};

constexpr bool IsColumnType(int32_t code) {
    return code >= 0 && code <= 5;
}

constexpr bool IsColumnType(ColumnType type) {
    return IsColumnType(static_cast<int32_t>(type));
}

// Bytes that a value of the type takes in a row record. None for a type of another number: a
// newer version knows it, this one skips the value.
constexpr int32_t ColumnWidth(ColumnType type) {
    if (!IsColumnType(type)) return 0;
    switch (type) {
        case ColumnType::Boolean:
            return 1;
        case ColumnType::Int32:
            return 4;
        default:
            return 8;
    }
}

// A row's own identifier, readable and searchable like a column.
inline constexpr const char* kRowIdColumnName = "NO_SQL_COLUMN_ITEM_ID";

}  // namespace quillon
