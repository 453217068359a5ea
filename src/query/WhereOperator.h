#pragma once

#include <cstdint>

#include "storage/tables/ColumnType.h"

namespace quillon {

// The test of a column's value v against the value x of a condition.
enum class WhereOperator : int32_t {
    Equal = 0,
    Differs = 1,
    Less = 2,
    Greater = 3,
    LessOrEqual = 4,
    GreaterOrEqual = 5,
    Contains = 6,     // v contains x
    ContainedIn = 7,  // x contains v
    EqualIgnoringCase = 8,
    DiffersIgnoringCase = 9,
    ContainsIgnoringCase = 10,
    ContainedInIgnoringCase = 11,
    MatchesWildcard = 12,  // v as a whole against the pattern x: `*` and `?`, ignoring case
    InSet = 13,            // v is in the condition's set
};

// How a condition is joined to the outcome of those before it. There are no brackets:
// a or b and c is (a or b) and c.
enum class WhereConnector : int32_t { And = 0, Or = 1 };

// A condition with an operator outside its column type's range matches nothing.
constexpr bool OperatorAppliesTo(WhereOperator operation, ColumnType type) {
    const auto code = static_cast<int32_t>(operation);
    if (code < 0) return false;
    switch (type) {
        case ColumnType::Text:
            return code <= static_cast<int32_t>(WhereOperator::MatchesWildcard);
        case ColumnType::Int64:
            return code <= static_cast<int32_t>(WhereOperator::GreaterOrEqual) ||
                   operation == WhereOperator::InSet;
        case ColumnType::Boolean:  // folded to equal and differs, see FoldForBoolean
        case ColumnType::Int32:
        case ColumnType::Double:
        case ColumnType::DateTime:
            return code <= static_cast<int32_t>(WhereOperator::GreaterOrEqual);
    }
    return false;
}

// Two values have no order worth asking for: 0, 4 and 5 mean equal and 1, 2 and 3 mean
// differs, on purpose.
constexpr WhereOperator FoldForBoolean(WhereOperator operation) {
    switch (operation) {
        case WhereOperator::LessOrEqual:
        case WhereOperator::GreaterOrEqual:
            return WhereOperator::Equal;
        case WhereOperator::Less:
        case WhereOperator::Greater:
            return WhereOperator::Differs;
        default:
            return operation;
    }
}

}  // namespace quillon
