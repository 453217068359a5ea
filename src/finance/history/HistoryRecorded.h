#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "storage/history/HistoryFormat.h"
#include "storage/tables/TableManager.h"

namespace quillon {

// A table whose rows changed in the open bracket.
struct CHistory::Recorded {
    uint16_t place = 0;  // among those of the bracket
    int32_t number = 0;
    HistoryTable layout;
    std::vector<size_t> columns;                    // places of the layout's columns in the table
    std::vector<CTableRowUpdateInfoValue> present;  // of the row at hand, by column of the layout
};

inline HistoryValue HistoryValueOf(ColumnType type, const CTableRowUpdateInfoValue& value) {
    if (type == ColumnType::Text) return {0, value.isSet ? value.text.View() : std::string_view()};
    return {value.Key(), {}};
}

}  // namespace quillon
