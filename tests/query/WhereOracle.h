#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "query/WhereOperator.h"

namespace quillon::oracle {

// What a condition compares: one value of each type. The oracle keeps its rows in memory and
// answers by asking every row; it shares no code with the query layer.
struct Cell {
    std::optional<std::string> text;  // nothing: the row was written without a text
    bool boolean = false;
    int32_t int32 = 0;
    int64_t int64 = 0;
    double number = 0.0;
    int64_t dateTime = 0;
};

struct Condition {
    ColumnType type = ColumnType::Text;
    WhereOperator operation = WhereOperator::Equal;
    Cell value;
    std::vector<int64_t> set;
};

bool Passes(const Cell& row, const Condition& condition);

}  // namespace quillon::oracle
